#include "fitted_text.h"

#include <QFontMetricsF>
#include <QTextLayout>
#include <QTextOption>

using namespace Qt::StringLiterals;

namespace quorvane {

namespace {
// Far more characters than the largest cell shows even in its narrowest glyphs (a few hundred).
// Laying out all of a name of a million characters to print its first few hundred took minutes:
// the rest is dropped first, and the text is then cut with "…" like any that does not fit.
constexpr qsizetype longestLaidOut = 4096;

// `text` without blank runs, and without what lies beyond longestLaidOut (then marked cut).
QString laidOutPart(const QString& text, bool& cut)
{
    const QString simplified = text.simplified();
    cut = simplified.size() > longestLaidOut;
    if (!cut)
        return simplified;
    qsizetype end = longestLaidOut;
    if (simplified[end - 1].isHighSurrogate())
        --end; // a character is kept whole
    return simplified.first(end) + u"\u2026"_s;
}

struct Wrapped {
    QStringList lines;
    QList<qsizetype> starts; // where each line starts in the text
    bool overflows = false;  // some line is wider than asked for
};

Wrapped wrap(const QString& text, const QFont& font, qreal width, QTextOption::WrapMode mode,
             QPaintDevice* device)
{
    QTextLayout layout(text, font, device);
    QTextOption option;
    option.setWrapMode(mode);
    layout.setTextOption(option);
    Wrapped wrapped;
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        const QString shown = text.mid(line.textStart(), line.textLength()).trimmed();
        if (shown.isEmpty())
            continue;
        wrapped.lines.append(shown);
        wrapped.starts.append(line.textStart());
        wrapped.overflows = wrapped.overflows || line.naturalTextWidth() > width;
    }
    layout.endLayout();
    return wrapped;
}

FittedText fitted(const QFont& font, QStringList lines, QPaintDevice* device)
{
    const QFontMetricsF metrics(font, device);
    return FittedText{font, std::move(lines), metrics.lineSpacing(), metrics.ascent(), true};
}
} // namespace

FittedText fitText(const QString& text, QFont font, QSizeF box, int largest, int smallest,
                   QPaintDevice* device)
{
    bool cut = false;
    const QString simplified = laidOutPart(text, cut);
    for (int size = largest; size >= smallest; --size) {
        font.setPointSize(size);
        const Wrapped wrapped = wrap(simplified, font, box.width(), QTextOption::WordWrap, device);
        const qreal height =
            qreal(wrapped.lines.size()) * QFontMetricsF(font, device).lineSpacing();
        if (!wrapped.overflows && height <= box.height()) {
            FittedText whole = fitted(font, wrapped.lines, device);
            whole.complete = !cut;
            return whole;
        }
    }

    font.setPointSize(smallest);
    const Wrapped wrapped =
        wrap(simplified, font, box.width(), QTextOption::WrapAtWordBoundaryOrAnywhere, device);
    FittedText result = fitted(font, wrapped.lines, device);
    result.complete = !cut;
    const qsizetype room = std::max(qsizetype(1), qsizetype(box.height() / result.lineSpacing));
    if (result.lines.size() > room) {
        // The last line that fits takes all the rest, cut short.
        result.lines.resize(room);
        result.lines.last() =
            QFontMetricsF(font, device)
                .elidedText(simplified.mid(wrapped.starts[room - 1]), Qt::ElideRight, box.width());
        result.complete = false;
    }
    return result;
}

} // namespace quorvane
