#pragma once

#include "frame_emulator.h"

#include <memory>

namespace quorvane {

class ContentView;

// The built-in demo frame: the emulated K-Frame on 127.0.0.1 with its sample show, so that the
// program can be tried without a switcher. Points the view at it and says so in the panel.
// Returns none, with the reason in `error`, when the frame's ports are taken.
std::unique_ptr<emulator::FrameEmulator> startDemoFrame(ContentView& view, QString& error);

} // namespace quorvane
