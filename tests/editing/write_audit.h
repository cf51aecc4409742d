#pragma once

// The window against the frame's own table after a run of edits: how many buttons differ, and
// how many of those differ without the window saying so (an unknown cell, a write mark, or a
// warning that names the button). The second figure must be 0 whatever the network did.

#include "editing/editing_model.h"
#include "frame_emulator.h"
#include "link/gv_connection.h"

#include <QStringList>
#include <QTest>

namespace quorvane::test {

struct WriteAudit {
    int differing = 0;
    QStringList unnamed; // differing, and nothing in the window or the log says so

    friend bool operator==(const WriteAudit&, const WriteAudit&) = default;
};

// The button the frame changes to show that everything it sent before has been handled.
inline constexpr int sentinelShift = 4;
inline constexpr int sentinelButton = 15;

// Waits until everything the frame has sent has reached the window: what it still holds back
// (a delay, a reorder window) goes first, then a change of the sentinel button, which can only
// arrive after it on loopback.
inline bool waitForFrameToDrain(emulator::FrameEmulator& frame, GVConnection& connection, Bus bus)
{
    if (!QTest::qWaitFor([&] { return frame.datagramsWaiting() == 0; }, 10'000))
        return false;
    const int count = connection.buttonCount();
    const quint32 next = frame.mapping(bus, count, sentinelShift, sentinelButton) + 1;
    if (!frame.pushMappingChange(bus, count, sentinelShift, sentinelButton, next))
        return false;
    return QTest::qWaitFor(
        [&] {
            const auto answer = connection.lastAnswer(bus, sentinelShift, sentinelButton, count);
            return answer && answer->source == next;
        },
        10'000);
}

// The buttons of the bus the model shows.
inline WriteAudit auditWrites(const EditingModel& model, const GVConnection& connection,
                              const emulator::FrameEmulator& frame, const QStringList& log)
{
    WriteAudit audit;
    const Bus bus = model.selectedBus();
    const int count = connection.buttonCount();
    const QString joined = log.join(u'\n');
    for (int shift = 1; shift <= shiftRowCount; ++shift) {
        for (int button = 1; button <= count; ++button) {
            const ButtonCellState cell = model.cellState(shift, button);
            if (qint64{frame.mapping(bus, count, shift, button)} == cell.source)
                continue;
            ++audit.differing;
            const QString name = buttonName(bus, shift, button);
            const bool said =
                cell.isUnknown || cell.writeMark != CellWriteMark::none ||
                joined.contains(QStringLiteral("Not confirmed by the frame: ") + name + u' ') ||
                joined.contains(QStringLiteral("Refused by the frame: ") + name + u' ');
            if (!said)
                audit.unnamed.append(name);
        }
    }
    return audit;
}

} // namespace quorvane::test
