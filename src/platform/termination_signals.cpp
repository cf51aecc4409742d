#include "termination_signals.h"

#include <QSocketNotifier>
#include <atomic>
#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace quorvane {

namespace {
// The handler may do next to nothing: it writes the signal number into a socket whose other
// end the event loop reads.
int g_socket[2] = {-1, -1};
std::atomic<int> g_delivered{0};

extern "C" void onTerminationSignal(int signalNumber)
{
    if (g_delivered.fetch_add(1) > 0)
        _exit(128 + signalNumber);
    const char byte = static_cast<char>(signalNumber);
    [[maybe_unused]] const ssize_t written = write(g_socket[1], &byte, 1);
}
} // namespace

QString TerminationRequest::signalName() const
{
    switch (m_signal) {
    case SIGINT:
        return u"SIGINT"_s;
    case SIGTERM:
        return u"SIGTERM"_s;
    default:
        return u"signal "_s + QString::number(m_signal);
    }
}

void TerminationRequest::request(int signalNumber)
{
    if (m_signal != 0 || signalNumber == 0)
        return;
    m_signal = signalNumber;
    Q_EMIT requested(signalNumber);
}

void deliverTerminationSignals(TerminationRequest& request)
{
    if (g_socket[0] >= 0 || socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, g_socket) != 0)
        return;
    auto* notifier = new QSocketNotifier(g_socket[0], QSocketNotifier::Read, &request);
    QObject::connect(notifier, &QSocketNotifier::activated, &request, [&request] {
        char byte = 0;
        if (read(g_socket[0], &byte, 1) == 1)
            request.request(static_cast<unsigned char>(byte));
    });
    struct sigaction action = {};
    action.sa_handler = onTerminationSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

} // namespace quorvane
