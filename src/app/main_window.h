#pragma once

#include "info_windows.h"

#include <QMainWindow>

class QMenu;
class QSettings;

namespace quorvane {

class ContentView;
class DebugLogger;

// The program's one main window: the main view, the menus, the Help and About windows, and the
// export and import of show files. Closing it (or File ▸ Quit) ends the program.
class MainWindow : public QMainWindow {
    Q_OBJECT

public:
    MainWindow(QSettings& preferences, DebugLogger& logger, QWidget* parent = nullptr);

    ContentView& contentView() const { return *m_content; }
    InfoWindows& infoWindows() { return m_infoWindows; }

    // 80 % of the primary screen, centred, title and colour: run 0.1 s after launch, when the
    // window system has placed the window.
    void setUpWindow();

    void exportMappings();
    void importMappings();
    void exportPanelSheet();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    ContentView* m_content;
    QMenu* m_viewMenu;
    InfoWindows m_infoWindows;
};

} // namespace quorvane
