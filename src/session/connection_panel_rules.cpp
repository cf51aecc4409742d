#include "session/connection_panel_rules.h"

using namespace Qt::StringLiterals;

namespace quorvane {

QString connectButtonLabel(ConnectionState state)
{
    switch (state) {
    case ConnectionState::idle:
        return u"Connect"_s;
    case ConnectionState::connected:
        return u"Disconnect"_s;
    default:
        return u"Cancel"_s;
    }
}

ConnectAction connectButtonAction(bool isConnected, ConnectionState state)
{
    if (isConnected)
        return ConnectAction::disconnect;
    if (connectionStateText(state) == u"Disconnected"_s)
        return ConnectAction::connect;
    return ConnectAction::cancel;
}

QString statusLineMessage(ConnectionState state, const QString& statusMessage)
{
    return statusMessage == connectionStateText(state) ? QString() : statusMessage;
}

QString statusLineText(const StatusLineParts& parts)
{
    QString status = parts.pending;
    if (status.isEmpty())
        status = parts.failure;
    if (status.isEmpty())
        status = statusLineMessage(parts.state, parts.statusMessage);
    if (parts.editNotice.isEmpty())
        return status;
    return status.isEmpty() ? parts.editNotice : status + u" · "_s + parts.editNotice;
}

LogLineKind logLineKind(const QString& line)
{
    if (line.contains(u"[ERROR]"_s))
        return LogLineKind::error;
    if (line.contains(u"[WARN]"_s))
        return LogLineKind::warning;
    if (line.contains(u"[HEX]"_s))
        return LogLineKind::hex;
    return LogLineKind::normal;
}

} // namespace quorvane
