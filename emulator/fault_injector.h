#pragma once

#include <QByteArray>
#include <QRandomGenerator>
#include <optional>

namespace quorvane::emulator {

// The ways the emulated frame can misbehave, all off by default. Random faults are seeded, so
// a run can be repeated exactly.
struct FaultOptions {
    double dropFraction = 0.0; // of received datagrams, 0 to 1: recorded but not acted upon
    int answerDelayMs = 0;     // every datagram the frame sends leaves this much later
    bool duplicateSends = false;
    std::optional<int> stopPingAnswersAfterSeconds; // counted from start()
    bool neverAnswerHandshake = false;              // port 5000 stays silent
    int garbageIntervalMs = 0;                      // 0 = no garbage datagrams
    quint32 seed = 1;
};

// The random side of the faults: which received datagrams are lost and what garbage looks like.
// Drops and garbage draw from separate generators, so enabling one does not change the other.
class FaultInjector {
public:
    explicit FaultInjector(const FaultOptions& options);

    // One decision per received datagram.
    bool dropsNext();
    // Random bytes, 1 to 96 of them: short ones have no header, longer ones may look like any
    // message type.
    QByteArray garbage();

private:
    double m_dropFraction;
    QRandomGenerator m_dropRandom;
    QRandomGenerator m_garbageRandom;
};

} // namespace quorvane::emulator
