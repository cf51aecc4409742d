#pragma once

#include <QWidget>
#include <memory>

class QLabel;
class QPushButton;
class QSettings;
class QTabBar;
class QToolButton;

namespace quorvane {

class AutoReconnect;
class BackgroundBusLoading;
class ButtonGridWidget;
class ClipboardDropArea;
class ConnectRetry;
class ConnectionPanel;
class DebugLogPanel;
class DebugLogger;
class EditingModel;
class GridScrollArea;
class GVConnection;
class LinkFailure;
class SandboxStrip;
class ShortcutFilter;
class SourcePickerDialog;

// The main view: the connection panel, the bus tabs, Undo and Redo, the grid, the sandbox and the
// clipboard drop area, and the debug log. It owns the one connection and the editing model.
class ContentView : public QWidget {
    Q_OBJECT

public:
    ContentView(QSettings& preferences, DebugLogger& logger, QWidget* parent = nullptr);
    ~ContentView() override;

    GVConnection& connection() const { return *m_connection; }
    EditingModel& model() const { return *m_model; }
    AutoReconnect& autoReconnect() const { return *m_reconnect; }
    ConnectRetry& connectRetry() const { return *m_connectRetry; }
    BackgroundBusLoading& backgroundLoading() const { return *m_backgroundLoading; }
    LinkFailure& linkFailure() const { return *m_linkFailure; }
    DebugLogger& logger() const { return m_logger; }

    ConnectionPanel* connectionPanel() const { return m_panel; }
    QTabBar* busTabs() const { return m_busTabs; }
    QToolButton* undoButton() const { return m_undo; }
    QToolButton* redoButton() const { return m_redo; }
    // Over the empty grid while a failure ended the link: what happened, and Connect.
    QWidget* linkBanner() const { return m_linkBanner; }
    QLabel* linkBannerText() const { return m_linkBannerText; }
    QPushButton* linkBannerConnectButton() const { return m_linkBannerConnect; }
    ButtonGridWidget* grid() const { return m_grid; }
    GridScrollArea* gridScrollArea() const { return m_gridScroll; }
    SandboxStrip* sandbox() const { return m_sandbox; }
    ClipboardDropArea* clipboardArea() const { return m_clipboardArea; }
    DebugLogPanel* debugLog() const { return m_debugLog; }
    SourcePickerDialog* picker() const { return m_picker; }
    // The key filter, present while the view is shown.
    bool hasShortcutFilter() const { return m_shortcuts != nullptr; }

    // Where the grid's zoom is kept between runs.
    static constexpr QStringView zoomKey = u"Quorvane.gridZoom";

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void showBus();
    void showUndo();
    void showLinkBanner();

    QSettings& m_preferences;
    DebugLogger& m_logger;
    std::unique_ptr<GVConnection> m_connection;
    std::unique_ptr<EditingModel> m_model;
    std::unique_ptr<AutoReconnect> m_reconnect;
    std::unique_ptr<ConnectRetry> m_connectRetry;
    std::unique_ptr<BackgroundBusLoading> m_backgroundLoading;
    std::unique_ptr<LinkFailure> m_linkFailure;
    ConnectionPanel* m_panel;
    QTabBar* m_busTabs;
    QToolButton* m_undo;
    QToolButton* m_redo;
    QWidget* m_linkBanner;
    QLabel* m_linkBannerText;
    QPushButton* m_linkBannerConnect;
    ButtonGridWidget* m_grid;
    GridScrollArea* m_gridScroll;
    SandboxStrip* m_sandbox;
    ClipboardDropArea* m_clipboardArea;
    DebugLogPanel* m_debugLog;
    SourcePickerDialog* m_picker;
    ShortcutFilter* m_shortcuts = nullptr;
};

} // namespace quorvane
