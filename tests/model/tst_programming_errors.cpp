#include <QProcess>
#include <QTest>
#include <sys/resource.h>

using namespace Qt::StringLiterals;

namespace {
// Runs the probe with one argument and waits for it to end.
struct ProbeRun {
    QProcess::ExitStatus status = QProcess::NormalExit;
    int exitCode = -1;
    QString standardError;
};

ProbeRun runProbe(const QString& argument)
{
    QProcess probe;
    probe.setProgram(QString::fromUtf8(PROBE_PATH));
    probe.setArguments({argument});
    // A deliberate abort should not leave a core file behind.
    probe.setChildProcessModifier([] {
        const rlimit noCore{0, 0};
        setrlimit(RLIMIT_CORE, &noCore);
    });
    probe.start();
    ProbeRun run;
    if (!probe.waitForFinished(30000)) {
        probe.kill();
        probe.waitForFinished();
        run.standardError = u"probe did not finish: "_s + probe.errorString();
        return run;
    }
    run.status = probe.exitStatus();
    run.exitCode = probe.exitCode();
    run.standardError = QString::fromUtf8(probe.readAllStandardError());
    return run;
}
} // namespace

class TestProgrammingErrors : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void brokenCallerRuleStopsTheProgram_data()
    {
        QTest::addColumn<QString>("call");
        QTest::addColumn<QString>("message");
        QTest::newRow("parameterBase(0)")
            << u"base-zero"_s << u"Programming error: button count must be positive"_s;
        QTest::newRow("locateButton(16, 0)")
            << u"locate-zero"_s << u"Programming error: button count must be positive"_s;
        QTest::newRow("locateButton(16, INT_MAX)")
            << u"locate-huge"_s
            << u"Programming error: button count too large for a row of button numbers"_s;
    }

    void brokenCallerRuleStopsTheProgram()
    {
        QFETCH(QString, call);
        QFETCH(QString, message);
        const ProbeRun run = runProbe(call);
        QVERIFY2(run.status == QProcess::CrashExit, qPrintable(run.standardError));
        QVERIFY2(run.standardError.contains(message), qPrintable(run.standardError));
    }

    void validCallsRunThrough()
    {
        const ProbeRun run = runProbe(u"ok"_s);
        QVERIFY2(run.status == QProcess::NormalExit, qPrintable(run.standardError));
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.standardError, QString());
    }
};

QTEST_GUILESS_MAIN(TestProgrammingErrors)
#include "tst_programming_errors.moc"
