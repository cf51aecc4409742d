#pragma once

#include "button_table.h"
#include "frame_encoders.h"

#include <vector>

namespace quorvane::emulator {

// Everything a frame knows about one production: its sources with their names, and the
// source-select buttons of every bus, at every button count, shift and button.
struct Show {
    std::vector<NamedSource> sources; // ascending source numbers
    ButtonTable buttons;

    // The source's names, or none when the show has no such source.
    const NamedSource* find(int number) const;
    NamedSource* find(int number);
    SourceNameTable names() const;
};

// A live sports production: cameras, replay, graphics, remote feeds and play-out servers with
// names of realistic length, some sources named only by engineering, internal sources (700
// and up) with engineering names only, and buttons assigned on every bus, count and shift,
// a few left unassigned.
Show demoShow();

} // namespace quorvane::emulator
