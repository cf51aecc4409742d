#pragma once

#include <QtGlobal>
#include <array>
#include <optional>

namespace quorvane {

// The frame numbers the source-select buttons of a suite with a 16-bit parameter: from a base
// that depends on the buttons per row, 16 numbers per button, one row after the other.
//
//   field = base(n) + 16 × (n × (shift − 1) + (button − 1))
//
// The bases (15 → 18, 20 → 19, 25 → 17, otherwise 16) are the frame's own irregular layout.
int parameterBase(int buttonCount);

// Every bus has four shift rows of buttons.
inline constexpr int shiftRowCount = 4;

// The panel widths a suite can have.
inline constexpr std::array<int, 4> supportedButtonCounts{15, 20, 25, 35};
bool isSupportedButtonCount(qint64 count);

struct ButtonPosition {
    int shift = 0;  // 1 to 4
    int button = 0; // 1 to the button count

    friend bool operator==(const ButtonPosition&, const ButtonPosition&) = default;
};

// The button a received field names, or none when it lies outside the four shift rows. The
// low four bits of a button's 16 numbers are ignored.
std::optional<ButtonPosition> locateButton(quint16 field, int buttonCount);

// Whether `field` is exactly the number the frame gives a button at `buttonCount`, the first of
// its 16. The bases of the four panel widths differ in their low four bits, so a number of
// another width is never one of these.
bool isButtonNumber(quint16 field, int buttonCount);

} // namespace quorvane

namespace quorvane {

// The parameter number of a button, for writing and subscribing. Stops the program on a
// position no panel has: callers only pass buttons of the grid.
quint16 buttonAddress(int shift, int button, int buttonCount);

} // namespace quorvane
