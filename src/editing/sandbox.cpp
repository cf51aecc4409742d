#include "editing/sandbox.h"

#include "model/source_name.h"

using namespace Qt::StringLiterals;

namespace quorvane {

bool Sandbox::hasSelectedSlot() const
{
    return m_selectedIndex && *m_selectedIndex >= 0 && *m_selectedIndex < m_slots.size();
}

int Sandbox::add(const QList<MultiButtonDragData>& payloads)
{
    if (payloads.isEmpty())
        return 0;
    int added = 0;
    for (const ButtonData& button : payloads.first().buttons) {
        if (m_slots.size() >= capacity)
            break;
        // 0 is an empty button; beyond 16 bits a source could never be written back.
        if (button.source < 1 || button.source > lastSourceNumber)
            continue;
        m_slots.append({QUuid::createUuid(), static_cast<int>(button.source)});
        ++added;
    }
    return added;
}

bool Sandbox::removeSelected()
{
    if (!hasSelectedSlot())
        return false;
    m_slots.removeAt(*m_selectedIndex);
    m_selectedIndex.reset();
    return true;
}

std::optional<MultiButtonDragData> Sandbox::dragData(int index) const
{
    if (index < 0 || index >= m_slots.size())
        return std::nullopt;
    const int position = index + 1;
    MultiButtonDragData payload;
    payload.buttons = {ButtonData{position, m_slots[index].source, 1}};
    payload.fromBus = sandboxOrigin.toString();
    payload.fromShift = 1;
    payload.anchorButton = position;
    payload.anchorShift = 1;
    return payload;
}

QString Sandbox::slotLabel(int index)
{
    return u"S"_s + QString::number(index + 1);
}

} // namespace quorvane
