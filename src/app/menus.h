#pragma once

#include <functional>

class QMenuBar;

namespace quorvane {

struct MenuActions {
    std::function<void()> showAbout;
    std::function<void()> showHelp;
    std::function<void()> exportMappings;
    std::function<void()> importMappings;
    std::function<void()> quit;
};

// The program's menus: "Quorvane" (About), "File" (export and import of show files, Quit) and
// "Help".
void buildMenus(QMenuBar& bar, const MenuActions& actions);

// Names the application menu "Quorvane" and removes the first "Edit", "View" and "Window"
// menus, whichever of them exist: the program offers nothing under them.
void trimMenuBar(QMenuBar& bar);

} // namespace quorvane
