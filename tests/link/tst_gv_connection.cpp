#include "link/gv_connection.h"
#include "test_support.h"

#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <memory>

using namespace Qt::StringLiterals;
using namespace quorvane;
using quorvane::test::bytes;
using quorvane::test::loggedMessages;
using quorvane::test::runQueuedCalls;

namespace {

// A datagram holding one button record at offset 4 behind a DATA header.
QByteArray buttonDatagram(quint16 field, quint8 busCode, quint32 source)
{
    QByteArray datagram = bytes("00 04 04 91");
    datagram += bytes("13 85 00 00 89");
    datagram += char(field >> 8);
    datagram += char(field & 0xff);
    datagram += char(busCode);
    datagram += bytes("00 00");
    for (int shift : {24, 16, 8, 0})
        datagram += char((source >> shift) & 0xff);
    datagram += bytes("00 00 00 00");
    return datagram;
}

// A 0x020b message with one live name record for source 12: engineering "CAM 12", panel
// "Cam12", menu "CAMERA 12", no OLED name.
QByteArray liveNameDatagram()
{
    QByteArray fields;
    fields += '\0'; // the unused field
    fields += "CAM 12" + QByteArray(1, '\0');
    fields += "Cam12" + QByteArray(1, '\0');
    fields += "CAMERA 12" + QByteArray(1, '\0');
    const auto length = static_cast<char>(14 + fields.size() - 2);

    QByteArray datagram = bytes("00 04 04 92 00 02 00 10 00 00 00 24 00 00 00 2e");
    datagram += bytes("02 0b");       // marker at 16
    datagram += QByteArray(10, '\0'); // records start 12 bytes after the marker
    datagram += bytes("01 02 00");    // prefix, live, zero
    datagram += length;               // L: the record occupies L + 2 bytes
    datagram += bytes("00 0c");       // source 12
    datagram += QByteArray(6, '\0');
    datagram += bytes("00 00"); // no OLED name
    datagram += fields;
    datagram += QByteArray(4 + 30, '\0'); // the unread tail after the record, padding
    return datagram;
}

} // namespace

class TestGVConnection : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_settingsDir;
    std::unique_ptr<QSettings> m_preferences;
    std::unique_ptr<DebugLogger> m_logger;

    std::unique_ptr<GVConnection> makeConnection()
    {
        return std::make_unique<GVConnection>(*m_preferences, *m_logger);
    }

    // Cancels a connect a test started and lets its task see that, so nothing is left waiting.
    static void finish(GVConnection& connection)
    {
        connection.cancelConnect();
        QTRY_VERIFY(!connection.isConnectionTaskRunning());
    }

    // Forgets what the set-up logged, so a test sees only its own lines.
    void forgetLog()
    {
        runQueuedCalls();
        m_logger->clear();
        runQueuedCalls();
    }

private Q_SLOTS:
    void init()
    {
        m_settingsDir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_settingsDir->isValid());
        m_preferences = std::make_unique<QSettings>(m_settingsDir->filePath(u"prefs.ini"_s),
                                                    QSettings::IniFormat);
        m_logger = std::make_unique<DebugLogger>();
        m_logger->setEcho(nullptr);
    }

    void startsDisconnectedWithDefaults()
    {
        const auto connection = makeConnection();
        QCOMPARE(connection->isConnected(), false);
        QCOMPARE(connection->isLoading(), false);
        QCOMPARE(connection->statusMessage(), u"Disconnected"_s);
        QVERIFY(connection->mappings().isEmpty());
        QCOMPARE(connection->connectionState(), ConnectionState::idle);
        QCOMPARE(connection->connectionProgress(), 0.0);
        QCOMPARE(connection->heartbeatPulse(), false);
        QCOMPARE(connection->frameName(), QString());
        QCOMPARE(connection->frameVersion(), QString());
        QCOMPARE(connection->savedHost(), QString());
        QVERIFY(connection->sourceNames().isEmpty());
        QCOMPARE(connection->buttonCount(), 35);
        QCOMPARE(connection->currentBus(), Bus::pgm);
        QCOMPARE(connection->hasLoadedAllBuses(), false);
        QCOMPARE(connection->mainSock(), -1);
        QCOMPARE(connection->listenerSock(), -1);
        QCOMPARE(connection->msgCounter(), quint16{1168});
        QCOMPARE(connection->subIdCounter(), quint16{12850});
        QCOMPARE(connection->dynamicPort(), quint16{0});
        QCOMPARE(connection->selectedSuite(), 1);
        QCOMPARE(connection->mainPort(), quint16{6132});
        QCOMPARE(connection->listenerPort(), quint16{6133});
        QCOMPARE(connection->targetHost(), QString());
        QCOMPARE(connection->property("statusMessage").toString(), u"Disconnected"_s);
    }

    void initLogsAndLoadsTheShippedLabels()
    {
        const auto connection = makeConnection();
        const QStringList messages = loggedMessages(*m_logger);
        QCOMPARE(messages.size(), 2);
        QCOMPARE(messages[0], u"[INFO] GVConnection initialized"_s);
        QCOMPARE(messages[1], u"[INFO] Loaded "_s +
                                  QString::number(connection->internalSourceLabels().size()) +
                                  u" internal source labels from CSV"_s);
        QVERIFY(connection->internalSourceLabels().size() >= 20);
        QCOMPARE(connection->internalSourceLabels().value(700), u"Black"_s);
    }

    void initReadsTheSavedHost()
    {
        m_preferences->setValue(u"Quorvane.lastHost"_s, u"10.20.30.40"_s);
        const auto connection = makeConnection();
        QCOMPARE(connection->savedHost(), u"10.20.30.40"_s);
        QCOMPARE(loggedMessages(*m_logger).last(), u"[INFO] Loaded saved host: 10.20.30.40"_s);
    }

    void emptySavedHostIsIgnored()
    {
        m_preferences->setValue(u"Quorvane.lastHost"_s, QString());
        const auto connection = makeConnection();
        QCOMPARE(connection->savedHost(), QString());
        QVERIFY(!loggedMessages(*m_logger).last().contains(u"saved host"_s));
    }

    void saveHostKeepsItForTheNextStart()
    {
        const auto connection = makeConnection();
        QSignalSpy changed(connection.get(), &GVConnection::savedHostChanged);
        forgetLog();
        connection->saveHost(u"192.168.7.9"_s);
        QCOMPARE(connection->savedHost(), u"192.168.7.9"_s);
        QCOMPARE(changed.count(), 1);
        QCOMPARE(loggedMessages(*m_logger), QStringList(u"[INFO] Saved host: 192.168.7.9"_s));
        QCOMPARE(m_preferences->value(u"Quorvane.lastHost"_s).toString(), u"192.168.7.9"_s);
        const auto nextStart = makeConnection();
        QCOMPARE(nextStart->savedHost(), u"192.168.7.9"_s);
    }

    void connectPicksSuitePortsAndCount_data()
    {
        QTest::addColumn<int>("suite");
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("usedSuite");
        QTest::addColumn<int>("usedCount");
        QTest::addColumn<int>("mainPort");
        QTest::addColumn<int>("listenerPort");
        QTest::newRow("suite 0 becomes 1") << 0 << 20 << 1 << 20 << 6132 << 6133;
        QTest::newRow("suite 2") << 2 << 15 << 2 << 15 << 6134 << 6135;
        QTest::newRow("suite 3") << 3 << 25 << 3 << 25 << 6136 << 6137;
        QTest::newRow("suite 7 becomes 4") << 7 << 35 << 4 << 35 << 6138 << 6139;
        QTest::newRow("count 30 becomes 35") << 1 << 30 << 1 << 35 << 6132 << 6133;
        QTest::newRow("count 0 becomes 35") << -3 << 0 << 1 << 35 << 6132 << 6133;
    }

    void connectPicksSuitePortsAndCount()
    {
        QFETCH(int, suite);
        QFETCH(int, count);
        QFETCH(int, usedSuite);
        QFETCH(int, usedCount);
        QFETCH(int, mainPort);
        QFETCH(int, listenerPort);
        const auto connection = makeConnection();
        forgetLog();
        connection->connect(u"10.1.2.3"_s, suite, count);

        QCOMPARE(connection->selectedSuite(), usedSuite);
        QCOMPARE(connection->buttonCount(), usedCount);
        QCOMPARE(connection->mainPort(), mainPort);
        QCOMPARE(connection->listenerPort(), listenerPort);
        QCOMPARE(connection->targetHost(), u"10.1.2.3"_s);
        const QString suiteText = QString::number(usedSuite);
        const QString countText = QString::number(usedCount);
        QCOMPARE(connection->statusMessage(), u"Connecting to 10.1.2.3 (Suite "_s + suiteText +
                                                  u", "_s + countText + u"-btn)..."_s);
        QCOMPARE(loggedMessages(*m_logger),
                 QStringList(u"[INFO] Connect requested to 10.1.2.3 on Suite "_s + suiteText +
                             u" (ports "_s + QString::number(mainPort) + u'/' +
                             QString::number(listenerPort) + u"), "_s + countText +
                             u"-button mode"_s));
        finish(*connection);
    }

    void connectEntersConnecting()
    {
        const auto connection = makeConnection();
        QSignalSpy state(connection.get(), &GVConnection::connectionStateChanged);
        QSignalSpy progress(connection.get(), &GVConnection::connectionProgressChanged);
        QSignalSpy loading(connection.get(), &GVConnection::isLoadingChanged);
        connection->connect(u"not an address"_s, 1, 35);
        QCOMPARE(connection->connectionState(), ConnectionState::connecting);
        QCOMPARE(connectionStateText(connection->connectionState()), u"Connecting..."_s);
        QCOMPARE(connection->connectionProgress(), 0.1);
        QCOMPARE(connection->isLoading(), true);
        QCOMPARE(connection->targetHost(), u"not an address"_s);
        QCOMPARE(state.count(), 1);
        QCOMPARE(progress.count(), 1);
        QCOMPARE(loading.count(), 1);
        finish(*connection);
    }

    void disconnectWithNothingOpen()
    {
        const auto connection = makeConnection();
        forgetLog();
        connection->disconnect();
        QCOMPARE(loggedMessages(*m_logger),
                 QStringList({u"[INFO] Disconnect requested"_s,
                              u"[INFO] Disconnected - mappings, source names, and subscribed "
                              u"modes cleared"_s}));
    }

    void disconnectClearsWhatWasReadButKeepsTheChoices()
    {
        const auto connection = makeConnection();
        connection->connect(u"10.1.2.3"_s, 2, 20);
        connection->parseButtonData(buttonDatagram(19, 0x30, 1042));
        connection->parseSourceNameData020b(liveNameDatagram());
        connection->parseFrameInfo(QByteArrayView("Kayenne K-Frame XP V12.3.1"));
        runQueuedCalls();
        QCOMPARE(connection->mappings().size(), 1);
        QCOMPARE(connection->sourceNames().size(), 1);
        QCOMPARE(connection->frameName(), u"K-Frame XP"_s);

        QSignalSpy mappingsChanged(connection.get(), &GVConnection::mappingsChanged);
        QSignalSpy namesChanged(connection.get(), &GVConnection::sourceNamesChanged);
        QSignalSpy statusChanged(connection.get(), &GVConnection::statusMessageChanged);
        connection->disconnect();
        QVERIFY(connection->mappings().isEmpty());
        QVERIFY(connection->sourceNames().isEmpty());
        QCOMPARE(connection->frameName(), QString());
        QCOMPARE(connection->frameVersion(), QString());
        QCOMPARE(connection->connectionState(), ConnectionState::idle);
        QCOMPARE(connection->connectionProgress(), 0.0);
        QCOMPARE(connection->statusMessage(), u"Disconnected"_s);
        QCOMPARE(connection->isConnected(), false);
        QCOMPARE(connection->hasLoadedAllBuses(), false);
        QCOMPARE(mappingsChanged.count(), 1);
        QCOMPARE(namesChanged.count(), 1);
        QCOMPARE(statusChanged.count(), 1);
        // The operator's choices survive: the grid comes back on the same bus and count.
        QCOMPARE(connection->currentBus(), Bus::pgm);
        QCOMPARE(connection->buttonCount(), 20);
        QCOMPARE(connection->selectedSuite(), 2);
        QCOMPARE(connection->targetHost(), u"10.1.2.3"_s);
        QVERIFY(!connection->internalSourceLabels().isEmpty());
        finish(*connection);
    }

    void buttonDataUpdatesMappingsAtOnce()
    {
        const auto connection = makeConnection();
        connection->connect(u"10.1.2.3"_s, 1, 20);
        QSignalSpy changed(connection.get(), &GVConnection::mappingsChanged);
        // 20 buttons per row: field 339 is shift 2, button 1.
        connection->parseButtonData(buttonDatagram(339, 0x40, 77));
        QCOMPARE(changed.count(), 1);
        const std::optional<ButtonMapping> mapping = connection->mappingFor(Bus::me4, 2, 1, 20);
        QVERIFY(mapping);
        QCOMPARE(mapping->source, 77);
        QCOMPARE(mapping->bus, Bus::me4);
        QVERIFY(connection->mappings().contains(u"ME4-20-2-1"_s));
        // The count is part of the key: the same button is unknown at 35 buttons.
        QVERIFY(!connection->mappingFor(Bus::me4, 2, 1, 35));

        connection->parseButtonData(buttonDatagram(339, 0x40, 0));
        QCOMPARE(changed.count(), 2);
        QVERIFY(!connection->mappingFor(Bus::me4, 2, 1, 20));

        connection->parseButtonData(bytes("00 04 00 01")); // too short: nothing changes
        QCOMPARE(changed.count(), 2);
        finish(*connection);
    }

    void sourceNamesAreMergedThroughTheEventLoop()
    {
        const auto connection = makeConnection();
        QSignalSpy changed(connection.get(), &GVConnection::sourceNamesChanged);
        connection->parseSourceNameData020b(liveNameDatagram());
        QVERIFY(connection->sourceNames().isEmpty());
        QCOMPARE(changed.count(), 0);
        runQueuedCalls();
        QCOMPARE(changed.count(), 1);
        const SourceName name = connection->sourceNames().value(12);
        QCOMPARE(name.eng, u"CAM 12"_s);
        QCOMPARE(name.panel, u"Cam12"_s);
        QCOMPARE(name.menu, u"CAMERA 12"_s);
        QCOMPARE(name.oled, QString());
        QCOMPARE(connection->displayName(12), u"CAMERA 12"_s);
        QVERIFY(loggedMessages(*m_logger).contains(
            u"[INFO] Source names updated on main thread (1 records)"_s));

        connection->parseSourceNameData020b(bytes("00 04 00 01 00 00 00 00"));
        runQueuedCalls();
        QCOMPARE(changed.count(), 1);
    }

    void sourceDefinitionsGiveEngineeringNames()
    {
        // A 0x0210 message whose one record (L = 39, 43 bytes) sits at offset 40 and carries
        // source 705 named "BLK GEN" in its last 12 bytes.
        QByteArray datagram = bytes("00 04 04 93 00 02 00 10 00 00 00 24 00 00 00 2e 02 10");
        datagram += QByteArray(40 - datagram.size(), '\0');
        datagram += bytes("00 01 00 27 02 c1");
        datagram += QByteArray(43 - 6 - 12, '\0');
        datagram += QByteArray("BLK GEN").leftJustified(12, '\0');
        datagram += QByteArray(60, '\0');

        const auto connection = makeConnection();
        QSignalSpy changed(connection.get(), &GVConnection::sourceNamesChanged);
        connection->parseSourceDefinitionData(datagram);
        QCOMPARE(changed.count(), 0);
        runQueuedCalls();
        QCOMPARE(changed.count(), 1);
        QCOMPARE(connection->sourceNames().value(705).eng, u"BLK GEN"_s);
        // An internal source with only an engineering name shows its shipped label.
        QCOMPARE(connection->displayName(705), connection->internalSourceLabels().value(705));
        QVERIFY(loggedMessages(*m_logger).contains(
            u"[INFO] 0210 Source names updated on main thread (1 records, total: 1)"_s));
    }

    void frameInfoSetsNameAndVersionThroughTheEventLoop()
    {
        const auto connection = makeConnection();
        QSignalSpy name(connection.get(), &GVConnection::frameNameChanged);
        QSignalSpy version(connection.get(), &GVConnection::frameVersionChanged);
        forgetLog();
        connection->parseFrameInfo(QByteArrayView("\x01\xfd\x00K-Frame XP\x00V12.3.1\x00", 22));
        QCOMPARE(connection->frameName(), QString());
        runQueuedCalls();
        QCOMPARE(connection->frameName(), u"K-Frame XP"_s);
        QCOMPARE(connection->frameVersion(), u"V12.3.1"_s);
        QCOMPARE(name.count(), 1);
        QCOMPARE(version.count(), 1);
        QCOMPARE(loggedMessages(*m_logger),
                 QStringList({u"[INFO] parseFrameInfo scanning: K-Frame XP V12.3.1"_s,
                              u"[INFO] Found version in packet: V12.3.1"_s,
                              u"[INFO] Found frame type in packet: K-Frame XP"_s,
                              u"[INFO] Set frame version: V12.3.1"_s,
                              u"[INFO] Set frame name: K-Frame XP"_s}));
    }

    void versionWithoutTypeIsCalledFrame()
    {
        const auto connection = makeConnection();
        forgetLog();
        connection->parseFrameInfo(QByteArrayView("SW V9.2 build"));
        runQueuedCalls();
        QCOMPARE(connection->frameVersion(), u"V9.2"_s);
        QCOMPARE(connection->frameName(), u"Frame"_s);
        QCOMPARE(loggedMessages(*m_logger).last(),
                 u"[INFO] Using generic 'Frame' label (no specific type detected)"_s);

        // A later reply that names the model replaces the generic label.
        connection->parseFrameInfo(QByteArrayView("Karrera"));
        runQueuedCalls();
        QCOMPARE(connection->frameName(), u"Karrera"_s);
    }

    void typeWithoutVersionNeedsNoFallback()
    {
        const auto connection = makeConnection();
        forgetLog();
        connection->parseFrameInfo(QByteArrayView("Kayenne"));
        runQueuedCalls();
        QCOMPARE(connection->frameName(), u"Kayenne"_s);
        QCOMPARE(connection->frameVersion(), QString());
        QVERIFY(!loggedMessages(*m_logger).join(u'\n').contains(u"generic"_s));
    }

    void nothingFoundLeavesBothEmpty()
    {
        const auto connection = makeConnection();
        QSignalSpy name(connection.get(), &GVConnection::frameNameChanged);
        connection->parseFrameInfo(bytes("00 02 00 01"));
        runQueuedCalls();
        QCOMPARE(connection->frameName(), QString());
        QCOMPARE(connection->frameVersion(), QString());
        QCOMPARE(name.count(), 0);
    }

    void summaryShowsTheTotalInTheStatusLine()
    {
        const auto connection = makeConnection();
        connection->parseSourceNameData020b(liveNameDatagram());
        runQueuedCalls();
        forgetLog();
        connection->logSourceNamesSummary();
        QCOMPARE(connection->statusMessage(), u"Loaded 1 source names"_s);
        QCOMPARE(loggedMessages(*m_logger), QStringList({u"[INFO] Source names loaded: 1 total"_s,
                                                         u"[INFO]   - Engineering only: 0"_s,
                                                         u"[INFO]   - With menu name: 1"_s}));
    }

    void queuedMergesAreDroppedWithTheConnection()
    {
        auto connection = makeConnection();
        connection->parseSourceNameData020b(liveNameDatagram());
        connection->parseFrameInfo(QByteArrayView("Kayenne V1.0"));
        connection.reset();
        runQueuedCalls(); // must not touch the destroyed connection
        QVERIFY(!loggedMessages(*m_logger).join(u'\n').contains(u"Set frame name"_s));
    }

    void decodingQueuedBeforeADisconnectDoesNotLandAfterIt()
    {
        const auto connection = makeConnection();
        connection->connect(u"10.1.2.3"_s, 1, 35);
        connection->parseSourceNameData020b(liveNameDatagram());
        connection->parseFrameInfo(QByteArrayView("Kayenne V1.0"));
        connection->disconnect();
        runQueuedCalls();
        QVERIFY(connection->sourceNames().isEmpty());
        QCOMPARE(connection->frameName(), QString());
        QCOMPARE(connection->frameVersion(), QString());
        finish(*connection);
    }

    void stateTextsRoundTrip()
    {
        const QStringList texts{u"Disconnected"_s,
                                u"Connecting..."_s,
                                u"Establishing handshake..."_s,
                                u"Verifying heartbeat..."_s,
                                u"Loading source names..."_s,
                                u"Loading button mappings..."_s,
                                u"Connected"_s};
        const std::array states{ConnectionState::idle,         ConnectionState::connecting,
                                ConnectionState::handshake,    ConnectionState::heartbeat,
                                ConnectionState::loadingNames, ConnectionState::loadingButtons,
                                ConnectionState::connected};
        for (size_t i = 0; i < states.size(); ++i) {
            QCOMPARE(connectionStateText(states[i]), texts[qsizetype(i)]);
            QCOMPARE(connectionStateFromText(texts[qsizetype(i)]), states[i]);
        }
        QCOMPARE(connectionStateFromText(u"connected"), std::nullopt);
        QCOMPARE(connectionStateFromText(u""), std::nullopt);
    }
};

QTEST_GUILESS_MAIN(TestGVConnection)
#include "tst_gv_connection.moc"
