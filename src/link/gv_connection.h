#pragma once

#include "connection_state.h"
#include "diagnostics/debug_logger.h"
#include "model/bus.h"
#include "model/button_mapping.h"
#include "model/source_name.h"

#include <QByteArrayView>
#include <QSet>
#include <QObject>

#include <optional>

class QSettings;

namespace quorvane {

// The one connection to the K-Frame. It owns the link and every piece of switcher state the
// window shows; the window observes the published properties and changes the frame only
// through connect, disconnect and the editing operations.
class GVConnection : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool isConnected READ isConnected NOTIFY isConnectedChanged)
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY isLoadingChanged)
    Q_PROPERTY(QString statusMessage READ statusMessage NOTIFY statusMessageChanged)
    Q_PROPERTY(quorvane::MappingTable mappings READ mappings NOTIFY mappingsChanged)
    Q_PROPERTY(quorvane::ConnectionState connectionState READ connectionState NOTIFY connectionStateChanged)
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
    int mainSock() const { return m_mainSock; }
    int listenerSock() const { return m_listenerSock; }
    quint16 dynamicPort() const { return m_dynamicPort; }
    quint16 msgCounter() const { return m_msgCounter; }
    quint16 subIdCounter() const { return m_subIdCounter; }

    // Starts connecting to `host`; suite and button count are corrected, never refused.
    void connect(const QString& host, int suite, int buttonCount);
    // Tears the link down and forgets what was read from the frame. Safe in any state.
    void disconnect();
    void saveHost(const QString& host);

    // The cached mapping of one button, looked up at the given button count.
    std::optional<ButtonMapping> mappingFor(Bus bus, int shift, int button, int buttonCount) const;
    // The text shown for a source, or none when the frame has named it nothing.
    std::optional<QString> displayName(int source) const;

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

private:
    // Assigns a published field and tells observers, only when the value really changes.
    template <typename T>
    void publish(T& field, T value, void (GVConnection::*changed)())
    {
        if (field == value)
            return;
        field = std::move(value);
        Q_EMIT(this->*changed)();
    }

    void enterState(ConnectionState state, double progress);
    void setStatusMessage(const QString& text) { publish(m_statusMessage, text, &GVConnection::statusMessageChanged); }
    void setFrameVersion(const QString& version);
    void setFrameName(const QString& name);
    void applyGenericFrameName();

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
    int m_mainSock = -1;
    int m_listenerSock = -1;
    quint16 m_msgCounter = firstMessageSequence;
    quint16 m_subIdCounter = firstSubscriptionId;
    QString m_targetHost;
    quint16 m_dynamicPort = 0;
    int m_selectedSuite = 1;
    quint16 m_mainPort = 6132;
    quint16 m_listenerPort = 6133;
    int m_buttonCount = 35;
    Bus m_currentBus = Bus::pgm;
    bool m_hasLoadedAllBuses = false;
    QSet<QString> m_subscribedModes;
};

} // namespace quorvane
