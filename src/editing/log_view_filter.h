#pragma once

#include "diagnostics/debug_logger.h"

#include <QList>
#include <QString>
#include <optional>

namespace quorvane {

// Which of the debug log's lines the log panel shows. While the link is alive the log is mostly
// hex dumps and routine lines; the narrower filters leave the lines a reader is looking for.
enum class LogFilter { all, infoAndAbove, warningsAndErrors };

inline constexpr LogFilter logFilters[] = {LogFilter::all, LogFilter::infoAndAbove,
                                           LogFilter::warningsAndErrors};

// "All", "Info and above", "Warnings and errors".
QString logFilterText(LogFilter filter);

// The level a logger line was written with, read from its marker after the time stamp
// ("[14:03:07.512] [WARN] …"); none for a line not in the logger's format. A message that
// quotes a marker does not change its line's level.
std::optional<LogLevel> logLineLevel(const QString& line);

// Whether the filter shows a line. "Info and above" leaves out the hex dumps only; a line not in
// the logger's format counts as information.
bool logFilterAdmits(LogFilter filter, const QString& line);

// The line as the panel shows and copies it: every control character written as a visible
// escape, so that one logged line stays one line of the view. Line feed, carriage return and
// tab become "\n", "\r" and "\t" (a tab would otherwise move the text to a tab stop); the
// other C0 and C1 controls and DEL become "\x" and two lower-case hex digits, the Unicode line
// and paragraph separators "\u2028" and "\u2029". A backslash already in the text stays as it
// is: the escapes are there to be read, not to be decoded back.
QString visibleLogText(const QString& line);

// Where a search text occurs in a shown line, ignoring case: the start of each occurrence, left
// to right, occurrences not overlapping. None for an empty search text.
QList<qsizetype> searchMatches(const QString& line, const QString& searchText);

// Stepping through a search's matches, numbered 0 to count - 1 from the oldest line; past the
// last the step wraps to the first and back.
qsizetype nextMatch(qsizetype current, qsizetype count);
qsizetype previousMatch(qsizetype current, qsizetype count);

// "3 of 12" for the current match, "No matches" when the search finds nothing, and nothing
// while there is no search text.
QString matchCountText(const QString& searchText, qsizetype current, qsizetype count);

// A held view: while paused, the lines that arrive (those the filter admits) are counted, not
// shown.
class LogPause {
public:
    bool isPaused() const { return m_paused; }
    qsizetype newLines() const { return m_newLines; }

    // Starts holding the view with nothing new yet.
    void pause();
    // Ends the hold; the count starts from nothing next time.
    void resume();
    // Counts lines that arrived while paused; ignored otherwise.
    void linesArrived(qsizetype count);
    // Replaces the count, when the filter changes and the arrived lines are counted again.
    void setNewLines(qsizetype count);

    // "1 new line", "5 new lines"; nothing while no line has arrived or the view is not held.
    QString newLinesText() const;

private:
    bool m_paused = false;
    qsizetype m_newLines = 0;
};

} // namespace quorvane
