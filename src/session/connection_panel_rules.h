#pragma once

#include "link/connection_state.h"

#include <QString>

namespace quorvane {

// "Connect" while disconnected, "Cancel" while a connection is being set up, "Disconnect" once
// connected.
QString connectButtonLabel(ConnectionState state);

// What the connect button does in a state.
enum class ConnectAction { connect, cancel, disconnect };
ConnectAction connectButtonAction(bool isConnected, ConnectionState state);

// The status message as the status line shows it beside the state's text: nothing when it only
// repeats that text ("Disconnected" twice says nothing more).
QString statusLineMessage(ConnectionState state, const QString& statusMessage);

// What the status line says beside the state's text: what is under way (a lookup, a further
// attempt of a connect that failed, or the countdown to a reconnect, which says the link was
// lost), else a kept failure, which replaces the connection's own status (then only
// "Disconnected" or the failure again), else that status; the writes the frame has not taken,
// then a notice of the last edit follow.
struct StatusLineParts {
    ConnectionState state = ConnectionState::idle;
    QString statusMessage;
    QString failure;
    QString pending; // under way instead of a link: a lookup, a retry, a reconnect's countdown
    QString editNotice;
    QString unsettledWrites; // see unsettledWritesText
};
QString statusLineText(const StatusLineParts& parts);

// "2 buttons not confirmed by the frame · 1 button refused by the frame", or empty when every
// write given up on has been resolved since.
QString unsettledWritesText(int notConfirmed, int refused);

// How a debug log line is coloured: by the first marker found, errors first.
enum class LogLineKind { error, warning, hex, normal };
LogLineKind logLineKind(const QString& line);

} // namespace quorvane
