#pragma once

#include "button_table.h"
#include "client_messages.h"

#include <QByteArray>
#include <QList>
#include <QRandomGenerator>
#include <optional>

namespace quorvane::emulator {

// The ways the emulated frame can misbehave, all off by default. Random faults are seeded, so
// a run can be repeated exactly.
// The `occurrence`-th datagram of one kind to arrive (counted from 1): lost on its way in.
struct LostArrival {
    ClientMessageKind kind = ClientMessageKind::sync;
    int occurrence = 1;
};

struct FaultOptions {
    double dropFraction = 0.0;     // of received datagrams, 0 to 1: recorded but not acted upon
    double dropSentFraction = 0.0; // of the datagrams the frame sends, 0 to 1: never leave
    QList<LostArrival> lostArrivals; // particular datagrams lost, to hit one step exactly
    int answerDelayMs = 0;         // every datagram the frame sends leaves this much later
    int reorderWindowMs = 0;       // and up to this much later again, at random: the order shuffles
    bool duplicateSends = false;
    std::optional<int> stopPingAnswersAfterSeconds; // counted from start()
    bool neverAnswerHandshake = false;              // port 5000 stays silent
    int garbageIntervalMs = 0;                      // 0 = no garbage datagrams
    // Buttons whose subscriptions are acknowledged but not answered: the first
    // `silentAsks` times each is asked for, or always when it is negative.
    QList<PanelButton> silentButtons;
    int silentAsks = -1;
    // Buttons that do not take a write: it is acknowledged, the table keeps its source, and
    // the frame reports that source back.
    QList<PanelButton> refusedWrites;
    // Of the write requests that arrive, 0 to 1: acknowledged and counted as received like any
    // message, then neither applied nor reported back, as by a frame that lost it inside.
    double ignoredWriteFraction = 0.0;
    // The frame goes away for good when the n-th button subscription arrives (not answered).
    std::optional<int> stopAtButtonSubscription;
    // The frame goes away when the n-th button subscription arrives and comes back
    // `restartDownMs` later with the show it started with, knowing nothing of the client any
    // more (unless `restartKeepsSession`).
    std::optional<int> restartAtButtonSubscription;
    // The frame goes away when the n-th write request arrives (it is not applied) and comes back
    // `restartDownMs` later.
    std::optional<int> restartAtWrite;
    int restartDownMs = 500;
    // A frame back from a restart takes the client's old session back instead of waiting for a
    // new handshake, so the client may never notice it was gone.
    bool restartKeepsSession = false;
    // Of the button records sent in answer to a subscription, 0 to 1: the source gains bits
    // above 16, as a damaged datagram would carry it. A damaged datagram elsewhere rarely still
    // looks like a record, so this tests the decoder's range on purpose.
    double corruptSourceFraction = 0.0;
    quint32 seed = 1;
};

// The random side of the faults: which datagrams are lost, how late each leaves, which writes
// are ignored and what garbage looks like. Each draws from its own generator, so enabling one
// does not change the others.
class FaultInjector {
public:
    explicit FaultInjector(const FaultOptions& options);

    // A network that turns lossy (or recovers) from now on.
    void setDropFractions(double received, double sent);
    // A network that starts (or stops) shuffling the order of what is sent.
    void setReorderWindow(int milliseconds) { m_reorderWindowMs = milliseconds; }

    // One decision per received datagram.
    bool dropsNext();
    // One decision per datagram sent.
    bool dropsNextSent();
    // One decision per write request received.
    bool ignoresNextWrite();
    // The extra wait of the next datagram sent, 0 to the reorder window.
    int reorderDelayMs();
    // `source`, or for a corrupted record one beyond 16 bits that is not a reserved value.
    quint32 answeredSource(quint32 source);
    // Random bytes, 1 to 96 of them: short ones have no header, longer ones may look like any
    // message type.
    QByteArray garbage();

private:
    double m_dropFraction;
    double m_dropSentFraction;
    int m_reorderWindowMs;
    double m_corruptSourceFraction;
    double m_ignoredWriteFraction;
    QRandomGenerator m_dropRandom;
    QRandomGenerator m_dropSentRandom;
    QRandomGenerator m_reorderRandom;
    QRandomGenerator m_garbageRandom;
    QRandomGenerator m_corruptRandom;
    QRandomGenerator m_ignoreWriteRandom;
};

} // namespace quorvane::emulator
