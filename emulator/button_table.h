#pragma once

#include "model/bus.h"

#include <QHash>
#include <QtGlobal>

namespace quorvane::emulator {

// The parameter number the frame gives a button of a suite with `buttonCount` buttons per row:
// the inverse of quorvane::locateButton. Every (count, shift, button) gets its own number,
// because the bases (18, 19, 17, 16) differ in their low four bits.
quint16 buttonParameter(int buttonCount, int shift, int button);

// One panel button, as a test or a fault switch names it.
struct PanelButton {
    Bus bus = Bus::pgm;
    int buttonCount = 35;
    int shift = 1;
    int button = 1;
};

// How the frame itself tells its buttons apart: bus code and parameter number.
inline quint32 frameButtonKey(quint8 busCode, quint16 parameter)
{
    return (quint32{busCode} << 16) | parameter;
}
quint32 frameButtonKey(const PanelButton& button);

// The frame's source-select assignments, as the frame itself keys them: by bus code and
// parameter number. A write or subscription for any parameter works, whether or not it lies
// on a panel grid.
class ButtonTable {
public:
    // 0 when the button is unassigned.
    quint32 source(quint8 busCode, quint16 parameter) const;
    void setSource(quint8 busCode, quint16 parameter, quint32 source);

    quint32 mapping(Bus bus, int buttonCount, int shift, int button) const;
    void setMapping(Bus bus, int buttonCount, int shift, int button, quint32 source);

    // The number of buttons with a source other than 0.
    qsizetype assignedCount() const { return m_sources.size(); }

    friend bool operator==(const ButtonTable&, const ButtonTable&) = default;

private:
    QHash<quint32, quint32> m_sources; // unassigned buttons are absent
};

} // namespace quorvane::emulator
