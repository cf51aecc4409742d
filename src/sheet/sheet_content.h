#pragma once

// What a panel sheet says, apart from how it is drawn: which buses get a page, what each
// button cell holds and the texts of the header and the footer.

#include "model/show_file.h"
#include "sheet_options.h"

#include <QList>
#include <QString>

namespace quorvane {

// One button as printed. A show file lists assigned buttons only, so a button it does not list
// is unassigned: source 0, no name.
struct SheetCell {
    int shift = 1;
    int button = 1;
    qint64 source = 0;
    QString name; // possibly empty; control characters escaped (escapedName), so none is lost
                  // on paper

    bool isAssigned() const { return source != 0; }
};

struct SheetPage {
    Bus bus = Bus::me1;
    QList<SheetCell> cells; // shift 1 buttons 1 to count, then shift 2, …
    int assigned = 0;
};

// A fact of the header: a short label over its value.
struct SheetFact {
    QString label;
    QString value;
};

// `named` when given (as the user named them), else the buses the file lists buttons on; in
// display order either way.
QList<Bus> sheetBuses(const ShowFile& file, const QList<Bus>& named);

SheetPage sheetPage(const ShowFile& file, Bus bus);

// The frame, its version and address, the suite, the buttons per row and the date, then how
// many buttons of `page` are assigned. A fact the file does not record reads "not recorded".
QList<SheetFact> sheetFacts(const ShowFile& file, const SheetPage& page, QDate date);

// "Page 2 of 6"
QString pageNumberText(int page, int pageCount);

// `path` without the extension of its file name ("shows/studio-a.json" gives "shows/studio-a").
QString withoutSuffix(const QString& path);

// Where the PNG image of `bus` goes for `output`: "-BUS" before the extension, and ".png"
// (sheet.png and sheet give sheet-ME1.png).
QString pngPathFor(const QString& output, Bus bus);

// The files a sheet of `buses` at `path` is written to: `path` for PDF, one image per bus for
// PNG.
QStringList sheetFiles(const QString& path, SheetFormat format, const QList<Bus>& buses);

} // namespace quorvane
