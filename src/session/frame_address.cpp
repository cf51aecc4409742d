#include "session/frame_address.h"

#include "diagnostics/debug_logger.h"
#include "link/host_address.h"

#include <QHostAddress>
#include <QHostInfo>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace quorvane {

FrameAddressKind frameAddressKind(QStringView text)
{
    const QStringView trimmed = text.trimmed();
    if (isDottedIPv4(trimmed))
        return FrameAddressKind::dottedIPv4;
    if (isHostName(trimmed))
        return FrameAddressKind::hostName;
    return FrameAddressKind::neither;
}

FrameAddressLookup::FrameAddressLookup(DebugLogger& logger, QObject* parent)
    : QObject(parent)
    , m_logger(logger)
{
}

FrameAddressLookup::~FrameAddressLookup()
{
    if (isLookingUp())
        QHostInfo::abortHostLookup(m_lookupId);
}

void FrameAddressLookup::start(const QString& text)
{
    if (isLookingUp())
        cancel();
    const QString trimmed = text.trimmed();
    switch (frameAddressKind(trimmed)) {
    case FrameAddressKind::dottedIPv4:
        Q_EMIT found(trimmed, QString());
        return;
    case FrameAddressKind::neither: {
        const QString reason = trimmed.isEmpty()
                                   ? u"Type the frame's IPv4 address or host name"_s
                                   : u"Not an IPv4 address or host name: "_s + trimmed;
        m_logger.warn(reason);
        Q_EMIT failed(reason);
        return;
    }
    case FrameAddressKind::hostName:
        break;
    }
    m_name = trimmed;
    m_logger.info(u"Looking up "_s + m_name);
    m_lookupId = QHostInfo::lookupHost(m_name, this, &FrameAddressLookup::answer);
}

void FrameAddressLookup::cancel()
{
    if (!isLookingUp())
        return;
    QHostInfo::abortHostLookup(m_lookupId);
    m_lookupId = -1;
    m_logger.info(u"Lookup of "_s + m_name + u" abandoned"_s);
}

QString FrameAddressLookup::progressText() const
{
    return isLookingUp() ? u"Looking up "_s + m_name + u"..."_s : QString();
}

void FrameAddressLookup::answer(const QHostInfo& info)
{
    if (info.lookupId() != m_lookupId)
        return; // the answer to a lookup that was cancelled or replaced
    m_lookupId = -1;
    const QList<QHostAddress> addresses = info.addresses();
    const auto ipv4 = std::find_if(addresses.begin(), addresses.end(), [](const QHostAddress& a) {
        return a.protocol() == QAbstractSocket::IPv4Protocol;
    });
    if (info.error() != QHostInfo::NoError || ipv4 == addresses.end()) {
        const QString why =
            info.error() != QHostInfo::NoError ? info.errorString() : u"it has no IPv4 address"_s;
        m_logger.error(u"Lookup of "_s + m_name + u" failed: "_s + why);
        Q_EMIT failed(u"Cannot find "_s + m_name);
        return;
    }
    const QString address = ipv4->toString();
    m_logger.info(u"Resolved "_s + m_name + u" to "_s + address);
    Q_EMIT found(address, m_name);
}

} // namespace quorvane
