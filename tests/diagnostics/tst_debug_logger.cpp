#include "diagnostics/debug_logger.h"
#include "test_support.h"

#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryFile>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace quorvane;
using quorvane::test::loggedMessages;
using quorvane::test::runQueuedCalls;

class TestDebugLogger : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void lineHasTimeLevelAndMessage()
    {
        DebugLogger logger;
        logger.setEcho(nullptr);
        logger.log(u"GVConnection initialized"_s, LogLevel::info);
        logger.warn(u"careful"_s);
        logger.error(u"broken"_s);
        runQueuedCalls();
        QCOMPARE(logger.logs().size(), 3);
        static const QRegularExpression format(
            u"^\\[\\d{2}:\\d{2}:\\d{2}\\.\\d{3}\\] \\[INFO\\] GVConnection initialized$"_s);
        QVERIFY2(format.match(logger.logs()[0]).hasMatch(), qPrintable(logger.logs()[0]));
        QCOMPARE(loggedMessages(logger), QStringList({u"[INFO] GVConnection initialized"_s,
                                                      u"[WARN] careful"_s, u"[ERROR] broken"_s}));
    }

    void appendWaitsForTheEventLoop()
    {
        DebugLogger logger;
        logger.setEcho(nullptr);
        QSignalSpy changed(&logger, &DebugLogger::logsChanged);
        logger.info(u"later"_s);
        QVERIFY(logger.logs().isEmpty());
        QCOMPARE(changed.count(), 0);
        runQueuedCalls();
        QCOMPARE(logger.logs().size(), 1);
        QCOMPARE(changed.count(), 1);
    }

    void keepsTheNewest500Lines()
    {
        DebugLogger logger;
        logger.setEcho(nullptr);
        for (int i = 1; i <= 501; ++i)
            logger.info(u"line "_s + QString::number(i));
        const QStringList messages = loggedMessages(logger);
        QCOMPARE(messages.size(), 500);
        QCOMPARE(messages.first(), u"[INFO] line 2"_s);
        QCOMPARE(messages.last(), u"[INFO] line 501"_s);
        QCOMPARE(logger.appendedCount(), 501);
    }

    void hexDumpOfBytes()
    {
        DebugLogger logger;
        logger.setEcho(nullptr);
        logger.hexDump(u"Write command"_s, QByteArrayView("\x00\x04\x04\x91\xab", 5));
        QCOMPARE(loggedMessages(logger),
                 QStringList(u"[HEX] Write command: [5 bytes] 00 04 04 91 ab"_s));
    }

    void hexDumpOfNothingEndsWithABlank()
    {
        DebugLogger logger;
        logger.setEcho(nullptr);
        logger.hexDump(u"Reg1 ACK"_s, QByteArrayView());
        QCOMPARE(loggedMessages(logger), QStringList(u"[HEX] Reg1 ACK: [0 bytes] "_s));
    }

    void clearThenLogLeavesOneLine()
    {
        DebugLogger logger;
        logger.setEcho(nullptr);
        logger.info(u"old 1"_s);
        logger.info(u"old 2"_s);
        runQueuedCalls();
        logger.clear();
        logger.info(u"new"_s);
        QCOMPARE(loggedMessages(logger), QStringList(u"[INFO] new"_s));
        // Clearing forgets lines, not how many there have been.
        QCOMPARE(logger.appendedCount(), 3);
    }

    void echoesEachLineAtOnce()
    {
        QTemporaryFile echoFile;
        QVERIFY(echoFile.open());
        std::FILE* stream = std::fopen(qPrintable(echoFile.fileName()), "w");
        QVERIFY(stream);
        DebugLogger logger;
        logger.setEcho(stream);
        logger.info(u"Disconnect requested"_s);
        std::fclose(stream);
        const QString echoed = QString::fromUtf8(echoFile.readAll());
        QVERIFY2(echoed.endsWith(u"] [INFO] Disconnect requested\n"_s), qPrintable(echoed));
        QVERIFY(logger.logs().isEmpty()); // echoed before the append has run
    }

    void sharedLoggerIsOneInstance() { QCOMPARE(&DebugLogger::shared(), &DebugLogger::shared()); }
};

QTEST_GUILESS_MAIN(TestDebugLogger)
#include "tst_debug_logger.moc"
