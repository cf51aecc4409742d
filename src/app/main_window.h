#pragma once

#include "frame_emulator.h"
#include "info_windows.h"
#include "menus.h"

#include <QMainWindow>
#include <QMessageBox>
#include <functional>
#include <memory>
#include <optional>

class QMenu;
class QSettings;

namespace quorvane {

class ContentView;
class DebugLogger;
class EditMenu;
class OfflineShow;

// The program's one main window: the main view, the menus, the Help and About windows, the
// built-in frames (the demo, or a show opened offline), and the export and import of show
// files. Closing it (or File ▸ Quit) ends the program.
class MainWindow : public QMainWindow {
    Q_OBJECT

public:
    MainWindow(QSettings& preferences, DebugLogger& logger, QWidget* parent = nullptr);
    ~MainWindow() override;

    ContentView& contentView() const { return *m_content; }
    InfoWindows& infoWindows() { return m_infoWindows; }
    EditMenu& editMenu() const { return *m_editMenu; }

    // Where the window was last time when that is still on a screen, else 80 % of the primary
    // screen, centred; then title and colour. Run 0.1 s after launch, when the window system has
    // placed the window. From then on the window's place is remembered.
    void setUpWindow();

    // Where the window's place and size are kept between runs.
    static constexpr QStringView geometryKey = u"Quorvane.windowGeometry";

    // Starts the built-in demo frame and points the panel at it; the reason when it cannot.
    std::optional<QString> startDemoFrame();

    // A show file opened offline: served by the built-in frame and connected to. The reason when
    // it cannot be; whatever ran before (the demo, another show) has stopped by then.
    std::optional<QString> openShow(const QString& path);
    // Writes the show opened offline back to its file, or to `path`; the reason on failure.
    std::optional<QString> saveShow(const QString& path = QString());
    const OfflineShow* offlineShow() const { return m_offline.get(); }
    // How the window asks what to do with unsaved edits: Save, Discard or Cancel. Tests answer
    // for the user.
    using SaveQuestion = std::function<QMessageBox::StandardButton()>;
    void setSaveQuestion(SaveQuestion question) { m_saveQuestion = std::move(question); }

    void exportMappings();
    void importMappings();
    // The import once a file is chosen: one undoable step, its outcome in a message.
    void importMappingsFrom(const QString& path);
    void exportPanelSheet();

protected:
    void closeEvent(QCloseEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void openShowFromDialog();
    void saveShowFromMenu();
    void saveShowAsFromDialog();
    // Before the offline show goes: true when its edits are saved, thrown away, or none.
    bool settleUnsavedEdits();
    void stopLocalFrames();
    void updateTitle();
    void rememberGeometry();

    QSettings& m_preferences;
    ContentView* m_content;
    EditMenu* m_editMenu;
    QMenu* m_viewMenu;
    FileMenu m_fileMenu;
    InfoWindows m_infoWindows;
    std::unique_ptr<emulator::FrameEmulator> m_demoFrame;
    std::unique_ptr<OfflineShow> m_offline;
    SaveQuestion m_saveQuestion;
    bool m_placed = false; // set up: moves and resizes from now on are the operator's
};

} // namespace quorvane
