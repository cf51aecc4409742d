#pragma once

#include <QList>
#include <QString>
#include <QStringView>
#include <functional>
#include <optional>

namespace quorvane {

// The picker offers the sources 1 to 809.
inline constexpr int pickerSourceCount = 809;

using SourceNameLookup = std::function<std::optional<QString>(int source)>;

// The picker's list for a search text, in ascending order. The text is trimmed and compared
// without regard to case; a source is listed when its number contains the text, or else when
// its display name does. An empty text lists every source.
QList<int> filteredSources(QStringView query, const SourceNameLookup& displayName);

} // namespace quorvane
