#include "frame_reading.h"

#include "model/button_runs.h"

namespace quorvane {

namespace {
// "No assignment" answers leave nothing assigned, like an answer of 0.
constexpr quint32 firstReservedSource = 0xFFFFFFFE;
} // namespace

FrameReading readFrame(const GVConnection& connection, const QList<Bus>& buses, int buttonCount,
                       const std::function<QString(qint64 source)>& nameOf)
{
    FrameReading reading;
    for (Bus bus : allBuses) {
        if (!buses.contains(bus))
            continue;
        for (int shift = 1; shift <= shiftRowCount; ++shift) {
            for (int button = 1; button <= buttonCount; ++button) {
                const std::optional<GVConnection::ButtonAnswerStamp> answer =
                    connection.lastAnswer(bus, shift, button, buttonCount);
                if (!answer) {
                    reading.unknown.append(ShowButton{bus, shift, button, 0, {}});
                    continue;
                }
                if (answer->source == 0 || answer->source >= firstReservedSource)
                    continue;
                const qint64 source = answer->source;
                reading.assigned.append(
                    ShowButton{bus, shift, button, source, nameOf ? nameOf(source) : QString()});
            }
        }
    }
    return reading;
}

QStringList unknownButtonLines(const QList<ShowButton>& unknown)
{
    QStringList lines;
    for (Bus bus : allBuses) {
        QList<ButtonPosition> positions;
        for (const ShowButton& button : unknown) {
            if (button.bus == bus)
                positions.append({button.shift, button.button});
        }
        lines += describeButtonRuns(bus, positions);
    }
    return lines;
}

} // namespace quorvane
