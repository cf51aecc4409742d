// How long a backup of every bus takes: `quorvane-cli dump` of all six buses at 35 buttons,
// run in-process against the emulated frame with the protocol's own timings.
//
//   - without loss, beside the waits that stay fixed whatever the frame answers (the loads end
//     as soon as every button has answered; target ≤ 5 s);
//   - with 5 % of the datagrams lost in each direction once the handshake is done, compared
//     with the lossless time (target ≤ 1.3), and how many buttons had to be asked for again.
//
// The loss sets in after the handshake: a handshake message lost costs the handshake's own
// 10 s time-out and a second connect attempt, which says nothing about the backup itself.
#include "cli.h"
#include "diagnostics/debug_logger.h"
#include "emulated_frame.h"
#include "frame_emulator.h"
#include "link/link_timing.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QRegularExpression>
#include <cstdio>
#include <optional>

using namespace Qt::StringLiterals;
using namespace quorvane;

namespace {

struct DumpRun {
    int status = -1;
    double ms = 0;
    int askedAgain = 0; // buttons asked for again, over every round and bus
};

DumpRun dumpEveryBus(emulator::FrameEmulator& frame)
{
    DebugLogger logger;
    logger.setEcho(nullptr);
    QBuffer out;
    QBuffer err;
    out.open(QIODevice::WriteOnly);
    err.open(QIODevice::WriteOnly);
    std::optional<int> status;
    QElapsedTimer wall;
    wall.start();
    QCoro::Task<int> run =
        cli::runCli({u"dump"_s, u"--host"_s, u"127.0.0.1"_s}, {out, err, logger, LinkTiming{}});
    QCoro::Task<> noted = run.then([&status](int code) { status = code; });
    while (!status)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    DumpRun result{*status, double(wall.elapsed()), 0};
    frame.stop();

    static const QRegularExpression asking(u"Asking again for (\\d+) unanswered buttons"_s);
    for (const QRegularExpressionMatch& match : asking.globalMatch(QString::fromUtf8(err.data())))
        result.askedAgain += match.captured(1).toInt();
    return result;
}

std::optional<DumpRun> measure(double loss, quint32 seed)
{
    emulator::FrameEmulatorOptions options;
    options.faults.seed = seed;
    emulator::FrameEmulator frame(options);
    if (!quorvane::bench::startFrame(frame))
        return std::nullopt;
    QObject::connect(&frame, &emulator::FrameEmulator::datagramReceived, &frame,
                     [&frame, loss](const emulator::ReceivedDatagram& datagram) {
                         if (datagram.message.kind == emulator::ClientMessageKind::registration) {
                             frame.setLoss(loss, loss);
                         }
                     });
    return dumpEveryBus(frame);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const LinkTiming timing; // the application's own
    const double waits = double((connectWaits(timing, 35) + 5 * busLoadWaits(timing, 35)).count());
    constexpr int runs = 3;

    std::printf("dump of all six buses at 35 buttons, default timings, emulated frame\n");
    std::printf("fixed waits: %.0f ms\n\n", waits);
    std::printf("%-10s %-5s %6s %10s %8s %12s\n", "loss", "run", "exit", "wall ms", "ratio",
                "asked again");
    double lossless = 0;
    double worstLosslessRatio = 0;
    for (int run = 1; run <= runs; ++run) {
        const std::optional<DumpRun> dump = measure(0.0, quint32(run));
        if (!dump)
            return 1;
        const double ratio = dump->ms / waits;
        std::printf("%-10s %-5d %6d %10.0f %8.3f %12d\n", "none", run, dump->status, dump->ms,
                    ratio, dump->askedAgain);
        lossless += dump->ms / runs;
        worstLosslessRatio = qMax(worstLosslessRatio, ratio);
    }
    double lossy = 0;
    int askedAgain = 0;
    int incomplete = 0;
    for (int run = 1; run <= runs; ++run) {
        const std::optional<DumpRun> dump = measure(0.05, quint32(100 + run));
        if (!dump)
            return 1;
        std::printf("%-10s %-5d %6d %10.0f %8.3f %12d\n", "5 %", run, dump->status, dump->ms,
                    dump->ms / lossless, dump->askedAgain);
        lossy += dump->ms / runs;
        askedAgain += dump->askedAgain;
        incomplete += dump->status != 0;
    }
    std::printf("\nwithout loss: mean %.0f ms (target <= 5000), worst ratio to the fixed waits "
                "%.3f\n",
                lossless, worstLosslessRatio);
    std::printf("5 %% loss: mean %.0f ms, %.3f x the lossless mean (target <= 1.3), %.1f buttons "
                "asked again per dump, %d of %d runs incomplete\n",
                lossy, lossy / lossless, double(askedAgain) / runs, incomplete, runs);
    return 0;
}
