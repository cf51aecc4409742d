#pragma once

#include <QString>
#include <optional>

namespace quorvane {

// The source picker sheet's own state, fresh each time the sheet opens.
struct SourcePickerState {
    QString searchText;
    std::optional<int> selectedSource; // the highlighted row
    bool isSearchFocused = false;

    friend bool operator==(const SourcePickerState&, const SourcePickerState&) = default;
};

} // namespace quorvane
