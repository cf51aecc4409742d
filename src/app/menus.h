#pragma once

#include <QList>
#include <functional>

class QAction;
class QMenu;
class QMenuBar;

namespace quorvane {

struct MenuActions {
    std::function<void()> showAbout;
    std::function<void()> showHelp;
    std::function<void()> openShow;
    std::function<void()> saveShow;
    std::function<void()> saveShowAs;
    std::function<void()> exportMappings;
    std::function<void()> importMappings;
    std::function<void()> exportPanelSheet;
    std::function<void()> quit;
};

// What the File menu offers that is not always there.
struct FileMenu {
    QAction* saveShow = nullptr;
    QAction* saveShowAs = nullptr;
};

// The program's menus: "Quorvane" (About), "File" (a show opened offline, export and import of
// show files, the panel sheet, Quit) and "Help".
FileMenu buildMenus(QMenuBar& bar, const MenuActions& actions);

struct ZoomActions {
    std::function<void()> zoomIn;
    std::function<void()> zoomOut;
    std::function<void()> actualSize;
    std::function<void()> fitToWindow;
};

// The "View" menu: the grid's zoom, with the usual shortcuts. It is put before "Help".
QMenu* buildViewMenu(QMenuBar& bar, const ZoomActions& actions);

// Names the application menu "Quorvane" and removes the first "Edit", "View" and "Window"
// menus, whichever of them exist, that are not among `own`: the platform's stock menus offer
// nothing for the grid, and their Edit commands would act on text fields instead. The program's
// own Edit and View menus, passed in `own`, stay where they are.
void trimMenuBar(QMenuBar& bar, const QList<const QMenu*>& own = {});

} // namespace quorvane
