#pragma once

#include "link/write_confirmations.h"
#include "model/bus.h"
#include "model/show_file.h"

#include <QList>
#include <QString>
#include <functional>
#include <optional>

namespace quorvane::cli {

// The name the frame gives a source, empty when it has none.
using SourceNamer = std::function<QString(qint64 source)>;

// "PGM shift 2 button 3"
QString buttonText(const ShowButton& button);

// "Sources without names on the frame: 21, 24, 700"
QString unnamedSourcesLine(const QList<int>& sources);

// "1042 (VT 1)", "12", or "0 (unassigned)".
QString sourceText(qint64 source, const QString& name);

// One side of a comparison: what it is called in a report, and the names it gives sources.
struct ComparedSide {
    QString label; // "frame", "file", "studio-a.json"
    SourceNamer nameOf;
};

// "PGM shift 2 button 3: a.json 7 (CAM 7), b.json 1042 (VT 1)": the button, and each side's
// source with that side's name for it.
QString comparisonLine(const ShowDifference& difference, const ComparedSide& current,
                       const ComparedSide& wanted);

// "PGM shift 2 button 3: frame 7 (CAM 7), file 1042 (VT 1)". The file's name is the one the
// file gives; when it gives none, the frame's name for that source.
QString differenceLine(const ShowDifference& difference, const SourceNamer& frameName);

// When the file names the button's source and the frame names it otherwise:
// "the file names 12 "CAM 12", the frame "CAM 12 WIDE"". Names never decide a comparison.
std::optional<QString> nameNote(const ShowButton& wanted, const SourceNamer& frameName);

// "PGM shift 1 button 4: same source; the file names 12 "CAM 12", the frame "CAM 12 WIDE"", for
// a button whose source agrees but whose name does not; none otherwise.
std::optional<QString> sameSourceNameLine(const ShowButton& wanted, const SourceNamer& frameName);

// "confirmed PGM shift 2 button 3: 1042 (VT 1)", or "unconfirmed …" with what the frame said;
// `silence` says why a write has no answer.
QString writeLine(const TrackedWrite& write, const SourceNamer& frameName,
                  const QString& silence = QStringLiteral("the frame did not answer"));

// "never sent PGM shift 2 button 3: 1042 (VT 1)": a button that differed and was not written.
QString neverSentLine(const ShowButton& wanted, const SourceNamer& frameName);

// What the frame holds for a written button when read back: "holds PGM shift 2 button 3: 1042
// (VT 1)" when that is the file's source, else "differs " and the difference, with what became
// of the write ("the write was confirmed").
QString readBackLine(const TrackedWrite& write, const std::optional<ShowDifference>& difference,
                     const SourceNamer& frameName);

// "ME1, PGM"
QString busList(const QList<Bus>& buses);

} // namespace quorvane::cli
