#pragma once

#include <QHash>
#include <QList>
#include <QString>
#include <optional>

namespace quorvane {

// The sources the program names, writes, takes from the frame and keeps in show files: 0 means
// an unassigned button, and the frame takes a 16-bit source number on writing.
inline constexpr int firstSourceNumber = 1;
inline constexpr int lastSourceNumber = 0xFFFF;

// The sources the frame keeps names for.
inline constexpr int lastNamedSource = 999;

// The names the frame keeps for one source.
struct SourceName {
    QString eng;   // engineering name, from the source definitions
    QString panel; // shown on the panel's button displays
    QString oled;  // short name for the panel's OLED displays
    QString menu;  // used in the frame's menus

    friend bool operator==(const SourceName&, const SourceName&) = default;
};

using SourceNameTable = QHash<int, SourceName>;
using InternalSourceLabels = QHash<int, QString>;

// The sources among `used` that the frame keeps names for and that lack their definition or
// every one of their names, ascending and each once. The frame sends names only for sources that
// have some, so these were either lost on the way or have none on the frame.
QList<int> sourcesWithoutNames(const QList<qint64>& used, const SourceNameTable& names);

// The text to show for a source: menu, OLED, then panel name; for internal sources (700 and
// up) the shipped label comes before the engineering name, which is the last resort.
std::optional<QString> displayName(int source, const SourceNameTable& names,
                                   const InternalSourceLabels& internalLabels);

} // namespace quorvane
