// What apply reports is what the frame holds: the written buses are read back afresh, so a
// frame that lost confirmed writes in a restart is caught, and an interrupted run says what was
// sent, confirmed and never sent.
#include "cli_frame_support.h"
#include "cli_runner.h"
#include "model/show_file_io.h"
#include "platform/termination_signals.h"

#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <csignal>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;
using emulator::ClientMessageKind;
using emulator::FrameEmulator;
using emulator::FrameEmulatorOptions;

namespace {

const QString host = u"127.0.0.1"_s;
constexpr int pgmButtons = 4 * 35;

// Every button of PGM at 35 given a source of its own that the frame has no name for.
ShowFile everyPgmButtonChanged()
{
    ShowFile file = showOfFrame(FrameEmulator(), {});
    for (int shift = 1; shift <= 4; ++shift) {
        for (int button = 1; button <= 35; ++button)
            file.buttons.append(
                ShowButton{Bus::pgm, shift, button, 4000 + 35 * shift + button, {}});
    }
    return file;
}

QString placeText(const ShowButton& button)
{
    return busName(button.bus) + u" shift "_s + QString::number(button.shift) + u" button "_s +
           QString::number(button.button);
}

// The lines of `lines` that begin with `word` and a space.
QStringList linesOf(const QStringList& lines, const QString& word)
{
    return lines.filter(QRegularExpression(u"^"_s + word + u" "_s));
}

} // namespace

class TestCliApplyProof : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void writesLostInARestartAreFoundByTheReadBack()
    {
        // The frame goes away at the 30th write and comes back with the show it had, taking
        // the old session back: the writes it confirmed before are gone, and nothing says so.
        FrameEmulatorOptions options;
        options.faults.restartAtWrite = 30;
        options.faults.restartDownMs = 200;
        options.faults.restartKeepsSession = true;
        FrameEmulator frame(options);
        QSignalSpy restarted(&frame, &FrameEmulator::restartedByFault);
        QVERIFY(startFrame(frame));
        QTemporaryDir dir;
        const QString path = dir.filePath(u"show.json"_s);
        const ShowFile file = everyPgmButtonChanged();
        save(path, writeShowJson(file));

        const ToolRun run = runTool(quietly({u"apply"_s, path, u"--host"_s, host}));
        QCOMPARE(restarted.count(), 1);
        QCOMPARE(run.status, 1);
        QStringList differing; // on the frame now
        for (const ShowButton& wanted : file.buttons) {
            if (frame.mapping(wanted.bus, 35, wanted.shift, wanted.button) != wanted.source)
                differing.append(placeText(wanted));
        }
        QVERIFY2(!differing.isEmpty(), "the restart took no write back: the test proves nothing");

        const QStringList lines = run.outLines();
        QStringList reported;
        for (const QString& line : linesOf(lines, u"differs"_s))
            reported.append(line.section(u": "_s, 0, 0).mid(QStringLiteral("differs ").size()));
        QCOMPARE(reported, differing);
        QCOMPARE(linesOf(lines, u"holds"_s).size(), pgmButtons - differing.size());
        // The very writes the frame had confirmed are the ones it lost.
        QVERIFY(linesOf(lines, u"differs"_s).first().endsWith(u"; the write was confirmed"_s));
        const QString count = QString::number(differing.size());
        QCOMPARE(lines.last(), u"read back PGM: "_s + count + u" buttons differ from the file"_s);
        QCOMPARE(run.err, u"quorvane-cli: "_s + count +
                              u" buttons differ from the file when read back from the frame after "
                              u"140 writes; run apply again, or look at these buttons on the "
                              u"frame\n"_s);
    }

    void anInterruptedApplySaysWhatWasSentAndConfirmed()
    {
        FrameEmulator frame;
        QVERIFY(startFrame(frame));
        QTemporaryDir dir;
        const QString path = dir.filePath(u"show.json"_s);
        save(path, writeShowJson(everyPgmButtonChanged()));

        // SIGTERM while the frame takes the 40th write: the client is between two groups of
        // ten, and the answers to the first three groups have long arrived.
        constexpr int appliedAtSignal = 40;
        constexpr int writesPerGroup = 10;
        TerminationRequest termination;
        int applied = 0;
        connect(&frame, &FrameEmulator::writeApplied, &frame, [&applied, &termination] {
            if (++applied == appliedAtSignal)
                termination.request(SIGTERM);
        });
        LinkTiming timing = quickTiming();
        timing.batchListen = 50ms; // the pause between two groups of writes
        const ToolRun run = runTool(quietly({u"apply"_s, path, u"--host"_s, host}), timing, 60'000,
                                    false, &termination);
        QCOMPARE(run.status, 128 + SIGTERM);

        const QStringList lines = run.outLines();
        const QRegularExpressionMatch totals =
            QRegularExpression(u"^sent (\\d+), confirmed (\\d+), unconfirmed (\\d+), never sent "
                               u"(\\d+)$"_s)
                .match(lines.value(lines.size() - 1));
        QVERIFY2(totals.hasMatch(), qPrintable(lines.value(lines.size() - 1)));
        qInfo("%s", qPrintable(totals.captured(0)));
        const int sent = totals.captured(1).toInt();
        const int confirmed = totals.captured(2).toInt();
        const int unconfirmed = totals.captured(3).toInt();
        const int neverSent = totals.captured(4).toInt();
        QCOMPARE(sent + neverSent, pgmButtons);
        QCOMPARE(confirmed + unconfirmed, sent);
        // Sent means it left for the frame, every one of them.
        QTRY_COMPARE(frame.receivedOfKind(ClientMessageKind::writeRequest).size(), sent);
        QVERIFY(neverSent > 0);
        QVERIFY2(confirmed >= appliedAtSignal - writesPerGroup,
                 "answers that had arrived before the signal are not counted");
        QCOMPARE(linesOf(lines, u"confirmed"_s).size(), confirmed);
        const QStringList silent = linesOf(lines, u"unconfirmed"_s);
        QCOMPARE(silent.size(), unconfirmed);
        for (const QString& line : silent)
            QVERIFY2(line.endsWith(u", no answer before the interruption"_s), qPrintable(line));
        QCOMPARE(linesOf(lines, u"never sent"_s).size(), neverSent);
        QCOMPARE(run.err, u"quorvane-cli: interrupted by SIGTERM while writing; "_s +
                              QString::number(neverSent) + u" buttons were never sent\n"_s);
    }
};

QTEST_GUILESS_MAIN(TestCliApplyProof)
#include "tst_cli_apply_proof.moc"
