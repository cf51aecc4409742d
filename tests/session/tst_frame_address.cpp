// The address field's text turned into the frame's address: addresses as typed, names looked
// up through the machine's resolver (the hosts file and the reserved ".invalid" domain, so no
// network is needed), everything else refused before anything is looked up.
#include "diagnostics/debug_logger.h"
#include "session/frame_address.h"
#include "test_support.h"

#include <QSignalSpy>
#include <QTest>

Q_DECLARE_METATYPE(quorvane::FrameAddressKind)

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;

namespace {
// A resolver that answers neither yes nor no within this is broken; the lookup of a name under
// ".invalid" is answered at once by any resolver.
constexpr int lookupTimeoutMs = 5'000;
} // namespace

class TestFrameAddress : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_logger.setEcho(nullptr);
        m_logger.clear();
        runQueuedCalls();
    }

    void kinds_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<FrameAddressKind>("kind");
        const auto address = FrameAddressKind::dottedIPv4;
        const auto name = FrameAddressKind::hostName;
        const auto neither = FrameAddressKind::neither;
        QTest::newRow("address") << u"10.1.2.3"_s << address;
        QTest::newRow("address with blanks") << u" 192.168.1.20 "_s << address;
        QTest::newRow("short address") << u"10.0.0"_s << neither;
        QTest::newRow("octet too big") << u"10.0.0.256"_s << neither;
        QTest::newRow("leading zero") << u"10.0.0.010"_s << neither;
        QTest::newRow("studio name") << u"frame-a.studio"_s << name;
        QTest::newRow("single label") << u"localhost"_s << name;
        QTest::newRow("digits first") << u"4k-frame"_s << name;
        QTest::newRow("letters last") << u"10.0.0.frame"_s << name;
        QTest::newRow("blank inside") << u"frame a"_s << neither;
        QTest::newRow("underscore") << u"frame_a.studio"_s << neither;
        QTest::newRow("hyphen first") << u"-frame.studio"_s << neither;
        QTest::newRow("hyphen last") << u"frame-.studio"_s << neither;
        QTest::newRow("empty label") << u"frame..studio"_s << neither;
        QTest::newRow("trailing dot") << u"frame.studio."_s << neither;
        QTest::newRow("label of 63") << QString(63, u'a') + u".studio"_s << name;
        QTest::newRow("label of 64") << QString(64, u'a') + u".studio"_s << neither;
        QTest::newRow("ipv6") << u"::1"_s << neither;
        QTest::newRow("url") << u"http://frame"_s << neither;
        QTest::newRow("empty") << QString() << neither;
    }

    void kinds()
    {
        QFETCH(QString, text);
        QFETCH(FrameAddressKind, kind);
        QCOMPARE(frameAddressKind(text), kind);
    }

    void anAddressIsTakenAsTyped()
    {
        FrameAddressLookup lookup(m_logger);
        QSignalSpy found(&lookup, &FrameAddressLookup::found);
        lookup.start(u" 10.1.2.3 "_s);
        QCOMPARE(found.size(), 1);
        QCOMPARE(found[0], (QVariantList{u"10.1.2.3"_s, QString()}));
        QVERIFY(!lookup.isLookingUp());
        QCOMPARE(loggedMessages(m_logger), QStringList());
    }

    void aShortAddressIsRefusedWithoutALookup()
    {
        FrameAddressLookup lookup(m_logger);
        QSignalSpy failed(&lookup, &FrameAddressLookup::failed);
        lookup.start(u"10.0.0"_s);
        QCOMPARE(failed.size(), 1);
        QCOMPARE(failed[0][0].toString(), u"Not an IPv4 address or host name: 10.0.0"_s);
        QVERIFY(!lookup.isLookingUp());
        QCOMPARE(loggedMessages(m_logger),
                 QStringList(u"[WARN] Not an IPv4 address or host name: 10.0.0"_s));
    }

    void anEmptyFieldAsksForAnAddress()
    {
        FrameAddressLookup lookup(m_logger);
        QSignalSpy failed(&lookup, &FrameAddressLookup::failed);
        lookup.start(u"  "_s);
        QCOMPARE(failed.size(), 1);
        QCOMPARE(failed[0][0].toString(), u"Type the frame's IPv4 address or host name"_s);
    }

    void localhostResolvesToLoopback()
    {
        FrameAddressLookup lookup(m_logger);
        QSignalSpy found(&lookup, &FrameAddressLookup::found);
        QSignalSpy failed(&lookup, &FrameAddressLookup::failed);
        lookup.start(u"localhost"_s);
        // The answer never comes inside start: the event loop goes on meanwhile.
        QVERIFY(lookup.isLookingUp());
        QCOMPARE(found.size(), 0);
        QCOMPARE(lookup.progressText(), u"Looking up localhost..."_s);
        QVERIFY(found.wait(lookupTimeoutMs));
        QCOMPARE(found[0], (QVariantList{u"127.0.0.1"_s, u"localhost"_s}));
        QCOMPARE(failed.size(), 0);
        QVERIFY(!lookup.isLookingUp());
        QCOMPARE(lookup.progressText(), QString());
        QCOMPARE(loggedMessages(m_logger),
                 (QStringList{u"[INFO] Looking up localhost"_s,
                              u"[INFO] Resolved localhost to 127.0.0.1"_s}));
    }

    void aNameUnderInvalidIsNotFound()
    {
        FrameAddressLookup lookup(m_logger);
        QSignalSpy found(&lookup, &FrameAddressLookup::found);
        QSignalSpy failed(&lookup, &FrameAddressLookup::failed);
        lookup.start(u"frame-a.invalid"_s);
        QVERIFY(failed.wait(lookupTimeoutMs));
        QCOMPARE(failed[0][0].toString(), u"Cannot find frame-a.invalid"_s);
        QCOMPARE(found.size(), 0);
        QVERIFY(!lookup.isLookingUp());
        const QStringList messages = loggedMessages(m_logger);
        QCOMPARE(messages.size(), 2);
        QVERIFY2(messages[1].startsWith(u"[ERROR] Lookup of frame-a.invalid failed: "_s),
                 qPrintable(messages[1]));
    }

    void aCancelledLookupNeverAnswers()
    {
        FrameAddressLookup lookup(m_logger);
        QSignalSpy found(&lookup, &FrameAddressLookup::found);
        QSignalSpy failed(&lookup, &FrameAddressLookup::failed);
        lookup.start(u"localhost"_s);
        lookup.cancel();
        QVERIFY(!lookup.isLookingUp());
        QCOMPARE(lookup.progressText(), QString());
        // localhost comes from the hosts file, far sooner than any answer about ".invalid":
        // had the first lookup still been heard, it would have been found by then.
        lookup.start(u"frame-a.invalid"_s);
        QVERIFY(failed.wait(lookupTimeoutMs));
        QCOMPARE(found.size(), 0);
        QCOMPARE(loggedMessages(m_logger).mid(0, 2),
                 (QStringList{u"[INFO] Looking up localhost"_s,
                              u"[INFO] Lookup of localhost abandoned"_s}));
    }

private:
    DebugLogger m_logger;
};

QTEST_GUILESS_MAIN(TestFrameAddress)
#include "tst_frame_address.moc"
