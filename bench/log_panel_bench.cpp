// The debug log panel while the link is alive: what one more line costs the panel with 10 and
// with 500 lines shown (target: flat, at most 0.2 ms a line), following the newest line and
// with the reader scrolled to the top. Each line is logged and handed to the panel as the
// application does it (through the event loop); the panel's share is the difference to the
// same run with the panel hidden. A second figure adds a repaint of the view after every line.
#include "widgets/debug_log_panel.h"
#include "diagnostics/debug_logger.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <cstdio>

using namespace Qt::StringLiterals;
using namespace quorvane;

namespace {

constexpr int measuredLines = 2000;

// A mixture like a connect's: mostly INFO, some hex dumps, now and then a warning.
QString sampleLine(int n)
{
    switch (n % 4) {
    case 0:
        return u"MAIN RX 52b port 5123: "_s + QString::number(n);
    case 1:
        return u"Write command: [26 bytes] 00 04 04 91 00 02 00 08 00 00 00 14 00 00 00 1a "
               u"00 00 00 00 00 00 00 00 00 00 "_s +
               QString::number(n);
    case 2:
        return u"parseButtonData: found PGM S2B17 > 12 (record "_s + QString::number(n) + u')';
    default:
        return n % 40 == 3 ? u"Unknown bus field: 0x60"_s : u"Heartbeat ACK received, missed = 0"_s;
    }
}

void logLine(DebugLogger& logger, int n)
{
    const QString text = sampleLine(n);
    if (n % 4 == 1)
        logger.log(text, LogLevel::hex);
    else if (n % 40 == 3)
        logger.warn(text);
    else
        logger.info(text);
}

struct Figures {
    double appendMs = 0;  // per line, the line handed to the panel
    double repaintMs = 0; // per line, with a repaint of the view after each
};

enum class Reader { followsTail, scrolledToTop };

// Milliseconds per line for `lines` more lines with `shown` lines already in the panel.
Figures measure(qsizetype shown, bool panelVisible, Reader reader)
{
    DebugLogger logger;
    logger.setEcho(nullptr);
    DebugLogPanel panel(logger);
    panel.resize(1000, 320);
    if (panelVisible)
        panel.show();
    for (int n = 0; n < shown; ++n)
        logLine(logger, n);
    QCoreApplication::processEvents();
    if (reader == Reader::scrolledToTop)
        panel.view()->verticalScrollBar()->setValue(0);

    Figures figures;
    // Below the cap the panel would grow: start each line again from `shown` - 1 lines.
    const bool keepAtSize = shown < DebugLogger::maxLines;
    QElapsedTimer clock;
    qint64 appendNs = 0;
    int logged = int(shown);
    for (int k = 0; k < measuredLines; ++k) {
        if (keepAtSize) {
            logger.clear();
            QCoreApplication::sendPostedEvents(&logger);
            for (int n = 0; n < shown - 1; ++n)
                logLine(logger, logged++);
            QCoreApplication::sendPostedEvents(&logger);
        }
        clock.start();
        logLine(logger, logged++);
        // The logger's queued append only: repaints wait for the event loop, as they do in
        // the program, where many lines share one repaint.
        QCoreApplication::sendPostedEvents(&logger);
        appendNs += clock.nsecsElapsed();
    }
    figures.appendMs = double(appendNs) / 1e6 / measuredLines;

    qint64 repaintNs = 0;
    for (int k = 0; k < measuredLines / 4; ++k) {
        clock.start();
        logLine(logger, logged++);
        QCoreApplication::sendPostedEvents(&logger);
        if (panelVisible)
            panel.view()->viewport()->repaint();
        repaintNs += clock.nsecsElapsed();
    }
    figures.repaintMs = double(repaintNs) / 1e6 / (measuredLines / 4);
    return figures;
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    std::printf("debug log panel, cost of one more line, %d lines measured per case\n",
                measuredLines);
    for (const auto& [reader, title] :
         {std::pair(Reader::followsTail, "following the newest line"),
          std::pair(Reader::scrolledToTop, "reader scrolled to the top")}) {
        std::printf("%s:\n", title);
        for (qsizetype shown : {qsizetype{10}, DebugLogger::maxLines}) {
            const Figures hidden = measure(shown, false, reader);
            const Figures visible = measure(shown, true, reader);
            std::printf("  %3lld lines shown: panel %.4f ms per line (target <= 0.2), "
                        "with a repaint after each line %.4f ms\n",
                        static_cast<long long>(shown), visible.appendMs - hidden.appendMs,
                        visible.repaintMs - hidden.repaintMs);
        }
    }
    return 0;
}
