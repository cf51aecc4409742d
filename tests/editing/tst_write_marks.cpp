// What a cell shows of a write the frame has not confirmed, and what the undo history keeps of
// a write the frame refused: the window shows what the frame holds, or says otherwise.
#include "editing_fixture.h"

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;
using namespace std::chrono_literals;
using emulator::ClientMessageKind;
using emulator::FrameEmulatorOptions;

namespace {

LinkTiming markTiming()
{
    LinkTiming timing = fastTiming();
    // Long enough that a write held up by a loss is seen pending before it is sent again.
    timing.writeConfirmWait = 400ms;
    return timing;
}

constexpr int settleTimeoutMs = 5'000;

FrameEmulatorOptions losingWrites(QList<int> occurrences)
{
    FrameEmulatorOptions options;
    for (int occurrence : occurrences)
        options.faults.lostArrivals.append({ClientMessageKind::writeRequest, occurrence});
    return options;
}

CellWriteMark markOf(const ConnectedEditing& editing, int shift, int button)
{
    return editing.model.cellState(shift, button).writeMark;
}

} // namespace

class TestWriteMarks : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aWriteConfirmedAtOnceIsNeverMarked()
    {
        ConnectedEditing editing({}, markTiming());
        QVERIFY(editing.connect(35));
        QList<CellWriteMark> seen;
        QObject::connect(&editing.model, &EditingModel::gridDataChanged, &editing.model,
                         [&] { seen.append(markOf(editing, 1, 4)); });
        QVERIFY(editing.model.writeEdit({{Bus::pgm, 1, 4}}, {777}));
        QTRY_VERIFY_WITH_TIMEOUT(editing.connection().writes().isSettled(), settleTimeoutMs);

        QVERIFY(!seen.isEmpty());
        QVERIFY(!seen.contains(CellWriteMark::pending));
        QCOMPARE(markOf(editing, 1, 4), CellWriteMark::none);
        QCOMPARE(editing.model.cellState(1, 4).source, 777);
    }

    void aWriteHeldUpIsMarkedPendingUntilTheFrameReportsIt()
    {
        ConnectedEditing editing(losingWrites({1}), markTiming());
        QVERIFY(editing.connect(35));
        QVERIFY(editing.model.writeEdit({{Bus::pgm, 2, 6}}, {808}));
        QTRY_COMPARE(markOf(editing, 2, 6), CellWriteMark::pending);
        const ButtonCellState pending = editing.model.cellState(2, 6);
        QCOMPARE(pending.source, 808);
        QVERIFY(cellToolTip(pending).endsWith(
            u"\nPending: written, not yet reported back by the frame"_s));

        QTRY_COMPARE_WITH_TIMEOUT(markOf(editing, 2, 6), CellWriteMark::none, settleTimeoutMs);
        QCOMPARE(editing.onFrame(Bus::pgm, 2, 6), 808u);
        QCOMPARE(editing.model.cellState(2, 6).source, 808);
    }

    void aWriteNeverReportedBackIsMarkedNotConfirmed()
    {
        ConnectedEditing editing(losingWrites({1, 2, 3, 4}), markTiming());
        QVERIFY(editing.connect(35));
        const quint32 held = editing.onFrame(Bus::pgm, 3, 2);
        QVERIFY(editing.model.writeEdit({{Bus::pgm, 3, 2}}, {115}));
        QTRY_COMPARE_WITH_TIMEOUT(markOf(editing, 3, 2), CellWriteMark::notConfirmed,
                                  settleTimeoutMs);
        const ButtonCellState cell = editing.model.cellState(3, 2);
        QCOMPARE(cell.source, 115);
        QVERIFY(cellToolTip(cell).endsWith(u"\nNot confirmed by the frame: asked 115, frame last "
                                           u"reported "_s +
                                           QString::number(held)));
        // A new write to the button starts afresh.
        QVERIFY(editing.model.writeEdit({{Bus::pgm, 3, 2}}, {116}));
        QCOMPARE(markOf(editing, 3, 2), CellWriteMark::none);
        QTRY_COMPARE_WITH_TIMEOUT(editing.onFrame(Bus::pgm, 3, 2), 116u, settleTimeoutMs);
    }

    void aRefusedWriteShowsTheFramesSourceAndLeavesNothingToUndo()
    {
        FrameEmulatorOptions options;
        options.faults.refusedWrites = {{Bus::pgm, 35, 1, 15}};
        ConnectedEditing editing(options, markTiming());
        QVERIFY(editing.connect(35));
        const quint32 kept = editing.onFrame(Bus::pgm, 1, 15);
        const quint32 before = editing.onFrame(Bus::pgm, 1, 16);
        // One batch, one button taken and one refused.
        QVERIFY(editing.model.writeEdit({{Bus::pgm, 1, 15}, {Bus::pgm, 1, 16}}, {47, 48}));
        QTRY_COMPARE_WITH_TIMEOUT(markOf(editing, 1, 15), CellWriteMark::refused, settleTimeoutMs);

        const ButtonCellState cell = editing.model.cellState(1, 15);
        QCOMPARE(cell.source, qint64{kept});
        QVERIFY(cellToolTip(cell).endsWith(u"\nRefused by the frame: asked 47, frame kept "_s +
                                           QString::number(kept)));
        QCOMPARE(editing.connection().statusMessage(),
                 u"Refused by the frame: PGM S1B15 (asked 47, frame kept "_s +
                     QString::number(kept) + u')');
        // The step keeps only the change the frame made: undoing it writes the one button.
        QVERIFY(editing.model.canUndo());
        const qsizetype writes = editing.writeCount();
        editing.model.undo();
        QUORVANE_WAIT_FOR_WRITES(editing, writes, 1);
        QCOMPARE(editing.writesSince(writes).first(),
                 editing.request(Bus::pgm, 1, 16, quint16(before)));
        QVERIFY(!editing.model.canUndo());
    }

    void aBatchRefusedWholeLeavesNoStep()
    {
        FrameEmulatorOptions options;
        options.faults.refusedWrites = {{Bus::me1, 35, 4, 1}, {Bus::me1, 35, 4, 2}};
        ConnectedEditing editing(options, markTiming());
        QVERIFY(editing.connect(35));
        editing.model.selectBus(Bus::me1);
        QTRY_VERIFY(editing.connection().currentBus() == Bus::me1 &&
                    !editing.connection().isLoading());
        QVERIFY(editing.model.writeEdit({{Bus::me1, 4, 1}, {Bus::me1, 4, 2}}, {5, 6}));
        QVERIFY(editing.model.canUndo());
        QTRY_COMPARE_WITH_TIMEOUT(
            editing.connection().writes().confirmations().count(WriteOutcome::refused), 2,
            settleTimeoutMs);
        QVERIFY(!editing.model.canUndo());
    }
};

QTEST_GUILESS_MAIN(TestWriteMarks)
#include "tst_write_marks.moc"
