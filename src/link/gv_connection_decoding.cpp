// The connection's side of decoding: the byte work lives in the model's decoders; here their
// results reach the published state. Names and frame information are merged through the
// event loop, after the datagram has been handled, as every observer expects.
#include "gv_connection.h"
#include "model/button_address.h"
#include "model/button_data_decoder.h"
#include "model/frame_info_decoder.h"
#include "model/source_definition_decoder.h"
#include "model/source_name_decoder.h"
#include "queued.h"

using namespace Qt::StringLiterals;

namespace quorvane {

void GVConnection::parseButtonData(QByteArrayView datagram)
{
    // Answers of a load at another button count may still be on their way after a switch;
    // read at this count they would land on other buttons, so only exact numbers count.
    const ButtonDataResult result = quorvane::parseButtonData(datagram, m_buttonCount, m_mappings,
                                                              m_logger, ButtonFields::exactNumbers);
    for (const ButtonAnswer& answer : result.answers) {
        m_answers.insert(mappingKey(answer.bus, m_buttonCount, answer.shift, answer.button),
                         {++m_answerSerial, answer.source});
    }
    m_writes->answersArrived();
    holdPendingWrites(result.answers);
    if (result.mappingsChanged)
        Q_EMIT mappingsChanged();
    if (!result.answers.isEmpty())
        Q_EMIT buttonsAnswered();
}

std::optional<GVConnection::ButtonAnswerStamp>
GVConnection::lastAnswer(Bus bus, int shift, int button, int buttonCount) const
{
    const auto answer = m_answers.constFind(mappingKey(bus, buttonCount, shift, button));
    if (answer == m_answers.cend())
        return std::nullopt;
    return *answer;
}

QList<ButtonPosition> GVConnection::unansweredButtons(Bus bus, int buttonCount) const
{
    QList<ButtonPosition> unanswered;
    for (int shift = 1; shift <= shiftRowCount; ++shift) {
        for (int button = 1; button <= buttonCount; ++button) {
            if (!hasAnswered(bus, shift, button, buttonCount))
                unanswered.append({shift, button});
        }
    }
    return unanswered;
}

void GVConnection::clearMappings()
{
    // The answers describe the cache: what was read from the frame goes and comes with them.
    m_answers.clear();
    publish(m_mappings, MappingTable(), &GVConnection::mappingsChanged);
}

void GVConnection::parseSourceNameData020b(QByteArrayView datagram)
{
    std::vector<DecodedSourceName> records = quorvane::parseSourceNameData020b(datagram, m_logger);
    if (records.empty())
        return;
    queueInSession(this, m_session, [this, records = std::move(records)] {
        mergeSourceNames(m_sourceNames, records, m_logger);
        Q_EMIT sourceNamesChanged();
    });
}

void GVConnection::parseSourceDefinitionData(QByteArrayView datagram)
{
    std::vector<EngineeringName> names = quorvane::parseSourceDefinitionData(datagram, m_logger);
    if (names.empty())
        return;
    queueInSession(this, m_session, [this, names = std::move(names)] {
        mergeEngineeringNames(m_sourceNames, names, m_logger);
        Q_EMIT sourceNamesChanged();
    });
}

void GVConnection::parseFrameInfo(QByteArrayView datagram)
{
    const FrameInfo info = scanFrameInfo(datagram, m_logger);
    // Every datagram is scanned; one merge queued for each of a burst would hold the event
    // loop up for nothing. The fallback name follows a version found, so it comes along.
    if (!info.version && !info.name)
        return;
    queueInSession(this, m_session, [this, info] {
        if (info.version)
            setFrameVersion(*info.version);
        if (info.name)
            setFrameName(*info.name);
        applyGenericFrameName();
    });
}

void GVConnection::logSourceNamesSummary()
{
    const qsizetype total = quorvane::logSourceNamesSummary(m_sourceNames, m_logger);
    setStatusMessage(u"Loaded "_s + QString::number(total) + u" source names"_s);
}

void GVConnection::setFrameVersion(const QString& version)
{
    publish(m_frameVersion, version, &GVConnection::frameVersionChanged);
    m_logger.info(u"Set frame version: "_s + version);
}

void GVConnection::setFrameName(const QString& name)
{
    publish(m_frameName, name, &GVConnection::frameNameChanged);
    m_logger.info(u"Set frame name: "_s + name);
}

void GVConnection::applyGenericFrameName()
{
    if (!m_frameName.isEmpty() || m_frameVersion.isEmpty())
        return;
    publish(m_frameName, genericFrameName.toString(), &GVConnection::frameNameChanged);
    m_logger.info(u"Using generic 'Frame' label (no specific type detected)"_s);
}

} // namespace quorvane
