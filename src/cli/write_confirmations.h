#pragma once

#include "model/button_mapping.h"
#include "model/show_file.h"

#include <QList>
#include <QUuid>
#include <optional>

namespace quorvane::cli {

// One button written to the frame, and what the frame has said about it since.
struct TrackedWrite {
    ShowButton wanted;
    QUuid writtenId;                   // the cache entry the write itself left behind
    std::optional<qint64> frameSource; // the frame's word since the write; none while silent
    bool confirmed = false;

    friend bool operator==(const TrackedWrite&, const TrackedWrite&) = default;
};

// Tells a write the frame has taken from one it has not. A write updates the connection's
// cache at once, so the cache alone proves nothing; but every record of the frame's own button
// data replaces a cache entry with a fresh one (new id), and an unassigned button's record
// removes it. So a write is confirmed once its entry has been replaced by one holding the
// written source, or, for a written 0, removed.
class WriteConfirmations {
public:
    explicit WriteConfirmations(int buttonCount)
        : m_buttonCount(buttonCount)
    {
    }

    // Call right after the write of `wanted`, with the cache as the write left it.
    void written(const ShowButton& wanted, const MappingTable& mappings);

    // Looks at the cache again; the latest word of the frame counts. Only call while the link
    // is up: a disconnect empties the cache, which proves nothing.
    void review(const MappingTable& mappings);

    const QList<TrackedWrite>& writes() const { return m_writes; }
    int confirmedCount() const;
    int unconfirmedCount() const { return static_cast<int>(m_writes.size()) - confirmedCount(); }
    bool allConfirmed() const { return unconfirmedCount() == 0; }

private:
    QString keyOf(const ShowButton& button) const;

    int m_buttonCount;
    QList<TrackedWrite> m_writes;
};

} // namespace quorvane::cli
