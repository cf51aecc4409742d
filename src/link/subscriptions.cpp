// Loading what the window needs: source names, definitions and frame information first, then
// one subscription per button of the current bus. Bus and button-count switches load a
// combination once and afterwards switch to it from the cache.
#include "gv_connection.h"
#include "model/button_address.h"
#include "model/button_runs.h"
#include "model/byte_reader.h"
#include "queued.h"
#include "suspend.h"
#include "wire_messages.h"

using namespace Qt::StringLiterals;

namespace quorvane {

namespace {
constexpr int subscriptionIdStep = 90;
constexpr int listenEvery = 10; // button subscriptions between two short listens
constexpr int packetLogLinesPerListen = 5;
constexpr qsizetype headerBytesLogged = 20;
constexpr qsizetype buttonDataFrom = 21;
constexpr qsizetype subscriptionCodeEnd = 18;

} // namespace

QCoro::Task<> GVConnection::autoLoadAllData(Token token)
{
    QPointer<GVConnection> self(this);
    m_logger.info(u"Auto-loading all data..."_s);
    enterState(ConnectionState::loadingNames, 0.55);
    setStatusMessage(u"Loading source names..."_s);
    co_await subscribeToSourceNames(token);
    if (!self || token->cancelled)
        co_return;

    enterState(ConnectionState::loadingButtons, 0.75);
    setStatusMessage(u"Loading button mappings..."_s);
    clearMappings();
    co_await sendAllBusSubscriptions(token);
    if (!self || token->cancelled)
        co_return;

    enterState(ConnectionState::connected, 1.0);
    // The heartbeat time-out is judged from here on, from a fresh start.
    m_lastHeartbeatAck.restart();
    QString status = u"Connected to "_s + m_targetHost + u':' + QString::number(m_dynamicPort);
    if (!m_frameName.isEmpty() || !m_frameVersion.isEmpty()) {
        status += u" ("_s + m_frameName + (m_frameName.isEmpty() ? u""_s : u" "_s) +
                  m_frameVersion + u')';
    }
    setStatusMessage(status);
    publish(m_isLoading, false, &GVConnection::isLoadingChanged);
}

void GVConnection::sendRequest(const QByteArray& request)
{
    if (m_dynamicPort != 0)
        sendTo(m_mainSocket, request, m_dynamicPort);
}

QCoro::Task<> GVConnection::subscribeToSourceNames(Token token)
{
    QPointer<GVConnection> self(this);
    m_logger.info(u"Subscribing to source names (0x0210 + 0x020b)..."_s);
    const std::pair<QByteArray, QString> requests[] = {
        {wire::sourceDefinitionsSubscription(nextSequence()),
         u"Source definition subscription (0x0210)"_s},
        {wire::sourceNamesSubscription(nextSequence()), u"Source name subscription (0x020b)"_s},
        {wire::frameInfoSubscription(nextSequence()), u"Frame info subscription (0x01fd)"_s}};
    m_logger.info(u"Starting listener, then sending subscriptions..."_s);
    QElapsedTimer listening;
    listening.start();
    for (const auto& [request, label] : requests) {
        sendRequest(request);
        m_logger.hexDump(label, request);
    }
    m_logger.info(u"Subscriptions sent, now listening for responses..."_s);

    const QPointer<UdpEndpoint> listenerSocket = m_listenerSocket;
    const QPointer<UdpEndpoint> mainSocket = m_mainSocket;
    while (listening.elapsed() < m_timing.namesListen.count()) {
        const std::optional<Datagram> heard = co_await receive(listenerSocket, m_timing.namesPoll);
        if (!self || token->cancelled)
            co_return;
        if (heard)
            handleSourceNamesResponse(heard->bytes, true);
        const std::optional<Datagram> reply = co_await receive(mainSocket, m_timing.namesPoll);
        if (!self || token->cancelled)
            co_return;
        if (reply)
            handleSourceNamesResponse(reply->bytes, false);
        co_await pause(m_timing.namesPassPause);
        if (!self || token->cancelled)
            co_return;
    }
    // The merges queued above run first, so that the summary counts every name.
    co_await pause(std::chrono::microseconds::zero());
    if (!self || token->cancelled)
        co_return;
    logSourceNamesSummary();
}

void GVConnection::handleSourceNamesResponse(const QByteArray& datagram, bool onListener)
{
    const ByteReader bytes(datagram);
    const qsizetype length = bytes.size();
    if (!onListener)
        recordHeartbeatAck(datagram);
    const QString code =
        length >= subscriptionCodeEnd ? QString::asprintf("%04x", bytes.u16(16)) : u"??"_s;
    m_logger.info((onListener ? u"LISTENER"_s : u"MAIN"_s) + u" pkt: "_s + QString::number(length) +
                  u"b hdr=["_s + hexBytes(bytes.slice(0, headerBytesLogged)) + u"] sub="_s + code);
    if (length < subscriptionCodeEnd) {
        parseFrameInfo(datagram);
        return;
    }
    const std::optional<quint16> response = wire::sourceResponseCode(datagram);
    if (!response) {
        m_logger.info(u"  -> Header mismatch: bytes4-7=["_s + hexBytes(bytes.slice(4, 4)) +
                      u"] expected [00 02 00 10]"_s);
        parseFrameInfo(datagram);
        return;
    }
    const QString size = QString::number(length);
    if (*response == wire::sourceDefinitionsCode) {
        m_logger.info(onListener ? u"Received 0210 packet on listener: "_s + size + u" bytes"_s
                                 : u"Found 0210 in packet on main socket! Parsing "_s + size +
                                       u" bytes"_s);
        parseSourceDefinitionData(datagram);
    } else if (*response == wire::sourceNamesCode) {
        m_logger.info(onListener ? u"Received 020b packet on listener: "_s + size + u" bytes"_s
                                 : u"Found 020b in packet on main socket! Parsing "_s + size +
                                       u" bytes"_s);
        parseSourceNameData020b(datagram);
    } else {
        parseFrameInfo(datagram);
    }
}

QCoro::Task<> GVConnection::sendAllBusSubscriptions(Token token)
{
    QPointer<GVConnection> self(this);
    const Bus bus = m_currentBus;
    const int count = m_buttonCount;
    const QString name = busName(bus);
    m_logger.info(u"sendAllBusSubscriptions starting for "_s + name + u" with "_s +
                  QString::number(count) + u"-button mode"_s);
    auto gone = [&] { return !self || token->cancelled; };

    sendRequest(wire::busPreamble(nextSequence()));
    co_await listen(m_timing.preambleListen);
    if (gone())
        co_return;
    sendRequest(wire::frameInfoSubscription(nextSequence()));
    m_logger.info(u"Sent early 0x01fd frame info subscription"_s);
    co_await listen(m_timing.frameInfoListen);
    if (gone())
        co_return;

    const int total = shiftRowCount * count;
    int sent = 0;
    for (int shift = 1; shift <= shiftRowCount; ++shift) {
        for (int button = 1; button <= count; ++button) {
            sendButtonSubscription(bus, count, {shift, button});
            ++sent;
            if (sent % listenEvery == 0) {
                co_await listen(m_timing.batchListen);
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
    QElapsedTimer listening;
    listening.start();
    int iterations = 0;
    int batches = 0;
    while (listening.elapsed() < m_timing.buttonsListen.count()) {
        batches += co_await listen(m_timing.buttonsListenSlice);
        if (gone())
            co_return;
        ++iterations;
    }
    m_logger.info(u"Active listen complete: "_s + QString::number(iterations) + u" iterations, "_s +
                  QString::number(batches) + u" response batches"_s);

    // Decoding was queued behind the datagrams; let it land before counting.
    co_await pause(std::chrono::microseconds::zero());
    if (gone())
        co_return;
    const QString key = modeKey(bus, count);
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
    if (abandoned() || !co_await askAgainForUnanswered(bus, count, token) || abandoned())
        co_return;
    m_subscribedModes.insert(key);
    publish(m_isLoading, false, &GVConnection::isLoadingChanged);
    publish(m_hasLoadedAllBuses, true, &GVConnection::hasLoadedAllBusesChanged);
    const QString mappingCount = QString::number(m_mappings.size());
    setStatusMessage(name + u" ("_s + QString::number(count) + u"-btn): "_s + mappingCount +
                     u" mappings"_s);
    m_logger.info(u"Read complete: "_s + key + u" cached with "_s + mappingCount + u" mappings"_s);
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

QCoro::Task<bool> GVConnection::askAgainForUnanswered(Bus bus, int count, Token token)
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
                if (!self || token->cancelled)
                    co_return false;
            }
        }
        QElapsedTimer waiting;
        waiting.start();
        while (waiting.elapsed() < m_timing.retryListen.count() &&
               !unansweredButtons(bus, count).isEmpty()) {
            co_await listen(
                std::min(m_timing.buttonsListenSlice,
                         m_timing.retryListen - std::chrono::milliseconds(waiting.elapsed())));
            if (!self || token->cancelled)
                co_return false;
        }
        co_await pause(std::chrono::microseconds::zero());
        if (!self || token->cancelled)
            co_return false;
        const qsizetype stillMissing = unansweredButtons(bus, count).size();
        m_logger.info(u"Asked again for "_s + key + u": "_s +
                      QString::number(missing.size() - stillMissing) + u" of "_s +
                      QString::number(missing.size()) + u" answered"_s);
    }
    const QList<ButtonPosition> missing = unansweredButtons(bus, count);
    if (!missing.isEmpty()) {
        m_logger.warn(key + u": no answer for "_s + QString::number(missing.size()) +
                      u" buttons: "_s + describeButtonRuns(bus, missing).join(u"; "_s));
    }
    co_return true;
}

QCoro::Task<int> GVConnection::listen(std::chrono::milliseconds duration)
{
    QPointer<GVConnection> self(this);
    const QPointer<UdpEndpoint> mainSocket = m_mainSocket;
    QElapsedTimer listening;
    listening.start();
    int logged = 0;
    int handedOn = 0;
    for (;;) {
        const auto remaining = duration - std::chrono::milliseconds(listening.elapsed());
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

void GVConnection::changeButtonCount(int count)
{
    if (!isSupportedButtonCount(count)) {
        m_logger.warn(u"changeButtonCount: invalid count "_s + QString::number(count));
        return;
    }
    if (count == m_buttonCount)
        return;
    publish(m_buttonCount, count, &GVConnection::buttonCountChanged);
    if (!m_isConnected)
        return;
    switchTo(u"changeButtonCount"_s,
             busName(m_currentBus) + u" ("_s + QString::number(count) + u"-btn)"_s,
             u"Switching to "_s + QString::number(count) + u"-button mode..."_s);
}

void GVConnection::changeBus(Bus bus)
{
    if (bus == m_currentBus)
        return;
    publish(m_currentBus, bus, &GVConnection::currentBusChanged);
    if (!m_isConnected)
        return;
    switchTo(u"changeBus"_s, busName(bus) + u" ("_s + QString::number(m_buttonCount) + u"-btn)"_s,
             u"Loading "_s + busName(bus) + u"..."_s);
}

void GVConnection::switchTo(const QString& operation, const QString& cachedStatus,
                            const QString& loadingStatus)
{
    const QString key = modeKey(m_currentBus, m_buttonCount);
    if (m_subscribedModes.contains(key)) {
        m_logger.info(operation + u": "_s + key + u" already cached - instant switch"_s);
        setStatusMessage(cachedStatus);
        return;
    }
    m_logger.info(operation + u": first visit to "_s + key + u" - subscribing"_s);
    publish(m_isLoading, true, &GVConnection::isLoadingChanged);
    setStatusMessage(loadingStatus);
    // Runs on by itself; a disconnect stops it through the session token.
    [[maybe_unused]] const QCoro::Task<> load = sendAllBusSubscriptions(m_session);
}

} // namespace quorvane
