#pragma once

#include "model/show_file.h"

#include <QStringList>
#include <optional>

namespace quorvane {

class EditingModel;
class GVConnection;

// The show file of what the connection has loaded at its button count: every loaded bus, or
// `refusal` when the frame has not answered for some of their buttons (a backup with unknown
// buttons would pass them off as unassigned).
struct ShowExport {
    std::optional<ShowFile> file;
    QString refusal;
};
ShowExport exportShowFile(const GVConnection& connection);

// The buses loaded at the connection's button count, in display order.
QList<Bus> loadedBuses(const GVConnection& connection);

// A show file is CSV when its name ends in ".csv", else JSON.
bool isCsvShowFile(const QString& path);

// The show file at `path`, read for import at the panel's `buttonCount` (a CSV file carries
// none), or `refusal`: why not, in a few lines for a message box.
struct ImportFile {
    std::optional<ShowFile> file;
    QString refusal;
};
ImportFile readImportFile(const QString& path, int buttonCount);

// What importing a show file would do: the buttons whose source differs on loaded buses. It is
// refused while the frame has not answered for some button of those buses: what it holds is
// unknown, so neither writing it nor leaving it would be known to be right.
struct ImportPlan {
    QList<ShowDifference> writes;
    QStringList skippedBuses; // in the file but not loaded: nothing is known of them yet
    QString refusal;          // why nothing can be imported, or empty
};
ImportPlan planImport(const ShowFile& file, const GVConnection& connection);

// Writes the plan as one undoable batch; returns the number of buttons written.
int applyImport(const ImportPlan& plan, EditingModel& model);

} // namespace quorvane
