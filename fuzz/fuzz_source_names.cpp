// Source names (0x020b): every decoded record is for a source 1 to 999 and carries names of at
// most 16 printable characters without surrounding blanks; merging never erases a known name.
#include "diagnostics/debug_logger.h"
#include "fuzz_support.h"
#include "model/source_name_decoder.h"

using namespace Qt::StringLiterals;
using namespace quorvane;

namespace {
bool isFrameName(const QString& name)
{
    if (name.size() > 16 || name != name.trimmed())
        return false;
    for (QChar c : name) {
        if (c.unicode() < 0x20 || c.unicode() > 0x7E)
            return false;
    }
    return true;
}

bool keeps(const QString& before, const QString& after)
{
    return before.isEmpty() || !after.isEmpty();
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    DebugLogger logger;
    logger.setEcho(nullptr);
    const std::vector<DecodedSourceName> records =
        parseSourceNameData020b(fuzz::bytesOf(data, size), logger);

    SourceNameTable before;
    for (const DecodedSourceName& record : records) {
        FUZZ_CHECK(record.source >= 1 && record.source <= 999);
        FUZZ_CHECK(isFrameName(record.eng) && isFrameName(record.panel));
        FUZZ_CHECK(isFrameName(record.oled) && isFrameName(record.menu));
        // Every other source starts out with all its names, to be kept by the merge.
        if (record.source % 2 == 0)
            before.insert(record.source, SourceName{u"E"_s, u"P"_s, u"O"_s, u"M"_s});
    }

    SourceNameTable names = before;
    mergeSourceNames(names, records, logger);
    for (const DecodedSourceName& record : records)
        FUZZ_CHECK(names.contains(record.source));
    for (auto it = before.cbegin(); it != before.cend(); ++it) {
        const SourceName& after = names.value(it.key());
        FUZZ_CHECK(keeps(it->eng, after.eng) && keeps(it->panel, after.panel));
        FUZZ_CHECK(keeps(it->oled, after.oled) && keeps(it->menu, after.menu));
    }
    FUZZ_CHECK(logSourceNamesSummary(names, logger) == names.size());
    return 0;
}
