#include "widgets/connection_panel.h"

#include "editing/editing_model.h"
#include "link/gv_connection.h"
#include "model/button_address.h"
#include "session/auto_reconnect.h"
#include "session/connect_retry.h"
#include "session/connection_panel_rules.h"
#include "session/link_failure.h"
#include "widgets/no_paste_line_edit.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalBlocker>
#include <QVBoxLayout>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace quorvane {

namespace {
constexpr int progressSteps = 100;
} // namespace

ConnectionPanel::ConnectionPanel(EditingModel& model, AutoReconnect& reconnect, ConnectRetry& retry,
                                 LinkFailure& failure, QWidget* parent)
    : QWidget(parent)
    , m_model(model)
    , m_connection(model.connection())
    , m_reconnect(reconnect)
    , m_retry(retry)
    , m_failure(failure)
    , m_address(new NoPasteLineEdit(this))
    , m_suite(new QComboBox(this))
    , m_buttonCount(new QComboBox(this))
    , m_connect(new QPushButton(this))
    , m_debugLog(new QCheckBox(u"Debug Log"_s, this))
    , m_reconnectOption(new QCheckBox(u"Reconnect automatically"_s, this))
    , m_state(new QLabel(this))
    , m_progress(new QProgressBar(this))
    , m_status(new QLabel(this))
    , m_frame(new QLabel(this))
    , m_heartbeat(new QLabel(u"●"_s, this))
    , m_allBuses(new QLabel(u"All buses loaded"_s, this))
    , m_frameNote(new QLabel(this))
    , m_stopReconnect(new QPushButton(u"Cancel"_s, this))
    , m_lookup(m_connection.logger())
{
    m_address->setPlaceholderText(u"IP Address"_s);
    m_address->setMinimumWidth(140);
    for (int suite = 1; suite <= 4; ++suite)
        m_suite->addItem(QString::number(suite), suite);
    for (int count : supportedButtonCounts)
        m_buttonCount->addItem(QString::number(count) + u" buttons"_s, count);
    m_connect->setDefault(true);
    // One width for every label the button takes, so that the line never reflows and
    // "Disconnect" is never squeezed, whatever the font.
    int widest = 0;
    for (ConnectionState state :
         {ConnectionState::idle, ConnectionState::connecting, ConnectionState::connected}) {
        m_connect->setText(connectButtonLabel(state));
        widest = std::max(widest, m_connect->sizeHint().width());
    }
    m_connect->setMinimumWidth(std::max(100, widest));
    m_progress->setRange(0, progressSteps);
    m_progress->setTextVisible(false);
    m_progress->setMaximumWidth(160);
    m_heartbeat->setToolTip(u"Heartbeat: lights up with every answer of the frame"_s);
    m_frameNote->setStyleSheet(u"color: #f5c542;"_s);
    m_frameNote->hide();
    m_reconnectOption->setToolTip(u"When the frame stops answering, connect to it again after 2, "
                                  u"4, 8 and 16 seconds, then every 30 seconds"_s);
    m_stopReconnect->setToolTip(u"Stop reconnecting"_s);
    // The status line keeps its height when the progress bar or Cancel come and go, so the
    // tabs and the grid below never jump.
    m_status->setMinimumHeight(
        std::max(m_progress->sizeHint().height(), m_stopReconnect->sizeHint().height()));

    auto* controls = new QHBoxLayout;
    controls->addWidget(new QLabel(u"GV Frame IP:"_s, this));
    controls->addWidget(m_address);
    controls->addWidget(new QLabel(u"Suite:"_s, this));
    controls->addWidget(m_suite);
    controls->addWidget(m_buttonCount);
    controls->addWidget(m_connect);
    controls->addStretch();
    controls->addWidget(m_reconnectOption);
    controls->addWidget(m_debugLog);

    auto* status = new QHBoxLayout;
    status->addWidget(m_heartbeat);
    status->addWidget(m_state);
    status->addWidget(m_progress);
    // A long status (a failure and a notice of the last edit) is cut at the window's edge, whole
    // in its tooltip, rather than making the window wider.
    m_status->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    status->addWidget(m_status, 1);
    status->addWidget(m_stopReconnect);
    status->addWidget(m_frame);
    status->addWidget(m_allBuses);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addLayout(controls);
    layout->addLayout(status);
    layout->addWidget(m_frameNote);

    QObject::connect(m_connect, &QPushButton::clicked, this, &ConnectionPanel::pressConnectButton);
    QObject::connect(m_address, &QLineEdit::textEdited, &m_model, &EditingModel::setIpAddress);
    // Whatever moved the choice (the pop-up, the wheel, arrow keys, typing), the model takes
    // it; the boxes never show a value the model does not hold.
    QObject::connect(m_suite, &QComboBox::currentIndexChanged, this,
                     [this] { m_model.setSelectedSuite(m_suite->currentData().toInt()); });
    QObject::connect(m_buttonCount, &QComboBox::currentIndexChanged, this, [this] {
        m_model.setSelectedButtonCount(m_buttonCount->currentData().toInt());
    });
    QObject::connect(m_debugLog, &QCheckBox::toggled, &m_model, &EditingModel::setShowDebugLog);
    QObject::connect(m_reconnectOption, &QCheckBox::toggled, &m_reconnect,
                     &AutoReconnect::setEnabled);
    QObject::connect(&m_reconnect, &AutoReconnect::enabledChanged, this,
                     &ConnectionPanel::showChoices);
    QObject::connect(m_stopReconnect, &QPushButton::clicked, &m_reconnect, &AutoReconnect::stop);
    QObject::connect(&m_reconnect, &AutoReconnect::progressChanged, this,
                     &ConnectionPanel::showConnectionState);
    QObject::connect(&m_retry, &ConnectRetry::progressChanged, this,
                     &ConnectionPanel::showConnectionState);
    QObject::connect(&m_failure, &LinkFailure::changed, this,
                     &ConnectionPanel::showConnectionState);
    QObject::connect(&m_model, &EditingModel::editNoticeChanged, this,
                     &ConnectionPanel::showConnectionState);
    QObject::connect(&m_lookup, &FrameAddressLookup::found, this, &ConnectionPanel::connectTo);
    QObject::connect(&m_lookup, &FrameAddressLookup::failed, &m_failure, &LinkFailure::record);
    // A lookup is for the text it started from; the field is locked meanwhile, so only the
    // program (opening a show, the demo frame) changes it, and the new text is what counts.
    QObject::connect(&m_model, &EditingModel::ipAddressChanged, this, [this] {
        if (m_lookup.isLookingUp()) {
            m_lookup.cancel();
            showConnectionState();
        }
    });
    for (auto changed :
         {&EditingModel::ipAddressChanged, &EditingModel::selectedSuiteChanged,
          &EditingModel::selectedButtonCountChanged, &EditingModel::showDebugLogChanged}) {
        QObject::connect(&m_model, changed, this, &ConnectionPanel::showChoices);
    }

    for (auto changed :
         {&GVConnection::connectionStateChanged, &GVConnection::isConnectedChanged,
          &GVConnection::connectionProgressChanged, &GVConnection::statusMessageChanged,
          &GVConnection::frameNameChanged, &GVConnection::frameVersionChanged,
          &GVConnection::hasLoadedAllBusesChanged}) {
        QObject::connect(&m_connection, changed, this, &ConnectionPanel::showConnectionState);
    }
    QObject::connect(&m_connection.writes(), &WriteTracker::changed, this,
                     &ConnectionPanel::showConnectionState);
    QObject::connect(&m_connection, &GVConnection::heartbeatPulseChanged, this,
                     &ConnectionPanel::showHeartbeat);
    showChoices();
    showConnectionState();
    showHeartbeat();
}

void ConnectionPanel::showChoices()
{
    if (m_address->text() != m_model.ipAddress())
        m_address->setText(m_model.ipAddress());
    const QSignalBlocker quietSuite(m_suite);
    m_suite->setCurrentIndex(m_suite->findData(m_model.selectedSuite()));
    const QSignalBlocker quietCount(m_buttonCount);
    m_buttonCount->setCurrentIndex(m_buttonCount->findData(m_model.selectedButtonCount()));
    const QSignalBlocker quiet(m_debugLog);
    m_debugLog->setChecked(m_model.showDebugLog());
    const QSignalBlocker quietReconnect(m_reconnectOption);
    m_reconnectOption->setChecked(m_reconnect.isEnabled());
}

void ConnectionPanel::setFrameNote(const QString& note)
{
    m_frameNote->setText(note);
    m_frameNote->setVisible(!note.isEmpty());
}

void ConnectionPanel::pressConnectButton()
{
    m_reconnect.stop();
    m_retry.stop();
    if (m_lookup.isLookingUp()) {
        m_lookup.cancel();
        showConnectionState();
        return;
    }
    switch (connectButtonAction(m_connection.isConnected(), m_connection.connectionState())) {
    case ConnectAction::disconnect:
        m_connection.disconnect();
        break;
    case ConnectAction::connect:
        m_failure.forget();
        m_lookup.start(m_model.ipAddress());
        showConnectionState();
        break;
    case ConnectAction::cancel:
        m_connection.cancelConnect();
        break;
    }
}

void ConnectionPanel::connectTo(const QString& address, const QString& name)
{
    m_retry.connect(address, m_model.selectedSuite(), m_model.selectedButtonCount(), name);
}

void ConnectionPanel::showConnectionState()
{
    const ConnectionState state = m_connection.connectionState();
    const bool idle = state == ConnectionState::idle;
    const bool lookingUp = m_lookup.isLookingUp();
    m_connect->setText(lookingUp ? u"Cancel"_s : connectButtonLabel(state));
    m_state->setText(connectionStateText(state));
    const bool settingUp = state != ConnectionState::idle && state != ConnectionState::connected;
    m_progress->setVisible(settingUp);
    m_progress->setValue(int(m_connection.connectionProgress() * progressSteps));
    QString pending = lookingUp ? m_lookup.progressText() : m_retry.statusText();
    if (pending.isEmpty())
        pending = m_reconnect.countdownText();
    const WriteConfirmations& writes = m_connection.writes().confirmations();
    m_status->setText(statusLineText(
        {state, m_connection.statusMessage(), m_failure.text(), pending, m_model.editNotice(),
         m_connection.isConnected() ? unsettledWritesText(writes.count(WriteOutcome::notConfirmed),
                                                          writes.count(WriteOutcome::refused))
                                    : QString()}));
    m_status->setToolTip(m_status->text());
    m_stopReconnect->setVisible(m_reconnect.isCountingDown());
    const QString frame =
        QString(m_connection.frameName() + u' ' + m_connection.frameVersion()).trimmed();
    m_frame->setText(frame);
    m_frame->setVisible(!frame.isEmpty());
    m_allBuses->setVisible(m_connection.hasLoadedAllBuses());
    // The panel's choices apply to the next connect; while one runs they stay as they are.
    m_address->setEnabled(idle && !lookingUp);
    m_suite->setEnabled(idle && !lookingUp);
    showHeartbeat();
}

void ConnectionPanel::showHeartbeat()
{
    const bool lit = m_connection.heartbeatPulse();
    const bool connected = m_connection.isConnected();
    m_heartbeat->setStyleSheet(lit         ? u"color: #34c759;"_s
                               : connected ? u"color: #1f6f35;"_s
                                           : u"color: #555555;"_s);
}

} // namespace quorvane
