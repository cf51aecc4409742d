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

// Before "Help", or last when there is none.
void placeViewMenu(QMenuBar& bar, QMenu& view)
{
    QAction* before = nullptr;
    for (QAction* menu : bar.actions()) {
        if (menu->text() == u"Help"_s)
            before = menu;
    }
    bar.insertMenu(before, &view);
}
} // namespace

FileMenu buildMenus(QMenuBar& bar, const MenuActions& actions)
{
    QMenu* application = bar.addMenu(u"Quorvane"_s);
    QAction* about = application->addAction(u"About Quorvane"_s);
    about->setMenuRole(QAction::AboutRole);
    QObject::connect(about, &QAction::triggered, &bar, [actions] { actions.showAbout(); });

    QMenu* file = bar.addMenu(u"File"_s);
    const auto item = [&](const QString& text, const QKeySequence& shortcut,
                          const std::function<void()>& action) {
        QAction* added = file->addAction(text);
        added->setShortcut(shortcut);
        QObject::connect(added, &QAction::triggered, &bar, [action] { action(); });
        return added;
    };
    item(u"Open Show…"_s, QKeySequence::Open, actions.openShow);
    FileMenu menu;
    menu.saveShow = item(u"Save Show"_s, QKeySequence::Save, actions.saveShow);
    menu.saveShowAs = item(u"Save Show As…"_s, QKeySequence(u"Ctrl+Shift+S"_s), actions.saveShowAs);
    file->addSeparator();
    item(u"Export Mappings…"_s, QKeySequence(u"Ctrl+Shift+E"_s), actions.exportMappings);
    item(u"Import Mappings…"_s, QKeySequence(u"Ctrl+Shift+I"_s), actions.importMappings);
    item(u"Export Panel Sheet…"_s, QKeySequence::Print, actions.exportPanelSheet);
    file->addSeparator();
    QAction* quit =
        item(u"Quit"_s, QKeySequence(u"Ctrl+Q"_s), actions.quit); // Command-Q on the Mac
    quit->setMenuRole(QAction::QuitRole); // moves to the application menu there

    QMenu* help = bar.addMenu(u"Help"_s);
    QAction* quorvaneHelp = help->addAction(u"Quorvane Help"_s);
    quorvaneHelp->setShortcut(helpShortcut());
    QObject::connect(quorvaneHelp, &QAction::triggered, &bar, [actions] { actions.showHelp(); });
    return menu;
}

QMenu* buildViewMenu(QMenuBar& bar, const ZoomActions& actions)
{
    auto* view = new QMenu(u"View"_s, &bar);
    const std::pair<QString, QList<QKeySequence>> items[] = {
        {u"Zoom In"_s, {QKeySequence::ZoomIn, QKeySequence(u"Ctrl+="_s)}},
        {u"Zoom Out"_s, {QKeySequence::ZoomOut}},
        {u"Actual Size"_s, {QKeySequence(u"Ctrl+0"_s)}},
        {u"Fit to Window"_s, {QKeySequence(u"Ctrl+9"_s)}}};
    const std::function<void()> runs[] = {actions.zoomIn, actions.zoomOut, actions.actualSize,
                                          actions.fitToWindow};
    for (std::size_t k = 0; k < std::size(items); ++k) {
        QAction* item = view->addAction(items[k].first);
        item->setShortcuts(items[k].second);
        QObject::connect(item, &QAction::triggered, &bar, runs[k]);
    }
    placeViewMenu(bar, *view);
    return view;
}

void trimMenuBar(QMenuBar& bar, const QList<const QMenu*>& own)
{
    const QList<QAction*> menus = bar.actions();
    if (menus.isEmpty())
        return;
    menus.first()->setText(u"Quorvane"_s);
    for (const QString& title : {u"Edit"_s, u"View"_s, u"Window"_s}) {
        for (QAction* menu : bar.actions()) {
            if (menu->text() == title && !own.contains(menu->menu())) {
                bar.removeAction(menu);
                break;
            }
        }
    }
}

} // namespace quorvane
