// The real quorvane-cli as a user starts it: on a terminal (a pseudo-terminal here) its progress
// is one line rewritten in place and it ends with a summary; with its output piped, the same
// run prints plain lines without a single control character.
#include "cli_frame_support.h"

#include <QProcess>
#include <QSocketNotifier>
#include <QTemporaryDir>
#include <QTest>
#include <cerrno>
#include <fcntl.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;
using emulator::FrameEmulator;

namespace {

const QStringList dumpOfPgm{u"dump"_s, u"--host"_s, u"127.0.0.1"_s, u"--bus"_s, u"pgm"_s};

struct TerminalRun {
    int status = -1;
    QByteArray screen; // everything the program wrote to its terminal
};

// Runs the program on a fresh pseudo-terminal, its standard output and error both, while the
// event loop (and the emulated frame in it) keeps running.
TerminalRun runOnTerminal(const QStringList& arguments)
{
    QList<QByteArray> words{QByteArray(QUORVANE_CLI_PATH)};
    for (const QString& argument : arguments)
        words.append(argument.toLocal8Bit());
    std::vector<char*> argv;
    for (QByteArray& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);

    int terminal = -1;
    const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child == 0) {
        execv(argv[0], argv.data());
        _exit(127);
    }
    TerminalRun run;
    if (child < 0)
        return run;
    // Read what is there and go back to the event loop, where the frame has to answer.
    fcntl(terminal, F_SETFL, fcntl(terminal, F_GETFL) | O_NONBLOCK);
    QSocketNotifier readable(terminal, QSocketNotifier::Read);
    auto drain = [&] {
        char chunk[4096];
        ssize_t got;
        while ((got = read(terminal, chunk, sizeof chunk)) > 0)
            run.screen.append(chunk, qsizetype(got));
    };
    QObject::connect(&readable, &QSocketNotifier::activated, &readable, drain);
    int status = 0;
    const bool ended =
        QTest::qWaitFor([&] { return waitpid(child, &status, WNOHANG) == child; }, 60'000);
    drain();
    close(terminal);
    if (ended && WIFEXITED(status))
        run.status = WEXITSTATUS(status);
    return run;
}

} // namespace

class TestCliTerminal : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { QVERIFY(startFrame(m_frame)); }
    void cleanup() { m_frame.stop(); }

    void progressInPlaceOnATerminal()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(u"pgm.json"_s);
        const TerminalRun run = runOnTerminal(dumpOfPgm + QStringList{u"-o"_s, path});
        QCOMPARE(run.status, 0);
        const QString screen = QString::fromUtf8(run.screen);
        // The terminal turns each line feed into a carriage return and a line feed.
        QVERIFY2(screen.contains(u"\r\x1b[KLoading PGM … 140/140 buttons\r\x1b[K"_s),
                 qPrintable(screen));
        QVERIFY(screen.contains(u"Connected to 127.0.0.1:5123 (K-Frame XP V12.3.1)\r\n"_s));
        QVERIFY(screen.contains(u"Loaded PGM: 140/140 buttons\r\n"_s));
        QVERIFY(screen.contains(u"\r\x1b[KWrote "_s + path + u": "_s));
        // The summary, then the sources the demo frame keeps no names for, each a whole line.
        QVERIFY(screen.contains(u" s\r\nSources without names on the frame: "_s));
        QVERIFY(screen.endsWith(u"\r\n"_s));
        QCOMPARE(withoutNames(readJson(contents(path)).buttons),
                 assignedOnFrame(m_frame, {Bus::pgm}, 35));
    }

    void plainLinesWhenPiped()
    {
        QProcess tool;
        tool.start(QStringLiteral(QUORVANE_CLI_PATH), dumpOfPgm);
        QVERIFY(QTest::qWaitFor([&] { return tool.state() == QProcess::NotRunning; }, 60'000));
        QCOMPARE(tool.exitCode(), 0);
        const QByteArray out = tool.readAllStandardOutput();
        const QByteArray err = tool.readAllStandardError();
        QCOMPARE(withoutNames(readJson(out).buttons), assignedOnFrame(m_frame, {Bus::pgm}, 35));
        for (const QByteArray& stream : {out, err}) {
            for (const char byte : stream)
                QVERIFY2(byte == '\n' || static_cast<unsigned char>(byte) >= 0x20, stream);
        }
        const QStringList lines = QString::fromUtf8(err).split(u'\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 4);
        QCOMPARE(lines[0], u"Connected to 127.0.0.1:5123 (K-Frame XP V12.3.1)"_s);
        QCOMPARE(lines[1], u"Loaded PGM: 140/140 buttons"_s);
        QVERIFY(lines[2].startsWith(u"Dumped "_s));
        // The demo frame keeps no names for some of the sources PGM uses.
        QVERIFY(lines[3].startsWith(u"Sources without names on the frame: "_s));
    }

private:
    FrameEmulator m_frame;
};

QTEST_GUILESS_MAIN(TestCliTerminal)
#include "tst_cli_terminal.moc"
