// Loading what the window needs: source names, definitions and frame information first, then
// the current bus. Bus and button-count switches load a combination once and afterwards switch
// to it from the cache.
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
constexpr qsizetype headerBytesLogged = 20;
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
    co_await sendAllBusSubscriptions(token, m_currentBus, true);
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
    // A first visit made while the first bus loaded has taken its place and still runs.
    if (!m_busLoad)
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
    // The frame sends its definitions and names at once, in as many datagrams as they take. Once
    // both have begun, a silence of the quiet gap means they are all in (or lost, which only
    // another names phase can mend): the window is the upper bound, not the rule.
    NamesHeard heardSoFar;
    QElapsedTimer sinceNames;
    sinceNames.start();
    while (listening.elapsed() < m_timing.namesListen.count()) {
        if (heardSoFar.definitions && heardSoFar.names &&
            sinceNames.elapsed() >= m_timing.namesQuietGap.count()) {
            m_logger.info(u"Source definitions and names in after "_s +
                          QString::number(listening.elapsed()) + u" ms"_s);
            break;
        }
        const std::optional<Datagram> heard = co_await receive(listenerSocket, m_timing.namesPoll);
        if (!self || token->cancelled)
            co_return;
        if (heard && handleSourceNamesResponse(heard->bytes, true, heardSoFar))
            sinceNames.restart();
        const std::optional<Datagram> reply = co_await receive(mainSocket, m_timing.namesPoll);
        if (!self || token->cancelled)
            co_return;
        if (reply && handleSourceNamesResponse(reply->bytes, false, heardSoFar))
            sinceNames.restart();
        co_await pause(this, m_timing.namesPassPause);
        if (!self || token->cancelled)
            co_return;
    }
    // The merges queued above run first, so that the summary counts every name.
    co_await pause(this, std::chrono::microseconds::zero());
    if (!self || token->cancelled)
        co_return;
    logSourceNamesSummary();
}

bool GVConnection::handleSourceNamesResponse(const QByteArray& datagram, bool onListener,
                                             NamesHeard& heard)
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
        return false;
    }
    const std::optional<quint16> response = wire::sourceResponseCode(datagram);
    if (!response) {
        m_logger.info(u"  -> Header mismatch: bytes4-7=["_s + hexBytes(bytes.slice(4, 4)) +
                      u"] expected [00 02 00 10]"_s);
        parseFrameInfo(datagram);
        return false;
    }
    const QString size = QString::number(length);
    if (*response == wire::sourceDefinitionsCode) {
        m_logger.info(onListener ? u"Received 0210 packet on listener: "_s + size + u" bytes"_s
                                 : u"Found 0210 in packet on main socket! Parsing "_s + size +
                                       u" bytes"_s);
        parseSourceDefinitionData(datagram);
        heard.definitions = true;
    } else if (*response == wire::sourceNamesCode) {
        m_logger.info(onListener ? u"Received 020b packet on listener: "_s + size + u" bytes"_s
                                 : u"Found 020b in packet on main socket! Parsing "_s + size +
                                       u" bytes"_s);
        parseSourceNameData020b(datagram);
        heard.names = true;
    } else {
        parseFrameInfo(datagram);
        return false;
    }
    return true;
}

QCoro::Task<> GVConnection::loadSourceNamesAgain()
{
    if (!m_isConnected)
        co_return;
    m_logger.info(u"Loading the source names again"_s);
    co_await subscribeToSourceNames(m_session);
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
    updateAllBusesLoaded();
    const QString key = modeKey(m_currentBus, m_buttonCount);
    if (m_subscribedModes.contains(key)) {
        m_logger.info(operation + u": "_s + key + u" already cached - instant switch"_s);
        setStatusMessage(cachedStatus);
        return;
    }
    m_logger.info(operation + u": first visit to "_s + key + u" - subscribing"_s);
    publish(m_isLoading, true, &GVConnection::isLoadingChanged);
    setStatusMessage(loadingStatus);
    // A load ahead of this very bus is already on its way: from now on it is the shown one.
    if (m_busLoad && !m_busLoad->stopped() && m_busLoad->key == key) {
        m_busLoad->shown = true;
        return;
    }
    // Runs on by itself; a disconnect stops it through the session token.
    [[maybe_unused]] const QCoro::Task<> load =
        sendAllBusSubscriptions(m_session, m_currentBus, true);
}

} // namespace quorvane
