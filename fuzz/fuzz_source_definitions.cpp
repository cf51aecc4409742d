// Source definitions (0x0210): every decoded engineering name belongs to a source 1 to 999 and
// is 2 to 12 printable characters without surrounding blanks; merging sets only that name.
#include "diagnostics/debug_logger.h"
#include "fuzz_support.h"
#include "model/source_definition_decoder.h"

using namespace Qt::StringLiterals;
using namespace quorvane;

namespace {
bool isEngineeringName(const QString& name)
{
    if (name.size() < 2 || name.size() > 12 || name != name.trimmed())
        return false;
    for (QChar c : name) {
        if (c.unicode() < 0x20 || c.unicode() > 0x7E)
            return false;
    }
    return true;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    DebugLogger logger;
    logger.setEcho(nullptr);
    const std::vector<EngineeringName> decoded =
        parseSourceDefinitionData(fuzz::bytesOf(data, size), logger);

    SourceNameTable before;
    for (const EngineeringName& entry : decoded) {
        FUZZ_CHECK(entry.source >= 1 && entry.source <= 999);
        FUZZ_CHECK(isEngineeringName(entry.name));
        before.insert(entry.source, SourceName{{}, u"P"_s, u"O"_s, u"M"_s});
    }

    SourceNameTable names = before;
    mergeEngineeringNames(names, decoded, logger);
    FUZZ_CHECK(names.size() == before.size());
    for (auto it = names.cbegin(); it != names.cend(); ++it) {
        FUZZ_CHECK(it->panel == u"P"_s && it->oled == u"O"_s && it->menu == u"M"_s);
        FUZZ_CHECK(isEngineeringName(it->eng));
    }
    return 0;
}
