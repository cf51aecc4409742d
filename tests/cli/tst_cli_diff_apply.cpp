// Diffs and applies against the emulated frame on loopback: every differing button printed,
// exactly the differences written and confirmed by the frame's own data, and a backup restored.
#include "cli_frame_support.h"
#include "cli_runner.h"
#include <QTemporaryDir>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;
using emulator::ButtonTable;
using emulator::ClientMessageKind;
using emulator::FrameEmulator;
using emulator::WriteRequest;

namespace {

const QString host = u"127.0.0.1"_s;
const QString everyBus = u"ME1, ME2, ME3, ME4, PGM, AUX"_s;

} // namespace

class TestCliDiffApply : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void diffPrintsEveryDifferingButton()
    {
        FrameEmulator frame;
        QVERIFY(startFrame(frame));
        QTemporaryDir dir;
        const QString path = dir.filePath(u"pgm.json"_s);
        ShowFile file = showOfFrame(frame, {Bus::pgm});
        save(path, writeShowJson(file));

        // Changed on the frame behind the file's back: one replaced, one cleared, one assigned.
        const Place replaced = firstButton(frame, Bus::pgm, true);
        const Place cleared = firstButton(frame, Bus::pgm, true, 2);
        const Place assigned = firstButton(frame, Bus::pgm, false);
        const ShowButton wasReplaced = *find(file, replaced);
        const ShowButton wasCleared = *find(file, cleared);
        frame.setMapping(Bus::pgm, 35, replaced.shift, replaced.button, 999);
        frame.setMapping(Bus::pgm, 35, cleared.shift, cleared.button, 0);
        frame.setMapping(Bus::pgm, 35, assigned.shift, assigned.button, 12);

        auto line = [](const Place& place, const QString& frameSide,
                       const QString& fileSide) -> QString {
            return u"PGM shift "_s + QString::number(place.shift) + u" button "_s +
                   QString::number(place.button) + u": frame "_s + frameSide + u", file "_s +
                   fileSide;
        };
        auto text = [](const ShowButton& button) -> QString {
            return QString::number(button.source) +
                   (button.name.isEmpty() ? QString() : u" ("_s + button.name + u')');
        };
        QStringList expected{
            line(replaced, u"999"_s, text(wasReplaced)),
            line(cleared, u"0 (unassigned)"_s, text(wasCleared)),
            line(assigned, u"12 ("_s + nameOnFrame(frame, 12) + u')', u"0 (unassigned)"_s)};
        // In grid order: shift, then button.
        std::sort(expected.begin(), expected.end(), [](const QString& a, const QString& b) {
            const auto key = [](const QString& l) {
                const QStringList words = l.split(u' ');
                return std::pair(words[2].toInt(), words[4].chopped(1).toInt());
            };
            return key(a) < key(b);
        });

        const ToolRun run = runTool({u"diff"_s, path, u"--host"_s, host});
        QCOMPARE(run.status, 1);
        QCOMPARE(run.outLines(), expected + QStringList{u"3 buttons differ on PGM"_s});

        // Listed buttons only: the newly assigned button is not in the file, so left alone.
        const ToolRun listed = runTool({u"diff"_s, path, u"--host"_s, host, u"--listed-only"_s});
        QCOMPARE(listed.status, 1);
        expected.removeIf([](const QString& l) { return l.endsWith(u"file 0 (unassigned)"_s); });
        QCOMPARE(listed.outLines(), expected + QStringList{u"2 buttons differ on PGM"_s});
        QVERIFY(frame.writeRequests().isEmpty());
    }

    void applyWritesExactlyTheDifferences()
    {
        FrameEmulator frame;
        QVERIFY(startFrame(frame));
        QTemporaryDir dir;
        const QString path = dir.filePath(u"show.json"_s);
        // The three buses the edit touches; the rest of the frame must stay as it is.
        ShowFile file = showOfFrame(frame, {Bus::me2, Bus::me4, Bus::aux});

        // The file edited: one button to another source, one taken out (so cleared on the
        // frame), one unassigned button given a source.
        const Place changed = firstButton(frame, Bus::me2, true);
        const Place removed = firstButton(frame, Bus::me4, true, 3);
        const Place added = firstButton(frame, Bus::aux, false);
        ShowButton* change = find(file, changed);
        change->source = 4242;
        change->name = u"Guest feed"_s;
        file.buttons.removeIf([&](const ShowButton& b) {
            return b.bus == removed.bus && b.shift == removed.shift && b.button == removed.button;
        });
        file.buttons.append(ShowButton{Bus::aux, added.shift, added.button, 12, {}});
        save(path, writeShowJson(file));

        ButtonTable expected = frame.show().buttons;
        expected.setMapping(Bus::me2, 35, changed.shift, changed.button, 4242);
        expected.setMapping(Bus::me4, 35, removed.shift, removed.button, 0);
        expected.setMapping(Bus::aux, 35, added.shift, added.button, 12);

        const ToolRun run = runTool({u"apply"_s, path, u"--host"_s, host});
        QCOMPARE(run.status, 0);
        const auto place = [](const Place& p) -> QString {
            return busName(p.bus) + u" shift "_s + QString::number(p.shift) + u" button "_s +
                   QString::number(p.button);
        };
        QCOMPARE(
            run.outLines(),
            QStringList({u"holds "_s + place(changed) + u": 4242 (Guest feed)"_s,
                         u"holds "_s + place(removed) + u": 0 (unassigned)"_s,
                         u"holds "_s + place(added) + u": 12 ("_s + nameOnFrame(frame, 12) + u')',
                         u"sent 3, confirmed 3, unconfirmed 0"_s,
                         u"read back ME2, ME4, AUX: as in the file"_s}));
        // What the frame holds was asked for afresh after the writes: every button of the
        // three buses.
        const QList<emulator::ReceivedDatagram>& received = frame.received();
        const auto lastWrite =
            std::find_if(received.rbegin(), received.rend(), [](const auto& datagram) {
                return datagram.message.kind == ClientMessageKind::writeRequest;
            });
        QVERIFY(lastWrite != received.rend());
        const auto subscriptionsAfter =
            std::count_if(received.rbegin(), lastWrite, [](const auto& datagram) {
                return datagram.message.kind == ClientMessageKind::buttonSubscription;
            });
        QVERIFY(subscriptionsAfter >= 3 * 4 * 35);

        using emulator::buttonParameter;
        QCOMPARE(
            frame.writeRequests(),
            QList<WriteRequest>({{buttonParameter(35, changed.shift, changed.button), 0x10, 4242},
                                 {buttonParameter(35, removed.shift, removed.button), 0x40, 0},
                                 {buttonParameter(35, added.shift, added.button), 0x50, 12}}));
        QVERIFY(frame.show().buttons == expected);

        // Applied once, the file and the frame agree, and a second apply writes nothing.
        const ToolRun again = runTool({u"apply"_s, path, u"--host"_s, host});
        QCOMPARE(again.status, 0);
        QCOMPARE(again.out, u"sent 0, confirmed 0, unconfirmed 0\n"_s);
        QCOMPARE(frame.writeRequests().size(), 3);
    }

    void handWrittenFilesNeedNoNames()
    {
        FrameEmulator frame;
        QVERIFY(startFrame(frame));
        QTemporaryDir dir;
        const Place first = firstButton(frame, Bus::me2, true);
        const Place second = firstButton(frame, Bus::me2, true, 2);
        const QString json = dir.filePath(u"by-hand.json"_s);
        save(json,
             QString(u"{ \"format\": \"quorvane-show\", \"version\": 2,\n"
                     u"  \"frame\": { \"name\": \"\", \"version\": \"\", \"address\": \"\" },\n"
                     u"  \"suite\": 1, \"buttonCount\": 35,\n"
                     u"  \"buttons\": [ { \"bus\": \"ME2\", \"shift\": "_s +
                     QString::number(first.shift) + u", \"button\": "_s +
                     QString::number(first.button) + u", \"source\": 4101 } ] }\n"_s)
                 .toUtf8());
        const ToolRun fromJson =
            runTool(quietly({u"apply"_s, json, u"--host"_s, host, u"--listed-only"_s}));
        QCOMPARE(fromJson.status, 0);
        QCOMPARE(fromJson.outLines().last(), u"read back ME2: as in the file"_s);
        QCOMPARE(frame.mapping(Bus::me2, 35, first.shift, first.button), 4101u);

        const QString csv = dir.filePath(u"by-hand.csv"_s);
        save(csv, QString(u"bus,shift,button,source\nME2,"_s + QString::number(second.shift) +
                          u',' + QString::number(second.button) + u",4102\n"_s)
                      .toUtf8());
        const ToolRun fromCsv =
            runTool(quietly({u"apply"_s, csv, u"--host"_s, host, u"--listed-only"_s}));
        QCOMPARE(fromCsv.status, 0);
        QCOMPARE(frame.mapping(Bus::me2, 35, second.shift, second.button), 4102u);

        // A name the frame does not use is mentioned by diff, and changes nothing else.
        const QString named = dir.filePath(u"named.csv"_s);
        save(named,
             QString(u"bus,shift,button,source,name\nME2,"_s + QString::number(second.shift) +
                     u',' + QString::number(second.button) + u",4102,Old name\n"_s)
                 .toUtf8());
        const ToolRun diff =
            runTool(quietly({u"diff"_s, named, u"--host"_s, host, u"--listed-only"_s}));
        QCOMPARE(diff.status, 0);
        QCOMPARE(diff.outLines(),
                 QStringList({u"ME2 shift "_s + QString::number(second.shift) + u" button "_s +
                                  QString::number(second.button) +
                                  u": same source; the file names 4102 \"Old name\", the frame "
                                  u"has no name for it"_s,
                              u"no differences on ME2"_s}));
    }

    void dryRunWritesNothing()
    {
        FrameEmulator frame;
        QVERIFY(startFrame(frame));
        QTemporaryDir dir;
        const QString path = dir.filePath(u"show.json"_s);
        ShowFile file = showOfFrame(frame, {Bus::me1});
        const Place changed = firstButton(frame, Bus::me1, true);
        const ShowButton before = *find(file, changed);
        find(file, changed)->source = 4242;
        find(file, changed)->name = u"Guest feed"_s;
        save(path, writeShowJson(file));

        const ToolRun run = runTool({u"apply"_s, path, u"--host"_s, host, u"--dry-run"_s});
        QCOMPARE(run.status, 1);
        QCOMPARE(
            run.outLines(),
            QStringList({u"would write ME1 shift "_s + QString::number(changed.shift) +
                             u" button "_s + QString::number(changed.button) + u": frame "_s +
                             QString::number(before.source) +
                             (before.name.isEmpty() ? QString() : u" ("_s + before.name + u')') +
                             u", file 4242 (Guest feed); the file names 4242 \"Guest feed\", the "
                             u"frame has no name "
                             u"for it"_s,
                         u"would write 1 button on ME1"_s}));
        QVERIFY(frame.receivedOfKind(ClientMessageKind::writeRequest).isEmpty());
        QVERIFY(frame.writeRequests().isEmpty());
        QCOMPARE(frame.mapping(Bus::me1, 35, changed.shift, changed.button),
                 quint32(before.source));
    }

    void backupAndRestore()
    {
        FrameEmulator frame;
        QVERIFY(startFrame(frame));
        QTemporaryDir dir;
        const QString backup = dir.filePath(u"studio-a.json"_s);
        save(backup, writeShowJson(showOfFrame(frame, {allBuses.begin(), allBuses.end()}, 2)));
        const ButtonTable original = frame.show().buttons;

        // A day of changes on the panel: replaced, cleared and newly assigned buttons.
        const Place replaced = firstButton(frame, Bus::me1, true);
        const Place cleared = firstButton(frame, Bus::pgm, true, 4);
        const Place assigned = firstButton(frame, Bus::aux, false, 2);
        frame.pushMappingChange(Bus::me1, 35, replaced.shift, replaced.button, 31);
        frame.pushMappingChange(Bus::pgm, 35, cleared.shift, cleared.button, 0);
        frame.pushMappingChange(Bus::aux, 35, assigned.shift, assigned.button, 32);
        QVERIFY(!(frame.show().buttons == original));

        const ToolRun before = runTool({u"diff"_s, backup, u"--host"_s, host});
        QCOMPARE(before.status, 1);
        QCOMPARE(before.outLines().last(), u"3 buttons differ on "_s + everyBus);

        const ToolRun restore = runTool({u"apply"_s, backup, u"--host"_s, host});
        QCOMPARE(restore.status, 0);
        QCOMPARE(restore.outLines().mid(3),
                 QStringList({u"sent 3, confirmed 3, unconfirmed 0"_s,
                              u"read back ME1, PGM, AUX: as in the file"_s}));
        QCOMPARE(frame.client()->mainPort, quint16{6134}); // the suite recorded in the file
        QVERIFY(frame.show().buttons == original);

        const ToolRun after = runTool({u"diff"_s, backup, u"--host"_s, host});
        QCOMPARE(after.status, 0);
    }
};

QTEST_GUILESS_MAIN(TestCliDiffApply)
#include "tst_cli_diff_apply.moc"
