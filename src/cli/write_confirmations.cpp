#include "write_confirmations.h"

#include <algorithm>

namespace quorvane::cli {

QString WriteConfirmations::keyOf(const ShowButton& button) const
{
    return mappingKey(button.bus, m_buttonCount, button.shift, button.button);
}

void WriteConfirmations::written(const ShowButton& wanted, const MappingTable& mappings)
{
    TrackedWrite write{wanted, {}, std::nullopt, false};
    const auto entry = mappings.constFind(keyOf(wanted));
    if (entry != mappings.cend())
        write.writtenId = entry->id;
    m_writes.append(write);
}

void WriteConfirmations::review(const MappingTable& mappings)
{
    for (TrackedWrite& write : m_writes) {
        const auto entry = mappings.constFind(keyOf(write.wanted));
        if (entry == mappings.cend()) {
            // Only the frame's record of an unassigned button takes an entry away.
            write.frameSource = 0;
        } else if (entry->id != write.writtenId) {
            write.frameSource = entry->source;
        }
        write.confirmed = write.frameSource == write.wanted.source;
    }
}

int WriteConfirmations::confirmedCount() const
{
    return static_cast<int>(
        std::ranges::count_if(m_writes, [](const TrackedWrite& write) { return write.confirmed; }));
}

} // namespace quorvane::cli
