// The main window at its smallest: every control of the connection panel and the bar above the
// grid is shown whole, beside the others, inside the window, connected or not.
#include "desk.h"
#include "widgets/grid_scroll_area.h"
#include "widgets/sandbox_strip.h"

#include <QLabel>
#include <QLayout>
#include <QScopeGuard>
#include <QTabBar>
#include <QToolButton>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;

namespace {

// The controls the operator works at the top of the window, as they are shown.
QList<QWidget*> topControls(ContentView& view)
{
    QList<QWidget*> controls{view.busTabs(), view.undoButton(), view.redoButton()};
    for (QWidget* child :
         view.connectionPanel()->findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
        if (child->isVisible())
            controls.append(child);
    }
    return controls;
}

QString describe(const QWidget* widget)
{
    QString text = QString::fromLatin1(widget->metaObject()->className());
    if (const auto* button = qobject_cast<const QAbstractButton*>(widget))
        text += u" \""_s + button->text() + u'"';
    if (const auto* label = qobject_cast<const QLabel*>(widget))
        text += u" \""_s + label->text() + u'"';
    return text;
}

// Fails with the first control that is cut, outside the window or on top of another.
QString layoutFault(QMainWindow& window, const QList<QWidget*>& controls)
{
    const QRect inside = window.rect();
    QList<QRect> shown;
    for (QWidget* control : controls) {
        const QRect at(control->mapTo(&window, QPoint(0, 0)), control->size());
        if (!inside.contains(at))
            return describe(control) + u" is not inside the window"_s;
        const QSize needed = control->minimumSizeHint();
        if (control->width() < needed.width() || control->height() < needed.height())
            return describe(control) + u" is cut"_s;
        for (qsizetype other = 0; other < shown.size(); ++other) {
            if (shown[other].intersects(at))
                return describe(control) + u" overlaps "_s + describe(controls[other]);
        }
        shown.append(at);
    }
    return {};
}

// Lets the window lay itself out for what it shows now, then makes it as small as it lets itself
// be. Each layout passes its new minimum to the one around it in a layout request of its own.
bool shrinkToSmallest(QMainWindow& window)
{
    for (const QWidget* inner = window.centralWidget(); inner; inner = inner->parentWidget())
        QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
    window.resize(window.minimumSize());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
    return window.size() == window.minimumSize() &&
           window.minimumSize() == window.layout()->totalMinimumSize();
}

} // namespace

class TestWindowSize : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void atItsSmallestNoControlIsCutHiddenOrOnTopOfAnother_data()
    {
        QTest::addColumn<int>("fontPixels");
        QTest::addRow("default font") << 0;
        QTest::addRow("large font") << 20;
    }

    void atItsSmallestNoControlIsCutHiddenOrOnTopOfAnother()
    {
        QFETCH(int, fontPixels);
        const QFont usual = QApplication::font();
        QFont font = usual;
        if (fontPixels > 0)
            font.setPixelSize(fontPixels);
        QApplication::setFont(font);
        const auto restore = qScopeGuard([&usual] { QApplication::setFont(usual); });
        Desk desk;
        QVERIFY(desk.start());
        const QSize smallest = desk.window.minimumSize();
        QVERIFY(smallest.width() > 0 && smallest.height() > 0);
        QVERIFY(shrinkToSmallest(desk.window));
        QString fault = layoutFault(desk.window, topControls(desk.view));
        QVERIFY2(fault.isEmpty(), qPrintable(fault));

        // Connected, with the frame's name, "All buses loaded" and Disconnect shown.
        QVERIFY(desk.connectAndWait());
        QTRY_VERIFY_WITH_TIMEOUT(!desk.connection.isLoading(), connectTimeoutMs);
        QCOMPARE(desk.view.connectionPanel()->connectButton()->text(), u"Disconnect"_s);
        desk.model.setShowDebugLog(true);
        QVERIFY(shrinkToSmallest(desk.window));
        fault = layoutFault(desk.window, topControls(desk.view));
        QVERIFY2(fault.isEmpty(), qPrintable(fault));
        // The grid, the sandbox and the clipboard are there to be reached.
        for (QWidget* part : QList<QWidget*>{desk.view.gridScrollArea(), desk.view.sandbox(),
                                             desk.view.clipboardArea()}) {
            QVERIFY2(part->isVisible() && part->width() > 0 && part->height() > 0,
                     qPrintable(describe(part)));
        }
    }
};

QTEST_MAIN(TestWindowSize)
#include "tst_window_size.moc"
