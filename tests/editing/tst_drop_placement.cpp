// Where a drop lands, the drop preview, and where in its cell a drag was grabbed.
#include "editing/drop_placement.h"
#include "editing/grid_geometry.h"
#include "drag_support.h"

#include <QTest>

Q_DECLARE_METATYPE(quorvane::MultiButtonDragData)

using namespace Qt::StringLiterals;
using namespace quorvane;
using quorvane::test::gridDrag;

namespace {
// Buttons 3, 4 and 5 of shift 1, grabbed at button 3.
MultiButtonDragData threeOfARow()
{
    return gridDrag({{3, 31, 1}, {4, 32, 1}, {5, 33, 1}}, 1, 3);
}

// Button 12 of shifts 1 to 3, grabbed at shift 2.
MultiButtonDragData threeOfAColumn()
{
    return gridDrag({{12, 701, 1}, {12, 702, 2}, {12, 703, 3}}, 2, 12);
}

QList<SelectedButtonKey> keysOf(const QList<PlacedSource>& placed)
{
    QList<SelectedButtonKey> keys;
    for (const PlacedSource& p : placed)
        keys.append(p.key);
    return keys;
}
} // namespace

class TestDropPlacement : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void rowLandsAlongTheDropRowFromTheGrabbedButton()
    {
        const auto placed = placeDrop(threeOfARow(), {2, 18}, 20);
        QVERIFY(placed);
        QCOMPARE(*placed, QList<PlacedSource>({{{2, 18}, 31}, {{2, 19}, 32}, {{2, 20}, 33}}));
    }

    void rowThatWouldRunOffTheRowIsRefusedAsAWhole()
    {
        QCOMPARE(placeDrop(threeOfARow(), {1, 19}, 20), std::nullopt);
        // Grabbed in the middle: the first button would land before button 1.
        MultiButtonDragData middle = threeOfARow();
        middle.anchorButton = 4;
        QCOMPARE(placeDrop(middle, {1, 1}, 20), std::nullopt);
        QCOMPARE(keysOf(*placeDrop(middle, {1, 2}, 20)),
                 QList<SelectedButtonKey>({{1, 1}, {1, 2}, {1, 3}}));
    }

    void singleButtonLandsOnTheDropCell()
    {
        const auto placed = placeDrop(gridDrag({{7, 12, 3}}, 3, 7), {1, 35}, 35);
        QCOMPARE(placed, QList<PlacedSource>({{{1, 35}, 12}}));
    }

    void columnLandsDownTheDropColumnFromTheGrabbedShift()
    {
        QVERIFY(isColumnPayload(threeOfAColumn()));
        QVERIFY(!isColumnPayload(threeOfARow()));
        const auto placed = placeDrop(threeOfAColumn(), {3, 4}, 35);
        QVERIFY(placed);
        QCOMPARE(*placed, QList<PlacedSource>({{{2, 4}, 701}, {{3, 4}, 702}, {{4, 4}, 703}}));
        QCOMPARE(keysOf(*placeDrop(threeOfAColumn(), {2, 20}, 20)),
                 QList<SelectedButtonKey>({{1, 20}, {2, 20}, {3, 20}}));
    }

    void columnThatWouldLeaveTheShiftsIsRefusedAsAWhole()
    {
        // Grabbed at shift 2, dropped on shift 1: the top button would land on shift 0.
        QCOMPARE(placeDrop(threeOfAColumn(), {1, 4}, 35), std::nullopt);
        // Dropped on shift 4: the last would land on shift 5.
        QCOMPARE(placeDrop(threeOfAColumn(), {4, 4}, 35), std::nullopt);
    }

    void sandboxSourceGoesToTheDropCell()
    {
        const MultiButtonDragData slot = gridDrag({{3, 705, 1}}, 1, 3, u"SANDBOX"_s);
        QCOMPARE(placeDrop(slot, {4, 35}, 35), QList<PlacedSource>({{{4, 35}, 705}}));
        QCOMPARE(placeDrop(slot, {1, 1}, 15), QList<PlacedSource>({{{1, 1}, 705}}));
    }

    void nothingToPlaceIsRefused()
    {
        QCOMPARE(placeDrop(gridDrag({}, 1, 3), {1, 3}, 35), std::nullopt);
        QCOMPARE(placeDrop(gridDrag({}, 1, 1, u"SANDBOX"_s), {1, 3}, 35), std::nullopt);
        // A drop cell off the grid takes nothing either.
        QCOMPARE(placeDrop(threeOfARow(), {1, 21}, 20), std::nullopt);
        QCOMPARE(placeDrop(threeOfARow(), {5, 1}, 20), std::nullopt);
    }

    void dragInfoDescribesTheShape()
    {
        QCOMPARE(dragInfoFor(threeOfARow()), DragInfo({false, 3, 1, 0, 0}));
        MultiButtonDragData middle = threeOfARow();
        middle.anchorButton = 5;
        QCOMPARE(dragInfoFor(middle), DragInfo({false, 3, 1, 2, 0}));
        QCOMPARE(dragInfoFor(threeOfAColumn()), DragInfo({true, 1, 3, 0, 1}));
        QCOMPARE(dragInfoFor(gridDrag({{9, 1, 1}}, 1, 9, u"SANDBOX"_s)), DragInfo());
    }

    void previewShowsExactlyWhatTheDropWouldWrite_data()
    {
        QTest::addColumn<MultiButtonDragData>("dragged");
        QTest::addColumn<int>("buttonCount");
        QTest::newRow("row of 3") << threeOfARow() << 20;
        QTest::newRow("column of 3") << threeOfAColumn() << 15;
        QTest::newRow("one button") << gridDrag({{8, 3, 4}}, 4, 8) << 25;
        QTest::newRow("sandbox") << gridDrag({{2, 40, 1}}, 1, 2, u"SANDBOX"_s) << 35;
        MultiButtonDragData grabbedLast = threeOfARow();
        grabbedLast.anchorButton = 5;
        QTest::newRow("row grabbed at its end") << grabbedLast << 15;
    }

    void previewShowsExactlyWhatTheDropWouldWrite()
    {
        QFETCH(MultiButtonDragData, dragged);
        QFETCH(int, buttonCount);
        const DragInfo info = dragInfoFor(dragged);
        for (int shift = 1; shift <= 4; ++shift) {
            for (int button = 1; button <= buttonCount; ++button) {
                const auto placed = placeDrop(dragged, {shift, button}, buttonCount);
                const auto preview = previewKeys(info, {shift, button}, buttonCount);
                QCOMPARE(preview.has_value(), placed.has_value());
                if (placed) {
                    const QList<SelectedButtonKey> keys = keysOf(*placed);
                    QCOMPARE(*preview, ButtonKeySet(keys.cbegin(), keys.cend()));
                }
            }
        }
    }

    void grabPointIsThePointerInsideItsCell()
    {
        const GridMetrics actual;
        QCOMPARE(actual.grabPoint({120, 100}), QPointF(10, 6));
        // 108 mod 55 = 53 and 92 mod 47 = 45 lie in the gap between cells.
        QCOMPARE(actual.grabPoint({108, 92}), QPointF(52, 44));
        QCOMPARE(actual.grabPoint({55, 47}), QPointF(0, 0));
        QCOMPARE(actual.grabPoint({-3, 10.5}), QPointF(0, 10.5));
        QCOMPARE(actual.centreOfCell(), QPointF(26, 22));
    }

    void theGrabPointScalesWithTheGrid()
    {
        // At twice the size cells are 104 × 88 on a pitch of 110 × 94.
        const GridMetrics twice(2.0);
        QCOMPARE(twice.grabPoint({240, 200}), QPointF(20, 12));
        QCOMPARE(twice.grabPoint({216, 184}), QPointF(104, 88));
        QCOMPARE(twice.centreOfCell(), QPointF(52, 44));
        const GridMetrics half(0.5);
        // Half size: cells 26 × 22 on a pitch of 28 × 24 (27.5 and 23.5 rounded).
        QCOMPARE(half.grabPoint({60, 50}), QPointF(4, 2));
        QCOMPARE(half.centreOfCell(), QPointF(13, 11));
    }
};

QTEST_GUILESS_MAIN(TestDropPlacement)
#include "tst_drop_placement.moc"
