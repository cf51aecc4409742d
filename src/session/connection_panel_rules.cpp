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
    for (const QString& part : {parts.unsettledWrites, parts.editNotice}) {
        if (!part.isEmpty())
            status = status.isEmpty() ? part : status + u" · "_s + part;
    }
    return status;
}

namespace {
QString buttonCount(int count)
{
    return QString::number(count) + (count == 1 ? u" button"_s : u" buttons"_s);
}
} // namespace

QString unsettledWritesText(int notConfirmed, int refused)
{
    QString text;
    if (notConfirmed > 0)
        text = buttonCount(notConfirmed) + u" not confirmed by the frame"_s;
    if (refused > 0) {
        text += (text.isEmpty() ? QString() : u" · "_s) + buttonCount(refused) +
                u" refused by the frame"_s;
    }
    return text;
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
