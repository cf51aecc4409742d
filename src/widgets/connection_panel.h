#pragma once

#include "session/frame_address.h"

#include <QWidget>

class QCheckBox;
class QComboBox;
class QLabel;
class QProgressBar;
class QPushButton;

namespace quorvane {

class AutoReconnect;
class ConnectRetry;
class EditingModel;
class GVConnection;
class LinkFailure;
class NoPasteLineEdit;

// The top of the main window: frame address, suite and button count, the connect button, the
// options to reconnect automatically and to show the debug log, and what the connection is
// doing or why it ended, how long until it is tried again, and what the last edit could not do.
// A connect made here goes through `retry`, which tries again when the frame did not answer.
class ConnectionPanel : public QWidget {
    Q_OBJECT

public:
    // The panel's choices live in `model`; the panel shows and edits them. `reconnect`, `retry`
    // and `failure` follow the same connection.
    ConnectionPanel(EditingModel& model, AutoReconnect& reconnect, ConnectRetry& retry,
                    LinkFailure& failure, QWidget* parent = nullptr);

    // A line under the controls that says where the frame is, e.g. the built-in demo frame.
    void setFrameNote(const QString& note);

    // What a press of the connect button does: connect, cancel the set-up, or disconnect. The
    // user takes over from an automatic reconnect either way. A connect first finds the
    // frame's address (a host name is looked up; Cancel abandons the lookup). Any press ends
    // further attempts of a connect that failed.
    void pressConnectButton();

    NoPasteLineEdit* addressField() const { return m_address; }
    QPushButton* connectButton() const { return m_connect; }
    QComboBox* suiteChoice() const { return m_suite; }
    QComboBox* buttonCountChoice() const { return m_buttonCount; }
    QCheckBox* debugLogToggle() const { return m_debugLog; }
    QCheckBox* reconnectToggle() const { return m_reconnectOption; }
    // Shown while counting down to an automatic reconnect: stops it.
    QPushButton* stopReconnectButton() const { return m_stopReconnect; }
    QLabel* stateLabel() const { return m_state; }
    QLabel* statusLabel() const { return m_status; }
    QLabel* frameLabel() const { return m_frame; }
    QLabel* heartbeatIndicator() const { return m_heartbeat; }
    QLabel* allBusesLabel() const { return m_allBuses; }
    QProgressBar* progressBar() const { return m_progress; }

private:
    void showChoices();
    void showConnectionState();
    void showHeartbeat();
    void connectTo(const QString& address, const QString& name);
    // Why the typed address led nowhere, shown on the status line until the next connect.

    EditingModel& m_model;
    GVConnection& m_connection;
    AutoReconnect& m_reconnect;
    ConnectRetry& m_retry;
    LinkFailure& m_failure;
    NoPasteLineEdit* m_address;
    QComboBox* m_suite;
    QComboBox* m_buttonCount;
    QPushButton* m_connect;
    QCheckBox* m_debugLog;
    QCheckBox* m_reconnectOption;
    QLabel* m_state;
    QProgressBar* m_progress;
    QLabel* m_status;
    QLabel* m_frame;
    QLabel* m_heartbeat;
    QLabel* m_allBuses;
    QLabel* m_frameNote;
    QPushButton* m_stopReconnect;
    FrameAddressLookup m_lookup;
};

} // namespace quorvane
