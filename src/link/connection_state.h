#pragma once

#include <QString>
#include <optional>

namespace quorvane {

// The stages of a connection, in the order a connect walks them.
enum class ConnectionState {
    idle,
    connecting,
    handshake,
    heartbeat,
    loadingNames,
    loadingButtons,
    connected
};

// The text the connection panel shows for a state ("Disconnected", "Connecting...", …).
QString connectionStateText(ConnectionState state);
std::optional<ConnectionState> connectionStateFromText(QStringView text);

} // namespace quorvane
