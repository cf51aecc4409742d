// The application shell without a frame: window geometry, menus, Help and About, the start
// options, and the address field that only takes typing.
#include "widgets/button_grid_widget.h"
#include "widgets/connection_panel.h"
#include "session/connection_panel_rules.h"
#include "widgets/content_view.h"
#include "widgets/debug_log_panel.h"
#include "diagnostics/debug_logger.h"
#include "edit_menu.h"
#include "editing/editing_model.h"
#include "first_paint.h"
#include "help_text.h"
#include "info_windows.h"
#include "link/gv_connection.h"
#include "main_window.h"
#include "menus.h"
#include "widgets/no_paste_line_edit.h"
#include "project_info.h"
#include "session/remembered_settings.h"
#include "start_options.h"
#include "window_geometry.h"

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QDialogButtonBox>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QProcess>
#include <QPushButton>
#include <QScreen>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

using namespace Qt::StringLiterals;
using namespace quorvane;

namespace {

QStringList menuTitles(const QMenuBar& bar)
{
    QStringList titles;
    for (const QAction* menu : bar.actions())
        titles.append(menu->text());
    return titles;
}

QStringList texts(const QWidget* window)
{
    QStringList all;
    for (const QLabel* label : window->findChildren<QLabel*>())
        all.append(label->text());
    return all;
}

class PaintCounter : public QWidget {
public:
    using QWidget::QWidget;
    int paints = 0;

protected:
    void paintEvent(QPaintEvent*) override { ++paints; }
};

// Runs the program's event loop, as main() does, with `action` as its first event: true when
// the loop then ends by itself, false when it still runs two seconds later.
struct Run {
    int exitCode = -1;
    QString out;
    QString err;
};

// The program itself, started with no display to open a window on: no X, no Wayland, no platform
// chosen. It has two seconds to end on its own.
Run runWithoutDisplay(const QStringList& arguments)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const QString& name : {u"QT_QPA_PLATFORM"_s, u"DISPLAY"_s, u"WAYLAND_DISPLAY"_s})
        environment.remove(name);
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(QUORVANE_APP_PATH), arguments);
    if (!QTest::qWaitFor([&] { return process.state() == QProcess::NotRunning; }, 5000)) {
        process.kill();
        [[maybe_unused]] const bool killed =
            QTest::qWaitFor([&] { return process.state() == QProcess::NotRunning; }, 5000);
        return {};
    }
    if (process.exitStatus() != QProcess::NormalExit)
        return {};
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

// A main window on its own preferences, as a run of the program has them.
bool endsTheProgram(const std::function<void()>& action)
{
    QTimer::singleShot(0, qApp, action);
    QTimer stillRunning;
    stillRunning.setSingleShot(true);
    QObject::connect(&stillRunning, &QTimer::timeout, qApp, [] { QCoreApplication::exit(1); });
    stillRunning.start(2000);
    return QApplication::exec() == 0;
}

} // namespace

class TestAppShell : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void mainWindowTakesEightyPercentCentred()
    {
        QCOMPARE(mainWindowFrame(QRectF(0, 25, 1440, 875)), QRectF(144, 112.5, 1152, 700));
        QCOMPARE(mainWindowFrame(QRectF(0, 0, 1000, 500)), QRectF(100, 50, 800, 400));
    }

    void trimmingKeepsOnlyTheProgramsMenus()
    {
        QMenuBar bar;
        for (const QString& title :
             {u"App"_s, u"File"_s, u"Edit"_s, u"View"_s, u"Window"_s, u"Help"_s})
            bar.addMenu(title);
        trimMenuBar(bar);
        QCOMPARE(menuTitles(bar), QStringList({u"Quorvane"_s, u"File"_s, u"Help"_s}));
    }

    void trimmingKeepsTheProgramsOwnEditMenu()
    {
        QMenuBar bar;
        for (const QString& title : {u"App"_s, u"File"_s, u"Edit"_s})
            bar.addMenu(title);
        auto* own = new QMenu(u"Edit"_s, &bar);
        bar.addMenu(own);
        trimMenuBar(bar, {own});
        // The stock Edit menu goes, the program's own stays.
        QCOMPARE(menuTitles(bar), QStringList({u"Quorvane"_s, u"File"_s, u"Edit"_s}));
        QCOMPARE(bar.actions().last()->menu(), own);
    }

    void trimmingWithoutAViewMenu()
    {
        QMenuBar bar;
        for (const QString& title : {u"App"_s, u"Edit"_s, u"Window"_s, u"Edit"_s})
            bar.addMenu(title);
        trimMenuBar(bar);
        // Only the first of each title goes.
        QCOMPARE(menuTitles(bar), QStringList({u"Quorvane"_s, u"Edit"_s}));
    }

    void theProgramsMenus()
    {
        QMenuBar bar;
        int about = 0;
        int help = 0;
        int quit = 0;
        int sheet = 0;
        buildMenus(bar, {.showAbout = [&] { ++about; },
                         .showHelp = [&] { ++help; },
                         .openShow = [] {},
                         .saveShow = [] {},
                         .saveShowAs = [] {},
                         .exportMappings = [] {},
                         .importMappings = [] {},
                         .exportPanelSheet = [&] { ++sheet; },
                         .quit = [&] { ++quit; }});
        QCOMPARE(menuTitles(bar), QStringList({u"Quorvane"_s, u"File"_s, u"Help"_s}));
        const QList<QAction*> quorvane = bar.actions()[0]->menu()->actions();
        QCOMPARE(quorvane.size(), 1);
        QCOMPARE(quorvane[0]->text(), u"About Quorvane"_s);
        QCOMPARE(quorvane[0]->menuRole(), QAction::AboutRole);
        QAction* quorvaneHelp = bar.actions()[2]->menu()->actions().value(0);
        QCOMPARE(quorvaneHelp->text(), u"Quorvane Help"_s);
        QVERIFY(!quorvaneHelp->shortcut().isEmpty());
        quorvane[0]->trigger();
        quorvaneHelp->trigger();
        QCOMPARE(about, 1);
        QCOMPARE(help, 1);
        QStringList fileItems;
        for (const QAction* item : bar.actions()[1]->menu()->actions()) {
            if (!item->isSeparator())
                fileItems.append(item->text());
        }
        QCOMPARE(fileItems, QStringList({u"Open Show…"_s, u"Save Show"_s, u"Save Show As…"_s,
                                         u"Export Mappings…"_s, u"Import Mappings…"_s,
                                         u"Export Panel Sheet…"_s, u"Quit"_s}));
        QAction* sheetItem = bar.actions()[1]->menu()->actions()[6];
        QCOMPARE(sheetItem->shortcut(), QKeySequence(QKeySequence::Print));
        sheetItem->trigger();
        QCOMPARE(sheet, 1);
        QAction* quitItem = bar.actions()[1]->menu()->actions().last();
        QCOMPARE(quitItem->shortcut(), QKeySequence(u"Ctrl+Q"_s));
        QCOMPARE(quitItem->menuRole(), QAction::QuitRole);
        quitItem->trigger();
        QCOMPARE(quit, 1);
    }

    void theMainWindowKeepsItsOwnViewMenuThroughTrimming()
    {
        QTemporaryDir settingsDir;
        DebugLogger logger;
        logger.setEcho(nullptr);
        QSettings preferences(settingsDir.filePath(u"prefs.ini"_s), QSettings::IniFormat);
        MainWindow window(preferences, logger);
        const QStringList expected{u"Quorvane"_s, u"File"_s, u"Edit"_s, u"View"_s, u"Help"_s};
        QCOMPARE(menuTitles(*window.menuBar()), expected);
        window.setUpWindow();
        QCOMPARE(menuTitles(*window.menuBar()), expected);
        QStringList viewItems;
        for (const QAction* item : window.menuBar()->actions()[3]->menu()->actions())
            viewItems.append(item->text());
        QCOMPARE(viewItems,
                 QStringList({u"Zoom In"_s, u"Zoom Out"_s, u"Actual Size"_s, u"Fit to Window"_s}));
    }

    void closingTheMainWindowEndsTheProgramWhileHelpAndAboutAreOpen()
    {
        QTemporaryDir settingsDir;
        DebugLogger logger;
        logger.setEcho(nullptr);
        QSettings preferences(settingsDir.filePath(u"prefs.ini"_s), QSettings::IniFormat);
        MainWindow window(preferences, logger);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QWidget* help = window.infoWindows().showHelp();
        QWidget* about = window.infoWindows().showAbout();
        QVERIFY(endsTheProgram([&] { window.close(); }));
        QVERIFY(!help->isVisible());
        QVERIFY(!about->isVisible());
    }

    void fileQuitEndsTheProgramWhileHelpIsOpen()
    {
        QTemporaryDir settingsDir;
        DebugLogger logger;
        logger.setEcho(nullptr);
        QSettings preferences(settingsDir.filePath(u"prefs.ini"_s), QSettings::IniFormat);
        MainWindow window(preferences, logger);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QWidget* help = window.infoWindows().showHelp();
        QVERIFY(QTest::qWaitForWindowExposed(help));
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        // Ctrl+Q in the main window, as the operator presses it.
        QVERIFY(endsTheProgram([&] { QTest::keyClick(&window, Qt::Key_Q, Qt::ControlModifier); }));
        QVERIFY(!window.isVisible());
        QVERIFY(!help->isVisible());
    }

    void theStatusLineSaysAThingOnce()
    {
        QCOMPARE(statusLineMessage(ConnectionState::idle, u"Disconnected"_s), QString());
        QCOMPARE(statusLineMessage(ConnectionState::idle, u"Handshake timeout"_s),
                 u"Handshake timeout"_s);
        QCOMPARE(statusLineMessage(ConnectionState::heartbeat, u"Verifying heartbeat..."_s),
                 QString());
        QCOMPARE(statusLineMessage(ConnectionState::connected, u"PGM (35-btn): 140 mappings"_s),
                 u"PGM (35-btn): 140 mappings"_s);

        QTemporaryDir settingsDir;
        DebugLogger logger;
        logger.setEcho(nullptr);
        QSettings preferences(settingsDir.filePath(u"prefs.ini"_s), QSettings::IniFormat);
        ContentView view(preferences, logger);
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        QStringList shown;
        for (const QLabel* label : view.connectionPanel()->findChildren<QLabel*>()) {
            if (label->isVisible() && label->text().contains(u"Disconnected"_s))
                shown.append(label->text());
        }
        QCOMPARE(shown, QStringList({u"Disconnected"_s}));
    }

    void helpTwiceOpensTwoWindows()
    {
        InfoWindows windows;
        QWidget* first = windows.showHelp();
        QWidget* second = windows.showHelp();
        QVERIFY(first != second);
        QCOMPARE(windows.windows().size(), 2u);
        for (QWidget* window : {first, second}) {
            QVERIFY(window->isVisible());
            QCOMPARE(window->windowTitle(), u"Quorvane Help"_s);
            QCOMPARE(window->size(), QSize(500, 580));
            QCOMPARE(window->minimumSize(), window->maximumSize()); // not resizable
        }
        // Closing keeps the window for the program's life.
        first->close();
        QCOMPARE(windows.windows().size(), 2u);
    }

    void helpTexts()
    {
        InfoWindows windows;
        const QStringList shown = texts(windows.showHelp());
        QStringList expected{
            u"Quorvane"_s,
            u"Version 0.9 Beta"_s,
            u"Getting Started"_s,
            u"1. Enter the GV Frame IP address\n2. Select the Suite number (1-4)\n3. Select the "
            u"button count (15, 20, 25, or 35)\n4. Click Connect\n\nThe Frame IP can be found in "
            u"the official GV GUI under:\nEng Setup > Node Settings\n\nNote: The frame must be "
            u"accessible from the device running this app."_s,
            u"Copy & Paste"_s,
            u"Drag & Drop"_s,
            u"•  Drag between buttons to copy mappings"_s,
            u"Source Sandbox"_s,
            u"•  Click a source to select it for the selected button(s)"_s,
            u"Keyboard Shortcuts"_s};
        for (const QString& point : copyAndPastePoints(platformKeyNames()))
            expected.append(u"•  "_s + point);
        for (const HelpShortcut& shortcut : helpShortcuts(platformKeyNames()))
            expected << shortcut.key << shortcut.action;
        for (const QString& text : expected)
            QVERIFY2(shown.contains(text), qPrintable(text));
#ifndef Q_OS_MACOS
        QVERIFY(shown.contains(u"•  Press Ctrl+C to copy"_s));
        QVERIFY(shown.contains(u"Ctrl+Shift+Z"_s));
#endif
    }

    void keysAreNamedAsEachPlatformNamesThem()
    {
        const QKeyCombination copy(Qt::ControlModifier, Qt::Key_C);
        const QKeyCombination redo(Qt::ControlModifier | Qt::ShiftModifier, Qt::Key_Z);
        const QKeyCombination closeUp(Qt::ShiftModifier, Qt::Key_Delete);
        QCOMPARE(keyText(copy, KeyNames::mac), u"⌘C"_s);
        QCOMPARE(keyText(copy, KeyNames::pc), u"Ctrl+C"_s);
        QCOMPARE(keyText(redo, KeyNames::mac), u"⇧⌘Z"_s);
        QCOMPARE(keyText(redo, KeyNames::pc), u"Ctrl+Shift+Z"_s);
        QCOMPARE(keyText(closeUp, KeyNames::mac), u"⇧Delete"_s);
        QCOMPARE(keyText(closeUp, KeyNames::pc), u"Shift+Delete"_s);
        QCOMPARE(keyText(QKeyCombination(Qt::ControlModifier, Qt::Key_Plus), KeyNames::pc),
                 u"Ctrl++"_s);
        QCOMPARE(keyText(QKeyCombination(Qt::ControlModifier, Qt::Key_Minus), KeyNames::mac),
                 u"⌘-"_s);
        QCOMPARE(keyText(QKeyCombination(Qt::Key_Delete), KeyNames::mac), u"Delete"_s);
        QCOMPARE(clickText(Qt::ShiftModifier, KeyNames::pc), u"Shift + Click"_s);
        QCOMPARE(clickText(Qt::ControlModifier, KeyNames::mac), u"⌘ + Click"_s);
        QCOMPARE(clickText(Qt::NoModifier, KeyNames::mac), u"Click"_s);
        // The same as the menus write them here.
        const QKeyCombination native = platformKeyNames() == KeyNames::mac ? redo : copy;
        QCOMPARE(keyText(native, platformKeyNames()),
                 QKeySequence(native).toString(QKeySequence::NativeText));
        QCOMPARE(keyText(redo, platformKeyNames()),
                 QKeySequence(redo).toString(QKeySequence::NativeText));
    }

    void theHelpsCopyAndPasteOnEachPlatform()
    {
        QCOMPARE(copyAndPastePoints(KeyNames::mac),
                 QStringList({u"Select one or more buttons horizontally or vertically"_s,
                              u"Press ⌘C to copy"_s,
                              u"Select destination button(s) and press ⌘V to paste"_s,
                              u"If you copy multiple buttons but only select one destination, all "
                              u"copied buttons will paste starting from that position"_s}));
        const QStringList pc = copyAndPastePoints(KeyNames::pc);
        QCOMPARE(pc[1], u"Press Ctrl+C to copy"_s);
        QCOMPARE(pc[2], u"Select destination button(s) and press Ctrl+V to paste"_s);
    }

    void theHelpListsEveryShortcut()
    {
        const QList<HelpShortcut> pc{
            {u"Ctrl+C"_s, u"Copy selected button(s)"_s},
            {u"Ctrl+V"_s, u"Paste to selected button(s)"_s},
            {u"Delete"_s, u"Clear selected button(s)"_s},
            {u"Shift+Delete"_s, u"Clear selected button(s) and close up the row"_s},
            {u"Ctrl+Z"_s, u"Undo the last change"_s},
            {u"Ctrl+Shift+Z"_s, u"Redo the last undone change"_s},
            {u"Click"_s, u"Select a button"_s},
            {u"Shift + Click"_s, u"Select range of buttons"_s},
            {u"Ctrl + Click"_s, u"Add/remove from selection"_s},
            {u"Double-click"_s, u"Pick a source for the button"_s},
            {u"Ctrl+L"_s, u"Show or hide the debug log"_s},
            {u"Ctrl++"_s, u"Zoom in"_s},
            {u"Ctrl+-"_s, u"Zoom out"_s},
            {u"Ctrl+0"_s, u"Actual size"_s},
            {u"Ctrl+9"_s, u"Fit a whole row to the window"_s}};
        QCOMPARE(helpShortcuts(KeyNames::pc), pc);
        QStringList mac;
        for (const HelpShortcut& shortcut : helpShortcuts(KeyNames::mac))
            mac.append(shortcut.key);
        QCOMPARE(mac, QStringList({u"⌘C"_s, u"⌘V"_s, u"Delete"_s, u"⇧Delete"_s, u"⌘Z"_s, u"⇧⌘Z"_s,
                                   u"Click"_s, u"⇧ + Click"_s, u"⌘ + Click"_s, u"Double-click"_s,
                                   u"⌘L"_s, u"⌘+"_s, u"⌘-"_s, u"⌘0"_s, u"⌘9"_s}));
    }

    void helpAndAboutCloseWithEscapeOrTheirButton()
    {
        InfoWindows windows;
        for (QWidget* window : {windows.showHelp(), windows.showAbout()}) {
            window->activateWindow();
            QVERIFY(QTest::qWaitForWindowActive(window));
            QTest::keyClick(window, Qt::Key_Escape);
            QVERIFY(!window->isVisible());
        }
        for (QWidget* window : {windows.showHelp(), windows.showAbout()}) {
            QVERIFY(QTest::qWaitForWindowExposed(window));
            QPushButton* close =
                window->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Close);
            QVERIFY(close->isVisible());
            QTest::mouseClick(close, Qt::LeftButton);
            QVERIFY(!window->isVisible());
        }
    }

    void aboutWindow()
    {
        InfoWindows windows;
        QWidget* about = windows.showAbout();
        QCOMPARE(about->windowTitle(), u"About Quorvane"_s);
        QCOMPARE(about->size(), QSize(340, 280));
        QCOMPARE(texts(about), QStringList({u"Quorvane"_s, u"Version 0.9 Beta"_s,
                                            u"Made with ❤️ by Merrowin"_s}));
    }

    void firstPaintIsReportedOnceWithTheWholeWindowPainted()
    {
        QWidget window;
        auto* inner = new PaintCounter(&window);
        inner->resize(50, 50);
        int reports = 0;
        int innerPaintsWhenReported = 0;
        whenFirstPainted(window, [&] {
            ++reports;
            innerPaintsWhenReported = inner->paints;
        });
        QCOMPARE(reports, 0);
        window.show();
        QTRY_COMPARE(reports, 1);
        QVERIFY(innerPaintsWhenReported >= 1);
        window.repaint();
        QCoreApplication::processEvents();
        QCOMPARE(reports, 1);
    }

    void startOptions_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<bool>("demo");
        QTest::addColumn<QString>("host");
        QTest::addColumn<int>("suite");
        QTest::addColumn<int>("buttons");
        QTest::addColumn<bool>("connect");
        QTest::addColumn<bool>("valid");
        QTest::newRow("nothing") << QStringList{} << false << QString() << 0 << 0 << false << true;
        QTest::newRow("demo") << QStringList{u"--demo"_s} << true << QString() << 0 << 0 << false
                              << true;
        QTest::newRow("all") << QStringList{u"--host"_s,    u"10.1.2.3"_s, u"--suite"_s,  u"3"_s,
                                            u"--buttons"_s, u"20"_s,       u"--connect"_s}
                             << false << u"10.1.2.3"_s << 3 << 20 << true << true;
        QTest::newRow("suite 5") << QStringList{u"--suite"_s, u"5"_s} << false << QString() << 0
                                 << 0 << false << false;
        QTest::newRow("30 buttons") << QStringList{u"--buttons"_s, u"30"_s} << false << QString()
                                    << 0 << 0 << false << false;
        QTest::newRow("unknown") << QStringList{u"--frobnicate"_s} << false << QString() << 0 << 0
                                 << false << false;
    }

    void helpAndVersionInsteadOfStarting_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<StartRequest>("request");
        QTest::newRow("nothing") << QStringList{} << StartRequest::run;
        QTest::newRow("--help") << QStringList{u"--help"_s} << StartRequest::help;
        QTest::newRow("-h") << QStringList{u"-h"_s} << StartRequest::help;
        QTest::newRow("--version") << QStringList{u"--version"_s} << StartRequest::version;
        QTest::newRow("-v with others")
            << QStringList{u"--demo"_s, u"-v"_s} << StartRequest::version;
    }

    void helpAndVersionInsteadOfStarting()
    {
        QFETCH(QStringList, arguments);
        QFETCH(StartRequest, request);
        const ParsedStart parsed = parseStartOptions(QStringList{u"quorvane"_s} + arguments);
        QVERIFY(parsed.error.isEmpty());
        QCOMPARE(parsed.options.request, request);
    }

    void versionAgreesWithTheWindows()
    {
        QCOMPARE(startVersionText(), u"quorvane "_s + projectVersion);
        QVERIFY2(startVersionText().startsWith(u"quorvane 0.9."_s), qPrintable(startVersionText()));
    }

    void helpListsTheUsersOptions()
    {
        const QString help = startHelpText();
        for (const QString& option :
             {u"--demo"_s, u"--host <address>"_s, u"--suite <n>"_s, u"--buttons <n>"_s,
              u"--connect"_s, u"--help"_s, u"--version"_s}) {
            QVERIFY2(help.contains(option), qPrintable(option));
        }
        QVERIFY(help.contains(u"Maps the source-select buttons of a K-Frame panel suite."_s));
        // The benchmark's switch is for the benchmark.
        QVERIFY(!help.contains(u"first-paint"_s));
        QVERIFY(
            parseStartOptions({u"quorvane"_s, u"--report-first-paint"_s}).options.reportFirstPaint);
    }

    void startOptions()
    {
        QFETCH(QStringList, arguments);
        QFETCH(bool, demo);
        QFETCH(QString, host);
        QFETCH(int, suite);
        QFETCH(int, buttons);
        QFETCH(bool, connect);
        QFETCH(bool, valid);
        const ParsedStart parsed = parseStartOptions(QStringList{u"quorvane"_s} + arguments);
        QCOMPARE(parsed.error.isEmpty(), valid);
        if (!valid)
            return;
        QCOMPARE(parsed.options.demo, demo);
        QCOMPARE(parsed.options.host.value_or(QString()), host);
        QCOMPARE(parsed.options.suite.value_or(0), suite);
        QCOMPARE(parsed.options.buttons.value_or(0), buttons);
        QCOMPARE(parsed.options.connect, connect);
    }

    void refusedValuesSayWhatIsAllowed()
    {
        auto error = [](const QStringList& arguments) {
            return parseStartOptions(QStringList{u"quorvane"_s} + arguments).error;
        };
        QCOMPARE(error({u"--buttons"_s, u"30"_s}),
                 u"--buttons: 30 is not allowed; use 15, 20, 25 or 35"_s);
        QCOMPARE(error({u"--suite"_s, u"5"_s}), u"--suite: 5 is not allowed; use 1, 2, 3 or 4"_s);
        QCOMPARE(error({u"--suite"_s, u"two"_s}),
                 u"--suite: two is not allowed; use 1, 2, 3 or 4"_s);
        // The toolkit's own options are not known here: the program asks the toolkit first.
        QVERIFY(parseStartOptions({u"quorvane"_s, u"-platform"_s, u"offscreen"_s}).unknownOption);
        QVERIFY(!parseStartOptions({u"quorvane"_s, u"--suite"_s, u"9"_s}).unknownOption);
    }

    void helpAndVersionNeedNoDisplay()
    {
        const Run help = runWithoutDisplay({u"--help"_s});
        QCOMPARE(help.exitCode, 0);
        QVERIFY2(help.out.contains(u"--buttons <n>"_s), qPrintable(help.out));
        QCOMPARE(help.err, QString());
        const Run version = runWithoutDisplay({u"--version"_s});
        QCOMPARE(version.exitCode, 0);
        QCOMPARE(version.out, u"quorvane "_s + projectVersion + u"\n"_s);
        QCOMPARE(version.err, QString());
    }

    void refusalsNeedNoDisplay_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("message");
        QTest::newRow("buttons")
            << QStringList{u"--buttons"_s, u"30"_s}
            << u"quorvane: --buttons: 30 is not allowed; use 15, 20, 25 or 35\n"_s;
        QTest::newRow("suite") << QStringList{u"--demo"_s, u"--suite"_s, u"0"_s}
                               << u"quorvane: --suite: 0 is not allowed; use 1, 2, 3 or 4\n"_s;
        QTest::newRow("no value") << QStringList{u"--buttons"_s}
                                  << u"quorvane: Missing value after '--buttons'.\n"_s;
        QTest::newRow("show with demo")
            << QStringList{u"--show"_s, u"a.json"_s, u"--demo"_s}
            << u"quorvane: --show opens a show offline; it does not go with --demo\n"_s;
    }

    void refusalsNeedNoDisplay()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, message);
        const Run run = runWithoutDisplay(arguments);
        QCOMPARE(run.exitCode, 2);
        QCOMPARE(run.err, message);
        QCOMPARE(run.out, QString());
    }

    void aWindowOffEveryScreenIsPlacedAfresh()
    {
        const QList<QRect> screens{QRect(0, 0, 1920, 1080), QRect(1920, 0, 1280, 1024)};
        QVERIFY(isOnAScreen(QRect(100, 100, 800, 600), screens));
        QVERIFY(isOnAScreen(QRect(2500, 900, 800, 600), screens));  // its top on the second
        QVERIFY(isOnAScreen(QRect(-700, 50, 800, 600), screens));   // 100 pixels of it
        QVERIFY(!isOnAScreen(QRect(-750, 50, 800, 600), screens));  // 50 are too few to grab
        QVERIFY(!isOnAScreen(QRect(3300, 100, 800, 600), screens)); // a monitor gone
        QVERIFY(!isOnAScreen(QRect(100, 1070, 800, 600), screens)); // its title bar below
        QVERIFY(!isOnAScreen(QRect(100, 100, 800, 600), {}));
        QVERIFY(!isOnAScreen(QRect(), screens));
    }

    void choicesAndPlaceAreRememberedBetweenRuns()
    {
        QTemporaryDir settingsDir;
        DebugLogger logger;
        logger.setEcho(nullptr);
        QSettings preferences(settingsDir.filePath(u"prefs.ini"_s), QSettings::IniFormat);
        QRect placed;
        {
            MainWindow window(preferences, logger);
            window.show();
            QVERIFY(QTest::qWaitForWindowExposed(&window));
            window.setUpWindow();
            ConnectionPanel& panel = *window.contentView().connectionPanel();
            panel.suiteChoice()->setCurrentIndex(panel.suiteChoice()->findData(3));
            panel.buttonCountChoice()->setCurrentIndex(panel.buttonCountChoice()->findData(20));
            QTest::keyClick(&window, Qt::Key_L, Qt::ControlModifier);
            QVERIFY(window.contentView().debugLog()->isVisible());
            window.setGeometry(QRect(40, 30, 600, 450));
            QTRY_VERIFY(window.geometry().topLeft() == QPoint(40, 30));
            placed = window.geometry();
            QTRY_COMPARE(preferences.value(MainWindow::geometryKey.toString()).toRect(), placed);

            // The work of the run is not kept.
            EditingModel& model = window.contentView().model();
            model.tap(1, 2);
            model.copySelection();
            QVERIFY(!model.clipboard().isEmpty());
        }
        QStringList kept = preferences.allKeys();
        kept.sort();
        QCOMPARE(kept, QStringList({RememberedSettings::buttonCountKey.toString(),
                                    RememberedSettings::showDebugLogKey.toString(),
                                    RememberedSettings::suiteKey.toString(),
                                    MainWindow::geometryKey.toString()}));

        MainWindow again(preferences, logger);
        again.show();
        QVERIFY(QTest::qWaitForWindowExposed(&again));
        again.setUpWindow();
        const EditingModel& model = again.contentView().model();
        QCOMPARE(model.selectedSuite(), 3);
        QCOMPARE(model.selectedButtonCount(), 20);
        QCOMPARE(again.contentView().connectionPanel()->buttonCountChoice()->currentData().toInt(),
                 20);
        QCOMPARE(again.contentView().connectionPanel()->suiteChoice()->currentData().toInt(), 3);
        QVERIFY(model.showDebugLog());
        QVERIFY(again.contentView().debugLog()->isVisible());
        QTRY_COMPARE(again.geometry(), placed);
        QVERIFY(model.selection().isEmpty());
        QVERIFY(model.clipboard().isEmpty());
    }

    void aRememberedPlaceOffEveryScreenIsNotUsed()
    {
        QTemporaryDir settingsDir;
        DebugLogger logger;
        logger.setEcho(nullptr);
        QSettings preferences(settingsDir.filePath(u"prefs.ini"_s), QSettings::IniFormat);
        preferences.setValue(MainWindow::geometryKey.toString(), QRect(9000, 9000, 600, 450));
        preferences.setValue(RememberedSettings::buttonCountKey.toString(), 30);
        preferences.setValue(RememberedSettings::suiteKey.toString(), 7);
        MainWindow window(preferences, logger);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        window.setUpWindow();
        const QRect expected =
            mainWindowFrame(QRectF(QGuiApplication::primaryScreen()->availableGeometry())).toRect();
        // Where a fresh window goes (its size may be held up by the window's minimum).
        QTRY_COMPARE(window.geometry().topLeft(), expected.topLeft());
        // Values the panel does not offer are left out too.
        QCOMPARE(window.contentView().model().selectedButtonCount(), 35);
        QCOMPARE(window.contentView().model().selectedSuite(), 1);
    }

    void theCommandLineOverridesWhatWasRemembered()
    {
        QTemporaryDir home;
        {
            QSettings saved(home.filePath(u"Quorvane/Quorvane.conf"_s), QSettings::IniFormat);
            saved.setValue(RememberedSettings::suiteKey.toString(), 2);
            saved.setValue(RememberedSettings::buttonCountKey.toString(), 15);
        }
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"XDG_CONFIG_HOME"_s, home.path());
        environment.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
        process.setProcessEnvironment(environment);
        process.start(QStringLiteral(QUORVANE_APP_PATH),
                      {u"--suite"_s, u"3"_s, u"--buttons"_s, u"20"_s, u"--report-first-paint"_s});
        QVERIFY(QTest::qWaitFor(
            [&] { return process.peek(4096).contains("quorvane: first paint"); }, 10000));
        process.terminate();
        QVERIFY(QTest::qWaitFor([&] { return process.state() == QProcess::NotRunning; }, 10000));
        QSettings saved(home.filePath(u"Quorvane/Quorvane.conf"_s), QSettings::IniFormat);
        QCOMPARE(saved.value(RememberedSettings::suiteKey.toString()).toInt(), 3);
        QCOMPARE(saved.value(RememberedSettings::buttonCountKey.toString()).toInt(), 20);
    }

    void addressFieldTakesTypingOnly()
    {
        QWidget window;
        auto* field = new NoPasteLineEdit(&window);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        field->setFocus();
        QApplication::clipboard()->setText(u"10.99.99.99"_s);
        field->setText(u"10.0.0."_s);

        QTest::keyClick(field, Qt::Key_V, Qt::ControlModifier);
        QCOMPARE(field->text(), u"10.0.0."_s);
        QTest::keyClick(field, Qt::Key_Insert, Qt::ShiftModifier);
        QCOMPARE(field->text(), u"10.0.0."_s);
        QTest::keyClicks(field, u"5"_s);
        QCOMPARE(field->text(), u"10.0.0.5"_s);
        QTest::keyClick(field, Qt::Key_V);
        QCOMPARE(field->text(), u"10.0.0.5v"_s);
        QTest::keyClick(field, Qt::Key_Backspace);

        // Command-A still selects; Command-C and -X neither copy nor cut.
        QTest::keyClick(field, Qt::Key_A, Qt::ControlModifier);
        QCOMPARE(field->selectedText(), u"10.0.0.5"_s);
        QTest::keyClick(field, Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(QApplication::clipboard()->text(), u"10.99.99.99"_s);
        QTest::keyClick(field, Qt::Key_X, Qt::ControlModifier);
        QCOMPARE(field->text(), u"10.0.0.5"_s);
        QCOMPARE(QApplication::clipboard()->text(), u"10.99.99.99"_s);

        // No menu on a secondary click, no middle-click paste, no drops.
        QCOMPARE(field->contextMenuPolicy(), Qt::NoContextMenu);
        QContextMenuEvent menuRequest(QContextMenuEvent::Mouse, QPoint(5, 5),
                                      field->mapToGlobal(QPoint(5, 5)));
        QApplication::sendEvent(field, &menuRequest);
        QVERIFY(QApplication::activePopupWidget() == nullptr);
        QTest::mouseClick(field, Qt::MiddleButton);
        QCOMPARE(field->text(), u"10.0.0.5"_s);
        QVERIFY(!field->acceptDrops());
    }

    void connectButtonTextsAndActions()
    {
        QCOMPARE(connectButtonLabel(ConnectionState::idle), u"Connect"_s);
        for (ConnectionState state :
             {ConnectionState::connecting, ConnectionState::handshake, ConnectionState::heartbeat,
              ConnectionState::loadingNames, ConnectionState::loadingButtons})
            QCOMPARE(connectButtonLabel(state), u"Cancel"_s);
        QCOMPARE(connectButtonLabel(ConnectionState::connected), u"Disconnect"_s);
        QCOMPARE(connectButtonAction(false, ConnectionState::idle), ConnectAction::connect);
        QCOMPARE(connectButtonAction(false, ConnectionState::heartbeat), ConnectAction::cancel);
        QCOMPARE(connectButtonAction(true, ConnectionState::loadingButtons),
                 ConnectAction::disconnect);
    }

    void logLinesAreColouredByTheirFirstMarker()
    {
        QCOMPARE(logLineKind(u"[12:00:00.000] [ERROR] sendTo FAILED"_s), LogLineKind::error);
        QCOMPARE(logLineKind(u"[12:00:00.000] [WARN] Unknown bus field: 0x60"_s),
                 LogLineKind::warning);
        QCOMPARE(logLineKind(u"[12:00:00.000] [HEX] Write command: [26 bytes]"_s),
                 LogLineKind::hex);
        QCOMPARE(logLineKind(u"[12:00:00.000] [HEX] quoting [ERROR]"_s), LogLineKind::error);
        QCOMPARE(logLineKind(u"[12:00:00.000] [INFO] Connected"_s), LogLineKind::normal);
    }

    void copyingTheLog()
    {
        DebugLogger logger;
        logger.setEcho(nullptr);
        DebugLogPanel panel(logger);
        QApplication::clipboard()->setText(u"something else"_s);
        panel.copyToClipboard();
        QCOMPARE(QApplication::clipboard()->text(), QString());
        logger.info(u"first"_s);
        logger.warn(u"second"_s);
        QCoreApplication::sendPostedEvents();
        QTest::mouseClick(panel.copyButton(), Qt::LeftButton);
        const QStringList lines = QApplication::clipboard()->text().split(u'\n');
        QCOMPARE(lines.size(), 2);
        QVERIFY(lines[0].endsWith(u"] [INFO] first"_s));
        QVERIFY(lines[1].endsWith(u"] [WARN] second"_s));
    }

    void theAddressStartsWithTheSavedHost()
    {
        QTemporaryDir settingsDir;
        DebugLogger logger;
        logger.setEcho(nullptr);
        QSettings fresh(settingsDir.filePath(u"fresh.ini"_s), QSettings::IniFormat);
        ContentView first(fresh, logger);
        const QString initial = first.connectionPanel()->addressField()->text();
        QCOMPARE(initial.size(), 14);
        QCOMPARE(first.model().ipAddress(), initial);

        QSettings used(settingsDir.filePath(u"used.ini"_s), QSettings::IniFormat);
        used.setValue(u"Quorvane.lastHost"_s, u"10.20.30.40"_s);
        ContentView second(used, logger);
        QCOMPARE(second.connectionPanel()->addressField()->text(), u"10.20.30.40"_s);
    }

    void theButtonCountChangesWhileDisconnected()
    {
        QTemporaryDir settingsDir;
        DebugLogger logger;
        logger.setEcho(nullptr);
        QSettings preferences(settingsDir.filePath(u"prefs.ini"_s), QSettings::IniFormat);
        ContentView view(preferences, logger);
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        QComboBox* counts = view.connectionPanel()->buttonCountChoice();
        // 35 → 25 → 20 by the arrow keys on the box.
        QTest::keyClick(counts, Qt::Key_Up);
        QTest::keyClick(counts, Qt::Key_Up);
        QCOMPARE(counts->currentData().toInt(), 20);
        QCOMPARE(view.connection().buttonCount(), 20);
        QCOMPARE(view.model().selectedButtonCount(), 20);
        QCOMPARE(view.grid()->sizeHint().width(), 55 + 20 * 55 + 4);
    }
};

QTEST_MAIN(TestAppShell)
#include "tst_app_shell.moc"
