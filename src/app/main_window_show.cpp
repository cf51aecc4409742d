// The main window's built-in frames: the demo, and a show file opened offline, edited on the
// frame that serves it and saved back.
#include "widgets/connection_panel.h"
#include "widgets/content_view.h"
#include "demo_frame.h"
#include "editing/editing_model.h"
#include "link/gv_connection.h"
#include "main_window.h"
#include "offline_show.h"

#include <QAction>
#include <QFileDialog>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace quorvane {

namespace {
const QString showFilter = u"Show files (*.json *.csv);;All files (*)"_s;
} // namespace

std::optional<QString> MainWindow::startDemoFrame()
{
    QString error;
    m_demoFrame = quorvane::startDemoFrame(*m_content, error);
    if (!m_demoFrame)
        return error;
    return std::nullopt;
}

void MainWindow::stopLocalFrames()
{
    m_content->connection().disconnect();
    m_demoFrame.reset();
    m_offline.reset();
    m_content->connectionPanel()->setFrameNote(QString());
    updateTitle();
}

std::optional<QString> MainWindow::openShow(const QString& path)
{
    stopLocalFrames();
    EditingModel& model = m_content->model();
    QString error;
    m_offline = OfflineShow::open(path, model.selectedButtonCount(), error);
    if (!m_offline)
        return error;
    connect(m_offline.get(), &OfflineShow::modifiedChanged, this, &MainWindow::updateTitle);
    const ShowFile& file = m_offline->file();
    model.setIpAddress(u"127.0.0.1"_s);
    model.setSelectedSuite(file.suite);
    model.setSelectedButtonCount(file.buttonCount);
    QString note = u"Offline: "_s + QFileInfo(path).fileName() +
                   u", served by the built-in frame on 127.0.0.1. Edits change the show, not a "
                   u"switcher: save them with File ▸ Save Show, and take the file to the frame "
                   u"with quorvane-cli apply."_s;
    if (m_offline->namesLeftOut() > 0) {
        note += u" "_s + QString::number(m_offline->namesLeftOut()) +
                u" source names are not shown (longer than a frame keeps, or not plain "
                u"ASCII); the file keeps them."_s;
    }
    m_content->connectionPanel()->setFrameNote(note);
    updateTitle();
    m_content->connectionPanel()->pressConnectButton();
    return std::nullopt;
}

std::optional<QString> MainWindow::saveShow(const QString& path)
{
    if (!m_offline)
        return u"No show is open offline."_s;
    return m_offline->save(path.isEmpty() ? m_offline->path() : path);
}

void MainWindow::updateTitle()
{
    m_fileMenu.saveShow->setEnabled(m_offline != nullptr);
    m_fileMenu.saveShowAs->setEnabled(m_offline != nullptr);
    if (!m_offline) {
        setWindowTitle(u"Quorvane"_s);
        setWindowModified(false);
        return;
    }
    setWindowTitle(QFileInfo(m_offline->path()).fileName() + u"[*] — offline — Quorvane"_s);
    setWindowModified(m_offline->isModified());
}

bool MainWindow::settleUnsavedEdits()
{
    if (!m_offline || !m_offline->isModified())
        return true;
    switch (m_saveQuestion()) {
    case QMessageBox::Save:
        if (const std::optional<QString> failed = saveShow()) {
            QMessageBox::warning(this, u"Save Show"_s, *failed);
            return false;
        }
        return true;
    case QMessageBox::Discard:
        return true;
    default:
        return false;
    }
}

void MainWindow::openShowFromDialog()
{
    if (!settleUnsavedEdits())
        return;
    const QString path = QFileDialog::getOpenFileName(this, u"Open Show"_s, QString(), showFilter);
    if (path.isEmpty())
        return;
    if (const std::optional<QString> failed = openShow(path))
        QMessageBox::warning(this, u"Open Show"_s, *failed);
}

void MainWindow::saveShowFromMenu()
{
    if (const std::optional<QString> failed = saveShow())
        QMessageBox::warning(this, u"Save Show"_s, *failed);
}

void MainWindow::saveShowAsFromDialog()
{
    if (!m_offline)
        return;
    const QString path =
        QFileDialog::getSaveFileName(this, u"Save Show As"_s, m_offline->path(), showFilter);
    if (path.isEmpty())
        return;
    if (const std::optional<QString> failed = saveShow(path))
        QMessageBox::warning(this, u"Save Show As"_s, *failed);
    updateTitle();
}

} // namespace quorvane
