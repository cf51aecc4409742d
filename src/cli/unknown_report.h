#pragma once

#include "console.h"
#include "exit_code.h"
#include "model/show_file.h"

#include <QList>

namespace quorvane::cli {

// Tells which buttons the frame did not answer for, one error line per shift row
// ("ME2 shift 3: buttons 17-20 did not answer"), then what was left undone because of them.
// Returns the exit code of an incomplete run.
ExitCode reportUnknownButtons(Console& console, const QList<ShowButton>& unknown, int retries,
                              const QString& leftUndone);

} // namespace quorvane::cli
