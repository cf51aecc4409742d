#include "editing/source_filter.h"

namespace quorvane {

QList<int> filteredSources(QStringView query, const SourceNameLookup& displayName)
{
    const QString wanted = query.trimmed().toString().toLower();
    QList<int> sources;
    sources.reserve(pickerSourceCount);
    for (int source = 1; source <= pickerSourceCount; ++source) {
        if (wanted.isEmpty() || QString::number(source).contains(wanted)) {
            sources.append(source);
            continue;
        }
        const std::optional<QString> name = displayName ? displayName(source) : std::nullopt;
        if (name && name->toLower().contains(wanted))
            sources.append(source);
    }
    return sources;
}

} // namespace quorvane
