#pragma once

#include "button_mapping.h"

#include <QByteArrayView>

namespace quorvane {

class DebugLogger;

// Applies every button record of one datagram to `mappings`. The frame sends the same records
// in answer to subscriptions and on its own when an assignment changes, so this serves both.
// Returns whether `mappings` changed.
bool parseButtonData(QByteArrayView datagram, int buttonCount, MappingTable& mappings,
                     DebugLogger& logger);

} // namespace quorvane
