#pragma once

#include "model/show_file.h"
#include "sheet_options.h"

#include <QString>
#include <QStringList>

namespace quorvane {

// What exporting a sheet did: the files written, or why none was.
struct SheetExport {
    QStringList written; // in page order; empty when `problem` is set
    QString problem;     // one line: what went wrong, the path included
};

// Prints `file` as a panel sheet, one landscape page per bus (see SheetOptions::buses): the
// four shift rows with every button's number, source number and name, a header with the frame,
// suite, button count and date, and `options.fileName` with the page number in the footer.
//
// PDF: one document at `path`. PNG: one image per bus at 150 dots per inch, at
// pngPathFor(path, bus). Every file is written beside its old version and takes its place only
// when whole; when a file cannot be written, none is replaced. Needs a QGuiApplication (the
// offscreen platform will do).
SheetExport exportPanelSheet(const ShowFile& file, const QString& path,
                             const SheetOptions& options);

// How large a PNG page is, in pixels.
QSize sheetImageSize(SheetPaper paper);

} // namespace quorvane
