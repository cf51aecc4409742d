#include "session/link_failure.h"

#include "link/gv_connection.h"

using namespace Qt::StringLiterals;

namespace quorvane {

LinkFailure::LinkFailure(GVConnection& connection, QObject* parent)
    : QObject(parent)
    , m_connection(connection)
{
    QObject::connect(&m_connection, &GVConnection::statusMessageChanged, this, [this] {
        if (isFailureStatus(m_connection.statusMessage()))
            record(m_connection.statusMessage());
    });
    QObject::connect(&m_connection, &GVConnection::connectionStateChanged, this, [this] {
        if (m_connection.connectionState() == ConnectionState::connecting)
            forget();
    });
}

bool LinkFailure::isFailureStatus(const QString& status)
{
    static const QStringList failures{u"Connection lost (heartbeat timeout)"_s,
                                      u"Handshake timeout"_s, u"Heartbeat verification failed"_s,
                                      u"Failed to create sockets"_s};
    // A handshake message left unanswered is named after the colon.
    return failures.contains(status) || status.startsWith(u"Handshake timeout: "_s);
}

QString LinkFailure::text() const
{
    if (m_reason.isEmpty())
        return QString();
    return m_reason + u" at "_s + m_at.toString(u"HH:mm:ss"_s);
}

void LinkFailure::record(const QString& reason)
{
    m_reason = reason;
    m_at = m_clock();
    Q_EMIT changed();
}

void LinkFailure::forget()
{
    if (m_reason.isEmpty())
        return;
    m_reason.clear();
    Q_EMIT changed();
}

} // namespace quorvane
