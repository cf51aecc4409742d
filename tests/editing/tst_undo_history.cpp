// The undo and redo histories and their depth, and the arithmetic of paste targets and of closing
// up a row.
#include "editing/clipboard.h"
#include "editing/undo_history.h"

#include <QTest>

using namespace quorvane;

namespace {
UndoAction actionFor(int source)
{
    return UndoAction{{ButtonState{Bus::me1, 1, 1, source}}, {}};
}
} // namespace

class TestUndoHistory : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void keepsActionsNewestLast()
    {
        UndoHistory history;
        QVERIFY(history.isEmpty());
        QVERIFY(history.record(actionFor(1)));
        QVERIFY(history.record(actionFor(2)));
        QCOMPARE(history.size(), 2);
        QCOMPARE(history.takeNewest()->changes.first().source, 2);
        QCOMPARE(history.takeNewest()->changes.first().source, 1);
        QCOMPARE(history.takeNewest().has_value(), false);
        QVERIFY(history.isEmpty());
    }

    void anActionWithoutChangesIsNotKept()
    {
        UndoHistory history;
        QVERIFY(!history.record(UndoAction{}));
        QVERIFY(history.isEmpty());
    }

    void keepsTheNewestFifty()
    {
        UndoHistory history;
        for (int batch = 1; batch <= 60; ++batch)
            history.record(actionFor(batch));
        QCOMPARE(history.size(), 50);
        QCOMPARE(history.actions().first().changes.first().source, 11);
        QCOMPARE(history.actions().last().changes.first().source, 60);
        int undone = 0;
        for (int expected = 60; expected >= 11; --expected, ++undone)
            QCOMPARE(history.takeNewest()->changes.first().source, expected);
        QCOMPARE(undone, 50);
        QCOMPARE(history.takeNewest().has_value(), false);
    }

    void anUndoneActionCanBeRedoneAndUndoneAgain()
    {
        UndoHistory history;
        history.record(actionFor(1));
        history.record(actionFor(2));
        QVERIFY(!history.canRedo());
        QCOMPARE(history.takeNewest()->changes.first().source, 2);
        QVERIFY(history.keepForRedo(actionFor(20)));
        QCOMPARE(history.takeNewest()->changes.first().source, 1);
        QVERIFY(history.keepForRedo(actionFor(10)));
        QCOMPARE(history.redoActions().size(), 2);

        // The newest undo is redone first; what a redo replaced is undoable again, and the
        // rest of the redo history stays.
        QCOMPARE(history.takeNewestRedo()->changes.first().source, 10);
        QVERIFY(history.keepForUndo(actionFor(1)));
        QVERIFY(history.canRedo());
        QCOMPARE(history.takeNewest()->changes.first().source, 1);
        QVERIFY(history.keepForRedo(actionFor(10)));
        QCOMPARE(history.takeNewestRedo()->changes.first().source, 10);
        QCOMPARE(history.takeNewestRedo()->changes.first().source, 20);
        QCOMPARE(history.takeNewestRedo().has_value(), false);
        QVERIFY(!history.keepForRedo(UndoAction{}));
        QVERIFY(!history.canRedo());
    }

    void aNewBatchEmptiesTheRedoHistory()
    {
        UndoHistory history;
        history.record(actionFor(1));
        history.takeNewest();
        history.keepForRedo(actionFor(10));
        QVERIFY(history.record(actionFor(2)));
        QVERIFY(!history.canRedo());
        QCOMPARE(history.size(), 1);

        // Also a batch with nothing to undo: what was undone before it is stale all the same.
        history.takeNewest();
        history.keepForRedo(actionFor(20));
        QVERIFY(!history.record(UndoAction{}));
        QVERIFY(!history.canRedo());
        QVERIFY(history.isEmpty());

        history.keepForRedo(actionFor(30));
        QVERIFY(history.forgetRedo());
        QVERIFY(!history.forgetRedo());
    }

    void keepsTheNewestFiftyRedos()
    {
        UndoHistory history;
        for (int undone = 1; undone <= 60; ++undone)
            history.keepForRedo(actionFor(undone));
        QCOMPARE(history.redoActions().size(), 50);
        QCOMPARE(history.redoActions().first().changes.first().source, 11);
        for (int redone = 1; redone <= 60; ++redone)
            history.keepForUndo(actionFor(redone));
        QCOMPARE(history.size(), 50);
        QCOMPARE(history.actions().first().changes.first().source, 11);
        // Redone batches are undoable again without emptying the redo history.
        QCOMPARE(history.redoActions().size(), 50);
    }

    void rowPasteStopsAtTheRowsEnd()
    {
        QCOMPARE(rowPasteTargets(33, 5, 35), QList<int>({33, 34, 35}));
        QCOMPARE(rowPasteTargets(1, 3, 15), QList<int>({1, 2, 3}));
        QCOMPARE(rowPasteTargets(15, 1, 15), QList<int>({15}));
        QCOMPARE(rowPasteTargets(15, 0, 15), QList<int>());
    }

    void columnPasteStopsAtTheLastShift()
    {
        QCOMPARE(columnPasteTargets(3, 3), QList<int>({3, 4}));
        QCOMPARE(columnPasteTargets(1, 4), QList<int>({1, 2, 3, 4}));
        QCOMPARE(columnPasteTargets(4, 4), QList<int>({4}));
    }

    void closingUpMovesTheRestLeftAndFillsWithZero()
    {
        // Buttons 3 to 15 of a row holding 1 to 15, with 3 and 4 taken out.
        QList<qint64> stretch;
        for (int source = 3; source <= 15; ++source)
            stretch.append(source);
        QCOMPARE(closeUpRow(stretch, 3, {3, 4}),
                 QList<qint64>({5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 0, 0}));
        // Gaps apart and unmapped buttons (0) move along like any other.
        QCOMPARE(closeUpRow({7, 0, 9, 10, 11}, 6, {6, 8, 10}), QList<qint64>({0, 10, 0, 0, 0}));
        QCOMPARE(closeUpRow({1, 2}, 1, {}), QList<qint64>({1, 2}));
    }
};

QTEST_GUILESS_MAIN(TestUndoHistory)
#include "tst_undo_history.moc"
