#include "frame_session.h"
#include "report_lines.h"

#include "connection_wait.h"
#include "console.h"
#include "diagnostics/debug_logger.h"
#include "model/show_file.h"
#include "platform/termination_signals.h"

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
                           const SessionPatience& patience, Console* console,
                           TerminationRequest* termination)
    : m_preferences(m_preferencesDir.filePath(u"preferences.ini"_s), QSettings::IniFormat)
    , m_connection(std::make_unique<GVConnection>(m_preferences, logger))
    , m_patience(patience)
    , m_console(console)
    , m_termination(termination)
{
    if (m_termination) {
        // Closed as any run closes it, so that every wait of the command ends at once.
        QObject::connect(m_termination, &TerminationRequest::requested, m_connection.get(), [this] {
            m_connection->logger().info(u"Interrupted by "_s + m_termination->signalName());
            m_interruptedWhile = currentActivity();
            close();
        });
    }
    m_connection->setTiming(timing);
    m_connection->setAnswerRetries(patience.answerRetries);
    if (m_console) {
        GVConnection* link = m_connection.get();
        QObject::connect(link, &GVConnection::statusMessageChanged, link,
                         [this] { showProgress(); });
        QObject::connect(link, &GVConnection::buttonsAnswered, link, [this] { showProgress(); });
    }
}

void FrameSession::showProgress()
{
    const GVConnection& link = *m_connection;
    const bool loadingButtons = link.connectionState() == ConnectionState::loadingButtons ||
                                (link.isConnected() && link.isLoading());
    QString text = link.statusMessage();
    bool finished = false;
    if (m_loadingBus && loadingButtons) {
        const int count = link.buttonCount();
        const qsizetype total = shiftRowCount * count;
        const qsizetype answered = total - link.unansweredButtons(*m_loadingBus, count).size();
        text = u"Loading "_s + busName(*m_loadingBus) + u" … "_s + QString::number(answered) +
               u'/' + QString::number(total) + u" buttons"_s;
        finished = answered == total;
    }
    // A line rewritten a few times a second is as much as anyone reads; the last count of a
    // bus is always shown.
    constexpr qint64 progressIntervalMs = 50;
    if (!finished && m_sinceProgress.isValid() && m_sinceProgress.elapsed() < progressIntervalMs)
        return;
    m_sinceProgress.start();
    m_console->progress(text);
}

void FrameSession::noteLoaded(Bus bus)
{
    if (!m_console)
        return;
    const int count = m_connection->buttonCount();
    const qsizetype total = shiftRowCount * count;
    const qsizetype missing = m_connection->unansweredButtons(bus, count).size();
    m_console->note(
        u"Loaded "_s + busName(bus) + u": "_s + QString::number(total - missing) + u'/' +
        QString::number(total) + u" buttons"_s +
        (missing == 0 ? QString() : u" ("_s + QString::number(missing) + u" did not answer)"_s));
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
                              : u" (tried "_s + QString::number(attempt) + u" times)"_s) +
                (failed->nextStep.isEmpty() ? QString() : u"; "_s + failed->nextStep);
        }
        const QString retry = u"Connect attempt "_s + QString::number(attempt) + u" of "_s +
                              QString::number(attempts) + u" failed: "_s + failed->reason +
                              u"; trying again"_s;
        logger.warn(retry);
        if (m_console)
            m_console->note(retry);
    }
    if (m_console)
        m_console->note(m_connection->statusMessage());
    if (std::optional<QString> lost = co_await checkAliveAfterSilence(buses.first()))
        co_return lost;
    noteLoaded(buses.first());
    for (qsizetype i = 1; i < buses.size(); ++i) {
        if (std::optional<QString> failed = co_await load(buses[i]))
            co_return failed;
        if (std::optional<QString> lost = co_await checkAliveAfterSilence(buses[i]))
            co_return lost;
        noteLoaded(buses[i]);
    }
    m_loadingBus.reset();
    co_return std::nullopt;
}

QCoro::Task<std::optional<FrameSession::ConnectFailure>> FrameSession::connectLoading(Bus firstBus)
{
    GVConnection& link = *m_connection;
    // A connect loads the connection's current bus; choosing it first spares a second load.
    link.changeBus(firstBus);
    m_loadingBus = firstBus;
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
    if (std::optional<QString> interrupted = interruption())
        co_return ConnectFailure{*interrupted, QString(), false};
    if (!answered) {
        const QString stage = link.statusMessage();
        link.cancelConnect();
        co_return ConnectFailure{u"no complete answer from the frame at "_s + host + u" within "_s +
                                     secondsText(stepLimit) + u" (it got as far as: "_s + stage +
                                     u')',
                                 u"raise --timeout, or check the network"_s, false};
    }
    if (link.connectionState() == ConnectionState::connected)
        co_return std::nullopt;

    const QString status = link.statusMessage();
    if (status == u"Handshake timeout") {
        co_return ConnectFailure{u"the frame at "_s + host + u" did not answer the handshake"_s,
                                 u"check the address (on the frame: Eng Setup > Node Settings) "
                                 u"and that this machine can reach it"_s,
                                 true};
    }
    if (const QString unanswered = u"Handshake timeout: "_s; status.startsWith(unanswered)) {
        co_return ConnectFailure{u"the frame at "_s + host +
                                     u" stopped answering during the handshake: "_s +
                                     status.mid(unanswered.size()),
                                 u"check the network between this machine and the frame"_s,
                                 true};
    }
    if (status == u"Heartbeat verification failed") {
        co_return ConnectFailure{u"heartbeat verification failed: the frame at "_s + host +
                                     u" answered too few of the first PINGs"_s,
                                 u"check the network, or raise --connect-attempts"_s, true};
    }
    if (status == u"Failed to create sockets") {
        co_return ConnectFailure{
            u"cannot open the local UDP ports "_s + QString::number(link.mainPort()) + u'/' +
                QString::number(link.listenerPort()) + u" of suite "_s +
                QString::number(link.selectedSuite()) +
                u": another program, perhaps another Quorvane on the same suite, holds them"_s,
            u"close it, then try again"_s, false};
    }
    co_return ConnectFailure{u"cannot connect to the frame at "_s + host + u": "_s + status,
                             u"check the address and the network"_s, false};
}

QCoro::Task<std::optional<QString>> FrameSession::load(Bus bus)
{
    GVConnection& link = *m_connection;
    if (std::optional<QString> problem = linkProblem())
        co_return problem;
    m_activity = u"loading "_s + busName(bus);
    m_loadingBus = bus;
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
                          busName(bus) + u" within "_s + secondsText(m_patience.stepLimit) +
                          u"; raise --timeout, or check the network"_s);
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

QString FrameSession::currentActivity() const
{
    switch (m_connection->connectionState()) {
    case ConnectionState::connecting:
    case ConnectionState::handshake:
        return u"performing the handshake"_s;
    case ConnectionState::heartbeat:
        return u"verifying the heartbeat"_s;
    case ConnectionState::loadingNames:
        return u"loading the source names"_s;
    default:
        return m_activity;
    }
}

std::optional<QString> FrameSession::interruption(const QString& consequence) const
{
    if (!m_termination || !m_termination->isRequested())
        return std::nullopt;
    // A request that came before the session began was not seen by it.
    const QString activity = m_interruptedWhile.isEmpty() ? currentActivity() : m_interruptedWhile;
    return u"interrupted by "_s + m_termination->signalName() + u" while "_s + activity +
           (consequence.isEmpty() ? QString() : u"; "_s + consequence);
}

std::optional<QString> FrameSession::linkProblem(const QString& consequence) const
{
    if (std::optional<QString> interrupted = interruption(consequence))
        return interrupted;
    if (m_connection->isConnected())
        return std::nullopt;
    return u"the frame at "_s + m_target.host + u" stopped answering while "_s + m_activity +
           (consequence.isEmpty() ? QString() : u"; "_s + consequence) +
           u"; check the frame and the network, then run the command again"_s;
}

QCoro::Task<QList<int>> FrameSession::completeSourceNames(QList<qint64> used)
{
    GVConnection& link = *m_connection;
    QList<int> missing = sourcesWithoutNames(used, link.sourceNames());
    if (missing.isEmpty() || linkProblem())
        co_return missing;
    link.logger().info(QString::number(missing.size()) +
                       u" sources in use have no names after the first names phase"_s);
    m_activity = u"loading the source names again"_s;
    co_await link.loadSourceNamesAgain();
    missing = sourcesWithoutNames(used, link.sourceNames());
    if (!missing.isEmpty())
        link.logger().info(unnamedSourcesLine(missing));
    co_return missing;
}

QString FrameSession::sourceName(qint64 source) const
{
    if (source < 0 || source > lastSourceNumber)
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
