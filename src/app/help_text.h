#pragma once

#include <QKeyCombination>
#include <QList>
#include <QString>
#include <QStringList>

namespace quorvane {

// How a platform names the keys: ⌘ and ⇧ on the Mac, Ctrl and Shift elsewhere.
enum class KeyNames { mac, pc };

// The naming of the platform the program runs on.
KeyNames platformKeyNames();

// A key as the platform's menus write it: "⌘C" and "⇧⌘Z" on the Mac, "Ctrl+C" and
// "Ctrl+Shift+Z" elsewhere. Qt's Control modifier is the Command key on the Mac. Delete and
// Backspace keep their names.
QString keyText(QKeyCombination key, KeyNames names);

// A click with modifiers held: "⇧ + Click", "Ctrl + Click", or "Click" alone.
QString clickText(Qt::KeyboardModifiers modifiers, KeyNames names);

struct HelpShortcut {
    QString key;
    QString action;

    friend bool operator==(const HelpShortcut&, const HelpShortcut&) = default;
};

// The points of the Help window's "Copy & Paste" section.
QStringList copyAndPastePoints(KeyNames names);

// The Help window's table of shortcuts: every key and click the main window acts on.
QList<HelpShortcut> helpShortcuts(KeyNames names);

} // namespace quorvane
