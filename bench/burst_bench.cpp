// A burst: the emulated frame, in a process of its own, sends 10 000 button datagrams as fast as
// loopback takes them once the client has loaded. Prints how many the connection decoded, how
// many were lost, the time from the first to the last decoded, and the longest stall of the
// event loop meanwhile (a 1 ms probe timer).
//
// Targets: 0 lost, drained within 1 s, no stall over 16 ms.
#include "diagnostics/debug_logger.h"
#include "link/gv_connection.h"
#include "run_until.h"
#include "stall_probe.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <cstdio>

using namespace Qt::StringLiterals;
using namespace quorvane;
using quorvane::bench::runUntil;
using quorvane::bench::StallProbe;

namespace {

constexpr int burst = 10'000;
constexpr int quietMs = 1'000; // no more answers for this long: the burst is over

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QProcess frame;
    frame.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    frame.start(QStringLiteral(QUORVANE_EMULATOR_PATH),
                {u"--burst"_s, QString::number(burst), u"--burst-after"_s, u"1500"_s});
    QByteArray said;
    QObject::connect(&frame, &QProcess::readyReadStandardOutput, &frame,
                     [&] { said += frame.readAllStandardOutput(); });
    if (!runUntil([&] { return said.contains("Frame listening"); }, 10'000)) {
        std::fprintf(stderr, "the emulated frame did not start: %s\n", said.constData());
        return 1;
    }

    QTemporaryDir settingsDir;
    QSettings preferences(settingsDir.filePath(u"prefs.ini"_s), QSettings::IniFormat);
    DebugLogger logger;
    logger.setEcho(nullptr);
    GVConnection connection(preferences, logger);
    LinkTiming timing; // a short load, so that the burst comes once the link is idle
    timing.namesListen = std::chrono::milliseconds(300);
    timing.buttonsListen = std::chrono::milliseconds(300);
    connection.setTiming(timing);
    connection.connect(u"127.0.0.1"_s, 1, 35);
    if (!runUntil([&] { return connection.connectionState() == ConnectionState::connected; },
                  20'000)) {
        std::fprintf(stderr, "did not connect: %s\n", qPrintable(connection.statusMessage()));
        return 1;
    }

    const quint64 before = connection.answerSerial();
    QElapsedTimer clock;
    clock.start();
    qint64 first = -1;
    qint64 last = -1;
    QObject::connect(&connection, &GVConnection::buttonsAnswered, &connection, [&] {
        if (first < 0)
            first = clock.elapsed();
        last = clock.elapsed();
    });
    StallProbe probe;
    runUntil([&] { return connection.answerSerial() - before >= quint64(burst); }, 10'000);
    // Anything still on its way, or lost.
    runUntil([&] { return last >= 0 && clock.elapsed() - last > quietMs; }, 20'000);
    const double stall = probe.longestStallMs();
    const quint64 decoded = connection.answerSerial() - before;
    connection.disconnect();
    frame.terminate();
    frame.waitForFinished(5'000);

    std::printf("burst of %d button datagrams from the emulated frame (its own process)\n", burst);
    std::printf("decoded %llu, lost %lld (target 0)\n", static_cast<unsigned long long>(decoded),
                static_cast<long long>(burst) - static_cast<long long>(decoded));
    std::printf("drained in %lld ms, first to last (target <= 1000)\n",
                static_cast<long long>(last - first));
    std::printf("longest event-loop stall %.2f ms (target <= 16)\n", stall);
    return 0;
}
