#include "gv_connection.h"

#include "model/source_labels.h"

#include <QSettings>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace quorvane {

namespace {
constexpr int firstSuite = 1;
constexpr int lastSuite = 4;
constexpr int defaultButtonCount = 35;
constexpr quint16 suitePortBase = 6130;

int supportedButtonCount(int requested)
{
    constexpr std::array supported{15, 20, 25, 35};
    return std::ranges::find(supported, requested) != supported.end() ? requested
                                                                      : defaultButtonCount;
}
} // namespace

GVConnection::GVConnection(QSettings& preferences, DebugLogger& logger, QObject* parent)
    : QObject(parent)
    , m_preferences(preferences)
    , m_logger(logger)
    , m_statusMessage(connectionStateText(ConnectionState::idle))
{
    m_logger.info(u"GVConnection initialized"_s);
    m_internalSourceLabels = loadInternalSourceLabels(defaultSourceLabelsLocations(), m_logger);
    const QString host = m_preferences.value(lastHostKey).toString();
    if (!host.isEmpty()) {
        m_savedHost = host;
        m_logger.info(u"Loaded saved host: "_s + host);
    }
}

void GVConnection::connect(const QString& host, int suite, int buttonCount)
{
    m_targetHost = host;
    m_selectedSuite = std::clamp(suite, firstSuite, lastSuite);
    publish(m_buttonCount, supportedButtonCount(buttonCount), &GVConnection::buttonCountChanged);
    m_mainPort = static_cast<quint16>(suitePortBase + 2 * m_selectedSuite);
    m_listenerPort = m_mainPort | 1;

    enterState(ConnectionState::connecting, 0.1);
    const QString suiteText = QString::number(m_selectedSuite);
    const QString countText = QString::number(m_buttonCount);
    setStatusMessage(u"Connecting to "_s + host + u" (Suite "_s + suiteText + u", "_s +
                     countText + u"-btn)..."_s);
    publish(m_isLoading, true, &GVConnection::isLoadingChanged);
    m_logger.info(u"Connect requested to "_s + host + u" on Suite "_s + suiteText + u" (ports "_s +
                  QString::number(m_mainPort) + u'/' + QString::number(m_listenerPort) + u"), "_s +
                  countText + u"-button mode"_s);
}

void GVConnection::disconnect()
{
    m_logger.info(u"Disconnect requested"_s);
    if (m_mainSock >= 0) {
        m_mainSock = -1;
        m_logger.info(u"Main socket closed"_s);
    }
    if (m_listenerSock >= 0) {
        m_listenerSock = -1;
        m_logger.info(u"Listener socket closed"_s);
    }
    publish(m_isConnected, false, &GVConnection::isConnectedChanged);
    publish(m_hasLoadedAllBuses, false, &GVConnection::hasLoadedAllBusesChanged);
    m_subscribedModes.clear();
    enterState(ConnectionState::idle, 0.0);
    setStatusMessage(connectionStateText(ConnectionState::idle));
    publish(m_frameName, QString(), &GVConnection::frameNameChanged);
    publish(m_frameVersion, QString(), &GVConnection::frameVersionChanged);
    publish(m_mappings, MappingTable(), &GVConnection::mappingsChanged);
    publish(m_sourceNames, SourceNameTable(), &GVConnection::sourceNamesChanged);
    m_logger.info(u"Disconnected - mappings, source names, and subscribed modes cleared"_s);
}

void GVConnection::saveHost(const QString& host)
{
    publish(m_savedHost, host, &GVConnection::savedHostChanged);
    m_preferences.setValue(lastHostKey, host);
    m_logger.info(u"Saved host: "_s + host);
}

std::optional<ButtonMapping> GVConnection::mappingFor(Bus bus, int shift, int button,
                                                      int buttonCount) const
{
    const auto entry = m_mappings.constFind(mappingKey(bus, buttonCount, shift, button));
    if (entry == m_mappings.cend())
        return std::nullopt;
    return *entry;
}

std::optional<QString> GVConnection::displayName(int source) const
{
    return quorvane::displayName(source, m_sourceNames, m_internalSourceLabels);
}

void GVConnection::enterState(ConnectionState state, double progress)
{
    publish(m_connectionState, state, &GVConnection::connectionStateChanged);
    publish(m_connectionProgress, progress, &GVConnection::connectionProgressChanged);
}

} // namespace quorvane
