// The debug log panel as a reader meets it while the link is alive: it opens at the newest line,
// follows new lines at the bottom, keeps the reader's place and selection when scrolled up, and
// only ever appends and drops lines, never redraws the whole log.
#include "debug_log_panel.h"
#include "diagnostics/debug_logger.h"

#include <QApplication>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTest>
#include <QTextBlock>

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
};

QTEST_MAIN(TestDebugLogPanel)
#include "tst_debug_log_panel.moc"
