#pragma once

#include "model/bus.h"

#include <QDate>
#include <QList>
#include <QString>

namespace quorvane {

enum class SheetFormat { pdf, png };

// Landscape always: four shift rows of up to 35 buttons need the width.
enum class SheetPaper { a4, letter };

struct SheetOptions {
    SheetFormat format = SheetFormat::pdf;
    SheetPaper paper = SheetPaper::a4;
    // One page per bus, in display order. Empty: every bus the file lists buttons on. A bus
    // named here on which the file lists no button gets a page of unassigned buttons.
    QList<Bus> buses;
    QString fileName; // in every page's footer: what the sheet was printed from
    QDate date;       // in every page's header
};

} // namespace quorvane
