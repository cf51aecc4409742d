#include "frame_session.h"

#include "connection_wait.h"
#include "diagnostics/debug_logger.h"
#include "model/show_file.h"

#include <QElapsedTimer>

using namespace Qt::StringLiterals;

namespace quorvane::cli {

namespace {
QString secondsText(std::chrono::milliseconds duration)
{
    return QString::number(static_cast<double>(duration.count()) / 1000.0) + u" s"_s;
}
} // namespace

FrameSession::FrameSession(DebugLogger& logger, const LinkTiming& timing,
                           const SessionPatience& patience)
    : m_preferences(m_preferencesDir.filePath(u"preferences.ini"_s), QSettings::IniFormat)
    , m_connection(std::make_unique<GVConnection>(m_preferences, logger))
    , m_patience(patience)
{
    m_connection->setTiming(timing);
    m_connection->setAnswerRetries(patience.answerRetries);
}

FrameSession::~FrameSession()
{
    close();
}

QCoro::Task<std::optional<QString>> FrameSession::open(SessionTarget target, QList<Bus> buses)
{
    m_target = target;
    if (buses.isEmpty())
        buses.append(m_connection->currentBus());
    DebugLogger& logger = m_connection->logger();
    const int attempts = std::max(1, m_patience.connectAttempts);
    QStringList reasons; // each different reason once, in the order they came
    for (int attempt = 1;; ++attempt) {
        m_activity = u"connecting"_s;
        const std::optional<ConnectFailure> failed = co_await connectLoading(buses.first());
        if (!failed)
            break;
        if (reasons.isEmpty() || reasons.last() != failed->reason)
            reasons.append(failed->reason);
        if (!failed->worthAnotherAttempt || attempt == attempts) {
            co_return reasons.join(u"; then "_s) +
                (attempt == 1 ? QString()
                              : u" (tried "_s + QString::number(attempt) + u" times)"_s);
        }
        logger.warn(u"Connect attempt "_s + QString::number(attempt) + u" of "_s +
                    QString::number(attempts) + u" failed: "_s + failed->reason +
                    u"; trying again"_s);
    }
    if (std::optional<QString> lost = co_await checkAliveAfterSilence(buses.first()))
        co_return lost;
    for (qsizetype i = 1; i < buses.size(); ++i) {
        if (std::optional<QString> failed = co_await load(buses[i]))
            co_return failed;
        if (std::optional<QString> lost = co_await checkAliveAfterSilence(buses[i]))
            co_return lost;
    }
    co_return std::nullopt;
}

QCoro::Task<std::optional<FrameSession::ConnectFailure>> FrameSession::connectLoading(Bus firstBus)
{
    GVConnection& link = *m_connection;
    // A connect loads the connection's current bus; choosing it first spares a second load.
    link.changeBus(firstBus);
    link.connect(m_target.host, m_target.suite, m_target.buttonCount);
    m_activity = u"loading "_s + busName(firstBus);

    const auto settled = [&link] {
        const ConnectionState state = link.connectionState();
        return state == ConnectionState::idle ||
               (state == ConnectionState::connected && !link.isLoading());
    };
    const std::chrono::milliseconds stepLimit = m_patience.stepLimit;
    const bool answered = co_await waitUntil(link, settled, QDeadlineTimer(stepLimit));
    const QString host = m_target.host;
    if (!answered) {
        const QString stage = link.statusMessage();
        link.cancelConnect();
        co_return ConnectFailure{u"no complete answer from the frame at "_s + host + u" within "_s +
                                     secondsText(stepLimit) + u" (it got as far as: "_s + stage +
                                     u')',
                                 false};
    }
    if (link.connectionState() == ConnectionState::connected)
        co_return std::nullopt;

    const QString status = link.statusMessage();
    if (status == u"Handshake timeout")
        co_return ConnectFailure{u"the frame at "_s + host + u" did not answer the handshake"_s,
                                 true};
    if (status == u"Heartbeat verification failed") {
        co_return ConnectFailure{u"heartbeat verification failed: the frame at "_s + host +
                                     u" answered too few of the first PINGs"_s,
                                 true};
    }
    if (status == u"Failed to create sockets") {
        co_return ConnectFailure{
            u"cannot open the local UDP ports "_s + QString::number(link.mainPort()) + u'/' +
                QString::number(link.listenerPort()) + u" of suite "_s +
                QString::number(link.selectedSuite()) +
                u": another program, perhaps another Quorvane on the same suite, holds them"_s,
            false};
    }
    co_return ConnectFailure{u"cannot connect to the frame at "_s + host + u": "_s + status, false};
}

QCoro::Task<std::optional<QString>> FrameSession::load(Bus bus)
{
    GVConnection& link = *m_connection;
    if (std::optional<QString> problem = linkProblem())
        co_return problem;
    m_activity = u"loading "_s + busName(bus);
    link.changeBus(bus);
    const QString key = modeKey(bus, link.buttonCount());
    const auto loaded = [&link, key] {
        return !link.isConnected() || (link.subscribedModes().contains(key) && !link.isLoading());
    };
    const bool finished = co_await waitUntil(link, loaded, QDeadlineTimer(m_patience.stepLimit));
    if (std::optional<QString> problem = linkProblem())
        co_return problem;
    if (!finished) {
        co_return QString(u"the frame at "_s + m_target.host + u" did not finish sending "_s +
                          busName(bus) + u" within "_s + secondsText(m_patience.stepLimit));
    }
    co_return std::nullopt;
}

QCoro::Task<std::optional<QString>> FrameSession::checkAliveAfterSilence(Bus bus)
{
    // Buttons without an answer may mean a frame that has gone away. The keep-alive tells:
    // either a PING is answered from now on, or the heartbeat time-out ends the link.
    GVConnection& link = *m_connection;
    if (link.unansweredButtons(bus, link.buttonCount()).isEmpty())
        co_return linkProblem();
    QElapsedTimer waiting;
    waiting.start();
    const LinkTiming& timing = link.timing();
    const auto answeredSince = [&link, &waiting] {
        return !link.isConnected() ||
               link.sinceLastHeartbeatAck() < std::chrono::milliseconds(waiting.elapsed());
    };
    co_await waitUntil(link, answeredSince,
                       QDeadlineTimer(timing.heartbeatTimeout + 2 * timing.keepAliveInterval));
    co_return linkProblem();
}

std::optional<QString> FrameSession::linkProblem() const
{
    if (m_connection->isConnected())
        return std::nullopt;
    return u"the frame at "_s + m_target.host + u" stopped answering while "_s + m_activity;
}

QString FrameSession::sourceName(qint64 source) const
{
    if (source < 0 || source > maxShowSource)
        return QString();
    return m_connection->displayName(static_cast<int>(source)).value_or(QString());
}

void FrameSession::close()
{
    if (m_connection->connectionState() == ConnectionState::idle)
        return; // never connected, failed, or closed already
    if (m_connection->isConnectionTaskRunning())
        m_connection->cancelConnect();
    else
        m_connection->disconnect();
}

} // namespace quorvane::cli
