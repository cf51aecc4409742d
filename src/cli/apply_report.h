#pragma once

#include "console.h"
#include "link/write_confirmations.h"
#include "report_lines.h"

#include <QList>

namespace quorvane::cli {

// What apply wrote and what became of it. `toWrite` holds every button that differed, in the
// order of writing; those the confirmations do not know were never sent.
struct ApplyRecord {
    const QList<ShowButton>& toWrite;
    const WriteConfirmations& confirmations;

    QList<ShowButton> neverSent() const;
    // The writes as the link followed them, each with the name the file gives its source.
    QList<TrackedWrite> writes() const;
};

// One line per button from the frame's answers to the writes alone, for a run that ended
// before the written buses could be read back; `silence` says why a write has no answer.
void reportConfirmations(Console& console, const ApplyRecord& record, const SourceNamer& names,
                         const QString& silence);

// One line per written button with what the frame holds now, from `heldDifferences`: the
// buttons of the written buses that differ from the file when read back. A difference on a
// button that was not written (changed on the frame meanwhile) is reported too.
void reportReadBack(Console& console, const ApplyRecord& record,
                    const QList<ShowDifference>& heldDifferences, const SourceNamer& names);

// "sent 840, confirmed 840, unconfirmed 0", with ", never sent 440" when some were not.
QString applyTotals(const ApplyRecord& record);

} // namespace quorvane::cli
