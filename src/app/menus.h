#pragma once

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
// Puts the program's own View menu back before "Help" once trimming has removed it.
void placeViewMenu(QMenuBar& bar, QMenu& view);

// Names the application menu "Quorvane" and removes the first "Edit", "View" and "Window"
// menus, whichever of them exist: the program offers nothing under them.
void trimMenuBar(QMenuBar& bar);

} // namespace quorvane
