#pragma once

#include "link/link_timing.h"

namespace quorvane::test {

using namespace std::chrono_literals;

// The protocol's waits cut down so that a whole connect takes well under a second.
inline LinkTiming fastTiming()
{
    LinkTiming timing;
    timing.handshakePoll = 20ms;
    timing.registrationPause = 10ms;
    timing.registrationReplyWait = 100ms;
    timing.heartbeatAnswerPeriod = 300ms;
    timing.heartbeatPoll = 50ms;
    timing.heartbeatPause = 20ms;
    timing.namesListen = 300ms;
    timing.preambleListen = 20ms;
    timing.frameInfoListen = 20ms;
    timing.batchListen = 2ms;
    timing.buttonsListen = 300ms;
    timing.buttonsListenSlice = 20ms;
    timing.retryListen = 100ms;
    return timing;
}

} // namespace quorvane::test
