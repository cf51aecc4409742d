#include "sheet_content.h"

#include "model/button_address.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace quorvane {

namespace {
QString recorded(const QString& value)
{
    return value.isEmpty() ? u"not recorded"_s : value;
}
} // namespace

QList<Bus> sheetBuses(const ShowFile& file, const QList<Bus>& named)
{
    QList<Bus> buses = named;
    if (buses.isEmpty()) {
        for (const ShowButton& button : file.buttons) {
            if (!buses.contains(button.bus))
                buses.append(button.bus);
        }
    }
    std::sort(buses.begin(), buses.end());
    buses.erase(std::unique(buses.begin(), buses.end()), buses.end());
    return buses;
}

SheetPage sheetPage(const ShowFile& file, Bus bus)
{
    SheetPage page;
    page.bus = bus;
    for (int shift = 1; shift <= shiftRowCount; ++shift) {
        for (int button = 1; button <= file.buttonCount; ++button)
            page.cells.append(SheetCell{shift, button, 0, {}});
    }
    for (const ShowButton& listed : file.buttons) {
        // A read show file holds only buttons of its panel; anything else has no cell.
        if (listed.bus != bus || listed.shift < 1 || listed.shift > shiftRowCount ||
            listed.button < 1 || listed.button > file.buttonCount || listed.source == 0) {
            continue;
        }
        SheetCell& cell = page.cells[(listed.shift - 1) * file.buttonCount + listed.button - 1];
        cell.source = listed.source;
        cell.name = escapedName(listed.name);
        ++page.assigned;
    }
    return page;
}

QList<SheetFact> sheetFacts(const ShowFile& file, const SheetPage& page, QDate date)
{
    const qsizetype buttons = page.cells.size();
    return {
        {u"Frame"_s, recorded(file.frameName)},
        {u"Version"_s, recorded(file.frameVersion)},
        {u"Address"_s, recorded(file.frameAddress)},
        {u"Suite"_s, QString::number(file.suite)},
        {u"Buttons"_s, QString::number(file.buttonCount) + u" per row"_s},
        {u"Assigned"_s, QString::number(page.assigned) + u" of "_s + QString::number(buttons)},
        {u"Date"_s, date.toString(Qt::ISODate)},
    };
}

QString pageNumberText(int page, int pageCount)
{
    return u"Page "_s + QString::number(page) + u" of "_s + QString::number(pageCount);
}

QString withoutSuffix(const QString& path)
{
    const qsizetype slash = path.lastIndexOf(u'/');
    const qsizetype dot = path.lastIndexOf(u'.');
    // A dot that starts the file name (".sheet") names it, it does not start an extension.
    if (dot <= slash + 1)
        return path;
    return path.left(dot);
}

QString pngPathFor(const QString& output, Bus bus)
{
    return withoutSuffix(output) + u'-' + busName(bus) + u".png"_s;
}

QStringList sheetFiles(const QString& path, SheetFormat format, const QList<Bus>& buses)
{
    if (format == SheetFormat::pdf)
        return {path};
    QStringList files;
    for (Bus bus : buses)
        files.append(pngPathFor(path, bus));
    return files;
}

} // namespace quorvane
