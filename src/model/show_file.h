#pragma once

#include "bus.h"
#include "button_mapping.h"
#include "source_name.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <functional>
#include <optional>

namespace quorvane {

// A show file keeps the button map of one panel suite beside the show: as JSON, with the frame
// it was read from, or as bare CSV rows for spreadsheets. People diff and hand-edit these files,
// so writing is canonical (sorted, fixed key order, one button per line) and reading refuses a
// whole file at its first doubtful byte rather than apply half of it.

// The JSON version written. Version 1 (no source names) is still read.
inline constexpr int showFileVersion = 2;

// One source-select button. `source` is what gets applied; `name` only helps whoever reads the
// file (it may be left out) and is ignored when comparing with the frame.
struct ShowButton {
    Bus bus = Bus::me1;
    int shift = 1;  // 1 to 4
    int button = 1; // 1 to the button count
    qint64 source = 0;
    QString name;

    friend bool operator==(const ShowButton&, const ShowButton&) = default;
};

struct ShowFile {
    // The frame the map was read from, as it described itself. Only informative: a file may be
    // applied to any frame.
    QString frameName;
    QString frameVersion;
    QString frameAddress;
    int suite = 1;
    int buttonCount = 35;
    QList<ShowButton> buttons; // in sortButtons() order once read
    // The names the frame reported for its sources (1 to 999), so that a show can be read,
    // printed and edited away from the frame. Never applied to a frame.
    SourceNameTable sources;

    friend bool operator==(const ShowFile&, const ShowFile&) = default;
};

// `name` as one line of text shows it: control characters, line and paragraph separators and
// lone surrogates escaped as JSON writes them ("\t", "\u0000").
QString escapedName(QStringView name);

// Bus order ME1, ME2, ME3, ME4, PGM, AUX, then shift, then button: the order of the grid, and
// the order that keeps the diff of two files small.
void sortButtons(QList<ShowButton>& buttons);

// Both writers sort a copy of the buttons and the sources and write what they are given without
// checking it; the readers are where the rules are. Text is UTF-8, lines end in LF. CSV holds
// the buttons, then, when there are source names, a second table of them under a header of its
// own ("source,eng,panel,oled,menu"); it has no place for the frame, the suite or the count.
QByteArray writeShowJson(const ShowFile& file);
QByteArray writeShowCsv(const ShowFile& file);

struct ShowFileProblem {
    int line = 0;  // 1-based line in the file; 0 when the problem is not in the file
    QString where; // the JSON object at fault ("frame", "buttons[6]"); empty at the top and in CSV
    QString reason;

    // "line 12 (buttons[6]): shift 5 is outside 1-4"
    QString text() const;

    friend bool operator==(const ShowFileProblem&, const ShowFileProblem&) = default;
};

// `file` is set only when `problems` is empty. Problems come in the order of their lines.
struct ShowFileResult {
    std::optional<ShowFile> file;
    QList<ShowFileProblem> problems;
};

ShowFileResult readShowJson(const QByteArray& data);

// CSV carries the buttons and source names only: the result has `buttonCount` from the caller,
// suite 1 and no frame description.
ShowFileResult readShowCsv(const QByteArray& data, int buttonCount);

// The buttons of `mappings` that were read at `buttonCount` (other counts are other panels),
// sorted, each named by `nameOf` (which may be empty). Sources a show file cannot hold are kept,
// so the file is refused on reading instead of silently changed, but are not named.
QList<ShowButton> showButtons(const MappingTable& mappings, int buttonCount,
                              const std::function<QString(int source)>& nameOf);

// A button whose source differs between the frame and a file.
struct ShowDifference {
    ShowButton wanted;                 // as the file has it, source 0 when it does not list it
    std::optional<ShowButton> current; // as the frame has it, none when it has no mapping

    friend bool operator==(const ShowDifference&, const ShowDifference&) = default;
};

// Compares by (bus, shift, button) on `source` only; a button missing on one side counts as
// source 0, unmapped. Sorted like sortButtons().
QList<ShowDifference> differences(const QList<ShowButton>& frame, const QList<ShowButton>& file);

} // namespace quorvane
