#include "show_file.h"
#include "show_file_rules.h"

#include <QHash>
#include <algorithm>
#include <limits>

using namespace Qt::StringLiterals;

namespace quorvane {

using showfile::Whole;

namespace {

const QStringList header{u"bus"_s, u"shift"_s, u"button"_s, u"source"_s, u"name"_s};
// A hand-written file may leave the names out, the column included.
const QStringList headerWithoutNames = header.mid(0, 4);
// The frame's source names follow the buttons as a second table.
const QStringList sourcesHeader{u"source"_s, u"eng"_s, u"panel"_s, u"oled"_s, u"menu"_s};

// ---- Writing ------------------------------------------------------------------------------

QString csvField(const QString& text)
{
    const bool plain = !text.contains(u',') && !text.contains(u'"') && !text.contains(u'\r') &&
                       !text.contains(u'\n');
    if (plain)
        return text;
    return u'"' + QString(text).replace(u"\""_s, u"\"\""_s) + u'"';
}

// ---- Splitting into records ---------------------------------------------------------------

struct CsvRecord {
    int line = 0; // where the record starts; a quoted line break makes it longer than a line
    QStringList fields;
    bool broken = false; // a syntax error, reported already, left the fields unknown
};

struct CsvTable {
    QList<CsvRecord> records;
    QList<ShowFileProblem> problems;
};

// Splits RFC 4180 text into records. A record with a syntax error is reported and the rest of its
// line skipped, so the lines after it are still checked.
class CsvScanner {
public:
    explicit CsvScanner(QStringView text)
        : m_text(text)
    {
    }

    CsvTable scan()
    {
        while (!atEnd()) {
            if (atLineEnd()) {
                skipLineEnd(); // a blank line holds nothing to apply
                continue;
            }
            const int line = m_line;
            const std::optional<QStringList> fields = record();
            m_table.records.append({line, fields.value_or(QStringList()), !fields});
        }
        return m_table;
    }

private:
    bool atEnd() const { return m_pos >= m_text.size(); }
    QChar at(qsizetype pos) const { return pos < m_text.size() ? m_text[pos] : QChar(); }

    bool atLineEnd() const
    {
        return at(m_pos) == u'\n' || (at(m_pos) == u'\r' && at(m_pos + 1) == u'\n');
    }

    void skipLineEnd()
    {
        m_pos += at(m_pos) == u'\r' ? 2 : 1;
        ++m_line;
    }

    std::optional<QStringList> record()
    {
        QStringList fields;
        while (true) {
            std::optional<QString> field = at(m_pos) == u'"' ? quotedField() : plainField();
            if (!field)
                return std::nullopt;
            fields.append(*field);
            if (atEnd())
                return fields;
            if (at(m_pos) == u',') {
                ++m_pos;
                continue;
            }
            if (atLineEnd()) {
                skipLineEnd();
                return fields;
            }
            return failLine(at(m_pos) == u'\r' ? u"a carriage return that does not end the line"_s
                                               : u"text after the closing quote of a field"_s);
        }
    }

    std::optional<QString> plainField()
    {
        const qsizetype start = m_pos;
        while (!atEnd() && at(m_pos) != u',' && at(m_pos) != u'\n' && at(m_pos) != u'\r') {
            if (at(m_pos) == u'"') {
                return failLine(
                    u"a quote inside an unquoted field (quote the field and double the quote)"_s);
            }
            ++m_pos;
        }
        return m_text.sliced(start, m_pos - start).toString();
    }

    std::optional<QString> quotedField()
    {
        const int startLine = m_line;
        QString field;
        ++m_pos;
        while (!atEnd()) {
            const QChar c = at(m_pos);
            if (c == u'"' && at(m_pos + 1) == u'"') {
                field += u'"';
                m_pos += 2;
            } else if (c == u'"') {
                ++m_pos;
                return field;
            } else {
                if (c == u'\n')
                    ++m_line;
                field += c;
                ++m_pos;
            }
        }
        // Everything after the opening quote was swallowed: nothing is left to check.
        m_table.problems.append({startLine, {}, u"a quoted field is never closed"_s});
        return std::nullopt;
    }

    std::nullopt_t failLine(const QString& reason)
    {
        m_table.problems.append({m_line, {}, reason});
        while (!atEnd() && at(m_pos) != u'\n')
            ++m_pos;
        if (!atEnd())
            skipLineEnd();
        return std::nullopt;
    }

    QStringView m_text;
    qsizetype m_pos = 0;
    int m_line = 1;
    CsvTable m_table;
};

// ---- Reading the rows ---------------------------------------------------------------------

// Digits with an optional minus, nothing else: a blank or a plus sign is a typing slip, and
// the file is applied to a live switcher.
std::optional<Whole> wholeNumber(const QString& text)
{
    const qsizetype digitsFrom = text.startsWith(u'-') ? 1 : 0;
    if (text.size() == digitsFrom)
        return std::nullopt;
    for (qsizetype i = digitsFrom; i < text.size(); ++i) {
        if (text[i] < u'0' || text[i] > u'9')
            return std::nullopt;
    }
    bool fits = false;
    qint64 value = text.toLongLong(&fits);
    if (!fits) {
        using Limits = std::numeric_limits<qint64>;
        value = digitsFrom ? Limits::min() : Limits::max();
    }
    return Whole{value, text};
}

class RowReader {
public:
    RowReader(const CsvRecord& record, int buttonCount, QList<ShowFileProblem>& problems)
        : m_record(record)
        , m_buttonCount(buttonCount)
        , m_problems(problems)
    {
    }

    // A button row has the fields of the header, or all but the name.
    std::optional<ShowButton> read(const QStringList& columns)
    {
        const QStringList& fields = m_record.fields;
        if (fields.size() != columns.size() && fields.size() != headerWithoutNames.size()) {
            refuse(u"expected "_s + QString::number(columns.size()) + u" fields ("_s +
                   columns.join(u',') + u"), found "_s + QString::number(fields.size()));
            return std::nullopt;
        }
        const std::optional<Bus> bus = busFromName(fields[0]);
        if (!bus)
            refuse(showfile::unknownBusReason(fields[0]));
        const auto shift = number(u"shift"_s, fields[1], showfile::shiftReason);
        const auto button = number(u"button"_s, fields[2], [this](const Whole& value) {
            return showfile::buttonReason(value, m_buttonCount);
        });
        const auto source = number(u"source"_s, fields[3], showfile::sourceReason);
        if (!bus || !shift || !button || !source)
            return std::nullopt;
        return ShowButton{*bus, static_cast<int>(shift->value), static_cast<int>(button->value),
                          source->value, fields.value(4)};
    }

    // A row of the source names table: the number and its four names.
    std::optional<std::pair<int, SourceName>> readSource()
    {
        const QStringList& fields = m_record.fields;
        if (fields.size() != sourcesHeader.size()) {
            refuse(u"expected "_s + QString::number(sourcesHeader.size()) + u" fields ("_s +
                   sourcesHeader.join(u',') + u"), found "_s + QString::number(fields.size()));
            return std::nullopt;
        }
        const auto source = number(u"source"_s, fields[0], showfile::namedSourceReason);
        if (!source)
            return std::nullopt;
        return std::pair{static_cast<int>(source->value),
                         SourceName{fields[1], fields[2], fields[3], fields[4]}};
    }

    void refuse(const QString& reason) { m_problems.append({m_record.line, {}, reason}); }

private:
    template <typename Check>
    std::optional<Whole> number(const QString& what, const QString& text, Check reasonAgainst)
    {
        const std::optional<Whole> value = wholeNumber(text);
        if (!value) {
            refuse(what + u' ' + showfile::quoted(text) + u" is not a whole number"_s);
            return std::nullopt;
        }
        if (const std::optional<QString> reason = reasonAgainst(*value)) {
            refuse(*reason);
            return std::nullopt;
        }
        return value;
    }

    const CsvRecord& m_record;
    int m_buttonCount;
    QList<ShowFileProblem>& m_problems;
};

// The first record is the header, good or bad, and never a button.
std::optional<ShowFileProblem> headerProblem(const QList<CsvRecord>& records)
{
    const int line = records.isEmpty() ? 1 : records.first().line;
    if (!records.isEmpty() && (records.first().broken || records.first().fields == header ||
                               records.first().fields == headerWithoutNames)) {
        return std::nullopt;
    }
    return ShowFileProblem{line,
                           {},
                           u"the first line must be the header \""_s + header.join(u',') +
                               u"\" (the name column may be left out)"_s};
}

} // namespace

QByteArray writeShowCsv(const ShowFile& file)
{
    const SourceNameTable& sources = file.sources;
    QList<ShowButton> sorted = file.buttons;
    sortButtons(sorted);
    QString csv = header.join(u',') + u'\n';
    for (const ShowButton& button : sorted) {
        csv += busName(button.bus) + u',' + QString::number(button.shift) + u',' +
               QString::number(button.button) + u',' + QString::number(button.source) + u',' +
               csvField(button.name) + u'\n';
    }
    if (!sources.isEmpty()) {
        csv += u'\n' + sourcesHeader.join(u',') + u'\n';
        QList<int> numbers = sources.keys();
        std::sort(numbers.begin(), numbers.end());
        for (int number : numbers) {
            const SourceName& names = sources.value(number);
            csv += QString::number(number) + u',' + csvField(names.eng) + u',' +
                   csvField(names.panel) + u',' + csvField(names.oled) + u',' +
                   csvField(names.menu) + u'\n';
        }
    }
    return csv.toUtf8();
}

ShowFileResult readShowCsv(const QByteArray& data, int buttonCount)
{
    const Whole count{buttonCount, QString::number(buttonCount)};
    if (const std::optional<QString> reason = showfile::buttonCountReason(count))
        return showfile::refused({{0, {}, *reason}});

    const showfile::FileText content = showfile::fileText(data);
    if (content.problem)
        return showfile::refused({*content.problem});
    const QString text = QString::fromUtf8(content.bytes);

    const CsvTable table = CsvScanner(text).scan();
    QList<ShowFileProblem> problems = table.problems;
    if (const std::optional<ShowFileProblem> problem = headerProblem(table.records))
        problems.append(*problem);

    ShowFile file;
    file.buttonCount = buttonCount;
    const bool namesLeftOut =
        !table.records.isEmpty() && table.records.first().fields == headerWithoutNames;
    const QStringList& columns = namesLeftOut ? headerWithoutNames : header;
    showfile::ButtonPlaces places;
    QHash<int, int> sourceLines; // where each source was first named
    bool inSources = false;
    for (qsizetype i = 1; i < table.records.size(); ++i) {
        const CsvRecord& record = table.records[i];
        if (record.broken)
            continue;
        RowReader row(record, buttonCount, problems);
        if (!inSources && record.fields == sourcesHeader) {
            inSources = true;
            continue;
        }
        const QString place = u"line "_s + QString::number(record.line);
        if (inSources) {
            const auto source = row.readSource();
            if (!source)
                continue;
            if (const auto first = sourceLines.constFind(source->first);
                first != sourceLines.cend()) {
                row.refuse(u"source "_s + QString::number(source->first) +
                           u" is listed twice (first at line "_s + QString::number(*first) + u')');
                continue;
            }
            sourceLines.insert(source->first, record.line);
            file.sources.insert(source->first, source->second);
            continue;
        }
        const std::optional<ShowButton> button = row.read(columns);
        if (!button)
            continue;
        if (const std::optional<QString> reason = places.repeated(*button, place))
            row.refuse(*reason);
        else
            file.buttons.append(*button);
    }

    if (!problems.isEmpty())
        return showfile::refused(problems);
    sortButtons(file.buttons);
    return ShowFileResult{file, {}};
}

} // namespace quorvane
