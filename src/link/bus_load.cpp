// One bus load: a subscription for every button of the bus at the current count, then a wait
// that ends as soon as every button has answered. Buttons still silent once the answers have
// stopped coming are asked for again; the fixed listening window stays the upper bound.
#include "gv_connection.h"
#include "model/button_address.h"
#include "model/button_runs.h"
#include "queued.h"
#include "suspend.h"
#include "wire_messages.h"

#include <QScopeGuard>

using namespace Qt::StringLiterals;

namespace quorvane {

namespace {
constexpr int subscriptionIdStep = 90;
constexpr int listenEvery = 10; // button subscriptions between two short listens
constexpr int packetLogLinesPerListen = 5;
constexpr qsizetype buttonDataFrom = 21;

std::chrono::milliseconds elapsedOf(const QElapsedTimer& timer)
{
    return std::chrono::milliseconds(timer.elapsed());
}

} // namespace

GVConnection::BusLoadRef GVConnection::beginBusLoad(const Token& session, const QString& key)
{
    if (m_busLoad && !m_busLoad->stopped()) {
        m_busLoad->cancelled = true;
        m_logger.info(u"Read abandoned: "_s + m_busLoad->key + u" gave way to "_s + key +
                      u"; it loads again on its next visit"_s);
    }
    m_busLoad = std::make_shared<BusLoad>(BusLoad{session, key});
    return m_busLoad;
}

QCoro::Task<> GVConnection::sendAllBusSubscriptions(Token token)
{
    QPointer<GVConnection> self(this);
    const Bus bus = m_currentBus;
    const int count = m_buttonCount;
    const QString name = busName(bus);
    const QString key = modeKey(bus, count);
    const BusLoadRef load = beginBusLoad(token, key);
    // Whichever way this load ends, it no longer runs; a load that took its place runs on.
    const auto finished = qScopeGuard([&] {
        if (self && m_busLoad == load)
            m_busLoad.reset();
    });
    m_logger.info(u"sendAllBusSubscriptions starting for "_s + name + u" with "_s +
                  QString::number(count) + u"-button mode"_s);
    auto gone = [&] { return !self || load->stopped(); };

    int answersDuringSending = 0;
    sendRequest(wire::busPreamble(nextSequence()));
    answersDuringSending += co_await listen(m_timing.preambleListen);
    if (gone())
        co_return;
    sendRequest(wire::frameInfoSubscription(nextSequence()));
    m_logger.info(u"Sent early 0x01fd frame info subscription"_s);
    answersDuringSending += co_await listen(m_timing.frameInfoListen);
    if (gone())
        co_return;

    const int total = shiftRowCount * count;
    int sent = 0;
    for (int shift = 1; shift <= shiftRowCount; ++shift) {
        for (int button = 1; button <= count; ++button) {
            sendButtonSubscription(bus, count, {shift, button});
            ++sent;
            if (sent % listenEvery == 0) {
                answersDuringSending += co_await listen(m_timing.batchListen);
                if (gone())
                    co_return;
                setStatusMessage(u"Loading "_s + name + u"... "_s + QString::number(sent) + u'/' +
                                 QString::number(total));
            }
        }
    }
    m_logger.info(u"Sent "_s + QString::number(sent) + u" button subscriptions for "_s + name +
                  u" ("_s + QString::number(count) + u"-button mode)"_s);
    setStatusMessage(u"Waiting for "_s + name + u" data..."_s);

    m_logger.info(u"Starting active listen phase (1.5s) for "_s + name);
    QElapsedTimer window;
    window.start();
    const std::optional<std::chrono::milliseconds> quietGap =
        answersDuringSending > 0 ? std::optional(m_timing.answersQuietGap) : std::nullopt;
    const AnswerWait heard =
        co_await awaitAnswers(bus, count, window, m_timing.buttonsListen, quietGap, load);
    if (gone())
        co_return;
    m_logger.info(u"Active listen complete: "_s + QString::number(heard.iterations) +
                  u" iterations, "_s + QString::number(heard.batches) + u" response batches"_s);
    if (heard.missing == 0) {
        m_logger.info(u"Every button of "_s + key + u" answered after "_s +
                      QString::number(window.elapsed()) + u" ms"_s);
    } else if (heard.quiet) {
        m_logger.info(u"No answer for "_s + QString::number(m_timing.answersQuietGap.count()) +
                      u" ms with "_s + QString::number(heard.missing) + u" buttons of "_s + key +
                      u" unanswered"_s);
    }

    // Answers that come after a switch of the button count are not read at this count: the
    // combination is not whole, so it is loaded again on its next visit rather than cached.
    const auto abandoned = [&] {
        if (m_buttonCount == count)
            return false;
        m_logger.info(u"Read abandoned: the button count changed while "_s + key +
                      u" was loading; it loads again on its next visit"_s);
        publish(m_isLoading, false, &GVConnection::isLoadingChanged);
        return true;
    };
    if (abandoned() || !co_await askAgainForUnanswered(bus, count, load) || abandoned())
        co_return;
    // Answers still on their way from a slow frame count until the window closes.
    if (!unansweredButtons(bus, count).isEmpty()) {
        co_await awaitAnswers(bus, count, window, m_timing.buttonsListen, std::nullopt, load);
        if (gone() || abandoned())
            co_return;
    }
    const QList<ButtonPosition> missing = unansweredButtons(bus, count);
    if (!missing.isEmpty()) {
        m_logger.warn(key + u": no answer for "_s + QString::number(missing.size()) +
                      u" buttons: "_s + describeButtonRuns(bus, missing).join(u"; "_s));
    }
    m_subscribedModes.insert(key);
    publish(m_isLoading, false, &GVConnection::isLoadingChanged);
    publish(m_hasLoadedAllBuses, true, &GVConnection::hasLoadedAllBusesChanged);
    const QString mappingCount = QString::number(m_mappings.size());
    setStatusMessage(name + u" ("_s + QString::number(count) + u"-btn): "_s + mappingCount +
                     u" mappings"_s);
    m_logger.info(u"Read complete: "_s + key + u" cached with "_s + mappingCount + u" mappings"_s);
}

QCoro::Task<GVConnection::AnswerWait>
GVConnection::awaitAnswers(Bus bus, int count, const QElapsedTimer& since,
                           std::chrono::milliseconds limit,
                           std::optional<std::chrono::milliseconds> quietGap, BusLoadRef load)
{
    QPointer<GVConnection> self(this);
    AnswerWait wait;
    wait.missing = unansweredButtons(bus, count).size();
    QElapsedTimer quiet;
    quiet.start();
    for (;;) {
        // Decoding is queued behind the datagrams; let it land before counting.
        co_await pause(std::chrono::microseconds::zero());
        if (!self || load->stopped())
            co_return wait;
        const qsizetype missing = unansweredButtons(bus, count).size();
        if (missing < wait.missing) {
            quiet.restart();
            // Answers have begun: from now on a silence says the rest are lost.
            if (!quietGap)
                quietGap = m_timing.answersQuietGap;
        }
        wait.missing = missing;
        const auto remaining = limit - elapsedOf(since);
        if (missing == 0 || remaining <= std::chrono::milliseconds::zero())
            co_return wait;
        if (quietGap && elapsedOf(quiet) >= *quietGap) {
            wait.quiet = true;
            co_return wait;
        }
        wait.batches += co_await listen(std::min(m_timing.buttonsListenSlice, remaining),
                                        ListenEnd::onceDrained);
        if (!self || load->stopped())
            co_return wait;
        ++wait.iterations;
    }
}

void GVConnection::sendButtonSubscription(Bus bus, int count, ButtonPosition position)
{
    // Ids advance by 90 per button through the whole bus, from the same first id for every
    // load (the counter is read, never advanced), so a button asked for again keeps its id.
    const int index = (position.shift - 1) * count + (position.button - 1);
    const auto subscriptionId = static_cast<quint16>(m_subIdCounter + index * subscriptionIdStep);
    sendRequest(wire::buttonSubscription(nextSequence(), subscriptionId,
                                         buttonAddress(position.shift, position.button, count),
                                         busCode(bus)));
}

QCoro::Task<bool> GVConnection::askAgainForUnanswered(Bus bus, int count, BusLoadRef load)
{
    // A lost subscription or answer would otherwise leave a button unknown for the whole
    // session. Only the silent buttons are asked for again, a bounded number of times.
    QPointer<GVConnection> self(this);
    const QString key = modeKey(bus, count);
    for (int round = 1; round <= m_answerRetries; ++round) {
        const QList<ButtonPosition> missing = unansweredButtons(bus, count);
        if (missing.isEmpty())
            co_return true;
        m_logger.info(u"Asking again for "_s + QString::number(missing.size()) +
                      u" unanswered buttons of "_s + key + u" (round "_s + QString::number(round) +
                      u" of "_s + QString::number(m_answerRetries) + u')');
        for (qsizetype i = 0; i < missing.size(); ++i) {
            sendButtonSubscription(bus, count, missing[i]);
            if ((i + 1) % listenEvery == 0) {
                co_await listen(m_timing.batchListen);
                if (!self || load->stopped())
                    co_return false;
            }
        }
        QElapsedTimer waiting;
        waiting.start();
        const AnswerWait heard = co_await awaitAnswers(bus, count, waiting, m_timing.retryListen,
                                                       std::nullopt, load);
        if (!self || load->stopped())
            co_return false;
        m_logger.info(u"Asked again for "_s + key + u": "_s +
                      QString::number(missing.size() - heard.missing) + u" of "_s +
                      QString::number(missing.size()) + u" answered"_s);
    }
    co_return true;
}

QCoro::Task<int> GVConnection::listen(std::chrono::milliseconds duration, ListenEnd end)
{
    QPointer<GVConnection> self(this);
    const QPointer<UdpEndpoint> mainSocket = m_mainSocket;
    QElapsedTimer listening;
    listening.start();
    int logged = 0;
    int handedOn = 0;
    for (;;) {
        if (end == ListenEnd::onceDrained && handedOn > 0 &&
            !(mainSocket && mainSocket->hasDatagram())) {
            break;
        }
        const auto remaining = duration - elapsedOf(listening);
        if (remaining <= std::chrono::milliseconds::zero())
            break;
        const std::optional<Datagram> datagram = co_await receive(mainSocket, remaining);
        if (!self)
            co_return handedOn;
        if (!datagram)
            continue;
        const QByteArray& bytes = datagram->bytes;
        if (logged < packetLogLinesPerListen) {
            ++logged;
            m_logger.hexDump(u"MAIN RX "_s + QString::number(bytes.size()) + u"b port "_s +
                                 QString::number(datagram->senderPort),
                             bytes);
        }
        recordHeartbeatAck(bytes);
        parseFrameInfo(bytes);
        const bool isData = wire::isType(bytes, wire::MessageType::data);
        if (isData || wire::isType(bytes, wire::MessageType::ping) ||
            wire::isType(bytes, wire::MessageType::sync)) {
            sendTo(mainSocket, wire::ackFor(bytes), datagram->senderPort);
        }
        if (isData && bytes.size() >= buttonDataFrom) {
            queueInSession(this, m_session, [this, bytes] { parseButtonData(bytes); });
            ++handedOn;
        }
    }
    co_return handedOn;
}

} // namespace quorvane
