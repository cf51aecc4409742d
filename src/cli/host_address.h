#pragma once

#include <QStringView>

namespace quorvane::cli {

// Whether `host` is written as the frame's address must be: four decimal numbers 0-255 joined
// by dots, without leading zeros ("192.168.1.20"). Names and short forms such as "10.1" are
// refused here, before anything is sent, rather than failing one send after another.
bool isDottedIPv4(QStringView host);

} // namespace quorvane::cli
