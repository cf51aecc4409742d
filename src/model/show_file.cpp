#include "show_file.h"

#include "button_address.h"
#include "show_file_rules.h"

#include <QStringDecoder>
#include <algorithm>
#include <map>

using namespace Qt::StringLiterals;

namespace quorvane {

namespace showfile {

namespace {
std::optional<QString> outside(const QString& what, const Whole& number, qint64 low, qint64 high)
{
    if (number.value >= low && number.value <= high)
        return std::nullopt;
    return what + u' ' + printable(number.text) + u" is outside "_s + QString::number(low) + u'-' +
           QString::number(high);
}
} // namespace

std::optional<QString> suiteReason(const Whole& suite)
{
    return outside(u"suite"_s, suite, 1, maxSuite);
}

std::optional<QString> buttonCountReason(const Whole& count)
{
    if (isSupportedButtonCount(count.value))
        return std::nullopt;
    return u"button count "_s + printable(count.text) + u" is not 15, 20, 25 or 35"_s;
}

std::optional<QString> shiftReason(const Whole& shift)
{
    return outside(u"shift"_s, shift, 1, maxShift);
}

std::optional<QString> buttonReason(const Whole& button, int buttonCount)
{
    return outside(u"button"_s, button, 1,
                   isSupportedButtonCount(buttonCount) ? buttonCount : largestButtonCount);
}

std::optional<QString> sourceReason(const Whole& source)
{
    return outside(u"source"_s, source, 0, lastSourceNumber);
}

std::optional<QString> namedSourceReason(const Whole& source)
{
    return outside(u"source"_s, source, firstSourceNumber, lastNamedSource);
}

QString unknownBusReason(const QString& text)
{
    QStringList names;
    for (Bus bus : allBuses)
        names.append(busName(bus));
    return u"unknown bus "_s + quoted(text) + u" (the buses are "_s + names.join(u", "_s) + u')';
}

ButtonKey buttonKey(const ShowButton& button)
{
    return {static_cast<int>(button.bus), button.shift, button.button};
}

std::optional<QString> ButtonPlaces::repeated(const ShowButton& button, const QString& place)
{
    const ButtonKey key = buttonKey(button);
    const auto first = m_firstPlaces.constFind(key);
    if (first == m_firstPlaces.cend()) {
        m_firstPlaces.insert(key, place);
        return std::nullopt;
    }
    return busName(button.bus) + u" shift "_s + QString::number(button.shift) + u" button "_s +
           QString::number(button.button) + u" is listed twice (first at "_s + *first + u')';
}

namespace {
bool isUtf8(QByteArrayView data)
{
    QStringDecoder decoder(QStringConverter::Utf8, QStringConverter::Flag::Stateless);
    [[maybe_unused]] const QString text = decoder.decode(data);
    return !decoder.hasError();
}

std::optional<ShowFileProblem> utf8Problem(QByteArrayView data)
{
    if (isUtf8(data))
        return std::nullopt;
    // A line feed byte is never part of a longer UTF-8 sequence, so each line can be tried on
    // its own to find the one to point at.
    int line = 1;
    qsizetype start = 0;
    while (start <= data.size()) {
        qsizetype end = data.indexOf('\n', start);
        if (end < 0)
            end = data.size();
        if (!isUtf8(data.sliced(start, end - start)))
            break;
        start = end + 1;
        ++line;
    }
    return ShowFileProblem{line, {}, u"the text is not valid UTF-8"_s};
}

// Line breaks and the like would split a message, other controls upset a terminal, and a lone
// surrogate cannot be written out at all.
bool needsEscape(QChar c)
{
    const char16_t code = c.unicode();
    return code < 0x20 || (code >= 0x7F && code <= 0x9F) || code == 0x2028 || code == 0x2029 ||
           c.isSurrogate();
}

bool isSurrogatePair(QStringView text, qsizetype at)
{
    return text[at].isHighSurrogate() && at + 1 < text.size() && text[at + 1].isLowSurrogate();
}

QString escaped(QChar c)
{
    switch (c.unicode()) {
    case u'\n':
        return u"\\n"_s;
    case u'\r':
        return u"\\r"_s;
    case u'\t':
        return u"\\t"_s;
    default:
        return u"\\u"_s + QString::number(c.unicode(), 16).rightJustified(4, u'0');
    }
}
} // namespace

FileText fileText(QByteArrayView data)
{
    static constexpr QByteArrayView mark("\xEF\xBB\xBF");
    QByteArrayView text = data.startsWith(mark) ? data.sliced(mark.size()) : data;
    if (text.startsWith(mark)) {
        int marks = 1;
        for (; text.startsWith(mark); text = text.sliced(mark.size()))
            ++marks;
        return {{},
                ShowFileProblem{1,
                                {},
                                u"the file starts with "_s + QString::number(marks) +
                                    u" byte order marks; one at most may stand before "_s
                                    u"the text"_s}};
    }
    if (text.trimmed().isEmpty())
        return {{}, ShowFileProblem{0, {}, u"the file is empty"_s}};
    if (std::optional<ShowFileProblem> problem = utf8Problem(text))
        return {{}, problem};
    return {text, std::nullopt};
}

QString printable(QStringView text)
{
    constexpr int shownCharacters = 40;
    qsizetype end = 0;
    for (int characters = 0; end < text.size() && characters < shownCharacters; ++characters)
        end += isSurrogatePair(text, end) ? 2 : 1;
    return escapedName(text.first(end)) + (end < text.size() ? u"\u2026"_s : QString());
}

QString quoted(QStringView text)
{
    return u'"' + printable(text) + u'"';
}

int lineAt(QByteArrayView data, qsizetype offset)
{
    const qsizetype end = std::clamp<qsizetype>(offset, 0, data.size());
    return 1 + static_cast<int>(data.first(end).count('\n'));
}

ShowFileResult refused(QList<ShowFileProblem> problems)
{
    std::stable_sort(
        problems.begin(), problems.end(),
        [](const ShowFileProblem& a, const ShowFileProblem& b) { return a.line < b.line; });
    return ShowFileResult{std::nullopt, std::move(problems)};
}

} // namespace showfile

QString escapedName(QStringView name)
{
    QString shown;
    shown.reserve(name.size());
    for (qsizetype i = 0; i < name.size(); ++i) {
        if (showfile::isSurrogatePair(name, i)) {
            shown += name.sliced(i, 2);
            ++i;
        } else {
            shown += showfile::needsEscape(name[i]) ? showfile::escaped(name[i]) : QString(name[i]);
        }
    }
    return shown;
}

QString ShowFileProblem::text() const
{
    QString place;
    if (line > 0)
        place = u"line "_s + QString::number(line);
    if (!where.isEmpty())
        place += (place.isEmpty() ? u"("_s : u" ("_s) + where + u')';
    return place.isEmpty() ? reason : place + u": "_s + reason;
}

void sortButtons(QList<ShowButton>& buttons)
{
    std::stable_sort(buttons.begin(), buttons.end(), [](const ShowButton& a, const ShowButton& b) {
        return showfile::buttonKey(a) < showfile::buttonKey(b);
    });
}

QList<ShowButton> showButtons(const MappingTable& mappings, int buttonCount,
                              const std::function<QString(int source)>& nameOf)
{
    QList<ShowButton> buttons;
    for (auto it = mappings.cbegin(); it != mappings.cend(); ++it) {
        const ButtonMapping& mapping = it.value();
        // Only the key tells at which button count a mapping was read.
        if (it.key() != mappingKey(mapping.bus, buttonCount, mapping.shift, mapping.button))
            continue;
        ShowButton button{mapping.bus, mapping.shift, mapping.button, mapping.source, {}};
        if (nameOf && mapping.source >= 0 && mapping.source <= lastSourceNumber)
            button.name = nameOf(static_cast<int>(mapping.source));
        buttons.append(button);
    }
    sortButtons(buttons);
    return buttons;
}

QList<ShowDifference> differences(const QList<ShowButton>& frame, const QList<ShowButton>& file)
{
    // Ordered by key, so the result comes out in sortButtons() order.
    std::map<showfile::ButtonKey, std::pair<const ShowButton*, const ShowButton*>> both;
    for (const ShowButton& button : frame)
        both[showfile::buttonKey(button)].first = &button;
    for (const ShowButton& button : file)
        both[showfile::buttonKey(button)].second = &button;

    QList<ShowDifference> result;
    for (const auto& [key, sides] : both) {
        const auto& [current, wanted] = sides;
        const qint64 currentSource = current ? current->source : 0;
        const qint64 wantedSource = wanted ? wanted->source : 0;
        if (currentSource == wantedSource)
            continue;
        ShowDifference difference;
        if (wanted)
            difference.wanted = *wanted;
        else
            difference.wanted = ShowButton{current->bus, current->shift, current->button, 0, {}};
        if (current)
            difference.current = *current;
        result.append(difference);
    }
    return result;
}

} // namespace quorvane
