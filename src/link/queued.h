#pragma once

#include <QMetaObject>
#include <QObject>
#include <memory>
#include <utility>

namespace quorvane {

// Runs `work` on `context`'s thread once the event loop gets to it, unless the session it was
// scheduled in has been cancelled by then: decoding queued before a disconnect must not put
// back what the disconnect cleared. A null session (no connect yet) never cancels.
template <typename Session, typename Work>
void queueInSession(QObject* context, const std::shared_ptr<Session>& session, Work work)
{
    QMetaObject::invokeMethod(
        context,
        [session, work = std::move(work)]() mutable {
            if (!session || !session->cancelled)
                work();
        },
        Qt::QueuedConnection);
}

} // namespace quorvane
