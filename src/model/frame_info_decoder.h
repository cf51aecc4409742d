#pragma once

#include <QByteArrayView>
#include <QString>
#include <optional>

namespace quorvane {

class DebugLogger;

// What one frame-information reply revealed; either part may be missing.
struct FrameInfo {
    std::optional<QString> version; // as matched, for example "V12.3.1"
    std::optional<QString> name;    // an entry of the frame type table
};

// Reads a 0x01fd reply as text and looks for the software version and the frame model. The
// reply's binary layout is not relied upon.
FrameInfo scanFrameInfo(QByteArrayView datagram, DebugLogger& logger);

// The name shown when a version was found but no model was recognised.
inline constexpr QStringView genericFrameName = u"Frame";

} // namespace quorvane
