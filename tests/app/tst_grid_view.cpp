// The grid as the operator meets it, driven by real events against the emulated frame: its size
// follows the button count, the View menu's zoom (kept between runs), tooltips, buttons the
// frame never answered for, the keyboard in the grid and in the source picker.
#include "desk.h"
#include "editing/grid_geometry.h"
#include "widgets/grid_scroll_area.h"
#include "widgets/no_paste_line_edit.h"
#include "widgets/source_picker_dialog.h"
#include "window_geometry.h"

#include <QComboBox>
#include <QHelpEvent>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QScrollArea>
#include <QScrollBar>
#include <QToolTip>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;

namespace {

const emulator::PanelButton silentButton{Bus::pgm, 35, 1, 5};

emulator::FrameEmulatorOptions withSilentButtons()
{
    emulator::FrameEmulatorOptions options;
    options.faults.silentButtons = {silentButton, {Bus::pgm, 35, 3, 20}};
    options.faults.silentAsks = -1; // never answered, however often asked
    return options;
}

// The tooltip the grid shows over a cell, as a resting pointer asks for it.
QString toolTipOver(ButtonGridWidget& grid, int shift, int button)
{
    QToolTip::hideText();
    const QPoint at = grid.cellRect(shift, button).center();
    QHelpEvent help(QEvent::ToolTip, at, grid.mapToGlobal(at));
    QApplication::sendEvent(&grid, &help);
    return QToolTip::isVisible() ? QToolTip::text() : QString();
}

QImage cellImage(ButtonGridWidget& grid, int shift, int button)
{
    return grid.grab(grid.cellRect(shift, button)).toImage();
}

QAction* viewItem(MainWindow& window, const QString& text)
{
    for (QAction* menu : window.menuBar()->actions()) {
        if (menu->text() != u"View"_s)
            continue;
        for (QAction* item : menu->menu()->actions()) {
            if (item->text() == text)
                return item;
        }
    }
    return nullptr;
}

// A part of the grid's viewport as it is on screen, whatever widget paints it.
QImage shownInViewport(GridScrollArea& area, const QRect& rect)
{
    return area.viewport()->grab(rect).toImage();
}

// Where a cell of the grid is on screen, in the window.
QPoint cellInWindow(Desk& desk, int shift, int button)
{
    return desk.grid.mapTo(&desk.window, desk.grid.cellRect(shift, button).center());
}

// A click where the operator sees `at`: it reaches whatever widget is on top there.
QWidget* clickInWindow(Desk& desk, QPoint at)
{
    QWidget* target = desk.window.childAt(at);
    if (target)
        QTest::mouseClick(target, Qt::LeftButton, {}, target->mapFrom(&desk.window, at));
    desk.pauseAfterClick();
    return target;
}

} // namespace

class TestGridView : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theGridTakesTheWidthOfItsButtonCountAtOnce()
    {
        Desk desk;
        QVERIFY(desk.start());
        QVERIFY(desk.connectAndWait());
        QComboBox* counts = desk.view.connectionPanel()->buttonCountChoice();
        counts->setFocus();
        for (const auto& [key, count] :
             {std::pair(Qt::Key_Up, 25), std::pair(Qt::Key_Up, 20), std::pair(Qt::Key_Up, 15),
              std::pair(Qt::Key_End, 35), std::pair(Qt::Key_Home, 15)}) {
            QTest::keyClick(counts, key);
            QCOMPARE(desk.model.selectedButtonCount(), count);
            // Exactly `count` columns after the row labels, nothing left over.
            QCOMPARE(desk.grid.width(), 55 + count * 55 + 4);
            QCOMPARE(desk.grid.height(), 20 + 4 * 47 + 4);
            QVERIFY(desk.grid.cellAt(desk.grid.cellRect(4, count).center()));
            QVERIFY(desk.grid.cellRect(4, count).right() < desk.grid.width());
            QVERIFY(desk.grid.cellRect(1, count + 1).right() > desk.grid.width());
            QTRY_VERIFY_WITH_TIMEOUT(!desk.connection.isLoading(), connectTimeoutMs);
        }
    }

    void theViewMenuZoomsTheGridAndTheZoomIsKept()
    {
        Desk desk;
        QVERIFY(desk.start());
        desk.window.resize(mainWindowFrame(QRectF(0, 0, 1440, 900)).size().toSize());
        desk.window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&desk.window));
        QCOMPARE(desk.model.gridMetrics().zoom(), 1.0); // actual size is the default
        for (const QString& item :
             {u"Zoom In"_s, u"Zoom Out"_s, u"Actual Size"_s, u"Fit to Window"_s})
            QVERIFY2(viewItem(desk.window, item), qPrintable(item));

        // The usual shortcuts, pressed in the main window.
        QTest::keyClick(&desk.window, Qt::Key_Plus, Qt::ControlModifier);
        QCOMPARE(desk.model.gridMetrics().zoom(), 1.1);
        QTest::keyClick(&desk.window, Qt::Key_Equal, Qt::ControlModifier);
        QCOMPARE(desk.model.gridMetrics().zoom(), 1.25);
        QCOMPARE(desk.grid.size(), GridMetrics(1.25).gridSize(35));
        QCOMPARE(desk.grid.cellRect(2, 3), GridMetrics(1.25).cellRect(2, 3));
        QTest::keyClick(&desk.window, Qt::Key_Minus, Qt::ControlModifier);
        QTest::keyClick(&desk.window, Qt::Key_Minus, Qt::ControlModifier);
        QTest::keyClick(&desk.window, Qt::Key_Minus, Qt::ControlModifier);
        QCOMPARE(desk.model.gridMetrics().zoom(), 0.9);
        QTest::keyClick(&desk.window, Qt::Key_0, Qt::ControlModifier);
        QCOMPARE(desk.model.gridMetrics(), GridMetrics(1.0));
        QCOMPARE(desk.grid.size(), QSize(55 + 35 * 55 + 4, 20 + 4 * 47 + 4));

        // Fit to Window: all 35 buttons of a row in the default window.
        QVERIFY(desk.grid.cellRect(1, 35).right() > desk.view.gridScrollArea()->width());
        QTest::keyClick(&desk.window, Qt::Key_9, Qt::ControlModifier);
        QVERIFY(desk.model.zoom().fitsWindow());
        const QWidget* viewport = desk.view.gridScrollArea()->viewport();
        QTRY_VERIFY(desk.grid.width() <= viewport->width());
        QVERIFY(desk.grid.height() <= viewport->height());
        QVERIFY(desk.grid.cellAt(desk.grid.cellRect(4, 35).center()));
        QVERIFY(desk.model.gridMetrics().zoom() < 1.0);
        // It follows the window.
        const double fitted = desk.model.gridMetrics().zoom();
        desk.window.resize(desk.window.width() + 300, desk.window.height());
        QTRY_VERIFY(desk.model.gridMetrics().zoom() > fitted);
        QVERIFY(desk.grid.width() <= viewport->width());

        // Kept between runs.
        QCOMPARE(desk.preferences.value(u"Quorvane.gridZoom"_s).toString(), u"fit"_s);
        MainWindow again(desk.preferences, desk.logger);
        QVERIFY(again.contentView().model().zoom().fitsWindow());
        viewItem(desk.window, u"Actual Size"_s)->trigger();
        QCOMPARE(desk.preferences.value(u"Quorvane.gridZoom"_s).toString(), u"1"_s);
        MainWindow third(desk.preferences, desk.logger);
        QCOMPARE(third.contentView().model().zoom(), GridZoom::actualSize());
    }

    void theHeaderAndTheShiftLabelsStayInViewWhileTheGridScrolls()
    {
        Desk desk;
        QVERIFY(desk.start());
        QVERIFY(desk.connectAndWait());
        QTRY_VERIFY_WITH_TIMEOUT(!desk.connection.isLoading(), connectTimeoutMs);
        // Zoomed in and in a small window: the grid scrolls both ways.
        desk.model.setZoom(GridZoom::fixed(1.5));
        desk.window.resize(900, 500);
        GridScrollArea& area = *desk.view.gridScrollArea();
        QScrollBar& across = *area.horizontalScrollBar();
        QScrollBar& down = *area.verticalScrollBar();
        QTRY_VERIFY(across.maximum() > 0 && down.maximum() > 0);
        const GridMetrics& metrics = desk.model.gridMetrics();
        const QRect viewport = area.viewport()->rect();
        const int columns = 5;
        QVERIFY(metrics.headerRect(columns + 1).right() < viewport.width());

        // Both cover the grid up to its first cell.
        const QPoint firstCell = metrics.cellRect(1, 1).topLeft();
        const QRect labels(0, 0, firstCell.x(), viewport.height());
        const QRect header(0, 0, viewport.width(), firstCell.y());
        const QImage labelsBefore = shownInViewport(area, labels);
        const QImage headerBefore = shownInViewport(area, header);
        const QImage laterNumber = shownInViewport(area, metrics.headerRect(columns + 1));
        const QImage firstNumber = shownInViewport(area, metrics.headerRect(1));
        QVERIFY(laterNumber != firstNumber);
        const QImage lastLabel = shownInViewport(area, metrics.rowLabelRect(lastShift));
        QVERIFY(lastLabel != shownInViewport(area, metrics.rowLabelRect(firstShift)));

        // Scrolled to the right: the labels have not moved; the numbers moved with the columns.
        across.setValue(columns * metrics.pitchX());
        QCOMPARE(desk.grid.x(), -columns * metrics.pitchX());
        QVERIFY(area.shiftLabels()->isVisible() && area.buttonNumbers()->isVisible());
        QCOMPARE(area.shiftLabels()->geometry(), labels);
        QCOMPARE(area.buttonNumbers()->geometry(), header);
        QCOMPARE(shownInViewport(area, labels), labelsBefore);
        QCOMPARE(shownInViewport(area, metrics.headerRect(1)), laterNumber);

        // A click on a cell still selects the button shown there; one on the labels, where a
        // cell has scrolled under them, selects nothing.
        QCOMPARE(clickInWindow(desk, cellInWindow(desk, 2, columns + 3)), &desk.grid);
        QCOMPARE(desk.model.selection().selectedButtons(), ButtonKeySet({{2, columns + 3}}));
        QWidget* underLabels = clickInWindow(desk, cellInWindow(desk, 3, columns));
        QCOMPARE(underLabels, area.shiftLabels());
        QCOMPARE(desk.model.selection().selectedButtons(), ButtonKeySet({{2, columns + 3}}));

        // Scrolled down as well: the header has not moved; the labels moved with the rows.
        const QImage headerAcross = shownInViewport(area, header);
        QVERIFY(headerAcross != headerBefore);
        const int rowsDown = down.maximum();
        down.setValue(rowsDown);
        QCOMPARE(desk.grid.y(), -rowsDown);
        QCOMPARE(shownInViewport(area, header), headerAcross);
        QCOMPARE(shownInViewport(area, metrics.rowLabelRect(lastShift).translated(0, -rowsDown)),
                 lastLabel);
        QCOMPARE(clickInWindow(desk, cellInWindow(desk, lastShift, columns + 4)),
                 &desk.grid);
        QCOMPARE(desk.model.selection().selectedButtons(),
                 ButtonKeySet({{lastShift, columns + 4}}));

        // A drop lands on the cell shown under the pointer.
        const MultiButtonDragData fromSandbox = sandboxSlotDrag(703);
        const QPoint dropAt = cellInWindow(desk, 3, columns + 6);
        QWidget* target = desk.window.childAt(dropAt);
        QCOMPARE(target, &desk.grid);
        desk.dropOn(*target, target->mapFrom(&desk.window, dropAt), fromSandbox);
        QTRY_COMPARE(desk.frame.mapping(Bus::pgm, 35, 3, columns + 6), 703u);

        // The keyboard scrolls a cell it reaches clear of the header and the labels.
        desk.grid.setFocus();
        for (int step = 0; step < columns + 3; ++step)
            QTest::keyClick(&desk.grid, Qt::Key_Left);
        for (int step = firstShift; step < lastShift; ++step)
            QTest::keyClick(&desk.grid, Qt::Key_Up);
        QCOMPARE(desk.model.selection().anchor(), SelectedButtonKey({1, 1}));
        const QRect reached(desk.grid.mapTo(area.viewport(), desk.grid.cellRect(1, 1).topLeft()),
                            desk.grid.cellRect(1, 1).size());
        QVERIFY(viewport.contains(reached));
        QVERIFY(!reached.intersects(area.shiftLabels()->geometry()));
        QVERIFY(!reached.intersects(area.buttonNumbers()->geometry()));
        QCOMPARE(shownInViewport(area, labels), labelsBefore); // back where it started

        // The header and the labels follow the zoom.
        QTest::keyClick(&desk.window, Qt::Key_0, Qt::ControlModifier);
        QCOMPARE(area.shiftLabels()->width(), GridMetrics(1.0).cellRect(1, 1).x());
        QCOMPARE(area.buttonNumbers()->height(), GridMetrics(1.0).cellRect(1, 1).y());
    }

    void aZoomedDropLandsWhereItsPreviewShows()
    {
        Desk desk;
        QVERIFY(desk.start());
        QVERIFY(desk.connectAndWait());
        desk.model.setZoom(GridZoom::fixed(1.5));
        desk.click(2, 3);
        desk.click(2, 4, Qt::ShiftModifier);
        // The drag the grid starts when the pointer leaves the pressed cell.
        const std::optional<MultiButtonDragData> payload = desk.model.beginDrag(
            2, 3, QPointF(desk.grid.mapTo(&desk.window, desk.grid.cellRect(2, 3).center())));
        QVERIFY(payload);
        const qint64 first = desk.model.cellState(2, 3).source;
        const qint64 second = desk.model.cellState(2, 4).source;
        QMimeData mime;
        mime.setData(dragDataMimeType(), encodeDragData(*payload));
        // The pointer near the corner of a zoomed cell, where an unzoomed grid has another.
        const QPoint at = desk.grid.cellRect(3, 10).bottomRight() - QPoint(2, 2);
        QCOMPARE(desk.grid.cellAt(at), SelectedButtonKey({3, 10}));
        QDragEnterEvent enter(at, Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&desk.grid, &enter);
        QDragMoveEvent move(at, Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&desk.grid, &move);
        QCOMPARE(desk.model.dropPreviewRange(), ButtonKeySet({{3, 10}, {3, 11}}));
        QDropEvent drop(QPointF(at), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&desk.grid, &drop);
        QTRY_COMPARE(qint64{desk.frame.mapping(Bus::pgm, 35, 3, 10)}, first);
        QTRY_COMPARE(qint64{desk.frame.mapping(Bus::pgm, 35, 3, 11)}, second);
    }

    void tooltipsAndButtonsTheFrameNeverAnswered()
    {
        Desk desk(withSilentButtons());
        QVERIFY(desk.start());
        QVERIFY(desk.connectAndWait());
        QTRY_VERIFY_WITH_TIMEOUT(!desk.connection.isLoading(), connectTimeoutMs);

        // A named source: number, full name, engineering name, key.
        const ButtonCellState named = desk.model.cellState(1, 1);
        QVERIFY(named.displayName && named.engineeringName);
        QVERIFY(*named.displayName != *named.engineeringName);
        QCOMPARE(toolTipOver(desk.grid, 1, 1),
                 u"Source "_s + QString::number(named.source) + u": "_s + *named.displayName +
                     u"\nEngineering name: "_s + *named.engineeringName +
                     u"\nMapping key: PGM-35-1-1"_s);

        // The silent button: unknown, not unassigned, drawn apart from an unassigned one.
        const ButtonCellState silent = desk.model.cellState(1, 5);
        QVERIFY(silent.isUnknown);
        QCOMPARE(silent.source, 0);
        QVERIFY(desk.connection.unansweredButtons(Bus::pgm, 35).contains(ButtonPosition{1, 5}));
        QCOMPARE(toolTipOver(desk.grid, 1, 5),
                 u"Mapping key: PGM-35-1-5\nUnknown: the frame has not answered for this button"_s);
        std::optional<SelectedButtonKey> unassigned;
        for (int button = 1; button <= 35 && !unassigned; ++button) {
            for (int shift = 1; shift <= 4 && !unassigned; ++shift) {
                const ButtonCellState cell = desk.model.cellState(shift, button);
                if (!cell.isUnknown && cell.source == 0)
                    unassigned = SelectedButtonKey{shift, button};
            }
        }
        QVERIFY(unassigned);
        QCOMPARE(toolTipOver(desk.grid, unassigned->shift, unassigned->button),
                 u"No source (unassigned)\nMapping key: PGM-35-"_s +
                     QString::number(unassigned->shift) + u'-' +
                     QString::number(unassigned->button));
        QVERIFY(cellImage(desk.grid, 1, 5) !=
                cellImage(desk.grid, unassigned->shift, unassigned->button));
        const QImage unknownLook = cellImage(desk.grid, 1, 5);
        QCOMPARE(cellImage(desk.grid, 3, 20), unknownLook);

        // A write to it: the frame reports the button back, and it is known from then on.
        const MultiButtonDragData fromSandbox = sandboxSlotDrag(703);
        desk.dropOn(desk.grid, desk.grid.cellRect(1, 5).center(), fromSandbox);
        QTRY_COMPARE(desk.frame.mapping(Bus::pgm, 35, 1, 5), 703u);
        QTRY_VERIFY(!desk.model.cellState(1, 5).isUnknown);
        QCOMPARE(desk.model.cellState(1, 5).source, 703);
        QVERIFY(!toolTipOver(desk.grid, 1, 5).contains(u"Unknown"_s));
        QVERIFY(cellImage(desk.grid, 1, 5) != unknownLook);
        QCOMPARE(cellImage(desk.grid, 3, 20), unknownLook); // the other stays unknown
    }

    void arrowKeysAndReturnInTheGrid()
    {
        Desk desk;
        QVERIFY(desk.start());
        QVERIFY(desk.connectAndWait());
        NoPasteLineEdit* address = desk.view.connectionPanel()->addressField();
        KeyRecorder reachedAddress;
        address->installEventFilter(&reachedAddress);
        const QString typed = address->text();

        desk.click(2, 3);
        QCOMPARE(QApplication::focusWidget(), &desk.grid);
        QTest::keyClick(&desk.grid, Qt::Key_Right);
        QCOMPARE(desk.model.selection().selectedButtons(), ButtonKeySet({{2, 4}}));
        QTest::keyClick(&desk.grid, Qt::Key_Right, Qt::ShiftModifier);
        QTest::keyClick(&desk.grid, Qt::Key_Right, Qt::ShiftModifier);
        QCOMPARE(desk.model.selection().selectedButtons(), ButtonKeySet({{2, 4}, {2, 5}, {2, 6}}));
        QCOMPARE(desk.model.selection().anchor(), SelectedButtonKey({2, 4}));
        QTest::keyClick(&desk.grid, Qt::Key_Down);
        QTest::keyClick(&desk.grid, Qt::Key_Down, Qt::ShiftModifier);
        QCOMPARE(desk.model.selection().selectedButtons(), ButtonKeySet({{3, 4}, {4, 4}}));
        QVERIFY(desk.model.selection().isVerticalSelection());

        // The key table's keys do what they always did with the grid focused.
        QTest::keyClick(&desk.grid, Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(desk.model.clipboard().copiedSources.size(), 2);
        QVERIFY(desk.model.clipboard().copiedVertically);
        QTest::keyClick(&desk.grid, Qt::Key_Delete);
        QTRY_COMPARE(desk.frame.mapping(Bus::pgm, 35, 3, 4), 0u);
        QTRY_COMPARE(desk.frame.mapping(Bus::pgm, 35, 4, 4), 0u);
        QVERIFY(desk.model.selection().isEmpty());
        // None of it reached the address field.
        QVERIFY(reachedAddress.keys.isEmpty());
        QCOMPARE(address->text(), typed);

        // With the address field focused its arrow keys stay its own.
        address->setEnabled(true);
        address->setFocus();
        address->setCursorPosition(3);
        desk.click(1, 1);
        address->setFocus();
        QTest::keyClick(address, Qt::Key_Right);
        QCOMPARE(address->cursorPosition(), 4);
        QCOMPARE(desk.model.selection().selectedButtons(), ButtonKeySet({{1, 1}}));

        // Return in the grid opens the picker for the selected button.
        desk.grid.setFocus();
        QTest::keyClick(&desk.grid, Qt::Key_Down);
        QTest::keyClick(&desk.grid, Qt::Key_Return);
        QTRY_VERIFY(desk.view.picker()->isVisible());
        QCOMPARE(desk.model.pickerTargetButton(), ButtonLocation({Bus::pgm, 2, 1}));
    }

    void thePickerIsWorkedFromTheKeyboard()
    {
        Desk desk;
        QVERIFY(desk.start());
        QVERIFY(desk.connectAndWait());
        SourcePickerDialog* picker = desk.view.picker();
        desk.click(1, 7);
        QTest::keyClick(&desk.grid, Qt::Key_Return);
        QTRY_VERIFY(picker->isVisible());
        QCOMPARE(picker->focusWidget(), picker->searchField());
        QLineEdit* search = picker->searchField();
        QTest::keyClicks(search, u"cam"_s);
        QTRY_VERIFY(picker->list()->count() > 3);
        const int second = picker->list()->item(1)->data(Qt::UserRole).toInt();
        const int third = picker->list()->item(2)->data(Qt::UserRole).toInt();
        QTest::keyClick(search, Qt::Key_Down);
        QTest::keyClick(search, Qt::Key_Down);
        QTest::keyClick(search, Qt::Key_Down);
        QTest::keyClick(search, Qt::Key_Up);
        QCOMPARE(desk.model.sourcePicker().selectedSource, second);
        QCOMPARE(picker->list()->currentRow(), 1);
        QCOMPARE(search->text(), u"cam"_s); // the keys did not reach the text
        QVERIFY(quint32(second) != desk.frame.mapping(Bus::pgm, 35, 1, 7));
        QTest::keyClick(search, Qt::Key_Return);
        QTRY_COMPARE(desk.frame.mapping(Bus::pgm, 35, 1, 7), quint32(second));
        QTRY_VERIFY(!picker->isVisible());
        QVERIFY(desk.model.canUndo()); // as a double click: one step to undo

        // Escape cancels: nothing written.
        desk.click(1, 8);
        QTest::keyClick(&desk.grid, Qt::Key_Return);
        QTRY_VERIFY(picker->isVisible());
        QTest::keyClicks(picker->searchField(), u"cam"_s);
        QTest::keyClick(picker->searchField(), Qt::Key_Down);
        QTest::keyClick(picker->searchField(), Qt::Key_Down);
        QTest::keyClick(picker->searchField(), Qt::Key_Down);
        QCOMPARE(desk.model.sourcePicker().selectedSource, third);
        const qsizetype writes = desk.frame.writeRequests().size();
        QTest::keyClick(picker->searchField(), Qt::Key_Escape);
        QTRY_VERIFY(!picker->isVisible());
        QVERIFY(!desk.model.showSourcePicker());
        QVERIFY(frameHasReadAllSentBy(desk.connection, desk.frame));
        QCOMPARE(desk.frame.writeRequests().size(), writes);

        // The list's own arrow keys move the same highlight; Return there picks it too.
        desk.click(1, 9);
        QTest::keyClick(&desk.grid, Qt::Key_Return);
        QTRY_VERIFY(picker->isVisible());
        picker->list()->setFocus();
        QTest::keyClick(picker->list(), Qt::Key_Down);
        QTest::keyClick(picker->list(), Qt::Key_Down);
        const int chosen = picker->list()->currentItem()->data(Qt::UserRole).toInt();
        QCOMPARE(desk.model.sourcePicker().selectedSource, chosen);
        QTest::keyClick(picker->list(), Qt::Key_Return);
        QTRY_COMPARE(desk.frame.mapping(Bus::pgm, 35, 1, 9), quint32(chosen));
    }
};

QTEST_MAIN(TestGridView)
#include "tst_grid_view.moc"
