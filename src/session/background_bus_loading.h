#pragma once

#include <QObject>

namespace quorvane {

class GVConnection;

// Loads every bus of the panel ahead of its first visit, one at a time, once the shown bus is
// in: a later click on its tab is then a switch from the cache. A bus the operator opens meanwhile
// comes first (its load takes the place of the one ahead), and loading ahead resumes after it.
// After a change of the button count it starts again at the new count.
class BackgroundBusLoading : public QObject {
    Q_OBJECT

public:
    explicit BackgroundBusLoading(GVConnection& connection, QObject* parent = nullptr);

    // On unless turned off; turning it on starts at once when there is something to load.
    bool isEnabled() const { return m_enabled; }
    void setEnabled(bool enabled);

private:
    void loadNextSoon();
    void loadNext();

    GVConnection& m_connection;
    bool m_enabled = true;
    bool m_scheduled = false;
};

} // namespace quorvane
