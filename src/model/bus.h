#pragma once

#include <QString>
#include <QStringView>
#include <array>
#include <optional>

namespace quorvane {

// The six buses of the switcher, in display order.
enum class Bus { me1, me2, me3, me4, pgm, aux };

inline constexpr std::array<Bus, 6> allBuses{Bus::me1, Bus::me2, Bus::me3,
                                             Bus::me4, Bus::pgm, Bus::aux};

// "ME1" … "AUX": the display text and the prefix of mapping keys.
QString busName(Bus bus);
std::optional<Bus> busFromName(QStringView name);
// "PGM S2B10": one button as the log and the status line name it.
QString buttonName(Bus bus, int shift, int button);

// The one-byte bus code the frame uses on the wire. ME4 is 0x40 and PGM 0x30: the frame's
// codes do not follow the display order.
quint8 busCode(Bus bus);
std::optional<Bus> busFromCode(quint8 code);

} // namespace quorvane
