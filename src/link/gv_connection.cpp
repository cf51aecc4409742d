#include "gv_connection.h"

#include "model/button_address.h"
#include "model/source_labels.h"
#include "suspend.h"

#include <QSettings>
#include <QTimer>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace quorvane {

namespace {
constexpr int firstSuite = 1;
constexpr int lastSuite = 4;
constexpr int defaultButtonCount = 35;
constexpr quint16 suitePortBase = 6130;

} // namespace

GVConnection::GVConnection(QSettings& preferences, DebugLogger& logger, QObject* parent)
    : QObject(parent)
    , m_preferences(preferences)
    , m_logger(logger)
    , m_statusMessage(connectionStateText(ConnectionState::idle))
{
    m_lastHeartbeatAck.start();
    m_writes = new WriteTracker(
        WriteTracker::Link{[this] { return m_isConnected; }, [this] { return m_answerSerial; },
                           [this](const TrackedWrite& write) {
                               return lastAnswer(write.wanted.bus, write.wanted.shift,
                                                 write.wanted.button, write.buttonCount);
                           },
                           [this](const TrackedWrite& write) {
                               sendWrite(write.wanted, write.buttonCount, write.replaced);
                           },
                           [this](const TrackedWrite& write) { showFrameSource(write); },
            [this](const TrackedWrite& write) {
                sendButtonSubscription(write.wanted.bus, write.buttonCount,
                                       {write.wanted.shift, write.wanted.button});
            }},
        m_timing, m_logger, this);
    QObject::connect(m_writes, &WriteTracker::writeRefused, this,
                     [this](const TrackedWrite&, const QString& text) { setStatusMessage(text); });
    m_logger.info(u"GVConnection initialized"_s);
    m_internalSourceLabels = loadInternalSourceLabels(defaultSourceLabelsLocations(), m_logger);
    const QString host = m_preferences.value(lastHostKey).toString();
    if (!host.isEmpty()) {
        m_savedHost = host;
        m_logger.info(u"Loaded saved host: "_s + host);
    }
}

GVConnection::~GVConnection()
{
    // A running connect notices at its next resumption that the connection is gone.
    if (m_session)
        m_session->cancelled = true;
}

int GVConnection::mainSock() const
{
    return m_mainSocket ? m_mainSocket->descriptor() : -1;
}

int GVConnection::listenerSock() const
{
    return m_listenerSocket ? m_listenerSocket->descriptor() : -1;
}

bool GVConnection::isConnectionTaskRunning() const
{
    return m_connectionTask && !m_connectionTask->isReady();
}

void GVConnection::connect(const QString& host, int suite, int buttonCount, const QString& savedAs)
{
    if (m_session)
        m_session->cancelled = true;
    m_targetHost = host;
    m_targetAddress = dottedIPv4(host); // read once: every datagram in and out uses it
    m_selectedSuite = std::clamp(suite, firstSuite, lastSuite);
    publish(m_buttonCount, isSupportedButtonCount(buttonCount) ? buttonCount : defaultButtonCount,
            &GVConnection::buttonCountChanged);
    m_mainPort = static_cast<quint16>(suitePortBase + 2 * m_selectedSuite);
    m_listenerPort = m_mainPort | 1;

    enterState(ConnectionState::connecting, 0.1);
    const QString suiteText = QString::number(m_selectedSuite);
    const QString countText = QString::number(m_buttonCount);
    setStatusMessage(u"Connecting to "_s + host + u" (Suite "_s + suiteText + u", "_s + countText +
                     u"-btn)..."_s);
    publish(m_isLoading, true, &GVConnection::isLoadingChanged);
    m_logger.info(u"Connect requested to "_s + host + u" on Suite "_s + suiteText + u" (ports "_s +
                  QString::number(m_mainPort) + u'/' + QString::number(m_listenerPort) + u"), "_s +
                  countText + u"-button mode"_s);

    m_ignoredSenders.clear();
    m_writes->clear();
    m_session = std::make_shared<CancelToken>();
    m_connectionTask = runConnection(savedAs.isEmpty() ? host : savedAs, m_session);
}

QCoro::Task<> GVConnection::runConnection(QString savedAs, Token token)
{
    QPointer<GVConnection> self(this);
    // The task starts on the next turn of the event loop: connect returns in `connecting`.
    co_await pause(this, std::chrono::microseconds::zero());
    if (!self || token->cancelled)
        co_return;
    co_await performHandshake(token);
    if (self && !token->cancelled && m_isConnected)
        saveHost(savedAs);
}

void GVConnection::disconnect()
{
    m_logger.info(u"Disconnect requested"_s);
    // Whatever still runs for this link (a connect, a bus load) must leave the state alone.
    if (m_session)
        m_session->cancelled = true;
    delete m_heartbeatTimer;
    delete m_receiveTimer;
    if (m_mainSocket) {
        delete m_mainSocket;
        m_logger.info(u"Main socket closed"_s);
    }
    if (m_listenerSocket) {
        delete m_listenerSocket;
        m_logger.info(u"Listener socket closed"_s);
    }
    publish(m_isConnected, false, &GVConnection::isConnectedChanged);
    // Whatever was loading has stopped with the session: the panel must not stay busy.
    publish(m_isLoading, false, &GVConnection::isLoadingChanged);
    publish(m_hasLoadedAllBuses, false, &GVConnection::hasLoadedAllBusesChanged);
    m_subscribedModes.clear();
    m_busLoad.reset();
    enterState(ConnectionState::idle, 0.0);
    setStatusMessage(connectionStateText(ConnectionState::idle));
    publish(m_frameName, QString(), &GVConnection::frameNameChanged);
    publish(m_frameVersion, QString(), &GVConnection::frameVersionChanged);
    clearMappings();
    publish(m_sourceNames, SourceNameTable(), &GVConnection::sourceNamesChanged);
    m_logger.info(u"Disconnected - mappings, source names, and subscribed modes cleared"_s);
}

void GVConnection::cancelConnect()
{
    m_logger.info(u"Connection cancelled by user"_s);
    if (m_session)
        m_session->cancelled = true;
    disconnect();
}

void GVConnection::failConnect(const QString& reason)
{
    enterState(ConnectionState::idle, 0.0);
    setStatusMessage(reason);
    publish(m_isLoading, false, &GVConnection::isLoadingChanged);
}

void GVConnection::saveHost(const QString& host)
{
    publish(m_savedHost, host, &GVConnection::savedHostChanged);
    m_preferences.setValue(lastHostKey, host);
    m_logger.info(u"Saved host: "_s + host);
}

std::optional<ButtonMapping> GVConnection::mappingFor(Bus bus, int shift, int button,
                                                      int buttonCount) const
{
    const auto entry = m_mappings.constFind(mappingKey(bus, buttonCount, shift, button));
    if (entry == m_mappings.cend())
        return std::nullopt;
    return *entry;
}

std::optional<QString> GVConnection::displayName(int source) const
{
    return quorvane::displayName(source, m_sourceNames, m_internalSourceLabels);
}

void GVConnection::enterState(ConnectionState state, double progress)
{
    publish(m_connectionState, state, &GVConnection::connectionStateChanged);
    publish(m_connectionProgress, progress, &GVConnection::connectionProgressChanged);
}

} // namespace quorvane
