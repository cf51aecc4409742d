#pragma once

// The program's main window driven by real Qt events, with the emulated frame on loopback as
// its frame.

#include "widgets/button_grid_widget.h"
#include "widgets/connection_panel.h"
#include "widgets/content_view.h"
#include "editing/click_classifier.h"
#include "session/background_bus_loading.h"
#include "editing/drag_payload.h"
#include "drag_support.h"
#include "editing/editing_model.h"
#include "link_fixture.h"
#include "main_window.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMimeData>
#include <QPushButton>
#include <QSettings>
#include <QTabBar>
#include <QTemporaryDir>
#include <QTest>
#include <algorithm>

namespace quorvane::test {

// Records the key presses that reach a widget.
class KeyRecorder : public QObject {
public:
    QList<QKeyCombination> keys;
    bool eventFilter(QObject*, QEvent* event) override
    {
        // The modifier keys' own presses are of no interest here.
        static const QList<int> modifiers{Qt::Key_Shift, Qt::Key_Control, Qt::Key_Meta,
                                          Qt::Key_Alt};
        if (event->type() == QEvent::KeyPress &&
            !modifiers.contains(static_cast<QKeyEvent*>(event)->key())) {
            keys.append(static_cast<QKeyEvent*>(event)->keyCombination());
        }
        return false;
    }
};

// Where the tab of `bus` stands in the bus tabs.
inline int tabIndex(Bus bus)
{
    return int(std::find(allBuses.begin(), allBuses.end(), bus) - allBuses.begin());
}

// The program's main window with the emulated frame as its frame.
struct Desk {
    explicit Desk(emulator::FrameEmulatorOptions options = {})
        : frame(std::move(options))
        , preferences(settingsDir.filePath(QStringLiteral("prefs.ini")), QSettings::IniFormat)
        , window(preferences, logger)
        , view(window.contentView())
        , model(view.model())
        , connection(view.connection())
        , grid(*view.grid())
    {
        logger.setEcho(nullptr);
        connection.setTiming(fastTiming());
        // The cells' click timing runs on the desk's own clock, which stands still but for
        // click(): clicks made otherwise come as quick as a double click.
        model.setClickClock([this] { return clickTime; });
        model.setIpAddress(QStringLiteral("127.0.0.1"));
        // Only the frame's answers to what a test does itself; tests of loading ahead turn it on.
        view.backgroundLoading().setEnabled(false);
    }

    bool start()
    {
        if (!frame.start())
            return false;
        window.show();
        return QTest::qWaitForWindowExposed(&window);
    }

    bool connectAndWait()
    {
        QTest::mouseClick(view.connectionPanel()->connectButton(), Qt::LeftButton);
        return waitUntil(
            [&] { return connection.connectionState() == ConnectionState::connected; },
            connectTimeoutMs);
    }

    void click(int shift, int button, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QTest::mouseClick(&grid, Qt::LeftButton, modifiers, grid.cellRect(shift, button).center());
        pauseAfterClick();
    }

    // Lets as much time pass on the click clock as keeps the next click from pairing with the
    // last into a double click.
    void pauseAfterClick() { clickTime += ClickClassifier::doubleClickInterval; }

    // Picks `bus` as a user does, with a click on its tab.
    void clickTab(Bus bus)
    {
        QTabBar& tabs = *view.busTabs();
        QTest::mouseClick(&tabs, Qt::LeftButton, Qt::NoModifier,
                          tabs.tabRect(tabIndex(bus)).center());
    }

    void dropOn(QWidget& target, QPoint at, const MultiButtonDragData& payload)
    {
        QMimeData mime;
        mime.setData(dragDataMimeType(), encodeDragData(payload));
        QDragEnterEvent enter(at, Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&target, &enter);
        QDragMoveEvent move(at, Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&target, &move);
        QDropEvent drop(QPointF(at), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&target, &drop);
    }

    std::chrono::milliseconds clickTime{0};
    emulator::FrameEmulator frame;
    QTemporaryDir settingsDir;
    QSettings preferences;
    DebugLogger logger;
    MainWindow window;
    ContentView& view;
    EditingModel& model;
    GVConnection& connection;
    ButtonGridWidget& grid;
};

} // namespace quorvane::test
