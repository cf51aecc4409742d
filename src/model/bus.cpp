#include "bus.h"

using namespace Qt::StringLiterals;

namespace quorvane {

QString busName(Bus bus)
{
    switch (bus) {
    case Bus::me1:
        return u"ME1"_s;
    case Bus::me2:
        return u"ME2"_s;
    case Bus::me3:
        return u"ME3"_s;
    case Bus::me4:
        return u"ME4"_s;
    case Bus::pgm:
        return u"PGM"_s;
    case Bus::aux:
        return u"AUX"_s;
    }
    Q_UNREACHABLE();
    return {};
}

QString buttonName(Bus bus, int shift, int button)
{
    return busName(bus) + u" S"_s + QString::number(shift) + u'B' + QString::number(button);
}

std::optional<Bus> busFromName(QStringView name)
{
    for (Bus bus : allBuses) {
        if (name == busName(bus))
            return bus;
    }
    return std::nullopt;
}

quint8 busCode(Bus bus)
{
    switch (bus) {
    case Bus::me1:
        return 0x00;
    case Bus::me2:
        return 0x10;
    case Bus::me3:
        return 0x20;
    case Bus::me4:
        return 0x40;
    case Bus::pgm:
        return 0x30;
    case Bus::aux:
        return 0x50;
    }
    Q_UNREACHABLE();
    return 0;
}

std::optional<Bus> busFromCode(quint8 code)
{
    for (Bus bus : allBuses) {
        if (busCode(bus) == code)
            return bus;
    }
    return std::nullopt;
}

} // namespace quorvane
