#pragma once

#include "editing/drag_payload.h"

#include <QList>
#include <QUuid>
#include <optional>

namespace quorvane {

// A parked source beside the grid. The id stays with the slot while other slots come and go.
struct SandboxSlot {
    QUuid id;
    int source = 0;

    friend bool operator==(const SandboxSlot&, const SandboxSlot&) = default;
};

// The strip of parked sources and the one slot that may be selected.
class Sandbox {
public:
    static constexpr qsizetype capacity = 20;

    const QList<SandboxSlot>& slots() const { return m_slots; }
    std::optional<int> selectedIndex() const { return m_selectedIndex; }
    // A selected index may be stale; only one inside the list names a slot.
    bool hasSelectedSlot() const;

    // Parks the sources of the first payload's buttons, in order. Empty buttons (source 0) are
    // skipped; once the strip is full the rest are ignored, nothing is pushed out. Returns the
    // number of slots added.
    int add(const QList<MultiButtonDragData>& payloads);
    void select(int index) { m_selectedIndex = index; }
    void deselect() { m_selectedIndex.reset(); }
    // Removes the selected slot when the index names one; the later slots move up.
    bool removeSelected();

    // The payload of a drag that starts on the slot at `index`, or none for a bad index.
    std::optional<MultiButtonDragData> dragData(int index) const;

    // "S1", "S2", …: the label of the slot at `index`.
    static QString slotLabel(int index);

    friend bool operator==(const Sandbox&, const Sandbox&) = default;

private:
    QList<SandboxSlot> m_slots;
    std::optional<int> m_selectedIndex;
};

} // namespace quorvane
