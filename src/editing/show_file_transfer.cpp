#include "editing/show_file_transfer.h"

#include "editing/editing_model.h"
#include "link/frame_reading.h"
#include "link/gv_connection.h"
#include "model/show_file_io.h"

#include <QSet>

using namespace Qt::StringLiterals;

namespace quorvane {

namespace {
QString unknownButtons(const FrameReading& reading, const QString& what)
{
    return what +
           u" the frame has not answered for these buttons, so what they hold is "
           u"unknown:\n\n"_s +
           unknownButtonLines(reading.unknown).join(u'\n') +
           u"\n\nDisconnect and connect again to read them anew."_s;
}

// The buttons of `buses` at `count` whose latest write the frame has not confirmed: pending
// still, or given up on without an answer. What they hold is not known either.
QList<ShowButton> unconfirmedButtons(const GVConnection& connection, const QList<Bus>& buses,
                                     int count)
{
    QList<ShowButton> buttons;
    for (const TrackedWrite& write : connection.writes().confirmations().writes()) {
        const bool open = write.isPending() || write.outcome == WriteOutcome::notConfirmed;
        if (open && write.buttonCount == count && buses.contains(write.wanted.bus))
            buttons.append(
                ShowButton{write.wanted.bus, write.wanted.shift, write.wanted.button, 0, {}});
    }
    return buttons;
}

// What the cells of `buses` show at the connection's button count, the empty ones left out.
QList<ShowButton> shownButtons(const GVConnection& connection, const QList<Bus>& buses)
{
    const int count = connection.buttonCount();
    QList<ShowButton> shown;
    for (Bus bus : buses) {
        for (int shift = 1; shift <= shiftRowCount; ++shift) {
            for (int button = 1; button <= count; ++button) {
                const std::optional<ButtonMapping> mapping =
                    connection.mappingFor(bus, shift, button, count);
                if (!mapping || mapping->source <= 0 || mapping->source > lastSourceNumber)
                    continue;
                shown.append(
                    ShowButton{bus, shift, button, mapping->source,
                               connection.displayName(int(mapping->source)).value_or(QString())});
            }
        }
    }
    return shown;
}
} // namespace

QList<Bus> loadedBuses(const GVConnection& connection)
{
    QList<Bus> buses;
    for (Bus bus : allBuses) {
        if (connection.subscribedModes().contains(modeKey(bus, connection.buttonCount())))
            buses.append(bus);
    }
    return buses;
}

ShowExport exportShowFile(const GVConnection& connection)
{
    const QList<Bus> buses = loadedBuses(connection);
    const FrameReading reading = readFrame(connection, buses, connection.buttonCount());
    if (!reading.isComplete())
        return {std::nullopt, unknownButtons(reading, u"Nothing was exported:"_s)};
    const QList<ShowButton> unconfirmed =
        unconfirmedButtons(connection, buses, connection.buttonCount());
    if (!unconfirmed.isEmpty()) {
        return {std::nullopt, u"Nothing was exported: the frame has not confirmed the latest "
                              u"writes to these buttons, so what they hold is not known:\n\n"_s +
                                  unknownButtonLines(unconfirmed).join(u'\n') +
                                  u"\n\nWait for the frame to confirm them, or write them "
                                  u"again."_s};
    }
    ShowFile file;
    file.frameName = connection.frameName();
    file.frameVersion = connection.frameVersion();
    file.frameAddress = connection.targetHost();
    file.suite = connection.selectedSuite();
    file.buttonCount = connection.buttonCount();
    // What the cells show: once every write is settled that is the frame's word, a refused
    // write's button included.
    file.buttons = shownButtons(connection, buses);
    file.sources = connection.sourceNames();
    return {file, QString()};
}

bool isCsvShowFile(const QString& path)
{
    return path.endsWith(u".csv"_s, Qt::CaseInsensitive);
}

ImportFile readImportFile(const QString& path, int buttonCount)
{
    const ShowFileBytes bytes = readShowFileBytes(path);
    if (!bytes.bytes)
        return {std::nullopt, u"Could not read "_s + path + u": "_s + bytes.problem};
    ShowFileResult read =
        isCsvShowFile(path) ? readShowCsv(*bytes.bytes, buttonCount) : readShowJson(*bytes.bytes);
    if (read.file)
        return {std::move(read.file), QString()};
    // Enough to find the fault without a box taller than the screen.
    constexpr qsizetype shownProblems = 12;
    QStringList problems;
    for (const ShowFileProblem& problem : read.problems.mid(0, shownProblems))
        problems.append(problem.text());
    return {std::nullopt, u"The file was not imported:\n\n"_s + problems.join(u'\n')};
}

ImportPlan planImport(const ShowFile& file, const GVConnection& connection)
{
    ImportPlan plan;
    if (!connection.isConnected()) {
        plan.refusal = u"Connect to the frame first: the file is compared with what it holds."_s;
        return plan;
    }
    const int count = connection.buttonCount();
    if (file.buttonCount != count) {
        plan.refusal = u"The file is for "_s + QString::number(file.buttonCount) +
                       u"-button rows; switch the panel to "_s + QString::number(file.buttonCount) +
                       u" buttons first."_s;
        return plan;
    }
    QList<ShowButton> wanted;
    QSet<QString> skipped;
    for (const ShowButton& button : file.buttons) {
        if (connection.subscribedModes().contains(modeKey(button.bus, count)))
            wanted.append(button);
        else
            skipped.insert(busName(button.bus));
    }
    // Only the buses the file speaks of are compared.
    QList<Bus> fileBuses;
    for (const ShowButton& button : wanted) {
        if (!fileBuses.contains(button.bus))
            fileBuses.append(button.bus);
    }
    const FrameReading current = readFrame(connection, fileBuses, count);
    if (!current.isComplete()) {
        plan.refusal = unknownButtons(current, u"Nothing was imported:"_s);
        return plan;
    }
    plan.writes = differences(current.assigned, wanted);
    plan.skippedBuses = QStringList(skipped.cbegin(), skipped.cend());
    plan.skippedBuses.sort();
    return plan;
}

int applyImport(const ImportPlan& plan, EditingModel& model)
{
    if (plan.writes.isEmpty())
        return 0;
    QList<ButtonLocation> targets;
    QList<qint64> sources;
    for (const ShowDifference& difference : plan.writes) {
        const ShowButton& button = difference.wanted;
        targets.append({button.bus, button.shift, button.button});
        sources.append(button.source);
    }
    return model.writeEdit(targets, sources) ? int(plan.writes.size()) : 0;
}

} // namespace quorvane
