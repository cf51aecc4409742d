#pragma once

#include <QWidget>

class QCheckBox;
class QComboBox;
class QLabel;
class QProgressBar;
class QPushButton;

namespace quorvane {

class EditingModel;
class GVConnection;
class NoPasteLineEdit;

// The top of the main window: frame address, suite and button count, the connect button, the
// debug log toggle, and what the connection is doing.
class ConnectionPanel : public QWidget {
    Q_OBJECT

public:
    // The panel's choices live in `model`; the panel shows and edits them.
    ConnectionPanel(EditingModel& model, QWidget* parent = nullptr);

    // A line under the controls that says where the frame is, e.g. the built-in demo frame.
    void setFrameNote(const QString& note);

    // What a press of the connect button does: connect, cancel the set-up, or disconnect.
    void pressConnectButton();

    NoPasteLineEdit* addressField() const { return m_address; }
    QPushButton* connectButton() const { return m_connect; }
    QComboBox* suiteChoice() const { return m_suite; }
    QComboBox* buttonCountChoice() const { return m_buttonCount; }
    QCheckBox* debugLogToggle() const { return m_debugLog; }
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

    EditingModel& m_model;
    GVConnection& m_connection;
    NoPasteLineEdit* m_address;
    QComboBox* m_suite;
    QComboBox* m_buttonCount;
    QPushButton* m_connect;
    QCheckBox* m_debugLog;
    QLabel* m_state;
    QProgressBar* m_progress;
    QLabel* m_status;
    QLabel* m_frame;
    QLabel* m_heartbeat;
    QLabel* m_allBuses;
    QLabel* m_frameNote;
};

} // namespace quorvane
