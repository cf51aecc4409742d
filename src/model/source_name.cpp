#include "source_name.h"

#include <algorithm>

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

QList<int> sourcesWithoutNames(const QList<qint64>& used, const SourceNameTable& names)
{
    QList<int> missing;
    for (const qint64 source : used) {
        if (source < firstSourceNumber || source > lastNamedSource)
            continue;
        const SourceName name = names.value(static_cast<int>(source));
        if (name.eng.isEmpty() || (name.panel.isEmpty() && name.oled.isEmpty() && name.menu.isEmpty()))
            missing.append(static_cast<int>(source));
    }
    std::sort(missing.begin(), missing.end());
    missing.erase(std::unique(missing.begin(), missing.end()), missing.end());
    return missing;
}

} // namespace quorvane
