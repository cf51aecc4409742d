#pragma once

#include "button_mapping.h"

#include <QByteArrayView>
#include <QList>

namespace quorvane {

class DebugLogger;

// The frame's word on one button of the current count. A record for the button counts, whatever
// it carries: source 0 (unassigned) and the reserved "no assignment" values included. A button
// without one is unknown, which is not the same as unassigned. A record whose source lies beyond
// lastSourceNumber is corrupt and no answer.
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

// Which button fields a record may carry to count as a button of the panel.
enum class ButtonFields {
    anyOfItsNumbers, // any of the 16 numbers of a button, its low four bits ignored
    exactNumbers,    // only the first: a field of another panel width is no button here
};

// Applies every button record of one datagram to `mappings`. The frame sends the same records
// in answer to subscriptions and on its own when an assignment changes, so this serves both.
ButtonDataResult parseButtonData(QByteArrayView datagram, int buttonCount, MappingTable& mappings,
                                 DebugLogger& logger,
                                 ButtonFields fields = ButtonFields::anyOfItsNumbers);

} // namespace quorvane
