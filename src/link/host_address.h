#pragma once

#include <QStringView>

namespace quorvane {

// Whether `host` is written as the frame's address must be: four decimal numbers 0-255 joined
// by dots, without leading zeros ("192.168.1.20"). Names and short forms such as "10.1" are
// refused here, before anything is sent, rather than failing one send after another.
bool isDottedIPv4(QStringView host);

// Whether `host` is a host name to look up ("frame-a.studio", "localhost"): labels of 1 to 63
// letters, digits and hyphens, neither starting nor ending with a hyphen, joined by dots, at
// most 253 characters. The last label is never all digits, so "10.0.0" or "10.0.0.256" is a
// mistyped address, not a name.
bool isHostName(QStringView host);

} // namespace quorvane
