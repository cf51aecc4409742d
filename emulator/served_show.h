#pragma once

#include "demo_show.h"
#include "frame_encoders.h"
#include "model/show_file.h"

#include <functional>

namespace quorvane::emulator {

// A show file as the emulated frame serves it, for editing a show away from the frame: its
// buttons at its button count, and the names the frame's messages can carry. A name that does
// not fit them (longer than the frame keeps, or not plain ASCII) is left out and counted; the
// file keeps it.
struct ServedShow {
    Show show;
    FrameIdentity identity;
    int namesLeftOut = 0;
};
ServedShow serveShowFile(const ShowFile& file);

// Every assigned button of every bus of `show` at `buttonCount`, in file order, each named by
// `nameOf` (which may be empty).
QList<ShowButton> assignedButtons(const Show& show, int buttonCount,
                                  const std::function<QString(qint64 source)>& nameOf = {});

} // namespace quorvane::emulator
