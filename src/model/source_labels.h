#pragma once

#include "source_name.h"

#include <QStringList>

namespace quorvane {

class DebugLogger;

// Where the internal source labels are looked for, first match wins: the copy built into the
// program, then docs/source_labels.csv under the current directory.
QStringList defaultSourceLabelsLocations();

// Loads the labels from the first of `locations` that exists. A missing or unreadable file is
// normal and only logged; bad lines are skipped.
InternalSourceLabels loadInternalSourceLabels(const QStringList& locations, DebugLogger& logger);

// The file's rows after the header line: "number,label[,ignored…]", no quoting. A row whose
// number is no source number (1 to 65535) is skipped.
InternalSourceLabels parseSourceLabels(const QString& csv);

} // namespace quorvane
