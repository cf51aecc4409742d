#include "widgets/content_view.h"

#include "session/auto_reconnect.h"
#include "session/background_bus_loading.h"
#include "session/connect_retry.h"
#include "widgets/button_grid_widget.h"
#include "widgets/connection_panel.h"
#include "widgets/debug_log_panel.h"
#include "editing/editing_model.h"
#include "widgets/grid_scroll_area.h"
#include "link/gv_connection.h"
#include "session/link_failure.h"
#include "widgets/sandbox_strip.h"
#include "widgets/shortcut_filter.h"
#include "widgets/source_picker_dialog.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QKeySequence>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QSettings>
#include <QSignalBlocker>
#include <QSplitter>
#include <QStyle>
#include <QTabBar>
#include <QToolButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace quorvane {

namespace {
// A shortcut as this platform writes it: "Ctrl+Shift+Z" here, "⇧⌘Z" on the Mac.
QString shortcutText(const QKeySequence& keys)
{
    return keys.toString(QKeySequence::NativeText);
}
} // namespace

ContentView::ContentView(QSettings& preferences, DebugLogger& logger, QWidget* parent)
    : QWidget(parent)
    , m_preferences(preferences)
    , m_logger(logger)
    , m_connection(std::make_unique<GVConnection>(preferences, logger))
    , m_model(std::make_unique<EditingModel>(*m_connection))
    , m_reconnect(std::make_unique<AutoReconnect>(*m_connection, preferences))
    , m_connectRetry(std::make_unique<ConnectRetry>(*m_connection))
    , m_backgroundLoading(std::make_unique<BackgroundBusLoading>(*m_connection))
    , m_linkFailure(std::make_unique<LinkFailure>(*m_connection))
{
    // The last frame that answered is the one the operator most likely wants again.
    if (!m_connection->savedHost().isEmpty())
        m_model->setIpAddress(m_connection->savedHost());

    m_panel = new ConnectionPanel(*m_model, *m_reconnect, *m_connectRetry, *m_linkFailure, this);
    m_busTabs = new QTabBar(this);
    for (Bus bus : allBuses)
        m_busTabs->addTab(busName(bus));
    m_busTabs->setExpanding(false);
    m_undo = new QToolButton(this);
    m_undo->setIcon(QIcon::fromTheme(u"edit-undo"_s, style()->standardIcon(QStyle::SP_ArrowBack)));
    m_undo->setText(u"Undo"_s);
    m_undo->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    m_redo = new QToolButton(this);
    m_redo->setIcon(
        QIcon::fromTheme(u"edit-redo"_s, style()->standardIcon(QStyle::SP_ArrowForward)));
    m_redo->setText(u"Redo"_s);
    m_redo->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);

    m_linkBanner = new QFrame(this);
    m_linkBanner->setObjectName(u"linkBanner"_s);
    m_linkBanner->setStyleSheet(u"#linkBanner { background: #3a2a1e; border: 1px solid #8a5a2b; "
                                u"border-radius: 4px; }"_s);
    m_linkBannerText = new QLabel(m_linkBanner);
    m_linkBannerText->setWordWrap(true);
    m_linkBannerConnect = new QPushButton(u"Connect"_s, m_linkBanner);
    auto* bannerLayout = new QHBoxLayout(m_linkBanner);
    bannerLayout->addWidget(m_linkBannerText, 1);
    bannerLayout->addWidget(m_linkBannerConnect);

    m_model->setZoom(GridZoom::fromSetting(m_preferences.value(zoomKey).toString()));
    m_grid = new ButtonGridWidget(*m_model, this);
    m_gridScroll = new GridScrollArea(*m_model, m_grid, this);
    m_gridScroll->setFrameShape(QFrame::NoFrame);
    m_gridScroll->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    // A grid fitted to the window follows the space its scroll area offers.
    m_gridScroll->installEventFilter(this);

    m_sandbox = new SandboxStrip(*m_model, this);
    auto* sandboxScroll = new QScrollArea(this);
    sandboxScroll->setWidget(m_sandbox);
    sandboxScroll->setWidgetResizable(true);
    sandboxScroll->setFrameShape(QFrame::NoFrame);
    sandboxScroll->setFixedHeight(SandboxStrip::slotHeight + 18);
    m_clipboardArea = new ClipboardDropArea(*m_model, this);
    m_clipboardArea->setFixedSize(120, SandboxStrip::slotHeight);
    m_debugLog = new DebugLogPanel(logger, this);
    m_picker = new SourcePickerDialog(*m_model, this);

    auto* busRow = new QHBoxLayout;
    busRow->addWidget(m_busTabs);
    busRow->addStretch();
    busRow->addWidget(m_undo);
    busRow->addWidget(m_redo);
    auto* sandboxRow = new QHBoxLayout;
    sandboxRow->addWidget(sandboxScroll, 1);
    sandboxRow->addWidget(m_clipboardArea);

    auto* editing = new QWidget(this);
    auto* editingLayout = new QVBoxLayout(editing);
    editingLayout->setContentsMargins(0, 0, 0, 0);
    editingLayout->addLayout(busRow);
    editingLayout->addWidget(m_linkBanner);
    editingLayout->addWidget(m_gridScroll, 1);
    editingLayout->addLayout(sandboxRow);
    auto* split = new QSplitter(Qt::Vertical, this);
    split->addWidget(editing);
    split->addWidget(m_debugLog);
    split->setStretchFactor(0, 3);
    split->setStretchFactor(1, 1);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_panel);
    layout->addWidget(split, 1);

    // Every way the tab bar moves its tab (click, wheel, arrow keys) switches the bus; a click
    // on the tab already shown is a choice too and empties the selection.
    QObject::connect(m_busTabs, &QTabBar::currentChanged, this, [this](int index) {
        if (index >= 0)
            m_model->selectBus(allBuses[std::size_t(index)]);
    });
    QObject::connect(m_busTabs, &QTabBar::tabBarClicked, this, [this](int index) {
        if (index >= 0 && index == m_busTabs->currentIndex())
            m_model->selectBus(allBuses[std::size_t(index)]);
    });
    QObject::connect(m_model.get(), &EditingModel::selectedBusChanged, this, &ContentView::showBus);
    QObject::connect(m_grid, &ButtonGridWidget::cellToShow, m_gridScroll,
                     &GridScrollArea::showCell);
    QObject::connect(m_model.get(), &EditingModel::zoomChanged, this, [this] {
        m_preferences.setValue(zoomKey.toString(), m_model->zoom().toSetting());
    });
    QObject::connect(m_undo, &QToolButton::clicked, m_model.get(), &EditingModel::undo);
    QObject::connect(m_redo, &QToolButton::clicked, m_model.get(), &EditingModel::redo);
    QObject::connect(m_model.get(), &EditingModel::undoHistoryChanged, this,
                     &ContentView::showUndo);
    QObject::connect(m_linkBannerConnect, &QPushButton::clicked, m_panel,
                     &ConnectionPanel::pressConnectButton);
    QObject::connect(m_linkFailure.get(), &LinkFailure::changed, this,
                     &ContentView::showLinkBanner);
    QObject::connect(m_connection.get(), &GVConnection::connectionStateChanged, this,
                     &ContentView::showLinkBanner);
    QObject::connect(m_connectRetry.get(), &ConnectRetry::progressChanged, this,
                     &ContentView::showLinkBanner);
    auto showLog = [this] { m_debugLog->setVisible(m_model->showDebugLog()); };
    QObject::connect(m_model.get(), &EditingModel::showDebugLogChanged, this, showLog);
    showBus();
    showUndo();
    showLinkBanner();
    showLog();
}

void ContentView::showUndo()
{
    m_undo->setEnabled(m_model->canUndo());
    m_redo->setEnabled(m_model->canRedo());
    // Where the newest step belongs tells why it cannot be undone here.
    const auto tip = [](const QString& place, const QString& nothing, const QString& verb,
                        const QKeySequence& keys) -> QString {
        return (place.isEmpty() ? nothing : verb + u": "_s + place) + u" ("_s + shortcutText(keys) +
               u')';
    };
    m_undo->setToolTip(
        tip(m_model->undoPlace(), u"Undo the last change"_s, u"Undo"_s, QKeySequence::Undo));
    m_redo->setToolTip(tip(m_model->redoPlace(), u"Redo the last undone change"_s, u"Redo"_s,
                           QKeyCombination(Qt::ControlModifier | Qt::ShiftModifier, Qt::Key_Z)));
}

void ContentView::showLinkBanner()
{
    // Not while a further attempt is about to begin: the link is not given up yet.
    const bool lost = m_linkFailure->hasFailure() &&
                      m_connection->connectionState() == ConnectionState::idle &&
                      !m_connectRetry->isActive();
    m_linkBannerText->setText(u"No link to the frame: "_s + m_linkFailure->text() +
                              u". Nothing can be read or written until it is connected again."_s);
    m_linkBanner->setVisible(lost);
}

ContentView::~ContentView() = default;

void ContentView::showBus()
{
    const auto index = std::find(allBuses.begin(), allBuses.end(), m_model->selectedBus());
    // Showing the model's bus is not a new choice of bus.
    const QSignalBlocker quiet(m_busTabs);
    m_busTabs->setCurrentIndex(int(index - allBuses.begin()));
}

bool ContentView::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_gridScroll && event->type() == QEvent::Resize)
        m_model->setGridSpace(m_gridScroll->maximumViewportSize());
    return QWidget::eventFilter(watched, event);
}

void ContentView::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (!m_shortcuts) {
        m_shortcuts = new ShortcutFilter(*m_model, *this);
        qApp->installEventFilter(m_shortcuts);
    }
}

void ContentView::hideEvent(QHideEvent* event)
{
    QWidget::hideEvent(event);
    if (m_shortcuts) {
        qApp->removeEventFilter(m_shortcuts);
        delete m_shortcuts;
        m_shortcuts = nullptr;
    }
}

} // namespace quorvane
