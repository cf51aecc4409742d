#pragma once

#include "connection_state.h"
#include "diagnostics/debug_logger.h"
#include "link_timing.h"
#include "model/bus.h"
#include "model/button_address.h"
#include "model/button_mapping.h"
#include "model/source_name.h"
#include "udp_endpoint.h"
#include "write_tracker.h"

#include <QByteArrayView>
#include <QCoroTask>
#include <QElapsedTimer>
#include <QHostAddress>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QTimer>
#include <memory>
#include <optional>

class QSettings;

namespace quorvane {

struct ButtonAnswer;

// The one connection to the K-Frame. It owns the link and every piece of switcher state the
// window shows; the window observes the published properties and changes the frame only
// through connect, disconnect and the editing operations.
class GVConnection : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool isConnected READ isConnected NOTIFY isConnectedChanged)
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY isLoadingChanged)
    Q_PROPERTY(QString statusMessage READ statusMessage NOTIFY statusMessageChanged)
    Q_PROPERTY(quorvane::MappingTable mappings READ mappings NOTIFY mappingsChanged)
    Q_PROPERTY(quorvane::ConnectionState connectionState READ connectionState NOTIFY
                   connectionStateChanged)
    Q_PROPERTY(double connectionProgress READ connectionProgress NOTIFY connectionProgressChanged)
    Q_PROPERTY(bool heartbeatPulse READ heartbeatPulse NOTIFY heartbeatPulseChanged)
    Q_PROPERTY(QString frameName READ frameName NOTIFY frameNameChanged)
    Q_PROPERTY(QString frameVersion READ frameVersion NOTIFY frameVersionChanged)
    Q_PROPERTY(QString savedHost READ savedHost NOTIFY savedHostChanged)
    Q_PROPERTY(quorvane::SourceNameTable sourceNames READ sourceNames NOTIFY sourceNamesChanged)
    Q_PROPERTY(int buttonCount READ buttonCount NOTIFY buttonCountChanged)
    Q_PROPERTY(quorvane::Bus currentBus READ currentBus NOTIFY currentBusChanged)
    Q_PROPERTY(bool hasLoadedAllBuses READ hasLoadedAllBuses NOTIFY hasLoadedAllBusesChanged)

public:
    static constexpr quint16 initialPort = 5000;
    static constexpr quint16 announcePort = 5001;
    static constexpr quint16 signature = 0x1385;
    static constexpr quint16 firstMessageSequence = 1168;
    static constexpr quint16 firstSubscriptionId = 12850;
    static constexpr QStringView lastHostKey = u"Quorvane.lastHost";

    // `preferences` keeps the last host that connected; it must outlive the connection.
    explicit GVConnection(QSettings& preferences, DebugLogger& logger = DebugLogger::shared(),
                          QObject* parent = nullptr);
    ~GVConnection() override;

    // Shorter protocol durations, for tests only; takes effect from the next connect.
    void setTiming(const LinkTiming& timing) { m_timing = timing; }
    const LinkTiming& timing() const { return m_timing; }
    // How often a bus load asks again for the buttons the frame did not answer for.
    void setAnswerRetries(int rounds) { m_answerRetries = rounds; }
    int answerRetries() const { return m_answerRetries; }

    // Published state.
    bool isConnected() const { return m_isConnected; }
    bool isLoading() const { return m_isLoading; }
    const QString& statusMessage() const { return m_statusMessage; }
    const MappingTable& mappings() const { return m_mappings; }
    ConnectionState connectionState() const { return m_connectionState; }
    double connectionProgress() const { return m_connectionProgress; }
    bool heartbeatPulse() const { return m_heartbeatPulse; }
    const QString& frameName() const { return m_frameName; }
    const QString& frameVersion() const { return m_frameVersion; }
    const QString& savedHost() const { return m_savedHost; }
    const SourceNameTable& sourceNames() const { return m_sourceNames; }
    int buttonCount() const { return m_buttonCount; }
    Bus currentBus() const { return m_currentBus; }
    bool hasLoadedAllBuses() const { return m_hasLoadedAllBuses; }

    // Link details, read by the panel's log and by tests.
    const InternalSourceLabels& internalSourceLabels() const { return m_internalSourceLabels; }
    DebugLogger& logger() const { return m_logger; }
    const QString& targetHost() const { return m_targetHost; }
    int selectedSuite() const { return m_selectedSuite; }
    quint16 mainPort() const { return m_mainPort; }
    quint16 listenerPort() const { return m_listenerPort; }
    int mainSock() const;
    int listenerSock() const;
    const QSet<QString>& subscribedModes() const { return m_subscribedModes; }
    bool isConnectionTaskRunning() const;
    quint16 dynamicPort() const { return m_dynamicPort; }
    quint16 msgCounter() const { return m_msgCounter; }
    // How long ago the frame last acknowledged anything on the main socket.
    std::chrono::milliseconds sinceLastHeartbeatAck() const
    {
        return std::chrono::milliseconds(m_lastHeartbeatAck.elapsed());
    }
    quint16 subIdCounter() const { return m_subIdCounter; }

    // Starts connecting to `host`; suite and button count are corrected, never refused. A
    // successful connect saves `savedAs` when given (the name `host` was looked up from, so the
    // address field shows the name again next time), else `host`.
    void connect(const QString& host, int suite, int buttonCount,
                 const QString& savedAs = QString());
    // Loads `bus` at the current button count without showing it, so that its first visit is
    // a switch from the cache. Only while connected, no other load runs and it is not cached;
    // whether it started. A first visit to another bus takes its place.
    bool loadInBackground(Bus bus);
    // A names phase like the connect's, with the same subscriptions: for names lost the first
    // time (the protocol has no request for one source's names). Only while connected.
    QCoro::Task<> loadSourceNamesAgain();
    bool isBusLoadRunning() const { return m_busLoad != nullptr; }

    // Tears the link down and forgets what was read from the frame. Safe in any state.
    void disconnect();
    // The panel's Cancel while a connect runs: stops the connect task, then disconnects.
    void cancelConnect();
    void saveHost(const QString& host);

    using ReplacedSource = quorvane::ReplacedSource;
    // Sets one button on the frame, and in the cache at once; the write stays pending until
    // the frame reports the button back (see `writes`).
    void writeMapping(Bus bus, int shift, int button, int source,
                      std::optional<ReplacedSource> replaced = std::nullopt);
    // The 26-byte request that sets one button of a panel `count` buttons wide; consumes a
    // sequence number.
    QByteArray buildWriteRequest(Bus bus, int shift, int button, int source, int count);
    // Every write of the session and what became of it.
    const WriteTracker& writes() const { return *m_writes; }
    WriteTracker& writes() { return *m_writes; }
    // Show another bus or button count: from the cache when loaded before, else load it.
    void changeBus(Bus bus);
    void changeButtonCount(int count);

    // The cached mapping of one button, looked up at the given button count.
    std::optional<ButtonMapping> mappingFor(Bus bus, int shift, int button, int buttonCount) const;
    // The text shown for a source, or none when the frame has named it nothing.
    std::optional<QString> displayName(int source) const;

    // What the frame last said about one button since the connect, whatever it said (source 0
    // and the reserved "no assignment" values included). Answers are numbered as they arrive,
    // so that a write can tell the answers that came after it.
    using ButtonAnswerStamp = quorvane::ButtonAnswerStamp;
    std::optional<ButtonAnswerStamp> lastAnswer(Bus bus, int shift, int button,
                                                int buttonCount) const;
    // A button the frame has not answered for is unknown, which is not the same as unassigned.
    bool hasAnswered(Bus bus, int shift, int button, int buttonCount) const
    {
        return lastAnswer(bus, shift, button, buttonCount).has_value();
    }
    // The buttons of one bus and count without an answer, shift by shift, button by button.
    QList<ButtonPosition> unansweredButtons(Bus bus, int buttonCount) const;
    // The number of the latest answer; 0 before the first.
    quint64 answerSerial() const { return m_answerSerial; }

    // Decoders of the frame's datagrams: each takes a whole datagram as received.
    void parseButtonData(QByteArrayView datagram);
    void parseSourceNameData020b(QByteArrayView datagram);
    void parseSourceDefinitionData(QByteArrayView datagram);
    void parseFrameInfo(QByteArrayView datagram);
    // Logs how many sources have which names and shows the total in the status line.
    void logSourceNamesSummary();

Q_SIGNALS:
    void isConnectedChanged();
    void isLoadingChanged();
    void statusMessageChanged();
    void mappingsChanged();
    void connectionStateChanged();
    void connectionProgressChanged();
    void heartbeatPulseChanged();
    void frameNameChanged();
    void frameVersionChanged();
    void savedHostChanged();
    void sourceNamesChanged();
    void buttonCountChanged();
    void currentBusChanged();
    void hasLoadedAllBusesChanged();
    // A bus load has ended (read whole, or given up), and none runs now.
    void busLoadEnded();
    // The frame has answered for one or more buttons (see lastAnswer).
    void buttonsAnswered();
    // The frame fell silent and the link was dropped: sent once disconnect has run, as the
    // status text of the loss is already replaced by then.
    void heartbeatTimedOut();

private:
    using Datagram = ReceivedDatagram;
    // Cooperative cancellation of one connect: the task looks at it at every loop pass.
    struct CancelToken {
        bool cancelled = false;
    };
    using Token = std::shared_ptr<CancelToken>;
    // One bus load. A first visit to another bus takes its place: the load stops at its next
    // suspension and its bus loads again on its next visit.
    struct BusLoad {
        Token session;
        QString key;       // the combination it loads ("ME1-35")
        bool shown = true; // false: loading ahead in the background, quietly
        bool cancelled = false;
        bool stopped() const { return cancelled || session->cancelled; }
    };
    using BusLoadRef = std::shared_ptr<BusLoad>;
    // How a wait for the answers of a load ended.
    struct AnswerWait {
        int iterations = 0;
        int batches = 0;       // datagrams of button data handed on
        qsizetype missing = 0; // buttons still without an answer
        bool quiet = false;    // ended by the quiet gap, buttons still missing
    };
    // Whether a listen stops once it has handed on button data and nothing more is waiting.
    enum class ListenEnd { afterDuration, onceDrained };

    // Transport
    static std::optional<QHostAddress> dottedIPv4(const QString& host);
    UdpEndpoint* createUDPSocket(quint16 port);
    void closeSockets();
    void sendTo(UdpEndpoint* socket, const QByteArray& datagram, quint16 port);
    std::optional<Datagram> readPendingDatagram(UdpEndpoint* socket);
    QCoro::Task<std::optional<Datagram>> receive(UdpEndpoint* socket,
                                                 std::chrono::milliseconds timeout);
    bool isFromFrame(const class QHostAddress& sender);
    quint16 nextSequence();

    // The connect sequence
    QCoro::Task<> runConnection(QString savedAs, Token token);
    QCoro::Task<> performHandshake(Token token);
    void handleHandshakeMain(const QByteArray& datagram, int& stage, bool& complete);
    void handleHandshakeListener(const Datagram& datagram, int& stage);
    // The handshake message that waits for its answer, kept to be sent again as it was.
    struct HandshakeMessage {
        QString name; // as the failure names it: "SYNC", "PING", "ClientID"
        QByteArray datagram;
        quint16 port = 0;
        int tries = 0;
        QElapsedTimer sinceSent;
    };
    void sendHandshakeMessage(const QString& name, const QByteArray& datagram, quint16 port);
    // Sends the waiting message again when it is due; false once its tries are used up.
    bool resendHandshakeMessage();
    QCoro::Task<bool> sendRegistration(const QByteArray& command, const QString& replyTitle,
                                       Token token);
    void failConnect(const QString& reason);

    // Heartbeat
    QCoro::Task<bool> verifyHeartbeat(Token token);
    void startHeartbeatTimer();
    void heartbeatTick();
    void pulseHeartbeat();
    void recordHeartbeatAck(const QByteArray& datagram);

    // Receive loop
    void startReceiveTimer();
    void receiveTick();
    void handleIncomingPacket(const QByteArray& datagram, QStringView source, quint16 senderPort,
                              UdpEndpoint* socket);

    // Loading
    QCoro::Task<> autoLoadAllData(Token token);
    QCoro::Task<> subscribeToSourceNames(Token token);
    QCoro::Task<> sendAllBusSubscriptions(Token token, Bus bus, bool shown);
    BusLoadRef beginBusLoad(const Token& session, const QString& key, bool shown);
    void endBusLoad(const BusLoadRef& load);
    void updateAllBusesLoaded();
    // Listens until every button of the load has answered, until `limit` has passed `since`,
    // or, with a quiet gap (taken up once answers begin), until none came for that long.
    QCoro::Task<AnswerWait> awaitAnswers(Bus bus, int count, const QElapsedTimer& since,
                                         std::chrono::milliseconds limit,
                                         std::optional<std::chrono::milliseconds> quietGap,
                                         QElapsedTimer& lastAnswer, BusLoadRef load);
    // The rounds of asking again; how many buttons answered in them, none when stopped.
    QCoro::Task<std::optional<qsizetype>>
    askAgainForUnanswered(Bus bus, int count, QElapsedTimer& lastAnswer, BusLoadRef load);
    void sendButtonSubscription(Bus bus, int count, ButtonPosition position);
    QCoro::Task<int> listen(std::chrono::milliseconds duration,
                            ListenEnd end = ListenEnd::afterDuration);
    // Which answers of a names phase have come.
    struct NamesHeard {
        bool definitions = false;
        bool names = false;
    };
    // Whether the datagram was one of the answers.
    bool handleSourceNamesResponse(const QByteArray& datagram, bool onListener, NamesHeard& heard);
    void sendRequest(const QByteArray& request);
    // Writing: sends one write and returns its "Wrote …" line; shows a source in the cache.
    QString sendWrite(const ShowButton& wanted, int count,
                      const std::optional<ReplacedSource>& replaced);
    void showSource(Bus bus, int shift, int button, int count, qint64 source);
    void showFrameSource(const TrackedWrite& write);
    void holdPendingWrites(const QList<ButtonAnswer>& answers);

    void switchTo(const QString& operation, const QString& cachedStatus,
                  const QString& loadingStatus);

    // Assigns a published field and tells observers, only when the value really changes.
    template <typename T> void publish(T& field, T value, void (GVConnection::*changed)())
    {
        if (field == value)
            return;
        field = std::move(value);
        Q_EMIT(this->*changed)();
    }

    void enterState(ConnectionState state, double progress);
    void setStatusMessage(const QString& text)
    {
        publish(m_statusMessage, text, &GVConnection::statusMessageChanged);
    }
    void setFrameVersion(const QString& version);
    void setFrameName(const QString& name);
    void applyGenericFrameName();
    void clearMappings();

    QSettings& m_preferences;
    DebugLogger& m_logger;

    bool m_isConnected = false;
    bool m_isLoading = false;
    QString m_statusMessage;
    MappingTable m_mappings;
    ConnectionState m_connectionState = ConnectionState::idle;
    double m_connectionProgress = 0.0;
    bool m_heartbeatPulse = false;
    QString m_frameName;
    QString m_frameVersion;
    QString m_savedHost;
    SourceNameTable m_sourceNames;
    InternalSourceLabels m_internalSourceLabels;
    LinkTiming m_timing;
    QPointer<UdpEndpoint> m_mainSocket;
    QPointer<UdpEndpoint> m_listenerSocket;
    QPointer<QTimer> m_heartbeatTimer;
    QPointer<QTimer> m_receiveTimer;
    bool m_receiveContinues = false;             // the rest of a long drain is due at once
    QHash<QString, ButtonAnswerStamp> m_answers; // by mapping key
    quint64 m_answerSerial = 0;
    int m_answerRetries = 1;
    QElapsedTimer m_lastHeartbeatAck; // since the last ACK seen
    std::optional<QCoro::Task<>> m_connectionTask;
    Token m_session; // cancelled by disconnect: nothing of an old link may touch the state
    HandshakeMessage m_handshakeMessage;
    BusLoadRef m_busLoad; // the bus load running, if any
    QSet<QString> m_ignoredSenders;
    quint16 m_msgCounter = firstMessageSequence;
    quint16 m_subIdCounter = firstSubscriptionId;
    QString m_targetHost;
    std::optional<QHostAddress> m_targetAddress; // none when the host is no dotted IPv4 address
    quint16 m_dynamicPort = 0;
    int m_selectedSuite = 1;
    quint16 m_mainPort = 6132;
    quint16 m_listenerPort = 6133;
    int m_buttonCount = 35;
    Bus m_currentBus = Bus::pgm;
    bool m_hasLoadedAllBuses = false;
    QSet<QString> m_subscribedModes;
    WriteTracker* m_writes = nullptr; // a child, made with the connection
};

} // namespace quorvane
