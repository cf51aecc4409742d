#pragma once

#include <QString>
#include <chrono>
#include <optional>

namespace quorvane {

// Whether a connected link has been silent too long: strictly more than `limit` since the last
// ACK. Returns the error line to log ("… no ACK for 7s …", whole seconds, truncated), or none.
std::optional<QString> heartbeatTimeoutMessage(std::chrono::milliseconds sinceLastAck,
                                               std::chrono::milliseconds limit);

} // namespace quorvane
