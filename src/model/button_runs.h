#pragma once

#include "bus.h"
#include "button_address.h"

#include <QList>
#include <QStringList>

namespace quorvane {

// Buttons named the way an engineer reads a panel: one line per shift row, consecutive buttons
// joined into runs, for example "ME2 shift 3: buttons 17-20" or "PGM shift 1: buttons 4, 9-10".
// The positions may come in any order; a position given twice is named once.
QStringList describeButtonRuns(Bus bus, QList<ButtonPosition> positions);

} // namespace quorvane
