// Soak: one connection to the emulated frame (a process of its own) for a long while, as at a
// show prep that lasts: the frame changes mappings on its own every 100 ms, the client edits
// every second (a picked source, a paste, a clear and an undo in turn, on PGM's shift rows 3
// and 4, which the frame leaves alone). At the end it prints the client's resident memory at
// the start and the end, the writes the frame did not receive, the heartbeat time-outs, the
// longest stall of the event loop and the log's line count.
//
// Targets: memory flat within 5 %, 0 lost writes, 0 time-outs.
//
//     soak [--minutes N] [-- FRAME OPTIONS]     (default 10; an hour: --minutes 60)
//
// Options after "--" go to the emulated frame, e.g. "-- --drop 0.02" for a lossy network.
#include "diagnostics/debug_logger.h"
#include "link/gv_connection.h"
#include "model/button_address.h"
#include "run_until.h"
#include "stall_probe.h"
#include "editing/editing_model.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QEventLoop>
#include <QFile>
#include <QHash>
#include <QProcess>
#include <QRegularExpression>
#include <QSettings>
#include <QTemporaryDir>
#include <QTimer>
#include <cstdio>

using namespace Qt::StringLiterals;
using namespace quorvane;
using quorvane::bench::runUntil;
using quorvane::bench::StallProbe;

namespace {

constexpr int buttonCount = 35;
constexpr int churnMs = 100;
constexpr int editMs = 1'000;
// Writes still on their way when the time is up are given this long to arrive.
constexpr int settleMs = 2'000;

// The resident memory of this process in kB, or -1 where /proc does not tell.
qint64 residentKb()
{
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    static const QRegularExpression rss(u"^VmRSS:\\s+(\\d+) kB"_s,
                                        QRegularExpression::MultilineOption);
    const QRegularExpressionMatch match = rss.match(QString::fromLatin1(status.readAll()));
    return match.hasMatch() ? match.captured(1).toLongLong() : -1;
}

// The writes the client sent, read off its own log, against the writes the frame reported
// applying on its standard output, button by button: a write that was lost and sent again
// counts once, by its last source.
class WriteLedger {
public:
    void clientLogged(const QString& line)
    {
        static const QRegularExpression sent(u"writeMapping: (\\w+) S(\\d)B(\\d+) > (\\d+)"_s);
        const QRegularExpressionMatch match = sent.match(line);
        if (!match.hasMatch())
            return;
        const std::optional<Bus> bus = busFromName(match.captured(1));
        if (!bus)
            return;
        const quint16 parameter =
            buttonAddress(match.captured(2).toInt(), match.captured(3).toInt(), buttonCount);
        m_lastSent.insert(buttonKey(parameter, busCode(*bus)), match.captured(4).toInt());
        ++m_sends;
    }

    void frameSaid(const QByteArray& line)
    {
        static const QRegularExpression applied(
            u"Write: parameter (\\d+) bus 0x(\\w+) > source (\\d+)"_s);
        const QRegularExpressionMatch match = applied.match(QString::fromLatin1(line));
        if (!match.hasMatch())
            return;
        m_lastApplied.insert(buttonKey(quint16(match.captured(1).toUInt()),
                                       quint8(match.captured(2).toUInt(nullptr, 16))),
                             match.captured(3).toInt());
    }

    qint64 sends() const { return m_sends; }
    qint64 buttonsWritten() const { return m_lastSent.size(); }
    // Buttons whose last write the frame has not applied (yet).
    qint64 notApplied() const
    {
        qint64 missing = 0;
        for (auto sent = m_lastSent.cbegin(); sent != m_lastSent.cend(); ++sent)
            missing += m_lastApplied.value(sent.key(), -1) != sent.value();
        return missing;
    }

private:
    static QString buttonKey(quint16 parameter, quint8 bus)
    {
        return QString::asprintf("%u/%02x", unsigned{parameter}, unsigned{bus});
    }
    QHash<QString, int> m_lastSent;
    QHash<QString, int> m_lastApplied;
    qint64 m_sends = 0;
};

// The client's edit for the `step`-th second, on PGM's shift rows 3 and 4.
void edit(EditingModel& model, int step, const QList<int>& sources)
{
    // The last four buttons of a row select their whole column, shift rows 1 and 2 included.
    constexpr int editedButtons = buttonCount - 4;
    const int button = 1 + (step / 4) % editedButtons;
    switch (step % 4) {
    case 0: // a source picked for one button
        model.doubleTap(3, button);
        model.choosePickerSource(sources[(step / 4) % sources.size()]);
        break;
    case 1: // shift 3's button pasted onto shift 4's
        model.tap(3, button);
        model.copySelection();
        model.tap(4, button);
        model.pasteToSelection();
        break;
    case 2: // cleared, then taken back
        model.tap(4, button);
        model.clearSelection();
        break;
    case 3:
        model.undo();
        break;
    }
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(u"A long session against the emulated frame."_s);
    parser.addHelpOption();
    parser.addOption({u"minutes"_s, u"How long to run (default 10)."_s, u"minutes"_s, u"10"_s});
    parser.addPositionalArgument(u"frame-options"_s,
                                 u"After --: options of quorvane-frame-emulator."_s);
    parser.process(app);
    bool ok = false;
    const double minutes = parser.value(u"minutes"_s).toDouble(&ok);
    if (!ok || minutes <= 0) {
        std::fprintf(stderr, "soak: --minutes needs a number above 0\n");
        return 2;
    }

    WriteLedger ledger;
    QProcess frame;
    frame.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    QByteArray said;
    bool listening = false;
    QObject::connect(&frame, &QProcess::readyReadStandardOutput, &frame, [&] {
        said += frame.readAllStandardOutput();
        qsizetype end;
        while ((end = said.indexOf('\n')) >= 0) {
            const QByteArray line = said.left(end);
            said.remove(0, end + 1);
            listening = listening || line.contains("Frame listening");
            ledger.frameSaid(line);
        }
    });
    frame.start(QStringLiteral(QUORVANE_EMULATOR_PATH),
                QStringList{u"--churn"_s, QString::number(churnMs)} + parser.positionalArguments());
    if (!runUntil([&] { return listening; }, 10'000)) {
        std::fprintf(stderr, "soak: the emulated frame did not start\n");
        return 1;
    }

    QTemporaryDir settingsDir;
    QSettings preferences(settingsDir.filePath(u"prefs.ini"_s), QSettings::IniFormat);
    DebugLogger logger;
    logger.setEcho(nullptr);
    qint64 heartbeatTimeouts = 0;
    qint64 readLines = 0;
    QObject::connect(&logger, &DebugLogger::logsChanged, &logger, [&] {
        const QStringList& kept = logger.logs();
        const qint64 fresh = qMin<qint64>(logger.appendedCount() - readLines, kept.size());
        for (qsizetype i = kept.size() - fresh; i < kept.size(); ++i) {
            ledger.clientLogged(kept[i]);
            if (kept[i].contains(u"Heartbeat timeout"_s))
                ++heartbeatTimeouts;
        }
        readLines = logger.appendedCount();
    });

    GVConnection connection(preferences, logger);
    EditingModel model(connection);
    connection.connect(u"127.0.0.1"_s, 1, buttonCount);
    if (!runUntil([&] { return connection.connectionState() == ConnectionState::connected; },
                  60'000)) {
        std::fprintf(stderr, "soak: did not connect: %s\n", qPrintable(connection.statusMessage()));
        return 1;
    }
    QList<int> sources;
    for (int source : connection.sourceNames().keys())
        sources.append(source);
    if (sources.isEmpty()) {
        std::fprintf(stderr, "soak: the frame reported no sources\n");
        return 1;
    }

    const qint64 startKb = residentKb();
    std::printf("soak: %.1f min against the emulated frame, a change from the frame every %d ms, "
                "an edit every %d ms; resident memory at the start %lld kB\n",
                minutes, churnMs, editMs, static_cast<long long>(startKb));
    std::fflush(stdout);

    StallProbe probe;
    int step = 0;
    QTimer edits;
    QObject::connect(&edits, &QTimer::timeout, &edits, [&] {
        if (connection.isConnected())
            edit(model, step++, sources);
    });
    edits.start(editMs);
    int minute = 0;
    QTimer report;
    QObject::connect(&report, &QTimer::timeout, &report, [&] {
        std::printf("  %3d min: %lld kB, %lld sends, %lld buttons not applied yet, %lld heartbeat "
                    "time-outs\n",
                    ++minute, static_cast<long long>(residentKb()),
                    static_cast<long long>(ledger.sends()),
                    static_cast<long long>(ledger.notApplied()),
                    static_cast<long long>(heartbeatTimeouts));
        std::fflush(stdout);
    });
    report.start(60'000);
    QEventLoop session;
    QTimer::singleShot(std::chrono::milliseconds(qint64(minutes * 60'000)), &session,
                       &QEventLoop::quit);
    session.exec();
    edits.stop();
    const double stall = probe.longestStallMs();
    runUntil([&] { return ledger.notApplied() == 0 && connection.writes().isSettled(); },
             settleMs);
    const qint64 endKb = residentKb();
    const bool stillConnected = connection.isConnected();
    connection.disconnect();
    frame.terminate();
    frame.waitForFinished(5'000);

    const double growth = startKb > 0 ? 100.0 * double(endKb - startKb) / double(startKb) : 0.0;
    std::printf("resident memory: %lld kB at the start, %lld kB at the end (%+.1f %%, target "
                "within 5 %%)\n",
                static_cast<long long>(startKb), static_cast<long long>(endKb), growth);
    const WriteConfirmations& writes = connection.writes().confirmations();
    std::printf("sends %lld (resends included) to %lld buttons; buttons whose last write the "
                "frame never applied %lld (target 0); writes not confirmed %d, refused %d\n",
                static_cast<long long>(ledger.sends()),
                static_cast<long long>(ledger.buttonsWritten()),
                static_cast<long long>(ledger.notApplied()),
                writes.count(WriteOutcome::notConfirmed), writes.count(WriteOutcome::refused));
    std::printf("heartbeat time-outs %lld (target 0)%s\n",
                static_cast<long long>(heartbeatTimeouts),
                stillConnected ? "" : ", and the link was down at the end");
    std::printf("longest event-loop stall %.2f ms\n", stall);
    std::printf("log lines %lld (%lld kept)\n", static_cast<long long>(logger.appendedCount()),
                static_cast<long long>(logger.logs().size()));
    return 0;
}
