#pragma once

#include "bus.h"

#include <QHash>
#include <QString>
#include <QUuid>

namespace quorvane {

// One panel button's assignment. `id` is fresh for every record and is not part of the key.
struct ButtonMapping {
    QUuid id = QUuid::createUuid();
    Bus bus = Bus::me1;
    int shift = 0;  // 1 to 4
    int button = 0; // 1 to the button count
    qint64 source = 0;

    friend bool operator==(const ButtonMapping&, const ButtonMapping&) = default;
};

// The cache key of a button, "ME1-20-1-7": bus, buttons per row, shift, button. The button
// count is part of the key, so a mapping read at one count is not found at another.
QString mappingKey(Bus bus, int buttonCount, int shift, int button);

using MappingTable = QHash<QString, ButtonMapping>;

// A bus loaded at one button count, "PGM-35": the connection caches loads under this key.
QString modeKey(Bus bus, int buttonCount);

// A button as it was before an edit; source 0 means it was unmapped.
struct ButtonState {
    Bus bus = Bus::me1;
    int shift = 0;
    int button = 0;
    qint64 source = 0;

    friend bool operator==(const ButtonState&, const ButtonState&) = default;
};

// The panel a batch was made on: the frame, the suite and the button count. A batch written back
// anywhere else would change buttons nobody edited.
struct UndoPanel {
    QString frameAddress;
    int suite = 0;
    int buttonCount = 0;

    friend bool operator==(const UndoPanel&, const UndoPanel&) = default;
};

// One undoable batch: the state of every changed button before the change, and where.
struct UndoAction {
    QList<ButtonState> changes;
    UndoPanel panel;

    friend bool operator==(const UndoAction&, const UndoAction&) = default;
};

} // namespace quorvane
