// Writing one button: the request goes out and the cache shows the written source at once,
// held there while the write is pending. The write tracker follows it until the frame reports
// the button back, sends it again when it does not, and names it when it never does.
#include "diagnostics/programming_error.h"
#include "gv_connection.h"
#include "model/button_address.h"
#include "model/button_data_decoder.h"
#include "wire_messages.h"

using namespace Qt::StringLiterals;

namespace quorvane {

QByteArray GVConnection::buildWriteRequest(Bus bus, int shift, int button, int source, int count)
{
    QUORVANE_REQUIRE(source >= 0 && source <= lastSourceNumber, "a written source is 16 bits");
    return wire::writeRequest(nextSequence(), buttonAddress(shift, button, count), busCode(bus),
                              static_cast<quint16>(source));
}

void GVConnection::writeMapping(Bus bus, int shift, int button, int source,
                                std::optional<ReplacedSource> replaced)
{
    if (!m_isConnected) {
        m_logger.warn(u"writeMapping called but not connected"_s);
        return;
    }
    const ShowButton wanted{bus, shift, button, source, {}};
    // The status line shows the edit once; the tracker's resends only log.
    setStatusMessage(sendWrite(wanted, m_buttonCount, replaced));
    m_writes->written(wanted, m_buttonCount, replaced);
}

QString GVConnection::sendWrite(const ShowButton& wanted, int count,
                                const std::optional<ReplacedSource>& replaced)
{
    const QString target = buttonName(wanted.bus, wanted.shift, wanted.button) + u" > "_s +
                           QString::number(wanted.source);
    m_logger.info(u"writeMapping: "_s + target + u" (buttonCount="_s + QString::number(count) +
                  u')');
    const QByteArray request = buildWriteRequest(wanted.bus, wanted.shift, wanted.button,
                                                 static_cast<int>(wanted.source), count);
    m_logger.hexDump(u"Write command"_s, request);
    if (m_dynamicPort != 0)
        sendTo(m_mainSocket, request, m_dynamicPort);
    showSource(wanted.bus, wanted.shift, wanted.button, count, wanted.source);

    // Every send says what it wrote, resends too: the log always shows what went out last.
    QString written = u"Wrote "_s + target;
    if (replaced) {
        written += u" (was "_s +
                   (replaced->source ? QString::number(*replaced->source) : u"unknown"_s) + u')';
    }
    m_logger.info(written);
    m_logger.info(u"Write complete, local cache updated"_s);
    return written;
}

void GVConnection::showSource(Bus bus, int shift, int button, int count, qint64 source)
{
    const QString key = mappingKey(bus, count, shift, button);
    auto existing = m_mappings.find(key);
    if (existing != m_mappings.end()) {
        if (existing->source == source)
            return;
        existing->source = source;
    } else {
        m_mappings.insert(key, ButtonMapping{QUuid::createUuid(), bus, shift, button, source});
    }
    Q_EMIT mappingsChanged();
}

void GVConnection::showFrameSource(const TrackedWrite& write)
{
    const ShowButton& button = write.wanted;
    const qint64 source = write.frameSource.value_or(0);
    // The frame's "no assignment" values and 0 mean an empty button, which the cache holds as
    // no entry, as the decoder leaves it.
    if (source == 0 || source > lastSourceNumber) {
        if (m_mappings.remove(
                mappingKey(button.bus, write.buttonCount, button.shift, button.button)) > 0)
            Q_EMIT mappingsChanged();
        return;
    }
    showSource(button.bus, button.shift, button.button, write.buttonCount, source);
}

void GVConnection::holdPendingWrites(const QList<ButtonAnswer>& answers)
{
    // An answer that does not confirm a pending write is the report of an earlier write, or
    // one the resend will correct; one that contradicts a write just confirmed may be a report
    // overtaken on the way, which the frame is asked about again once such reports are gone.
    // Meanwhile the button shows what was asked.
    for (const ButtonAnswer& answer : answers) {
        const TrackedWrite* write =
            m_writes->find(answer.bus, answer.shift, answer.button, m_buttonCount);
        if (write && m_writes->holdsButton(*write) && qint64{answer.source} != write->wanted.source)
            showSource(answer.bus, answer.shift, answer.button, m_buttonCount,
                       write->wanted.source);
    }
}

} // namespace quorvane
