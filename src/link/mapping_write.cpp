// Writing one button: one request to the frame, and the cache follows at once. The frame's own
// button data corrects the cache later should the request have been lost.
#include "diagnostics/programming_error.h"
#include "gv_connection.h"
#include "model/button_address.h"
#include "wire_messages.h"

using namespace Qt::StringLiterals;

namespace quorvane {

QByteArray GVConnection::buildWriteRequest(Bus bus, int shift, int button, int source)
{
    QUORVANE_REQUIRE(source >= 0 && source <= lastSourceNumber, "a written source is 16 bits");
    return wire::writeRequest(nextSequence(), buttonAddress(shift, button, m_buttonCount),
                              busCode(bus), static_cast<quint16>(source));
}

void GVConnection::writeMapping(Bus bus, int shift, int button, int source,
                                std::optional<ReplacedSource> replaced)
{
    if (!m_isConnected) {
        m_logger.warn(u"writeMapping called but not connected"_s);
        return;
    }
    const QString target = busName(bus) + u" S"_s + QString::number(shift) + u'B' +
                           QString::number(button) + u" > "_s + QString::number(source);
    m_logger.info(u"writeMapping: "_s + target + u" (buttonCount="_s +
                  QString::number(m_buttonCount) + u')');
    const QByteArray request = buildWriteRequest(bus, shift, button, source);
    m_logger.hexDump(u"Write command"_s, request);
    if (m_dynamicPort != 0)
        sendTo(m_mainSocket, request, m_dynamicPort);

    const QString key = mappingKey(bus, m_buttonCount, shift, button);
    auto existing = m_mappings.find(key);
    if (existing != m_mappings.end())
        existing->source = source;
    else
        m_mappings.insert(key, ButtonMapping{QUuid::createUuid(), bus, shift, button, source});
    Q_EMIT mappingsChanged();

    QString written = u"Wrote "_s + target;
    if (replaced) {
        written += u" (was "_s +
                   (replaced->source ? QString::number(*replaced->source) : u"unknown"_s) + u')';
    }
    m_logger.info(written);
    setStatusMessage(written);
    m_logger.info(u"Write complete, local cache updated"_s);
}

} // namespace quorvane
