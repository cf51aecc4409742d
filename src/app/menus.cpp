#include "menus.h"

#include <QAction>
#include <QKeySequence>
#include <QMenu>
#include <QMenuBar>

using namespace Qt::StringLiterals;

namespace quorvane {

namespace {
QKeySequence helpShortcut()
{
#ifdef Q_OS_MACOS
    return QKeySequence(u"Ctrl+?"_s); // Command-? on the Mac keyboard
#else
    return QKeySequence::HelpContents;
#endif
}
} // namespace

void buildMenus(QMenuBar& bar, const MenuActions& actions)
{
    QMenu* application = bar.addMenu(u"Quorvane"_s);
    QAction* about = application->addAction(u"About Quorvane"_s);
    about->setMenuRole(QAction::AboutRole);
    QObject::connect(about, &QAction::triggered, &bar, [actions] { actions.showAbout(); });

    QMenu* file = bar.addMenu(u"File"_s);
    QAction* exportMappings = file->addAction(u"Export Mappings…"_s);
    exportMappings->setShortcut(QKeySequence(u"Ctrl+Shift+E"_s));
    QObject::connect(exportMappings, &QAction::triggered, &bar,
                     [actions] { actions.exportMappings(); });
    QAction* importMappings = file->addAction(u"Import Mappings…"_s);
    importMappings->setShortcut(QKeySequence(u"Ctrl+Shift+I"_s));
    QObject::connect(importMappings, &QAction::triggered, &bar,
                     [actions] { actions.importMappings(); });
    file->addSeparator();
    QAction* quit = file->addAction(u"Quit"_s);
    quit->setShortcut(QKeySequence(u"Ctrl+Q"_s)); // Command-Q on the Mac
    quit->setMenuRole(QAction::QuitRole);         // moves to the application menu there
    QObject::connect(quit, &QAction::triggered, &bar, [actions] { actions.quit(); });

    QMenu* help = bar.addMenu(u"Help"_s);
    QAction* quorvaneHelp = help->addAction(u"Quorvane Help"_s);
    quorvaneHelp->setShortcut(helpShortcut());
    QObject::connect(quorvaneHelp, &QAction::triggered, &bar, [actions] { actions.showHelp(); });
}

void trimMenuBar(QMenuBar& bar)
{
    const QList<QAction*> menus = bar.actions();
    if (menus.isEmpty())
        return;
    menus.first()->setText(u"Quorvane"_s);
    for (const QString& title : {u"Edit"_s, u"View"_s, u"Window"_s}) {
        for (QAction* menu : bar.actions()) {
            if (menu->text() == title) {
                bar.removeAction(menu);
                break;
            }
        }
    }
}

} // namespace quorvane
