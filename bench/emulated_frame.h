#pragma once

#include "frame_emulator.h"

#include <cstdio>

namespace quorvane::bench {

// Starts the emulated frame, or says on standard error why it could not be started.
inline bool startFrame(emulator::FrameEmulator& frame)
{
    if (frame.start())
        return true;
    std::fprintf(stderr, "cannot start the emulated frame: %s\n", qPrintable(frame.errorString()));
    return false;
}

} // namespace quorvane::bench
