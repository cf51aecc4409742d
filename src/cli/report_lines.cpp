#include "report_lines.h"

using namespace Qt::StringLiterals;

namespace quorvane::cli {

namespace {
// The file's own name for its button, else the frame's name for `source`.
QString nameFor(const ShowButton& button, const SourceNamer& frameName, qint64 source)
{
    if (!button.name.isEmpty())
        return button.name;
    return frameName ? frameName(source) : QString();
}
} // namespace

QString buttonText(const ShowButton& button)
{
    return busName(button.bus) + u" shift "_s + QString::number(button.shift) + u" button "_s +
           QString::number(button.button);
}

QString unnamedSourcesLine(const QList<int>& sources)
{
    QStringList numbers;
    for (const int source : sources)
        numbers.append(QString::number(source));
    return u"Sources without names on the frame: "_s + numbers.join(u", "_s);
}

QString sourceText(qint64 source, const QString& name)
{
    if (source == 0)
        return u"0 (unassigned)"_s;
    QString text = QString::number(source);
    if (!name.isEmpty())
        text += u" ("_s + name + u')';
    return text;
}

QString differenceLine(const ShowDifference& difference, const SourceNamer& frameName)
{
    QString line = comparisonLine(
        difference, {u"frame"_s, frameName},
        {u"file"_s, [&](qint64 source) { return nameFor(difference.wanted, frameName, source); }});
    if (const std::optional<QString> note = nameNote(difference.wanted, frameName))
        line += u"; "_s + *note;
    return line;
}

QString comparisonLine(const ShowDifference& difference, const ComparedSide& current,
                       const ComparedSide& wanted)
{
    const qint64 currentSource = difference.current ? difference.current->source : 0;
    const auto named = [](const ComparedSide& side, qint64 source) {
        return side.nameOf && source != 0 ? side.nameOf(source) : QString();
    };
    return buttonText(difference.wanted) + u": "_s + current.label + u' ' +
           sourceText(currentSource, named(current, currentSource)) + u", "_s + wanted.label +
           u' ' + sourceText(difference.wanted.source, named(wanted, difference.wanted.source));
}

std::optional<QString> nameNote(const ShowButton& wanted, const SourceNamer& frameName)
{
    if (wanted.name.isEmpty() || wanted.source == 0 || !frameName)
        return std::nullopt;
    const QString onFrame = frameName(wanted.source);
    if (onFrame == wanted.name)
        return std::nullopt;
    const QString number = QString::number(wanted.source);
    return u"the file names "_s + number + u" \""_s + wanted.name + u"\", "_s +
           (onFrame.isEmpty() ? u"the frame has no name for it"_s
                              : u"the frame \""_s + onFrame + u'"');
}

std::optional<QString> sameSourceNameLine(const ShowButton& wanted, const SourceNamer& frameName)
{
    const std::optional<QString> note = nameNote(wanted, frameName);
    if (!note)
        return std::nullopt;
    return buttonText(wanted) + u": same source; "_s + *note;
}

QString writeLine(const TrackedWrite& write, const SourceNamer& frameName, const QString& silence)
{
    QString line =
        (write.isConfirmed() ? u"confirmed "_s : u"unconfirmed "_s) + buttonText(write.wanted) +
        u": "_s +
        sourceText(write.wanted.source, nameFor(write.wanted, frameName, write.wanted.source));
    if (write.isConfirmed())
        return line;
    if (!write.frameSource)
        return line + u", "_s + silence;
    const QString reported = frameName ? frameName(*write.frameSource) : QString();
    return line + u", the frame reports "_s + sourceText(*write.frameSource, reported);
}

QString neverSentLine(const ShowButton& wanted, const SourceNamer& frameName)
{
    return u"never sent "_s + buttonText(wanted) + u": "_s +
           sourceText(wanted.source, nameFor(wanted, frameName, wanted.source));
}

QString readBackLine(const TrackedWrite& write, const std::optional<ShowDifference>& difference,
                     const SourceNamer& frameName)
{
    const ShowButton& wanted = write.wanted;
    if (!difference) {
        return u"holds "_s + buttonText(wanted) + u": "_s +
               sourceText(wanted.source, nameFor(wanted, frameName, wanted.source));
    }
    QString fate;
    if (write.isConfirmed()) {
        fate = u"the write was confirmed"_s;
    } else if (write.frameSource) {
        const QString reported = frameName ? frameName(*write.frameSource) : QString();
        fate = u"the frame reported "_s + sourceText(*write.frameSource, reported) +
               u" for the write"_s;
    } else {
        fate = u"the frame did not answer the write"_s;
    }
    return u"differs "_s + differenceLine(*difference, frameName) + u"; "_s + fate;
}

QString busList(const QList<Bus>& buses)
{
    QStringList names;
    for (Bus bus : buses)
        names.append(busName(bus));
    return names.join(u", "_s);
}

} // namespace quorvane::cli
