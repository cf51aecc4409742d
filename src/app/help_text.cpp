#include "help_text.h"

#include <QKeySequence>

using namespace Qt::StringLiterals;

namespace quorvane {

namespace {

constexpr QKeyCombination command(Qt::Key key)
{
    return QKeyCombination(Qt::ControlModifier, key);
}

// The modifiers in the order each platform writes them.
QString modifierText(Qt::KeyboardModifiers modifiers, KeyNames names, const QString& joint)
{
    QStringList parts;
    if (names == KeyNames::mac) {
        if (modifiers.testFlag(Qt::ShiftModifier))
            parts.append(u"⇧"_s);
        if (modifiers.testFlag(Qt::ControlModifier))
            parts.append(u"⌘"_s);
        return parts.join(QString());
    }
    if (modifiers.testFlag(Qt::ControlModifier))
        parts.append(u"Ctrl"_s);
    if (modifiers.testFlag(Qt::ShiftModifier))
        parts.append(u"Shift"_s);
    return parts.join(joint);
}

QString keyName(Qt::Key key)
{
    switch (key) {
    case Qt::Key_Delete:
        return u"Delete"_s;
    case Qt::Key_Backspace:
        return u"Backspace"_s;
    default:
        // Letters, digits and signs are written alike everywhere.
        return QKeySequence(key).toString(QKeySequence::PortableText);
    }
}

} // namespace

KeyNames platformKeyNames()
{
#ifdef Q_OS_MACOS
    return KeyNames::mac;
#else
    return KeyNames::pc;
#endif
}

QString keyText(QKeyCombination key, KeyNames names)
{
    const QString modifiers = modifierText(key.keyboardModifiers(), names, u"+"_s);
    if (modifiers.isEmpty())
        return keyName(key.key());
    return modifiers + (names == KeyNames::mac ? QString() : u"+"_s) + keyName(key.key());
}

QString clickText(Qt::KeyboardModifiers modifiers, KeyNames names)
{
    const QString held = modifierText(modifiers, names, u"+"_s);
    return held.isEmpty() ? u"Click"_s : held + u" + Click"_s;
}

QStringList copyAndPastePoints(KeyNames names)
{
    return {u"Select one or more buttons horizontally or vertically"_s,
            u"Press "_s + keyText(command(Qt::Key_C), names) + u" to copy"_s,
            u"Select destination button(s) and press "_s + keyText(command(Qt::Key_V), names) +
                u" to paste"_s,
            u"If you copy multiple buttons but only select one destination, all copied buttons "
            u"will paste starting from that position"_s};
}

QList<HelpShortcut> helpShortcuts(KeyNames names)
{
    const auto key = [names](QKeyCombination combination) { return keyText(combination, names); };
    return {
        {key(command(Qt::Key_C)), u"Copy selected button(s)"_s},
        {key(command(Qt::Key_V)), u"Paste to selected button(s)"_s},
        {u"Delete"_s, u"Clear selected button(s)"_s},
        {key(QKeyCombination(Qt::ShiftModifier, Qt::Key_Delete)),
         u"Clear selected button(s) and close up the row"_s},
        {key(command(Qt::Key_Z)), u"Undo the last change"_s},
        {key(QKeyCombination(Qt::ControlModifier | Qt::ShiftModifier, Qt::Key_Z)),
         u"Redo the last undone change"_s},
        {clickText(Qt::NoModifier, names), u"Select a button"_s},
        {clickText(Qt::ShiftModifier, names), u"Select range of buttons"_s},
        {clickText(Qt::ControlModifier, names), u"Add/remove from selection"_s},
        {u"Double-click"_s, u"Pick a source for the button"_s},
        {key(command(Qt::Key_L)), u"Show or hide the debug log"_s},
        {key(command(Qt::Key_Plus)), u"Zoom in"_s},
        {key(command(Qt::Key_Minus)), u"Zoom out"_s},
        {key(command(Qt::Key_0)), u"Actual size"_s},
        {key(command(Qt::Key_9)), u"Fit a whole row to the window"_s},
    };
}

} // namespace quorvane
