#include "frame_session.h"

#include "connection_wait.h"
#include "model/show_file.h"

using namespace Qt::StringLiterals;

namespace quorvane::cli {

namespace {
QString secondsText(std::chrono::milliseconds duration)
{
    return QString::number(static_cast<double>(duration.count()) / 1000.0) + u" s"_s;
}

} // namespace

FrameSession::FrameSession(DebugLogger& logger, const LinkTiming& timing)
    : m_preferences(m_preferencesDir.filePath(u"preferences.ini"_s), QSettings::IniFormat)
    , m_connection(std::make_unique<GVConnection>(m_preferences, logger))
{
    m_connection->setTiming(timing);
}

FrameSession::~FrameSession()
{
    close();
}

QCoro::Task<std::optional<QString>> FrameSession::open(SessionTarget target, QList<Bus> buses,
                                                       std::chrono::milliseconds stepLimit)
{
    m_target = target;
    if (buses.isEmpty())
        buses.append(m_connection->currentBus());
    if (std::optional<QString> failed = co_await connectLoading(buses.first(), stepLimit))
        co_return failed;
    for (qsizetype i = 1; i < buses.size(); ++i) {
        if (std::optional<QString> failed = co_await load(buses[i], stepLimit))
            co_return failed;
    }
    co_return std::nullopt;
}

QCoro::Task<std::optional<QString>>
FrameSession::connectLoading(Bus firstBus, std::chrono::milliseconds stepLimit)
{
    GVConnection& link = *m_connection;
    // A connect loads the connection's current bus; choosing it first spares a second load.
    link.changeBus(firstBus);
    link.connect(m_target.host, m_target.suite, m_target.buttonCount);

    const auto settled = [&link] {
        const ConnectionState state = link.connectionState();
        return state == ConnectionState::idle ||
               (state == ConnectionState::connected && !link.isLoading());
    };
    const bool answered = co_await waitUntil(link, settled, QDeadlineTimer(stepLimit));
    const QString host = m_target.host;
    if (!answered) {
        const QString stage = link.statusMessage();
        link.cancelConnect();
        co_return QString(u"no complete answer from the frame at "_s + host + u" within "_s +
                          secondsText(stepLimit) + u" (it got as far as: "_s + stage + u')');
    }
    if (link.connectionState() == ConnectionState::connected)
        co_return std::nullopt;

    const QString status = link.statusMessage();
    if (status == u"Handshake timeout")
        co_return QString(u"the frame at "_s + host + u" did not answer the handshake"_s);
    if (status == u"Heartbeat verification failed") {
        co_return QString(u"heartbeat verification failed: the frame at "_s + host +
                          u" answered too few of the first PINGs"_s);
    }
    if (status == u"Failed to create sockets") {
        co_return QString(u"cannot open the local UDP ports "_s + QString::number(link.mainPort()) +
                          u'/' + QString::number(link.listenerPort()) + u" of suite "_s +
                          QString::number(link.selectedSuite()) +
                          u": another program, perhaps Quorvane on the same suite, holds them"_s);
    }
    co_return QString(u"cannot connect to the frame at "_s + host + u": "_s + status);
}

QCoro::Task<std::optional<QString>> FrameSession::load(Bus bus, std::chrono::milliseconds stepLimit)
{
    GVConnection& link = *m_connection;
    if (std::optional<QString> problem = linkProblem())
        co_return problem;
    link.changeBus(bus);
    const QString key = modeKey(bus, link.buttonCount());
    const auto loaded = [&link, key] {
        return !link.isConnected() || (link.subscribedModes().contains(key) && !link.isLoading());
    };
    const bool finished = co_await waitUntil(link, loaded, QDeadlineTimer(stepLimit));
    if (std::optional<QString> problem = linkProblem())
        co_return problem;
    if (!finished) {
        co_return QString(u"the frame at "_s + m_target.host + u" did not finish sending "_s +
                          busName(bus) + u" within "_s + secondsText(stepLimit));
    }
    co_return std::nullopt;
}

std::optional<QString> FrameSession::linkProblem() const
{
    if (m_connection->isConnected())
        return std::nullopt;
    return u"the link to the frame at "_s + m_target.host +
           u" was lost: it stopped answering the heartbeat"_s;
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
