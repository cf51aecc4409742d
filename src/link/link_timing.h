#pragma once

#include "model/button_address.h"

#include <chrono>

namespace quorvane {

// Every duration of the frame protocol, in one place. The defaults are the protocol's own;
// tests may shorten them to run faster, the application never changes them.
struct LinkTiming {
    using ms = std::chrono::milliseconds;
    using us = std::chrono::microseconds;

    // Handshake
    ms handshakeLimit{10'000};     // the whole handshake, from the first SYNC
    ms syncRetry{1'000};           // the stage-1 SYNC is repeated this often until answered
    ms handshakePoll{100};         // each socket poll of a handshake pass
    ms registrationPause{100};     // after each registration command
    ms registrationReplyWait{500}; // for the reply to a registration command
    // After the first SYNC has been answered, a handshake message (and a registration command)
    // not answered within this is sent again, identical, up to `handshakeTries` times in all:
    // one lost datagram must not cost the connect.
    ms handshakeResend{250};
    int handshakeTries = 4;

    // Heartbeat
    ms heartbeatAnswerPeriod{1'000}; // for the ACK of one verification PING
    ms heartbeatPoll{200};           // each receive inside that period
    ms heartbeatPause{200};          // between verification exchanges
    ms keepAliveInterval{1'000};     // one PING this often once connected
    ms heartbeatTimeout{3'000};      // silence longer than this drops the link
    ms pulseDuration{150};           // how long the heartbeat indicator stays lit

    // Receive loop
    ms receiveInterval{20}; // 50 Hz

    // Loading
    ms namesListen{2'000}; // the longest wait after the three source subscriptions
    // Once definitions and names have both begun to arrive, this long without another means
    // they are all in.
    ms namesQuietGap{300};
    ms namesPoll{1};           // each socket poll while listening for names
    us namesPassPause{100};    // between two such passes
    ms preambleListen{50};     // after the bus preamble
    ms frameInfoListen{100};   // after the early frame-info subscription
    ms batchListen{10};        // after every tenth button subscription
    ms buttonsListen{1'500};   // the longest wait for answers after the button subscriptions
    ms buttonsListenSlice{50}; // one listen inside that wait
    ms retryListen{300};       // the longest wait for the buttons asked for again
    // Once answers have begun, this long without a new one means the missing buttons are lost,
    // not late: they are asked for again at once. Long enough for a slow frame's stragglers.
    ms answersQuietGap{150};

    // Writing
    // A write the frame has not reported back within this is sent again, `writeTries` times
    // in all; then it is given up on and named.
    ms writeConfirmWait{500};
    int writeTries = 4;
};

// The waits one bus load cannot avoid, whatever the frame answers: the listens after the
// preamble, the frame information and every tenth button. The wait for answers after them ends
// as soon as every button has answered.
inline std::chrono::milliseconds busLoadWaits(const LinkTiming& timing, int buttonCount)
{
    const int batchListens = shiftRowCount * buttonCount / 10;
    return timing.preambleListen + timing.frameInfoListen + batchListens * timing.batchListen;
}

// The waits a connect cannot avoid up to its first bus loaded: the pauses after the
// registrations and between the verification exchanges, the quiet gap that ends the names
// phase, and the load.
inline std::chrono::milliseconds connectWaits(const LinkTiming& timing, int buttonCount)
{
    return 3 * timing.registrationPause + 2 * timing.heartbeatPause + timing.namesQuietGap +
           busLoadWaits(timing, buttonCount);
}

} // namespace quorvane
