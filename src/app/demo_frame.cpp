#include "demo_frame.h"

#include "widgets/connection_panel.h"
#include "widgets/content_view.h"
#include "editing/editing_model.h"

using namespace Qt::StringLiterals;

namespace quorvane {

std::unique_ptr<emulator::FrameEmulator> startDemoFrame(ContentView& view, QString& error)
{
    auto frame = std::make_unique<emulator::FrameEmulator>();
    if (!frame->start()) {
        error = frame->errorString();
        return nullptr;
    }
    view.model().setIpAddress(u"127.0.0.1"_s);
    view.connectionPanel()->setFrameNote(
        u"Built-in demo frame: an emulated K-Frame on 127.0.0.1 with a sample show. "
        u"No switcher is needed; changes stay in the demo."_s);
    return frame;
}

} // namespace quorvane
