#pragma once

#include <QObject>
#include <QString>

class QHostInfo;

namespace quorvane {

class DebugLogger;

// What the address field holds, read trimmed.
enum class FrameAddressKind { dottedIPv4, hostName, neither };
FrameAddressKind frameAddressKind(QStringView text);

// Turns the address field's text into the frame's dotted IPv4 address. An address is taken as
// it is, a host name is looked up without blocking the event loop (its first IPv4 address
// counts), anything else is refused at once. Each start ends in exactly one of found or
// failed, unless cancelled first; a late answer to a cancelled lookup is ignored.
class FrameAddressLookup : public QObject {
    Q_OBJECT

public:
    explicit FrameAddressLookup(DebugLogger& logger, QObject* parent = nullptr);
    ~FrameAddressLookup() override;

    // A lookup still running is cancelled first. An address or refused text ends before this
    // returns.
    void start(const QString& text);
    // Abandons a running lookup, with a line in the log; neither signal follows.
    void cancel();

    bool isLookingUp() const { return m_lookupId >= 0; }
    // "Looking up frame-a.studio..." while a lookup runs, otherwise empty.
    QString progressText() const;

Q_SIGNALS:
    // `name` is the host name that was looked up, empty when an address was typed.
    void found(const QString& address, const QString& name);
    // Why there is no address: "Cannot find frame-a.studio", "Not an IPv4 address or host
    // name: 10.0.0".
    void failed(const QString& reason);

private:
    void answer(const QHostInfo& info);

    DebugLogger& m_logger;
    int m_lookupId = -1;
    QString m_name;
};

} // namespace quorvane
