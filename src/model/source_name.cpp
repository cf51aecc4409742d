#include "source_name.h"

namespace quorvane {

namespace {
constexpr int firstInternalSource = 700;
}

std::optional<QString> displayName(int source, const SourceNameTable& names,
                                   const InternalSourceLabels& internalLabels)
{
    const auto entry = names.constFind(source);
    const SourceName name = entry != names.cend() ? *entry : SourceName{};
    if (!name.menu.isEmpty())
        return name.menu;
    if (!name.oled.isEmpty())
        return name.oled;
    if (!name.panel.isEmpty())
        return name.panel;
    if (source >= firstInternalSource) {
        const auto label = internalLabels.constFind(source);
        if (label != internalLabels.cend())
            return *label;
    }
    if (!name.eng.isEmpty())
        return name.eng;
    return std::nullopt;
}

} // namespace quorvane
