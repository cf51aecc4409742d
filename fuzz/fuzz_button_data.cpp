// Button data: whatever the datagram holds, the table afterwards has only buttons of the current
// panel width, each under its own key, none with a reserved source or source 0, the buttons of
// other widths are left exactly as they were, and every answer reported is a button of the width.
#include "diagnostics/debug_logger.h"
#include "fuzz_support.h"
#include "model/button_data_decoder.h"

#include <array>

using namespace quorvane;

namespace {
// 30 is no panel width: every width other than 15, 20 and 25 counts from the same base.
constexpr std::array<int, 5> widths{15, 20, 25, 35, 30};
constexpr qint64 notAnAssignment = 0xFFFFFFFF;
constexpr qint64 notAnAssignmentEither = 0xFFFFFFFE;

// A table that already holds a mapping on every bus, so that source 0 has something to remove.
MappingTable loadedTable(int width, int otherWidth)
{
    MappingTable table;
    for (Bus bus : allBuses) {
        for (int count : {width, otherWidth})
            table.insert(mappingKey(bus, count, 1, 1), ButtonMapping{{}, bus, 1, 1, 7});
    }
    return table;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    // The first byte picks the panel width, the rest is the datagram.
    const int width = widths[data[0] % widths.size()];
    const int otherWidth = width == 20 ? 15 : 20;
    const QByteArrayView datagram = fuzz::bytesOf(data + 1, size - 1);

    DebugLogger logger;
    logger.setEcho(nullptr);
    const MappingTable before = loadedTable(width, otherWidth);
    MappingTable mappings = before;
    const ButtonDataResult result = parseButtonData(datagram, width, mappings, logger);

    // Every answer names a button of the current width; one that stores or removes something
    // is among them.
    for (const ButtonAnswer& answer : result.answers) {
        FUZZ_CHECK(answer.shift >= 1 && answer.shift <= 4);
        FUZZ_CHECK(answer.button >= 1 && answer.button <= width);
    }
    FUZZ_CHECK(!result.mappingsChanged || !result.answers.isEmpty());

    for (auto it = mappings.cbegin(); it != mappings.cend(); ++it) {
        const ButtonMapping& mapping = it.value();
        const auto earlier = before.constFind(it.key());
        if (earlier != before.cend() && earlier->id == mapping.id) {
            FUZZ_CHECK(*earlier == mapping);
            continue;
        }
        FUZZ_CHECK(mapping.shift >= 1 && mapping.shift <= 4);
        FUZZ_CHECK(mapping.button >= 1 && mapping.button <= width);
        FUZZ_CHECK(it.key() == mappingKey(mapping.bus, width, mapping.shift, mapping.button));
        FUZZ_CHECK(mapping.source != 0);
        FUZZ_CHECK(mapping.source != notAnAssignment && mapping.source != notAnAssignmentEither);
        FUZZ_CHECK(mapping.source > 0 && mapping.source <= notAnAssignment);
    }
    for (Bus bus : allBuses) {
        const QString key = mappingKey(bus, otherWidth, 1, 1);
        FUZZ_CHECK(mappings.value(key) == before.value(key));
    }
    return 0;
}
