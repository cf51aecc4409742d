#pragma once

#include "model/bus.h"

#include <QHashFunctions>
#include <QList>
#include <QSet>
#include <compare>

namespace quorvane {

// One cell of the grid on the bus shown: the unit of selection. Keys order by shift, then by
// button, which is the order in which a paste looks for its start.
struct SelectedButtonKey {
    int shift = 0;
    int button = 0;

    friend bool operator==(const SelectedButtonKey&, const SelectedButtonKey&) = default;
    friend auto operator<=>(const SelectedButtonKey&, const SelectedButtonKey&) = default;
};

inline size_t qHash(const SelectedButtonKey& key, size_t seed = 0) noexcept
{
    return qHashMulti(seed, key.shift, key.button);
}

using ButtonKeySet = QSet<SelectedButtonKey>;

// The keys of a set by shift, then button.
QList<SelectedButtonKey> sortedKeys(const ButtonKeySet& keys);

// A button on a named bus: what an undo records and what the picker writes to.
struct ButtonLocation {
    Bus bus = Bus::pgm;
    int shift = 0;
    int button = 0;

    friend bool operator==(const ButtonLocation&, const ButtonLocation&) = default;
};

} // namespace quorvane
