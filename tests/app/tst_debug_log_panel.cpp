// The debug log panel as a reader meets it while the link is alive: it opens at the newest line,
// follows new lines at the bottom, keeps the reader's place and selection when scrolled up, and
// only ever appends and drops lines, never redraws the whole log. A level filter narrows it, a
// search steps through matches, Pause holds it still, and control characters never break a line.
#include "widgets/content_view.h"
#include "widgets/debug_log_panel.h"
#include "diagnostics/debug_logger.h"
#include "editing/editing_model.h"

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBlock>
#include <QToolButton>

using namespace Qt::StringLiterals;
using namespace quorvane;

namespace {

struct LogPanel {
    LogPanel()
        : panel(logger)
    {
        logger.setEcho(nullptr);
        panel.resize(800, 300);
    }

    // Logs lines "line <from>" … "line <to>" and lets them reach the panel.
    void log(int from, int to)
    {
        for (int n = from; n <= to; ++n)
            logger.info(u"line "_s + QString::number(n));
        QCoreApplication::sendPostedEvents(&logger);
    }

    bool show()
    {
        panel.show();
        return QTest::qWaitForWindowExposed(&panel);
    }

    QPlainTextEdit& view() const { return *panel.view(); }
    QScrollBar& scroll() const { return *panel.view()->verticalScrollBar(); }
    bool atBottom() const { return scroll().value() == scroll().maximum(); }
    QTextBlock block(int number) const { return view().document()->findBlockByNumber(number); }
    int blockCount() const { return view().document()->blockCount(); }
    QStringList shownLines() const { return view().toPlainText().split(u'\n'); }
    // One line of each level, as the link writes them.
    void logEachLevel()
    {
        logger.info(u"Connected"_s);
        logger.hexDump(u"Write command"_s, QByteArrayView("\x00\x04", 2));
        logger.warn(u"Unknown bus field: 0x60"_s);
        logger.error(u"sendTo FAILED"_s);
        QCoreApplication::sendPostedEvents(&logger);
    }
    // Picks a filter with the keyboard, as a reader tabbing through the panel would.
    void chooseFilter(int index)
    {
        QComboBox& choice = *panel.filterChoice();
        while (choice.currentIndex() < index)
            QTest::keyClick(&choice, Qt::Key_Down);
        while (choice.currentIndex() > index)
            QTest::keyClick(&choice, Qt::Key_Up);
    }
    // Whether the current match lies inside the visible part of the view.
    bool currentMatchIsVisible() const
    {
        const QRect at = view().cursorRect();
        return view().viewport()->rect().contains(at.center());
    }
    QString matchCount() const { return panel.matchCountLabel()->text(); }
    // The line at the top of the view and the one at its bottom.
    QString topLine() const { return view().cursorForPosition(QPoint(2, 2)).block().text(); }
    QString bottomLine() const
    {
        return view().cursorForPosition(QPoint(2, view().viewport()->height() - 4)).block().text();
    }

    DebugLogger logger;
    DebugLogPanel panel;
};

bool endsWithLine(const QString& text, int n)
{
    return text.endsWith(u"] [INFO] line "_s + QString::number(n));
}

} // namespace

class TestDebugLogPanel : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void opensAtTheNewestLine()
    {
        LogPanel log;
        log.log(1, 300);
        QVERIFY(log.show());
        QVERIFY(log.scroll().maximum() > 0);
        QTRY_VERIFY(log.atBottom());
        QVERIFY(endsWithLine(log.bottomLine(), 300));
        QCOMPARE(log.view().document()->blockCount(), 300);
        QVERIFY(endsWithLine(log.block(0).text(), 1));
    }

    void aNewLineIsAppendedWithoutRedrawingTheOthers()
    {
        LogPanel log;
        QVERIFY(log.show());
        log.log(1, 100);
        // A mark on a line that a rebuild of the view would lose.
        log.block(50).setUserState(7);
        log.log(101, 101);
        QCOMPARE(log.view().document()->blockCount(), 101);
        QCOMPARE(log.block(50).userState(), 7);
        QVERIFY(endsWithLine(log.block(50).text(), 51));
        QVERIFY(endsWithLine(log.block(100).text(), 101));
    }

    void theCapDropsLinesFromTheTopOnly()
    {
        LogPanel log;
        QVERIFY(log.show());
        log.log(1, 500);
        log.block(30).setUserState(3);
        log.log(501, 520);
        QCOMPARE(log.view().document()->blockCount(), 500);
        QVERIFY(endsWithLine(log.block(0).text(), 21));
        QVERIFY(endsWithLine(log.block(499).text(), 520));
        // The marked line (line 31) is the same block, 20 places higher.
        QCOMPARE(log.block(10).userState(), 3);
        QVERIFY(endsWithLine(log.block(10).text(), 31));
        log.log(521, 521);
        QCOMPARE(log.logger.logs().size(), 500);
        QCOMPARE(log.view().document()->blockCount(), 500);
        QVERIFY(endsWithLine(log.block(0).text(), 22));
    }

    void followsNewLinesAtTheBottom()
    {
        LogPanel log;
        log.log(1, 200);
        QVERIFY(log.show());
        QTRY_VERIFY(log.atBottom());
        for (int n = 201; n <= 700; n += 50) {
            log.log(n, n + 49);
            QVERIFY(log.atBottom());
            QVERIFY(endsWithLine(log.bottomLine(), n + 49));
        }
    }

    void keepsTheReadersPlaceAndSelectionWhenScrolledUp()
    {
        LogPanel log;
        log.log(1, 500);
        QVERIFY(log.show());
        QTRY_VERIFY(log.atBottom());
        log.scroll().setValue(200);
        const QString top = log.topLine();
        QVERIFY(endsWithLine(top, 201));
        // The reader selects part of a line they are reading.
        QTextCursor selection(log.block(205));
        selection.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
        log.view().setTextCursor(selection);
        const QString selected = log.view().textCursor().selectedText();
        QVERIFY(endsWithLine(selected, 206));

        log.log(501, 560); // 60 more: the 60 oldest lines go
        QCOMPARE(log.view().document()->blockCount(), 500);
        QVERIFY(!log.atBottom());
        QCOMPARE(log.topLine(), top);
        QCOMPARE(log.view().textCursor().selectedText(), selected);

        // Back at the bottom, the view follows again.
        log.scroll().setValue(log.scroll().maximum());
        log.log(561, 570);
        QVERIFY(log.atBottom());
        QVERIFY(endsWithLine(log.bottomLine(), 570));
    }

    void linesAreColouredByLevel()
    {
        LogPanel log;
        QVERIFY(log.show());
        log.logger.error(u"sendTo FAILED"_s);
        log.logger.warn(u"Unknown bus field: 0x60"_s);
        log.logger.hexDump(u"Write command"_s, QByteArrayView("\x00\x04", 2));
        log.logger.info(u"Connected"_s);
        QCoreApplication::sendPostedEvents(&log.logger);
        auto colour = [&](int number) {
            return log.block(number).begin().fragment().charFormat().foreground().color();
        };
        QCOMPARE(colour(0), QColor(0xff, 0x5f, 0x57));
        QCOMPARE(colour(1), QColor(0xff, 0xa5, 0x00));
        QColor hex = log.view().palette().color(QPalette::PlaceholderText);
        hex.setAlphaF(0.7f);
        QCOMPARE(colour(2), hex);
        QCOMPARE(colour(3), log.view().palette().color(QPalette::Text));
    }

    void aHiddenPanelCatchesUpWhenShownAndAClearEmptiesIt()
    {
        LogPanel log;
        log.log(1, 10);
        QVERIFY(log.show());
        log.panel.hide();
        log.log(11, 40);
        QCOMPARE(log.view().document()->blockCount(), 10); // nothing done while hidden
        log.panel.show();
        QCOMPARE(log.view().document()->blockCount(), 40);
        QVERIFY(endsWithLine(log.block(39).text(), 40));

        log.logger.clear();
        QCoreApplication::sendPostedEvents(&log.logger);
        QCOMPARE(log.view().toPlainText(), QString());
        log.log(41, 42);
        QCOMPARE(log.view().document()->blockCount(), 2);
        QVERIFY(endsWithLine(log.block(0).text(), 41));
    }

    void theLevelFilterIsChosenWithTheCombo()
    {
        LogPanel log;
        QVERIFY(log.show());
        log.logEachLevel();
        QCOMPARE(log.blockCount(), 4);
        QCOMPARE(log.panel.filterChoice()->count(), 3);

        log.chooseFilter(1);
        QCOMPARE(log.panel.filterChoice()->currentText(), u"Info and above"_s);
        QCOMPARE(log.blockCount(), 3);
        QVERIFY(!log.view().toPlainText().contains(u"[HEX]"_s));

        log.chooseFilter(2);
        QCOMPARE(log.panel.filterChoice()->currentText(), u"Warnings and errors"_s);
        QStringList shown = log.shownLines();
        QCOMPARE(shown.size(), 2);
        QVERIFY(shown[0].endsWith(u"] [WARN] Unknown bus field: 0x60"_s));
        QVERIFY(shown[1].endsWith(u"] [ERROR] sendTo FAILED"_s));

        // New lines go through the same filter, appended under the others.
        log.log(1, 5);
        log.logger.warn(u"parseButtonData: short record"_s);
        QCoreApplication::sendPostedEvents(&log.logger);
        shown = log.shownLines();
        QCOMPARE(shown.size(), 3);
        QVERIFY(shown[2].endsWith(u"] [WARN] parseButtonData: short record"_s));

        log.chooseFilter(0);
        QCOMPARE(log.blockCount(), 10);
        QVERIFY(log.atBottom());
    }

    void copyTakesTheLinesTheFilterShows()
    {
        LogPanel log;
        QVERIFY(log.show());
        log.logEachLevel();
        log.logger.warn(u"name\x07"_s);
        QCoreApplication::sendPostedEvents(&log.logger);
        log.chooseFilter(2);
        QTest::mouseClick(log.panel.copyButton(), Qt::LeftButton);
        const QStringList copied = QApplication::clipboard()->text().split(u'\n');
        QCOMPARE(copied.size(), 3);
        QVERIFY(copied[0].endsWith(u"] [WARN] Unknown bus field: 0x60"_s));
        QVERIFY(copied[1].endsWith(u"] [ERROR] sendTo FAILED"_s));
        QVERIFY(copied[2].endsWith(u"] [WARN] name\\x07"_s));
        QCOMPARE(copied, log.shownLines());

        // Nothing shown, nothing copied.
        log.logger.clear();
        log.logger.info(u"only information"_s);
        QCoreApplication::sendPostedEvents(&log.logger);
        QTest::mouseClick(log.panel.copyButton(), Qt::LeftButton);
        QCOMPARE(QApplication::clipboard()->text(), QString());
    }

    void controlCharactersShowAsEscapesOnOneLine()
    {
        LogPanel log;
        QVERIFY(log.show());
        log.logger.info(u"Source 7 name: CAM\x07\r\n\tTWO\x1b[0m"_s);
        log.log(1, 1);
        QCOMPARE(log.blockCount(), 2);
        QVERIFY(log.block(0).text().endsWith(
            u"] [INFO] Source 7 name: CAM\\x07\\r\\n\\tTWO\\x1b[0m"_s));
        QCOMPARE(log.block(0).layout()->lineCount(), 1);
        QVERIFY(endsWithLine(log.block(1).text(), 1));
    }

    void searchHighlightsMatchesAndStepsThroughThem()
    {
        LogPanel log;
        log.log(1, 100);
        log.logger.info(u"Source 12: Camera 1"_s);
        log.log(101, 200);
        log.logger.warn(u"CAMERA 2 has no name"_s);
        log.log(201, 300);
        log.logger.info(u"camera 3, camera 4"_s);
        QCoreApplication::sendPostedEvents(&log.logger);
        QVERIFY(log.show());
        QTRY_VERIFY(log.atBottom());
        QCOMPARE(log.panel.searchField()->placeholderText(), u"Search"_s);
        QVERIFY(!log.panel.nextButton()->isEnabled());

        log.panel.searchField()->setFocus();
        QTest::keyClicks(log.panel.searchField(), u"camera"_s);
        QCOMPARE(log.panel.searchField()->text(), u"camera"_s);
        QCOMPARE(log.view().extraSelections().size(), 4);
        // A new search starts at the newest match.
        QCOMPARE(log.matchCount(), u"4 of 4"_s);
        QVERIFY(log.panel.nextButton()->isEnabled());

        QTest::keyClick(log.panel.searchField(), Qt::Key_Return);
        QCOMPARE(log.matchCount(), u"1 of 4"_s);
        QVERIFY(log.view().textCursor().block().text().endsWith(u"Source 12: Camera 1"_s));
        QVERIFY(log.currentMatchIsVisible());
        QVERIFY(!log.atBottom());

        QTest::keyClick(log.panel.searchField(), Qt::Key_Return);
        QCOMPARE(log.matchCount(), u"2 of 4"_s);
        QVERIFY(log.view().textCursor().block().text().endsWith(u"CAMERA 2 has no name"_s));
        QVERIFY(log.currentMatchIsVisible());

        QTest::keyClick(log.panel.searchField(), Qt::Key_Return, Qt::ShiftModifier);
        QCOMPARE(log.matchCount(), u"1 of 4"_s);
        QTest::keyClick(log.panel.searchField(), Qt::Key_Return, Qt::ShiftModifier);
        QCOMPARE(log.matchCount(), u"4 of 4"_s);
        QTest::mouseClick(log.panel.nextButton(), Qt::LeftButton);
        QCOMPARE(log.matchCount(), u"1 of 4"_s);
        QTest::mouseClick(log.panel.previousButton(), Qt::LeftButton);
        QCOMPARE(log.matchCount(), u"4 of 4"_s);

        // The current match is marked apart from the others.
        const QList<QTextEdit::ExtraSelection> marks = log.view().extraSelections();
        QCOMPARE(marks[3].cursor.selectedText(), u"camera"_s);
        QVERIFY(marks[3].format.background() != marks[0].format.background());

        // New lines join the search without moving the current match.
        log.scroll().setValue(0);
        log.logger.info(u"Camera 5"_s);
        QCoreApplication::sendPostedEvents(&log.logger);
        QCOMPARE(log.matchCount(), u"4 of 5"_s);
        QCOMPARE(log.scroll().value(), 0);

        QTest::keyClicks(log.panel.searchField(), u"xyz"_s);
        QCOMPARE(log.matchCount(), u"No matches"_s);
        QVERIFY(log.view().extraSelections().isEmpty());
        QVERIFY(!log.panel.nextButton()->isEnabled());
        log.panel.searchField()->clear();
        QCOMPARE(log.matchCount(), QString());
    }

    void pauseHoldsTheViewWhileLinesArrive()
    {
        LogPanel log;
        log.log(1, 300);
        QVERIFY(log.show());
        QTRY_VERIFY(log.atBottom());
        QPushButton& pause = *log.panel.pauseButton();
        QCOMPARE(pause.text(), u"Pause"_s);
        QTest::mouseClick(&pause, Qt::LeftButton);
        QCOMPARE(pause.text(), u"Resume"_s);
        QCOMPARE(log.panel.newLinesLabel()->text(), QString());

        const QString held = log.view().toPlainText();
        const int heldScroll = log.scroll().value();
        log.log(301, 301);
        QCOMPARE(log.panel.newLinesLabel()->text(), u"1 new line"_s);
        log.log(302, 560); // past the cap: the logger drops the oldest lines meanwhile
        QCOMPARE(log.view().toPlainText(), held);
        QCOMPARE(log.scroll().value(), heldScroll);
        QVERIFY(log.panel.newLinesLabel()->isVisible());
        QCOMPARE(log.panel.newLinesLabel()->text(), u"260 new lines"_s);

        QTest::mouseClick(&pause, Qt::LeftButton);
        QCOMPARE(pause.text(), u"Pause"_s);
        QCOMPARE(log.panel.newLinesLabel()->text(), QString());
        QCOMPARE(log.blockCount(), 500);
        QVERIFY(endsWithLine(log.block(0).text(), 61));
        QVERIFY(log.atBottom());
        QVERIFY(endsWithLine(log.bottomLine(), 560));

        // Following again.
        log.log(561, 561);
        QVERIFY(endsWithLine(log.bottomLine(), 561));
    }

    void aPausedViewCountsOnlyTheLinesItsFilterShows()
    {
        LogPanel log;
        QVERIFY(log.show());
        log.logEachLevel();
        log.chooseFilter(2);
        QTest::mouseClick(log.panel.pauseButton(), Qt::LeftButton);
        log.log(1, 5);
        log.logger.error(u"receive: socket closed"_s);
        QCoreApplication::sendPostedEvents(&log.logger);
        QCOMPARE(log.panel.newLinesLabel()->text(), u"1 new line"_s);
        QCOMPARE(log.blockCount(), 2);

        // A wider filter while paused shows the held lines again, and counts the rest anew.
        log.chooseFilter(0);
        QCOMPARE(log.blockCount(), 4);
        QCOMPARE(log.panel.newLinesLabel()->text(), u"6 new lines"_s);
        QTest::mouseClick(log.panel.pauseButton(), Qt::LeftButton);
        QCOMPARE(log.blockCount(), 10);
        QVERIFY(log.bottomLine().endsWith(u"] [ERROR] receive: socket closed"_s));
    }

    void typingInTheSearchFieldOfTheMainWindow()
    {
        // The main window sees every key before the focused control; letters, Return and
        // Backspace with no buttons selected still reach the search field.
        QTemporaryDir settingsDir;
        QSettings preferences(settingsDir.filePath(u"prefs.ini"_s), QSettings::IniFormat);
        DebugLogger logger;
        logger.setEcho(nullptr);
        ContentView view(preferences, logger);
        view.resize(1200, 800);
        view.model().setShowDebugLog(true);
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        logger.warn(u"Unknown bus field: 0x60"_s);
        logger.info(u"Unknown source"_s);
        QCoreApplication::sendPostedEvents(&logger);
        QLineEdit& search = *view.debugLog()->searchField();
        search.setFocus();
        QTest::keyClicks(&search, u"unknownx"_s);
        QTest::keyClick(&search, Qt::Key_Backspace);
        QCOMPARE(search.text(), u"unknown"_s);
        QCOMPARE(view.debugLog()->matchCountLabel()->text(), u"2 of 2"_s);
        QTest::keyClick(&search, Qt::Key_Return);
        QCOMPARE(view.debugLog()->matchCountLabel()->text(), u"1 of 2"_s);
        QVERIFY(view.model().showDebugLog());
    }
};

QTEST_MAIN(TestDebugLogPanel)
#include "tst_debug_log_panel.moc"
