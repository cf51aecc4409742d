#include "served_show.h"

#include "model/button_address.h"

namespace quorvane::emulator {

namespace {
// The model and version texts of the frame information reply hold at most these.
constexpr qsizetype modelLimit = 31;
constexpr qsizetype versionLimit = 15;

// `name` when the frame's messages can carry it in `limit` bytes, else empty and counted.
QString servable(const QString& name, qsizetype limit, int& leftOut)
{
    if (name.isEmpty() || isEncodableName(name, limit))
        return name;
    ++leftOut;
    return QString();
}
} // namespace

ServedShow serveShowFile(const ShowFile& file)
{
    ServedShow served;
    for (const ShowButton& button : file.buttons) {
        served.show.buttons.setMapping(button.bus, file.buttonCount, button.shift, button.button,
                                       static_cast<quint32>(button.source));
    }
    QList<int> numbers = file.sources.keys();
    std::sort(numbers.begin(), numbers.end());
    for (int number : numbers) {
        const SourceName& names = file.sources.value(number);
        SourceName kept;
        kept.eng = servable(names.eng, engineeringNameLimit, served.namesLeftOut);
        // The client drops engineering names shorter than two characters.
        if (kept.eng.size() == 1) {
            kept.eng.clear();
            ++served.namesLeftOut;
        }
        kept.panel = servable(names.panel, nameFieldLimit, served.namesLeftOut);
        kept.oled = servable(names.oled, nameFieldLimit, served.namesLeftOut);
        kept.menu = servable(names.menu, nameFieldLimit, served.namesLeftOut);
        served.show.sources.push_back({number, kept});
    }
    if (isEncodableName(file.frameName, modelLimit) && !file.frameName.isEmpty())
        served.identity.model = file.frameName;
    if (isEncodableName(file.frameVersion, versionLimit) && !file.frameVersion.isEmpty())
        served.identity.version = file.frameVersion;
    return served;
}

QList<ShowButton> assignedButtons(const Show& show, int buttonCount,
                                  const std::function<QString(qint64 source)>& nameOf)
{
    QList<ShowButton> buttons;
    for (Bus bus : allBuses) {
        for (int shift = 1; shift <= shiftRowCount; ++shift) {
            for (int button = 1; button <= buttonCount; ++button) {
                const quint32 source = show.buttons.mapping(bus, buttonCount, shift, button);
                if (source == 0)
                    continue;
                buttons.append({bus, shift, button, qint64{source},
                                nameOf ? nameOf(qint64{source}) : QString()});
            }
        }
    }
    return buttons;
}

} // namespace quorvane::emulator
