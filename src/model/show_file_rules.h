#pragma once

// What the JSON and the CSV reader of show files have in common: the limits of each field, the
// wording of the reasons, and the text checks done before parsing. Not for use outside them.

#include "show_file.h"

#include <QByteArrayView>
#include <QMap>
#include <QStringView>
#include <optional>
#include <tuple>

namespace quorvane::showfile {

inline constexpr int maxShift = 4;
inline constexpr int maxSuite = 4;
inline constexpr int largestButtonCount = 35;

// A whole number as read, with its text for messages: a number too large for qint64 is
// clamped, and the message still shows what the file said.
struct Whole {
    qint64 value = 0;
    QString text;
};

// Each returns the reason to refuse the value, or nothing when it is fine. A button is checked
// against the largest panel when the button count itself is wrong.
std::optional<QString> suiteReason(const Whole& suite);
std::optional<QString> buttonCountReason(const Whole& count);
std::optional<QString> shiftReason(const Whole& shift);
std::optional<QString> buttonReason(const Whole& button, int buttonCount);
std::optional<QString> sourceReason(const Whole& source);
std::optional<QString> namedSourceReason(const Whole& source);
QString unknownBusReason(const QString& text);

// The sort key of a button: bus in display order, shift, button.
using ButtonKey = std::tuple<int, int, int>;
ButtonKey buttonKey(const ShowButton& button);

// Remembers where each button was first listed, to refuse a second listing of it.
class ButtonPlaces {
public:
    // The reason to refuse `button` listed at `place` when it was listed before.
    std::optional<QString> repeated(const ShowButton& button, const QString& place);

private:
    QMap<ButtonKey, QString> m_firstPlaces;
};

// The text of a show file, after the one UTF-8 byte order mark that spreadsheet programs like
// to write, or the problem that stops it being read at all: further marks, nothing but white
// space, or bytes that are not UTF-8 (a replacement character would quietly change a name).
struct FileText {
    QByteArrayView bytes;
    std::optional<ShowFileProblem> problem;
};
FileText fileText(QByteArrayView data);

// Text taken from the file as a message shows it: on one line, with control characters and
// lone surrogates escaped as JSON writes them, and cut short when long. `quoted` adds quotes.
QString printable(QStringView text);
QString quoted(QStringView text);

// The line of the byte at `offset`.
int lineAt(QByteArrayView data, qsizetype offset);

// The result for a file with problems, which carries no file.
ShowFileResult refused(QList<ShowFileProblem> problems);

} // namespace quorvane::showfile
