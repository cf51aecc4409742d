#include "main_window.h"

#include "widgets/content_view.h"
#include "edit_menu.h"
#include "editing/editing_model.h"
#include "link/gv_connection.h"
#include "menus.h"
#include "offline_show.h"
#include "panel_sheet.h"
#include "session/remembered_settings.h"
#include "editing/show_file_transfer.h"
#include "window_geometry.h"
#include "window_style.h"

#include <QCloseEvent>
#include <QDate>
#include <QFileDialog>
#include <QFileInfo>
#include <QGuiApplication>
#include <QLocale>
#include <QMenuBar>
#include <QMessageBox>
#include <QSaveFile>
#include <QScreen>
#include <QSettings>

using namespace Qt::StringLiterals;

namespace quorvane {

MainWindow::MainWindow(QSettings& preferences, DebugLogger& logger, QWidget* parent)
    : QMainWindow(parent)
    , m_preferences(preferences)
    , m_content(new ContentView(preferences, logger, this))
{
    setCentralWidget(m_content);
    new RememberedSettings(preferences, m_content->model(), this);
#ifdef Q_OS_MACOS
    setUnifiedTitleAndToolBarOnMac(true);
#endif
    m_fileMenu = buildMenus(*menuBar(), {.showAbout = [this] { m_infoWindows.showAbout(); },
                                         .showHelp = [this] { m_infoWindows.showHelp(); },
                                         .openShow = [this] { openShowFromDialog(); },
                                         .saveShow = [this] { saveShowFromMenu(); },
                                         .saveShowAs = [this] { saveShowAsFromDialog(); },
                                         .exportMappings = [this] { exportMappings(); },
                                         .importMappings = [this] { importMappings(); },
                                         .exportPanelSheet = [this] { exportPanelSheet(); },
                                         .quit = [this] { close(); }});
    m_saveQuestion = [this] {
        return QMessageBox::question(this, u"Quorvane"_s,
                                     u"The show "_s + QFileInfo(m_offline->path()).fileName() +
                                         u" has changes that are not saved. Save them?"_s,
                                     QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel,
                                     QMessageBox::Save);
    };
    updateTitle();
    EditingModel& model = m_content->model();
    m_editMenu = new EditMenu(*menuBar(), model);
    m_viewMenu =
        buildViewMenu(*menuBar(), {[&model] { model.zoomIn(); }, [&model] { model.zoomOut(); },
                                   [&model] { model.setZoom(GridZoom::actualSize()); },
                                   [&model] { model.setZoom(GridZoom::fitToWindow()); }});
}

MainWindow::~MainWindow() = default;

void MainWindow::closeEvent(QCloseEvent* event)
{
    if (!settleUnsavedEdits()) {
        event->ignore();
        return;
    }
    // The program is its main window: Help and About go with it, and the program ends.
    m_infoWindows.closeAll();
    QMainWindow::closeEvent(event);
}

void MainWindow::moveEvent(QMoveEvent* event)
{
    QMainWindow::moveEvent(event);
    rememberGeometry();
}

void MainWindow::resizeEvent(QResizeEvent* event)
{
    QMainWindow::resizeEvent(event);
    rememberGeometry();
}

void MainWindow::rememberGeometry()
{
    if (m_placed)
        m_preferences.setValue(geometryKey.toString(), normalGeometry());
}

void MainWindow::setUpWindow()
{
    QList<QRect> screens;
    for (const QScreen* screen : QGuiApplication::screens())
        screens.append(screen->availableGeometry());
    const QRect saved = m_preferences.value(geometryKey.toString()).toRect();
    if (isOnAScreen(saved, screens))
        setGeometry(saved);
    else if (const QScreen* screen = QGuiApplication::primaryScreen())
        setGeometry(mainWindowFrame(QRectF(screen->availableGeometry())).toRect());
    m_placed = true;
    QPalette colours = palette();
    colours.setColor(QPalette::Window, windowBackground());
    setPalette(colours);
    updateTitle();
    // The stock menus go; the grid's Edit commands and its zoom under View are the program's
    // own and stay.
    trimMenuBar(*menuBar(), {m_editMenu->menu(), m_viewMenu});
}

void MainWindow::exportMappings()
{
    const GVConnection& connection = m_content->connection();
    if (connection.subscribedModes().isEmpty()) {
        QMessageBox::information(this, u"Export Mappings"_s,
                                 u"Nothing to export yet: connect and load a bus first."_s);
        return;
    }
    const ShowExport exported = exportShowFile(connection);
    if (!exported.file) {
        QMessageBox::warning(this, u"Export Mappings"_s, exported.refusal);
        return;
    }
    const QString path = QFileDialog::getSaveFileName(
        this, u"Export Mappings"_s, u"show.json"_s, u"Show files (*.json);;Spreadsheets (*.csv)"_s);
    if (path.isEmpty())
        return;
    const ShowFile& file = *exported.file;
    const QByteArray bytes = isCsvShowFile(path) ? writeShowCsv(file) : writeShowJson(file);
    // Written beside the old file and put in its place whole, or not at all.
    QSaveFile out(path);
    if (!out.open(QIODevice::WriteOnly) || out.write(bytes) != bytes.size() || !out.commit()) {
        QMessageBox::warning(this, u"Export Mappings"_s,
                             u"Could not write "_s + path + u": "_s + out.errorString());
    }
}

void MainWindow::exportPanelSheet()
{
    const GVConnection& connection = m_content->connection();
    const QString title = u"Export Panel Sheet"_s;
    if (connection.subscribedModes().isEmpty()) {
        QMessageBox::information(this, title,
                                 u"Nothing to print yet: connect and load a bus first."_s);
        return;
    }
    const ShowExport exported = exportShowFile(connection);
    if (!exported.file) {
        QMessageBox::warning(this, title, exported.refusal);
        return;
    }
    const QString path = QFileDialog::getSaveFileName(
        this, title, u"panel-sheet.pdf"_s, u"PDF (*.pdf);;PNG images, one per bus (*.png)"_s);
    if (path.isEmpty())
        return;
    SheetOptions options;
    options.format =
        path.endsWith(u".png"_s, Qt::CaseInsensitive) ? SheetFormat::png : SheetFormat::pdf;
    options.paper = QLocale().measurementSystem() == QLocale::ImperialUSSystem ? SheetPaper::letter
                                                                               : SheetPaper::a4;
    // Every loaded bus, also one with nothing assigned; an unloaded bus is unknown.
    options.buses = loadedBuses(connection);
    options.fileName = QFileInfo(path).fileName();
    options.date = QDate::currentDate();
    const SheetExport written = quorvane::exportPanelSheet(*exported.file, path, options);
    if (!written.problem.isEmpty())
        QMessageBox::warning(this, title, written.problem);
}

void MainWindow::importMappings()
{
    const QString path = QFileDialog::getOpenFileName(this, u"Import Mappings"_s, QString(),
                                                      u"Show files (*.json *.csv)"_s);
    if (!path.isEmpty())
        importMappingsFrom(path);
}

void MainWindow::importMappingsFrom(const QString& path)
{
    const GVConnection& connection = m_content->connection();
    const ImportFile read = readImportFile(path, connection.buttonCount());
    if (!read.file) {
        QMessageBox::warning(this, u"Import Mappings"_s, read.refusal);
        return;
    }
    const ImportPlan plan = planImport(*read.file, connection);
    if (!plan.refusal.isEmpty()) {
        QMessageBox::information(this, u"Import Mappings"_s, plan.refusal);
        return;
    }
    const int written = applyImport(plan, m_content->model());
    QString summary = QString::number(written) + u" buttons written (one Undo takes them back)."_s;
    if (!plan.skippedBuses.isEmpty()) {
        summary += u"\nNot loaded, so left alone: "_s + plan.skippedBuses.join(u", "_s) +
                   u". Show those buses first, then import again."_s;
    }
    QMessageBox::information(this, u"Import Mappings"_s, summary);
}

} // namespace quorvane
