// The grid's selection rules: plain clicks, column clicks on the last buttons of a row, range
// selection from the anchor along a row or down a column.
#include "editing/selection_model.h"

#include <QTest>

using namespace quorvane;

namespace {
ButtonKeySet row(int shift, int from, int to)
{
    ButtonKeySet keys;
    for (int button = from; button <= to; ++button)
        keys.insert({shift, button});
    return keys;
}

ButtonKeySet column(int button, int from, int to)
{
    ButtonKeySet keys;
    for (int shift = from; shift <= to; ++shift)
        keys.insert({shift, button});
    return keys;
}
} // namespace

class TestSelectionModel : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void startsEmptyWithoutAnchor()
    {
        const SelectionModel selection;
        QVERIFY(selection.isEmpty());
        QCOMPARE(selection.selectionShift(), std::nullopt);
        QCOMPARE(selection.anchor(), std::nullopt);
        QCOMPARE(selection.isVerticalSelection(), false);
        QCOMPARE(selection.first(), std::nullopt);
    }

    void plainClickSelectsOneCell()
    {
        SelectionModel selection;
        selection.tap({2, 7}, 35);
        QCOMPARE(selection.selectedButtons(), ButtonKeySet({{2, 7}}));
        QCOMPARE(selection.selectionShift(), 2);
        QCOMPARE(selection.anchor(), SelectedButtonKey({2, 7}));
        QCOMPARE(selection.isVerticalSelection(), false);
    }

    void plainClickOnTheLastFourButtonsSelectsTheColumn_data()
    {
        QTest::addColumn<int>("buttonCount");
        QTest::addColumn<int>("button");
        QTest::addColumn<bool>("isColumn");
        QTest::newRow("20: button 16 alone") << 20 << 16 << false;
        QTest::newRow("20: button 17 column") << 20 << 17 << true;
        QTest::newRow("20: button 20 column") << 20 << 20 << true;
        QTest::newRow("15: button 11 alone") << 15 << 11 << false;
        QTest::newRow("15: button 12 column") << 15 << 12 << true;
        QTest::newRow("35: button 31 alone") << 35 << 31 << false;
        QTest::newRow("35: button 32 column") << 35 << 32 << true;
    }

    void plainClickOnTheLastFourButtonsSelectsTheColumn()
    {
        QFETCH(int, buttonCount);
        QFETCH(int, button);
        QFETCH(bool, isColumn);
        SelectionModel selection;
        selection.tap({3, button}, buttonCount);
        if (isColumn) {
            QCOMPARE(selection.selectedButtons(), column(button, 1, 4));
            QCOMPARE(selection.selectionShift(), std::nullopt);
            QCOMPARE(selection.isVerticalSelection(), true);
        } else {
            QCOMPARE(selection.selectedButtons(), ButtonKeySet({{3, button}}));
            QCOMPARE(selection.selectionShift(), 3);
            QCOMPARE(selection.isVerticalSelection(), false);
        }
        QCOMPARE(selection.anchor(), SelectedButtonKey({3, button}));
    }

    void plainClickOutsideReplacesTheSelection()
    {
        SelectionModel selection;
        selection.tap({1, 2}, 35);
        selection.shiftTap({1, 6});
        selection.tap({3, 9}, 35);
        QCOMPARE(selection.selectedButtons(), ButtonKeySet({{3, 9}}));
        QCOMPARE(selection.anchor(), SelectedButtonKey({3, 9}));
    }

    void plainClickInsideAMultiSelectionKeepsItAndMovesTheAnchor()
    {
        SelectionModel selection;
        selection.tap({1, 2}, 35);
        selection.shiftTap({1, 6});
        selection.tap({1, 4}, 35);
        QCOMPARE(selection.selectedButtons(), row(1, 2, 6));
        QCOMPARE(selection.selectionShift(), 1);
        QCOMPARE(selection.anchor(), SelectedButtonKey({1, 4}));
    }

    void shiftClickWithoutAnchorSelectsTheCellAloneEvenOnALastButton()
    {
        SelectionModel selection;
        selection.shiftTap({2, 34});
        QCOMPARE(selection.selectedButtons(), ButtonKeySet({{2, 34}}));
        QCOMPARE(selection.selectionShift(), 2);
        QCOMPARE(selection.anchor(), SelectedButtonKey({2, 34}));
        QCOMPARE(selection.isVerticalSelection(), false);
    }

    void shiftClickAlongTheRowSelectsTheRangeEitherWay()
    {
        SelectionModel selection;
        selection.tap({2, 8}, 35);
        selection.shiftTap({2, 3});
        QCOMPARE(selection.selectedButtons(), row(2, 3, 8));
        QCOMPARE(selection.anchor(), SelectedButtonKey({2, 8}));
        selection.shiftTap({2, 12});
        QCOMPARE(selection.selectedButtons(), row(2, 8, 12));
        QCOMPARE(selection.selectionShift(), 2);
        QCOMPARE(selection.anchor(), SelectedButtonKey({2, 8}));
    }

    void shiftClickOnTheAnchorSelectsThatCell()
    {
        SelectionModel selection;
        selection.tap({2, 5}, 35);
        selection.shiftTap({2, 9});
        selection.shiftTap({2, 5});
        QCOMPARE(selection.selectedButtons(), ButtonKeySet({{2, 5}}));
        QCOMPARE(selection.selectionShift(), 2);
        QCOMPARE(selection.anchor(), SelectedButtonKey({2, 5}));
    }

    void shiftClickDiagonalToTheAnchorStartsAfresh()
    {
        SelectionModel selection;
        selection.tap({1, 5}, 35);
        selection.shiftTap({1, 8});
        selection.shiftTap({3, 10});
        QCOMPARE(selection.selectedButtons(), ButtonKeySet({{3, 10}}));
        QCOMPARE(selection.selectionShift(), 3);
        QCOMPARE(selection.anchor(), SelectedButtonKey({3, 10}));
        QCOMPARE(selection.isVerticalSelection(), false);
    }

    void shiftClickInTheAnchorsColumnTurnsARowRangeIntoAColumnRange()
    {
        SelectionModel selection;
        selection.tap({1, 5}, 35);
        selection.shiftTap({1, 9});
        QCOMPARE(selection.selectionShift(), 1);
        selection.shiftTap({4, 5});
        QCOMPARE(selection.selectedButtons(), column(5, 1, 4));
        QCOMPARE(selection.selectionShift(), std::nullopt);
        QCOMPARE(selection.isVerticalSelection(), true);
        QCOMPARE(selection.anchor(), SelectedButtonKey({1, 5}));
        // And upwards from a lower anchor.
        selection.tap({3, 2}, 35);
        selection.shiftTap({2, 2});
        QCOMPARE(selection.selectedButtons(), column(2, 2, 3));
    }

    void copyOrderFollowsTheRunAndFirstIsTheSmallestKey()
    {
        SelectionModel selection;
        selection.tap({3, 12}, 35);
        selection.shiftTap({3, 9});
        QCOMPARE(selection.copyOrder(),
                 QList<SelectedButtonKey>({{3, 9}, {3, 10}, {3, 11}, {3, 12}}));
        QCOMPARE(selection.first(), SelectedButtonKey({3, 9}));

        selection.tap({4, 33}, 35);
        QCOMPARE(selection.copyOrder(),
                 QList<SelectedButtonKey>({{1, 33}, {2, 33}, {3, 33}, {4, 33}}));
        QCOMPARE(selection.first(), SelectedButtonKey({1, 33}));
    }

    void deselectAllForgetsSelectionAndAnchor()
    {
        SelectionModel selection;
        selection.tap({1, 33}, 35);
        selection.deselectAll();
        QCOMPARE(selection, SelectionModel());
    }

    void arrowKeysMoveAOneCellSelection()
    {
        SelectionModel selection;
        // Nothing selected: the first arrow takes the first cell.
        selection.moveBy(0, 1, 20);
        QCOMPARE(selection.selectedButtons(), ButtonKeySet({{1, 1}}));
        QCOMPARE(selection.anchor(), SelectedButtonKey({1, 1}));
        selection.moveBy(0, 1, 20);
        selection.moveBy(1, 0, 20);
        QCOMPARE(selection.selectedButtons(), ButtonKeySet({{2, 2}}));
        QCOMPARE(selection.selectionShift(), 2);
        QCOMPARE(selection.anchor(), SelectedButtonKey({2, 2}));
        // Off the grid nothing moves.
        selection.moveBy(-1, 0, 20);
        selection.moveBy(-1, 0, 20);
        QCOMPARE(selection.selectedButtons(), ButtonKeySet({{1, 2}}));
        // One cell even on the last buttons of a row, where a click takes the column.
        selection.tap({1, 19}, 20);
        QCOMPARE(selection.selectedButtons(), column(19, 1, 4));
        selection.moveBy(0, 1, 20);
        QCOMPARE(selection.selectedButtons(), ButtonKeySet({{1, 20}}));
        QVERIFY(!selection.isVerticalSelection());
        selection.moveBy(0, 1, 20);
        QCOMPARE(selection.selectedButtons(), ButtonKeySet({{1, 20}}));
        // From a range, the move starts at the anchor.
        selection.tap({3, 5}, 20);
        selection.shiftTap({3, 9});
        selection.moveBy(1, 0, 20);
        QCOMPARE(selection.selectedButtons(), ButtonKeySet({{4, 5}}));
    }

    void shiftArrowsExtendTheRunByTheShiftClickRules()
    {
        SelectionModel selection;
        selection.tap({2, 5}, 35);
        selection.extendBy(0, 1, 35);
        selection.extendBy(0, 1, 35);
        QCOMPARE(selection.selectedButtons(), row(2, 5, 7));
        QCOMPARE(selection.anchor(), SelectedButtonKey({2, 5}));
        QCOMPARE(selection.selectionShift(), 2);
        // Back the other way: the far end comes back, then passes the anchor.
        selection.extendBy(0, -1, 35);
        QCOMPARE(selection.selectedButtons(), row(2, 5, 6));
        selection.extendBy(0, -1, 35);
        selection.extendBy(0, -1, 35);
        QCOMPARE(selection.selectedButtons(), row(2, 4, 5));
        // Down from a row is a diagonal step from the anchor: it starts afresh there.
        selection.extendBy(1, 0, 35);
        QCOMPARE(selection.selectedButtons(), ButtonKeySet({{3, 4}}));
        QCOMPARE(selection.anchor(), SelectedButtonKey({3, 4}));
        // Down a column.
        selection.extendBy(1, 0, 35);
        QCOMPARE(selection.selectedButtons(), column(4, 3, 4));
        QVERIFY(selection.isVerticalSelection());
        QCOMPARE(selection.selectionShift(), std::nullopt);
        selection.extendBy(1, 0, 35); // past shift 4: nothing changes
        QCOMPARE(selection.selectedButtons(), column(4, 3, 4));
        selection.extendBy(-1, 0, 35);
        selection.extendBy(-1, 0, 35);
        QCOMPARE(selection.selectedButtons(), column(4, 2, 3));
        // Along the last button of a row.
        SelectionModel end;
        end.tap({1, 34}, 35);
        end.moveBy(0, 1, 35);
        end.extendBy(0, 1, 35);
        QCOMPARE(end.selectedButtons(), ButtonKeySet({{1, 35}}));
        end.extendBy(0, -1, 35);
        QCOMPARE(end.selectedButtons(), row(1, 34, 35));
        // With nothing selected, Shift with an arrow selects the first cell.
        SelectionModel fresh;
        fresh.extendBy(0, 1, 15);
        QCOMPARE(fresh.selectedButtons(), ButtonKeySet({{1, 1}}));
    }

    void keysOrderByShiftThenButton()
    {
        QVERIFY(SelectedButtonKey({1, 30}) < SelectedButtonKey({2, 1}));
        QVERIFY(SelectedButtonKey({2, 1}) < SelectedButtonKey({2, 3}));
        QCOMPARE(sortedKeys({{2, 1}, {1, 30}, {2, 3}, {1, 2}}),
                 QList<SelectedButtonKey>({{1, 2}, {1, 30}, {2, 1}, {2, 3}}));
        QCOMPARE(qHash(SelectedButtonKey{1, 2}), qHash(SelectedButtonKey{1, 2}));
        QCOMPARE(ButtonKeySet({{1, 2}, {1, 2}, {2, 1}}).size(), 2);
    }
};

QTEST_GUILESS_MAIN(TestSelectionModel)
#include "tst_selection_model.moc"
