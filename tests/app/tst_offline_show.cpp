// A show file opened offline in the real main window: served by the built-in frame, edited with
// the grid's own operations and undo, saved back whole, and then taken to another frame with
// quorvane-cli apply, where every button lands.
#include "cli_frame_support.h"
#include "cli_runner.h"
#include "widgets/content_view.h"
#include "editing/editing_model.h"
#include "fast_timing.h"
#include "link/gv_connection.h"
#include "main_window.h"
#include "offline_show.h"
#include "served_show.h"

#include <QApplication>
#include <QSettings>
#include <QTemporaryDir>
#include <QUdpSocket>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;

namespace {

constexpr int connectTimeoutMs = 10'000;

// A show as a dump of the demo frame writes it: every bus at 35 buttons, and the names.
ShowFile demoShowFile()
{
    const emulator::Show show = emulator::demoShow();
    ShowFile file;
    file.frameName = u"K-Frame XP"_s;
    file.frameVersion = u"V12.3.1"_s;
    file.frameAddress = u"10.1.20.5"_s;
    file.suite = 2;
    file.buttonCount = 35;
    file.buttons = emulator::assignedButtons(show, 35);
    file.sources = show.names();
    return file;
}

struct Window {
    QTemporaryDir settingsDir;
    QSettings preferences{settingsDir.filePath(u"prefs.ini"_s), QSettings::IniFormat};
    DebugLogger logger;
    std::unique_ptr<MainWindow> window;

    Window()
    {
        logger.setEcho(nullptr);
        window = std::make_unique<MainWindow>(preferences, logger);
        connection().setTiming(fastTiming());
        window->show();
    }
    GVConnection& connection() { return window->contentView().connection(); }
    EditingModel& model() { return window->contentView().model(); }
    bool opened(const QString& path)
    {
        if (const std::optional<QString> failed = window->openShow(path)) {
            qWarning("%s", qPrintable(*failed));
            return false;
        }
        return QTest::qWaitFor(
            [this] { return connection().connectionState() == ConnectionState::connected; },
            connectTimeoutMs);
    }
};

} // namespace

class TestOfflineShow : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { QVERIFY(m_dir.isValid()); }

    void aShowEditedOfflineLandsOnTheFrame()
    {
        const QString path = m_dir.filePath(u"studio-a.json"_s);
        const ShowFile original = demoShowFile();
        save(path, writeShowJson(original));
        ShowFile expected;
        {
            Window desk;
            QVERIFY(desk.opened(path));
            MainWindow& window = *desk.window;
            QCOMPARE(window.windowTitle(), u"studio-a.json[*] — offline — Quorvane"_s);
            QVERIFY(!window.isWindowModified());
            // The suite and width are the file's, and so is every button and name on the grid.
            QCOMPARE(desk.connection().selectedSuite(), 2);
            QCOMPARE(desk.connection().buttonCount(), 35);
            const emulator::Show show = emulator::demoShow();
            for (int shift = 1; shift <= 4; ++shift) {
                for (int button = 1; button <= 35; ++button) {
                    const ButtonCellState cell = desk.model().cellState(shift, button);
                    QCOMPARE(cell.source,
                             qint64{show.buttons.mapping(Bus::pgm, 35, shift, button)});
                }
            }
            QCOMPARE(desk.connection().sourceNames(), original.sources);

            // Edited with the grid's own operations: a row copied, a button cleared, and that
            // clear taken back.
            EditingModel& model = desk.model();
            model.tap(1, 1);
            model.shiftTap(1, 3);
            model.copySelection();
            model.tap(2, 1);
            model.pasteToSelection();
            model.tap(3, 5);
            model.clearSelection();
            QTRY_VERIFY(window.isWindowModified());
            // Each step once the frame has reported the last one back: a report of the clear
            // still on its way would otherwise be taken for the undo's.
            const auto reported = [&] { return desk.connection().lastAnswer(Bus::pgm, 3, 5, 35); };
            QTRY_COMPARE(reported()->source, 0u);
            model.undo();
            const quint32 restored = show.buttons.mapping(Bus::pgm, 35, 3, 5);
            QTRY_COMPARE(reported()->source, restored);
            QCOMPARE(desk.connection().mappingFor(Bus::pgm, 3, 5, 35)->source, qint64{restored});

            QCOMPARE(window.saveShow(), std::nullopt);
            QVERIFY(!window.isWindowModified());
            emulator::Show edited = show;
            for (int button = 1; button <= 3; ++button) {
                edited.buttons.setMapping(Bus::pgm, 35, 2, button,
                                          show.buttons.mapping(Bus::pgm, 35, 1, button));
            }
            expected = original;
            expected.buttons = emulator::assignedButtons(edited, 35);
            const ShowFile saved = readJson(contents(path));
            QCOMPARE(withoutNames(saved.buttons), expected.buttons);
            QCOMPARE(saved.sources, original.sources);
            QCOMPARE(saved.suite, 2);
            QVERIFY(window.close()); // saved: nothing to ask
        }

        // Back at the studio: the file taken to a frame that holds something else entirely.
        emulator::FrameEmulator frame({}, emulator::Show{});
        QVERIFY(startFrame(frame));
        const ToolRun apply = runTool(quietly({u"apply"_s, path, u"--host"_s, u"127.0.0.1"_s}));
        QCOMPARE(apply.status, 0);
        const QList<Bus> buses(allBuses.begin(), allBuses.end());
        QCOMPARE(assignedOnFrame(frame, buses, 35), expected.buttons);
        QCOMPARE(frame.client()->mainPort, quint16{6134}); // suite 2, as the file says
    }

    void unsavedEditsAreAskedAbout()
    {
        const QString path = m_dir.filePath(u"show.csv"_s);
        ShowFile file = demoShowFile();
        file.buttonCount = 20;
        file.buttons = emulator::assignedButtons(emulator::demoShow(), 20);
        save(path, writeShowCsv(file));
        Window desk;
        desk.model().setSelectedButtonCount(20); // a CSV file is read at the panel's width
        QVERIFY(desk.opened(path));
        MainWindow& window = *desk.window;
        desk.connection().writeMapping(Bus::me1, 1, 1, 4242);
        QTRY_VERIFY(window.isWindowModified());
        QCOMPARE(window.windowTitle(), u"show.csv[*] — offline — Quorvane"_s);

        int asked = 0;
        window.setSaveQuestion([&] {
            ++asked;
            return QMessageBox::Cancel;
        });
        QVERIFY(!window.close());
        QVERIFY(window.isVisible());
        window.setSaveQuestion([&] {
            ++asked;
            return QMessageBox::Save;
        });
        QVERIFY(window.close());
        QCOMPARE(asked, 2);
        const ShowFileResult saved = readShowCsv(contents(path), 20);
        QVERIFY(saved.file);
        QCOMPARE(saved.file->buttons.first().source, qint64{4242});
    }

    void namesTheFrameCannotCarryStayInTheFile()
    {
        ShowFile file = demoShowFile();
        file.sources[1].menu = u"Caméra un, plan large"_s; // not plain ASCII, and too long
        const QString path = m_dir.filePath(u"names.json"_s);
        save(path, writeShowJson(file));
        Window desk;
        QVERIFY(desk.opened(path));
        QCOMPARE(desk.window->offlineShow()->namesLeftOut(), 1);
        desk.connection().writeMapping(Bus::me1, 1, 1, 5);
        QTRY_VERIFY(desk.window->isWindowModified());
        QCOMPARE(desk.window->saveShow(), std::nullopt);
        QCOMPARE(readJson(contents(path)).sources, file.sources);
    }

    void aShowWhoseFramePortsAreTakenIsRefused()
    {
        QUdpSocket squatter;
        QVERIFY(squatter.bind(QHostAddress::LocalHost, 5000, QAbstractSocket::DontShareAddress));
        const QString path = m_dir.filePath(u"busy.json"_s);
        save(path, writeShowJson(demoShowFile()));
        Window desk;
        const std::optional<QString> failed = desk.window->openShow(path);
        QVERIFY(failed);
        QVERIFY2(failed->contains(u"5000"_s) && failed->contains(u"Another program holds the "
                                                                 u"frame ports"_s),
                 qPrintable(*failed));
        QCOMPARE(desk.window->offlineShow(), nullptr);
        QCOMPARE(desk.window->windowTitle(), u"Quorvane"_s);
        QCOMPARE(desk.connection().connectionState(), ConnectionState::idle);
    }

private:
    QTemporaryDir m_dir;
};

QTEST_MAIN(TestOfflineShow)
#include "tst_offline_show.moc"
