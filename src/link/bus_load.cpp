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
#include <algorithm>

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

GVConnection::BusLoadRef GVConnection::beginBusLoad(const Token& session, const QString& key,
                                                    bool shown)
{
    if (m_busLoad && !m_busLoad->stopped()) {
        m_busLoad->cancelled = true;
        m_logger.info(u"Read abandoned: "_s + m_busLoad->key + u" gave way to "_s + key +
                      u"; it loads again on its next visit"_s);
    }
    m_busLoad = std::make_shared<BusLoad>(BusLoad{session, key, shown});
    return m_busLoad;
}

void GVConnection::endBusLoad(const BusLoadRef& load)
{
    // A load that another took the place of ends quietly; the other runs on.
    if (m_busLoad != load)
        return;
    m_busLoad.reset();
    if (!load->session->cancelled)
        Q_EMIT busLoadEnded();
}

void GVConnection::updateAllBusesLoaded()
{
    const bool all = std::ranges::all_of(allBuses, [this](Bus bus) {
        return m_subscribedModes.contains(modeKey(bus, m_buttonCount));
    });
    publish(m_hasLoadedAllBuses, all, &GVConnection::hasLoadedAllBusesChanged);
}

bool GVConnection::loadInBackground(Bus bus)
{
    if (!m_isConnected || m_busLoad || m_subscribedModes.contains(modeKey(bus, m_buttonCount)))
        return false;
    m_logger.info(u"Loading "_s + modeKey(bus, m_buttonCount) + u" in the background"_s);
    // Runs on by itself; a disconnect or a first visit stops it through its tokens.
    [[maybe_unused]] const QCoro::Task<> load = sendAllBusSubscriptions(m_session, bus, false);
    return true;
}

QCoro::Task<> GVConnection::sendAllBusSubscriptions(Token token, Bus bus, bool shown)
{
    QPointer<GVConnection> self(this);
    const int count = m_buttonCount;
    const QString name = busName(bus);
    const QString key = modeKey(bus, count);
    const BusLoadRef load = beginBusLoad(token, key, shown);
    // Whichever way this load ends, it no longer runs; a load that took its place runs on.
    const auto finished = qScopeGuard([&] {
        if (self)
            endBusLoad(load);
    });
    // What the operator is looking at is told as it goes; a load ahead only when it is done.
    const auto tell = [&](const QString& status) {
        if (load->shown)
            setStatusMessage(status);
    };
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
                tell(u"Loading "_s + name + u"... "_s + QString::number(sent) + u'/' +
                     QString::number(total));
            }
        }
    }
    m_logger.info(u"Sent "_s + QString::number(sent) + u" button subscriptions for "_s + name +
                  u" ("_s + QString::number(count) + u"-button mode)"_s);
    tell(u"Waiting for "_s + name + u" data..."_s);

    m_logger.info(u"Starting active listen phase (1.5s) for "_s + name);
    QElapsedTimer window;
    window.start();
    // The silence that says answers are lost is counted from the last answer, and before the
    // first one from the end of the subscriptions.
    QElapsedTimer lastAnswer;
    lastAnswer.start();
    const std::optional<std::chrono::milliseconds> quietGap =
        answersDuringSending > 0 ? std::optional(m_timing.answersQuietGap) : std::nullopt;
    const AnswerWait heard = co_await awaitAnswers(bus, count, window, m_timing.buttonsListen,
                                                   quietGap, lastAnswer, load);
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
        if (load->shown)
            publish(m_isLoading, false, &GVConnection::isLoadingChanged);
        return true;
    };
    if (abandoned())
        co_return;
    const std::optional<qsizetype> answeredAgain =
        co_await askAgainForUnanswered(bus, count, lastAnswer, load);
    if (!answeredAgain || abandoned())
        co_return;
    // Answers still on their way from a slow frame count until the window closes. When the
    // buttons asked for again did answer, the frame is keeping up and a silence is a loss.
    if (!unansweredButtons(bus, count).isEmpty()) {
        const std::optional<std::chrono::milliseconds> tailGap =
            *answeredAgain > 0 ? std::optional(m_timing.answersQuietGap) : std::nullopt;
        co_await awaitAnswers(bus, count, window, m_timing.buttonsListen, tailGap, lastAnswer,
                              load);
        if (gone() || abandoned())
            co_return;
    }
    const QList<ButtonPosition> missing = unansweredButtons(bus, count);
    if (!missing.isEmpty()) {
        m_logger.warn(key + u": no answer for "_s + QString::number(missing.size()) +
                      u" buttons: "_s + describeButtonRuns(bus, missing).join(u"; "_s));
    }
    m_subscribedModes.insert(key);
    updateAllBusesLoaded();
    const QString mappingCount = QString::number(m_mappings.size());
    m_logger.info(u"Read complete: "_s + key + u" cached with "_s + mappingCount + u" mappings"_s);
    if (load->shown) {
        publish(m_isLoading, false, &GVConnection::isLoadingChanged);
        setStatusMessage(name + u" ("_s + QString::number(count) + u"-btn): "_s + mappingCount +
                         u" mappings"_s);
        co_return;
    }
    const auto loaded = std::ranges::count_if(allBuses, [&](Bus each) {
        return m_subscribedModes.contains(modeKey(each, count));
    });
    const QString progress = QString::number(loaded) + u" of "_s +
                             QString::number(allBuses.size()) + u" buses at "_s +
                             QString::number(count) + u" buttons"_s;
    m_logger.info(u"Loaded in the background: "_s + key + u" ("_s + progress + u')');
    const QString what = m_hasLoadedAllBuses ? u"All buses loaded"_s
                                             : name + u" loaded in the background"_s;
    setStatusMessage(what + u" ("_s + progress + u')');
}

QCoro::Task<GVConnection::AnswerWait>
GVConnection::awaitAnswers(Bus bus, int count, const QElapsedTimer& since,
                           std::chrono::milliseconds limit,
                           std::optional<std::chrono::milliseconds> quietGap,
                           QElapsedTimer& lastAnswer, BusLoadRef load)
{
    QPointer<GVConnection> self(this);
    AnswerWait wait;
    wait.missing = unansweredButtons(bus, count).size();
    for (;;) {
        // Decoding is queued behind the datagrams; let it land before counting.
        co_await pause(this, std::chrono::microseconds::zero());
        if (!self || load->stopped())
            co_return wait;
        const qsizetype missing = unansweredButtons(bus, count).size();
        if (missing < wait.missing) {
            lastAnswer.restart();
            // Answers have begun: from now on a silence says the rest are lost.
            if (!quietGap)
                quietGap = m_timing.answersQuietGap;
        }
        wait.missing = missing;
        const auto remaining = limit - elapsedOf(since);
        if (missing == 0 || remaining <= std::chrono::milliseconds::zero())
            co_return wait;
        if (quietGap && elapsedOf(lastAnswer) >= *quietGap) {
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

QCoro::Task<std::optional<qsizetype>>
GVConnection::askAgainForUnanswered(Bus bus, int count, QElapsedTimer& lastAnswer,
                                    BusLoadRef load)
{
    // A lost subscription or answer would otherwise leave a button unknown for the whole
    // session. Only the silent buttons are asked for again, a bounded number of times.
    QPointer<GVConnection> self(this);
    const QString key = modeKey(bus, count);
    qsizetype answered = 0;
    for (int round = 1; round <= m_answerRetries; ++round) {
        const QList<ButtonPosition> missing = unansweredButtons(bus, count);
        if (missing.isEmpty())
            break;
        m_logger.info(u"Asking again for "_s + QString::number(missing.size()) +
                      u" unanswered buttons of "_s + key + u" (round "_s + QString::number(round) +
                      u" of "_s + QString::number(m_answerRetries) + u')');
        for (qsizetype i = 0; i < missing.size(); ++i) {
            sendButtonSubscription(bus, count, missing[i]);
            if ((i + 1) % listenEvery == 0) {
                co_await listen(m_timing.batchListen);
                if (!self || load->stopped())
                    co_return std::nullopt;
            }
        }
        QElapsedTimer waiting;
        waiting.start();
        const AnswerWait heard = co_await awaitAnswers(bus, count, waiting, m_timing.retryListen,
                                                       std::nullopt, lastAnswer, load);
        if (!self || load->stopped())
            co_return std::nullopt;
        answered += missing.size() - heard.missing;
        m_logger.info(u"Asked again for "_s + key + u": "_s +
                      QString::number(missing.size() - heard.missing) + u" of "_s +
                      QString::number(missing.size()) + u" answered"_s);
    }
    co_return answered;
}

QCoro::Task<int> GVConnection::listen(std::chrono::milliseconds duration, ListenEnd end)
{
    QPointer<GVConnection> self(this);
    const QPointer<UdpEndpoint> mainSocket = m_mainSocket;
    QElapsedTimer listening;
    listening.start();
    int logged = 0;
    int handedOn = 0;
    // A closed socket ends the listen: there is nothing more to hear, and nothing to wait on.
    while (mainSocket) {
        if (end == ListenEnd::onceDrained && handedOn > 0 && !mainSocket->hasDatagram())
            break;
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
