// Ctrl+C and SIGTERM, sent to the real programs with their output piped: each closes its link to
// the frame as a disconnect does, with every log line out, ends with 128 + the signal, and a
// dump in progress leaves the earlier backup as it was.
#include "frame_emulator.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <csignal>
#include <sys/stat.h>

using namespace Qt::StringLiterals;
using namespace quorvane;

namespace {

constexpr int waitMs = 30'000;

const QStringList disconnectLines{
    u"[INFO] Disconnect requested"_s, u"[INFO] Main socket closed"_s,
    u"[INFO] Listener socket closed"_s,
    u"[INFO] Disconnected - mappings, source names, and subscribed modes cleared"_s};

// The log lines of a stream, without their time stamps.
QStringList logLines(const QByteArray& stream)
{
    QStringList lines;
    for (const QString& line : QString::fromUtf8(stream).split(u'\n', Qt::SkipEmptyParts)) {
        if (line.startsWith(u'['))
            lines.append(line.mid(15)); // "[HH:mm:ss.zzz] "
    }
    return lines;
}

// Reads what the program writes while it runs, so that the test's own event loop (and the
// emulated frame in it) keeps going.
struct Watched {
    QProcess process;
    QByteArray out;
    QByteArray err;

    Watched()
    {
        QObject::connect(&process, &QProcess::readyReadStandardOutput, &process,
                         [this] { out += process.readAllStandardOutput(); });
        QObject::connect(&process, &QProcess::readyReadStandardError, &process,
                         [this] { err += process.readAllStandardError(); });
    }

    bool finished()
    {
        return QTest::qWaitFor([this] { return process.state() == QProcess::NotRunning; }, waitMs);
    }
};

} // namespace

class TestTermination : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theDesktopProgramEndsLikeAClosedWindow_data()
    {
        QTest::addColumn<int>("signalNumber");
        QTest::addColumn<QString>("name");
        QTest::newRow("SIGTERM") << SIGTERM << u"SIGTERM"_s;
        QTest::newRow("SIGINT") << SIGINT << u"SIGINT"_s;
    }

    void theDesktopProgramEndsLikeAClosedWindow()
    {
        QFETCH(int, signalNumber);
        QFETCH(QString, name);
        Watched app;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
        environment.insert(u"HOME"_s, m_home.path()); // its preferences stay in the test
        app.process.setProcessEnvironment(environment);
        app.process.start(QStringLiteral(QUORVANE_APP_PATH), {u"--demo"_s, u"--connect"_s});
        QVERIFY(QTest::qWaitFor([&] { return app.out.contains("] [INFO] Read complete: PGM-35"); },
                                waitMs));

        kill(pid_t(app.process.processId()), signalNumber);
        QVERIFY(app.finished());
        QCOMPARE(app.process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(app.process.exitCode(), 128 + signalNumber);
        const QStringList lines = logLines(app.out);
        QVERIFY(lines.size() > 5);
        // The link is closed last; a datagram of a bus loading ahead may still be read between
        // the signal and the close.
        QCOMPARE(lines.mid(lines.size() - disconnectLines.size()), disconnectLines);
        const qsizetype quitting = lines.lastIndexOf(u"[INFO] Quitting on "_s + name);
        QVERIFY(quitting >= 0 && quitting < lines.size() - disconnectLines.size());
        QVERIFY(app.out.endsWith('\n')); // the last line whole
    }

    void aDumpInProgressLeavesTheEarlierBackup_data()
    {
        QTest::addColumn<int>("signalNumber");
        QTest::addColumn<QString>("name");
        QTest::newRow("SIGINT") << SIGINT << u"SIGINT"_s;
        QTest::newRow("SIGTERM") << SIGTERM << u"SIGTERM"_s;
    }

    void aDumpInProgressLeavesTheEarlierBackup()
    {
        QFETCH(int, signalNumber);
        QFETCH(QString, name);
        emulator::FrameEmulator frame;
        QVERIFY2(frame.start(), qPrintable(frame.errorString()));
        QTemporaryDir dir;
        const QString path = dir.filePath(u"studio-a.json"_s);
        {
            QFile earlier(path);
            QVERIFY(earlier.open(QIODevice::WriteOnly));
            earlier.write("an earlier backup\n");
        }
        Watched tool;
        tool.process.start(QStringLiteral(QUORVANE_CLI_PATH),
                           {u"dump"_s, u"--host"_s, u"127.0.0.1"_s, u"-o"_s, path, u"--verbose"_s});
        // The first bus is in; the second is loading.
        QVERIFY(QTest::qWaitFor([&] { return tool.err.contains("changeBus: first visit to ME2"); },
                                waitMs));

        kill(pid_t(tool.process.processId()), signalNumber);
        QVERIFY(tool.finished());
        QCOMPARE(tool.process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(tool.process.exitCode(), 128 + signalNumber);
        QCOMPARE(tool.out, QByteArray());
        const QStringList lines = logLines(tool.err);
        const qsizetype interrupted = lines.indexOf(u"[INFO] Interrupted by "_s + name);
        QVERIFY(interrupted >= 0);
        QCOMPARE(lines.mid(interrupted + 1, 4), disconnectLines);
        QVERIFY(tool.err.endsWith(
            QString(u"quorvane-cli: interrupted by "_s + name + u" while loading ME2\n"_s)
                .toUtf8()));
        QFile backup(path);
        QVERIFY(backup.open(QIODevice::ReadOnly));
        QCOMPARE(backup.readAll(), QByteArray("an earlier backup\n"));
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList(u"studio-a.json"_s));
    }

    // The message names the step the signal came in, not the load that would have followed.
    void anInterruptedHandshakeSaysSo()
    {
        emulator::FrameEmulatorOptions options;
        options.faults.neverAnswerHandshake = true;
        emulator::FrameEmulator frame(options);
        QVERIFY2(frame.start(), qPrintable(frame.errorString()));
        Watched tool;
        tool.process.start(QStringLiteral(QUORVANE_CLI_PATH),
                           {u"dump"_s, u"--host"_s, u"127.0.0.1"_s, u"--verbose"_s});
        QVERIFY(QTest::qWaitFor([&] { return !frame.received().isEmpty(); }, waitMs));

        kill(pid_t(tool.process.processId()), SIGINT);
        QVERIFY(tool.finished());
        QCOMPARE(tool.process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(tool.process.exitCode(), 130);
        QVERIFY2(tool.err.endsWith(
                     "quorvane-cli: interrupted by SIGINT while performing the handshake\n"),
                 tool.err.right(300).constData());
    }

    // A show that cannot be opened waits in a message box, with its own event loop; a signal
    // then ends the program as it would with the window open.
    void aRefusedShowEndsOnSigterm_data()
    {
        QTest::addColumn<bool>("pipe");
        QTest::addColumn<QString>("refusal"); // what the log prints of it
        QTest::newRow("an invalid file")
            << false
            << u"[WARN] Show not opened: The file was not imported:\n\nline 1: not valid JSON: a "
               u"string holds the escape \\q, which JSON does not know (a backslash is written "
               u"\\\\)\n"_s;
        QTest::newRow("a named pipe") << true << u": it is a named pipe, not a regular file\n"_s;
    }

    void aRefusedShowEndsOnSigterm()
    {
        QFETCH(bool, pipe);
        QFETCH(QString, refusal);
        QTemporaryDir dir;
        const QString show = dir.filePath(u"show.json"_s);
        if (pipe) {
            QCOMPARE(mkfifo(QFile::encodeName(show).constData(), 0600), 0);
        } else {
            QFile file(show);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write("{ \"format\": \"quorvane-show\", \"name\": \"A\\qB\" }\n");
        }
        Watched app;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
        environment.insert(u"HOME"_s, m_home.path());
        app.process.setProcessEnvironment(environment);
        app.process.start(QStringLiteral(QUORVANE_APP_PATH), {u"--show"_s, show});
        QVERIFY(QTest::qWaitFor([&] { return app.out.contains(refusal.toUtf8()); }, waitMs));

        kill(pid_t(app.process.processId()), SIGTERM);
        QVERIFY(app.finished());
        QCOMPARE(app.process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(app.process.exitCode(), 143);
        QVERIFY(logLines(app.out).contains(u"[INFO] Quitting on SIGTERM"_s));
    }

private:
    QTemporaryDir m_home;
};

QTEST_GUILESS_MAIN(TestTermination)
#include "tst_termination.moc"
