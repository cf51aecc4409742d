#pragma once

#include "button_mapping.h"

#include <QByteArrayView>
#include <QList>

namespace quorvane {

class DebugLogger;

// The frame's word on one button of the current count. A record for the button counts, whatever
// it carries: source 0 (unassigned) and the reserved "no assignment" values included. A button
// without one is unknown, which is not the same as unassigned.
struct ButtonAnswer {
    Bus bus = Bus::me1;
    int shift = 0;
    int button = 0;
    quint32 source = 0; // as sent, the reserved values included

    friend bool operator==(const ButtonAnswer&, const ButtonAnswer&) = default;
};

struct ButtonDataResult {
    bool mappingsChanged = false;
    QList<ButtonAnswer> answers; // in datagram order
};

// Applies every button record of one datagram to `mappings`. The frame sends the same records
// in answer to subscriptions and on its own when an assignment changes, so this serves both.
ButtonDataResult parseButtonData(QByteArrayView datagram, int buttonCount, MappingTable& mappings,
                                 DebugLogger& logger);

} // namespace quorvane
