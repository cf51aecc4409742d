// Ordinary edits, an undo and a redo through the editing model on a network that misbehaves,
// one fault per row, seeded. Afterwards the window is held against the frame's own table: no
// button may differ without the window saying so, and on a slightly lossy network none may
// differ at all.
#include "editing_fixture.h"
#include "write_audit.h"

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;
using namespace std::chrono_literals;
using emulator::FrameEmulator;
using emulator::FrameEmulatorOptions;

namespace {

// A fault that sets in once the client is connected, so that every row edits the same table.
using Fault = std::function<void(FrameEmulator&)>;

struct Row {
    FrameEmulatorOptions options;
    Fault fault;
    bool mustAgree = false; // every button as the frame holds it, not only every one named
};

LinkTiming matrixTiming()
{
    LinkTiming timing = fastTiming();
    timing.writeConfirmWait = 200ms;
    return timing;
}

// Five batches of pastes and clears on rows 1 to 3, then undo, redo and undo again.
void editAway(EditingModel& model)
{
    for (int batch = 0; batch < 5; ++batch) {
        QList<ButtonLocation> targets;
        QList<qint64> sources;
        for (int i = 0; i < 10; ++i) {
            targets.append({Bus::pgm, 1 + (batch + i) % 3, 1 + (batch * 7 + i) % 35});
            sources.append(batch == 3 ? 0 : 200 + batch * 10 + i);
        }
        QVERIFY(model.writeEdit(targets, sources));
    }
    model.undo();
    model.redo();
    model.undo();
}

} // namespace

Q_DECLARE_METATYPE(Row)

class TestWriteFaultMatrix : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void editsOnAMisbehavingNetwork_data()
    {
        QTest::addColumn<Row>("row");
        const auto seeded = [](quint32 seed) {
            FrameEmulatorOptions options;
            options.faults.seed = seed;
            return options;
        };
        QTest::newRow("clean") << Row{{}, {}, true};
        QTest::newRow("loss 5% each way")
            << Row{seeded(5), [](FrameEmulator& frame) { frame.setLoss(0.05, 0.05); }, true};
        QTest::newRow("loss 20% each way")
            << Row{seeded(20), [](FrameEmulator& frame) { frame.setLoss(0.2, 0.2); }};
        QTest::newRow("answers 300 ms late")
            << Row{{}, [](FrameEmulator& frame) { frame.setAnswerDelay(300); }, true};
        QTest::newRow("reordered")
            << Row{seeded(7), [](FrameEmulator& frame) { frame.setReorderWindow(60); }, true};
        FrameEmulatorOptions refusing;
        refusing.faults.refusedWrites = {{Bus::pgm, 35, 1, 1}, {Bus::pgm, 35, 2, 2}};
        QTest::newRow("refused writes") << Row{refusing, {}, true};
        FrameEmulatorOptions ignoring = seeded(11);
        ignoring.faults.ignoredWriteFraction = 0.2;
        QTest::newRow("writes acknowledged, not applied") << Row{ignoring, {}};
    }

    void editsOnAMisbehavingNetwork()
    {
        QFETCH(Row, row);
        ConnectedEditing editing(row.options, matrixTiming());
        QVERIFY(editing.connect(35));
        if (row.fault)
            row.fault(editing.frame());
        editAway(editing.model);
        QTRY_VERIFY_WITH_TIMEOUT(editing.connection().writes().isSettled(), 20'000);
        // Every write has its verdict; the network heals so that the sentinel gets through.
        editing.frame().setLoss(0, 0);
        QVERIFY(waitForFrameToDrain(editing.frame(), editing.connection(), Bus::pgm));

        const QStringList log = editing.link.messages();
        const WriteAudit audit =
            auditWrites(editing.model, editing.connection(), editing.frame(), log);
        qInfo("%d buttons differ, %lld of them unnamed (%s); %lld writes not confirmed, %lld "
              "refused",
              audit.differing, audit.unnamed.size(), qPrintable(audit.unnamed.join(u", "_s)),
              log.filter(u"[WARN] Not confirmed by the frame: "_s).size(),
              log.filter(u"[WARN] Refused by the frame: "_s).size());
        QCOMPARE(audit.unnamed, QStringList());
        if (row.mustAgree)
            QCOMPARE(audit.differing, 0);
        // Another source in answer to a write is never taken for a refusal on its own: only
        // the frame that really refuses has its writes named so.
        if (row.options.faults.refusedWrites.isEmpty())
            QCOMPARE(log.filter(u"[WARN] Refused by the frame: "_s), QStringList());
    }
};

QTEST_GUILESS_MAIN(TestWriteFaultMatrix)
#include "tst_write_fault_matrix.moc"
