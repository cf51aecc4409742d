#include "session/background_bus_loading.h"

#include "link/gv_connection.h"
#include "model/bus.h"
#include "model/button_mapping.h"

#include <QTimer>

namespace quorvane {

BackgroundBusLoading::BackgroundBusLoading(GVConnection& connection, QObject* parent)
    : QObject(parent)
    , m_connection(connection)
{
    // Whatever may leave a bus to load: a connect done, any load ended, another count shown.
    QObject::connect(&connection, &GVConnection::connectionStateChanged, this,
                     &BackgroundBusLoading::loadNextSoon);
    QObject::connect(&connection, &GVConnection::busLoadEnded, this,
                     &BackgroundBusLoading::loadNextSoon);
    QObject::connect(&connection, &GVConnection::buttonCountChanged, this,
                     &BackgroundBusLoading::loadNextSoon);
}

void BackgroundBusLoading::setEnabled(bool enabled)
{
    m_enabled = enabled;
    loadNextSoon();
}

void BackgroundBusLoading::loadNextSoon()
{
    // After the event loop's turn: the signal may come from the middle of a load's last steps.
    if (m_scheduled)
        return;
    m_scheduled = true;
    QTimer::singleShot(0, this, [this] {
        m_scheduled = false;
        loadNext();
    });
}

void BackgroundBusLoading::loadNext()
{
    if (!m_enabled || m_connection.connectionState() != ConnectionState::connected ||
        m_connection.isLoading() || m_connection.isBusLoadRunning()) {
        return;
    }
    const int count = m_connection.buttonCount();
    for (Bus bus : allBuses) {
        if (!m_connection.subscribedModes().contains(modeKey(bus, count))) {
            m_connection.loadInBackground(bus);
            return;
        }
    }
}

} // namespace quorvane
