#include "button_table.h"

#include "diagnostics/programming_error.h"
#include "model/button_address.h"

namespace quorvane::emulator {

namespace {
constexpr int numbersPerButton = 16;
constexpr int shiftRows = 4;
} // namespace

quint16 buttonParameter(int buttonCount, int shift, int button)
{
    QUORVANE_REQUIRE(shift >= 1 && shift <= shiftRows, "shift out of range");
    QUORVANE_REQUIRE(button >= 1 && button <= buttonCount, "button out of range");
    const int parameter =
        parameterBase(buttonCount) + numbersPerButton * (buttonCount * (shift - 1) + (button - 1));
    QUORVANE_REQUIRE(parameter <= 0xFFFF, "parameter does not fit 16 bits");
    return static_cast<quint16>(parameter);
}

quint32 frameButtonKey(const PanelButton& button)
{
    return frameButtonKey(busCode(button.bus),
                          buttonParameter(button.buttonCount, button.shift, button.button));
}

quint32 ButtonTable::source(quint8 busCode, quint16 parameter) const
{
    return m_sources.value(frameButtonKey(busCode, parameter), 0);
}

void ButtonTable::setSource(quint8 busCode, quint16 parameter, quint32 source)
{
    if (source == 0)
        m_sources.remove(frameButtonKey(busCode, parameter));
    else
        m_sources.insert(frameButtonKey(busCode, parameter), source);
}

quint32 ButtonTable::mapping(Bus bus, int buttonCount, int shift, int button) const
{
    return source(busCode(bus), buttonParameter(buttonCount, shift, button));
}

void ButtonTable::setMapping(Bus bus, int buttonCount, int shift, int button, quint32 source)
{
    setSource(busCode(bus), buttonParameter(buttonCount, shift, button), source);
}

} // namespace quorvane::emulator
