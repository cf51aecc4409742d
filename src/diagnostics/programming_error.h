#pragma once

#include <QtGlobal>

// A broken internal rule (an overflowing counter, a button address out of range): the caller
// has a bug, so the program stops here on purpose, in every build type, rather than send
// wrong bytes to the frame. Nothing received from the network may ever reach this.
#define QUORVANE_REQUIRE(condition, what)                                                          \
    do {                                                                                           \
        if (!(condition))                                                                          \
            qFatal("Programming error: %s (%s)", what, #condition);                                \
    } while (false)
