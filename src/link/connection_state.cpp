#include "connection_state.h"

#include <array>

using namespace Qt::StringLiterals;

namespace quorvane {

namespace {
constexpr std::array allStates{ConnectionState::idle,         ConnectionState::connecting,
                               ConnectionState::handshake,    ConnectionState::heartbeat,
                               ConnectionState::loadingNames, ConnectionState::loadingButtons,
                               ConnectionState::connected};
}

QString connectionStateText(ConnectionState state)
{
    switch (state) {
    case ConnectionState::idle:
        return u"Disconnected"_s;
    case ConnectionState::connecting:
        return u"Connecting..."_s;
    case ConnectionState::handshake:
        return u"Establishing handshake..."_s;
    case ConnectionState::heartbeat:
        return u"Verifying heartbeat..."_s;
    case ConnectionState::loadingNames:
        return u"Loading source names..."_s;
    case ConnectionState::loadingButtons:
        return u"Loading button mappings..."_s;
    case ConnectionState::connected:
        return u"Connected"_s;
    }
    Q_UNREACHABLE();
    return {};
}

std::optional<ConnectionState> connectionStateFromText(QStringView text)
{
    for (ConnectionState state : allStates) {
        if (text == connectionStateText(state))
            return state;
    }
    return std::nullopt;
}

} // namespace quorvane
