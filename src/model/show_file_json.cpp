#include "show_file.h"
#include "show_file_json_strings.h"
#include "show_file_rules.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <utility>

using namespace Qt::StringLiterals;

namespace quorvane {

using showfile::Whole;

namespace {

const QString formatName = u"quorvane-show"_s;
// Version 1 files have no source names; they read as version 2 files without any.
constexpr int firstReadVersion = 1;

// ---- Writing ------------------------------------------------------------------------------
//
// Written by hand: QJsonDocument sorts keys and spreads a button over seven lines, and a show
// file should read like the grid and change by one line per changed button.

QByteArray jsonString(const QString& text)
{
    QString quoted = u"\""_s;
    for (QChar c : text) {
        switch (c.unicode()) {
        case u'"':
            quoted += u"\\\""_s;
            break;
        case u'\\':
            quoted += u"\\\\"_s;
            break;
        case u'\b':
            quoted += u"\\b"_s;
            break;
        case u'\f':
            quoted += u"\\f"_s;
            break;
        case u'\n':
            quoted += u"\\n"_s;
            break;
        case u'\r':
            quoted += u"\\r"_s;
            break;
        case u'\t':
            quoted += u"\\t"_s;
            break;
        default:
            if (c.unicode() < 0x20)
                quoted += u"\\u"_s + QString::number(c.unicode(), 16).rightJustified(4, u'0');
            else
                quoted += c;
        }
    }
    quoted += u'"';
    return quoted.toUtf8();
}

QByteArray buttonLine(const ShowButton& button)
{
    return "{ \"bus\": " + jsonString(busName(button.bus)) +
           ", \"shift\": " + QByteArray::number(button.shift) +
           ", \"button\": " + QByteArray::number(button.button) +
           ", \"source\": " + QByteArray::number(button.source) +
           ", \"name\": " + jsonString(button.name) + " }";
}

QByteArray sourceLine(int source, const SourceName& names)
{
    return "{ \"source\": " + QByteArray::number(source) + ", \"eng\": " + jsonString(names.eng) +
           ", \"panel\": " + jsonString(names.panel) + ", \"oled\": " + jsonString(names.oled) +
           ", \"menu\": " + jsonString(names.menu) + " }";
}

// A list of lines under `key`, one entry per line, or an empty list on the key's own line.
QByteArray listOf(const char* key, const QList<QByteArray>& entries, bool last)
{
    QByteArray json = "  \"" + QByteArray(key) + "\": [";
    if (entries.isEmpty()) {
        json += "]";
    } else {
        json += "\n";
        for (qsizetype i = 0; i < entries.size(); ++i)
            json += "    " + entries[i] + (i + 1 < entries.size() ? ",\n" : "\n");
        json += "  ]";
    }
    return json + (last ? "\n" : ",\n");
}

// ---- Where things are ---------------------------------------------------------------------

// The line on which each value of a JSON text starts, by path: "" for the whole document,
// "frame", "frame.name", "buttons[6]", "buttons[6].shift". QJsonDocument keeps no positions,
// and a problem is little help without the line to look at. The scan also finds keys given
// twice in one object, which QJsonDocument would quietly merge into one.
struct JsonOutline {
    QHash<QString, int> lines;
    QList<ShowFileProblem> repeatedKeys;

    int lineOf(const QString& path, int otherwise) const { return lines.value(path, otherwise); }
};

// One open object or array during the scan.
struct OpenContainer {
    bool isObject = false;
    QString path;
    QSet<QString> keys;
    QString key;           // in an object: the key whose value comes next
    bool expectKey = true; // in an object: a string now is a key
    int index = 0;         // in an array: the element that comes next
};

// A path names a key as a message shows it: any key at all may stand in an unknown object.
QString keyPath(const QString& objectPath, const QString& key)
{
    const QString step = showfile::printable(key);
    return objectPath.isEmpty() ? step : objectPath + u'.' + step;
}

QString childPath(const OpenContainer& container)
{
    if (!container.isObject)
        return container.path + u'[' + QString::number(container.index) + u']';
    return keyPath(container.path, container.key);
}

// The position after the string that opens at `start`; counts line feeds on the way.
qsizetype skipString(QByteArrayView json, qsizetype start, int& line)
{
    qsizetype i = start + 1;
    while (i < json.size() && json[i] != '"') {
        if (json[i] == '\n')
            ++line;
        i += json[i] == '\\' ? 2 : 1;
    }
    return i + 1;
}

QString decodeKey(QByteArrayView quoted)
{
    if (!quoted.contains('\\'))
        return QString::fromUtf8(quoted.sliced(1, quoted.size() - 2));
    const QByteArray wrapped = '[' + quoted.toByteArray() + ']';
    return QJsonDocument::fromJson(wrapped).array().first().toString();
}

bool endsScalar(char c)
{
    return c == ',' || c == ']' || c == '}' || c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

// Only called on text that QJsonDocument has accepted. The structure is still not taken on trust
// (QJsonDocument has accepted more than JSON before): a bracket without its pair is passed over.
JsonOutline outlineOf(QByteArrayView json)
{
    JsonOutline outline;
    QList<OpenContainer> open;
    int line = 1;
    const auto valueStarts = [&]() {
        const QString path = open.isEmpty() ? QString() : childPath(open.last());
        if (!outline.lines.contains(path))
            outline.lines.insert(path, line);
        return path;
    };

    qsizetype i = 0;
    while (i < json.size()) {
        const char c = json[i];
        if (c == '{' || c == '[') {
            OpenContainer container;
            container.isObject = c == '{';
            container.path = valueStarts();
            open.append(container);
            ++i;
        } else if (c == '}' || c == ']') {
            if (!open.isEmpty())
                open.removeLast();
            ++i;
        } else if (c == ':') {
            if (!open.isEmpty())
                open.last().expectKey = false;
            ++i;
        } else if (c == ',') {
            if (!open.isEmpty() && open.last().isObject)
                open.last().expectKey = true;
            else if (!open.isEmpty())
                ++open.last().index;
            ++i;
        } else if (c == '"') {
            const int startLine = line;
            const qsizetype end = skipString(json, i, line);
            if (!open.isEmpty() && open.last().isObject && open.last().expectKey) {
                OpenContainer& object = open.last();
                object.key = decodeKey(json.sliced(i, end - i));
                if (object.keys.contains(object.key)) {
                    const QString reason =
                        u"key "_s + showfile::quoted(object.key) + u" is given twice"_s;
                    outline.repeatedKeys.append({startLine, object.path, reason});
                }
                object.keys.insert(object.key);
            } else {
                valueStarts();
            }
            i = end;
        } else if (c == '\n') {
            ++line;
            ++i;
        } else if (c == ' ' || c == '\t' || c == '\r') {
            ++i;
        } else {
            valueStarts(); // a number, true, false or null
            while (i < json.size() && !endsScalar(json[i]))
                ++i;
        }
    }
    return outline;
}

// ---- Reading ------------------------------------------------------------------------------

QString describe(const QJsonValue& value)
{
    switch (value.type()) {
    case QJsonValue::Null:
        return u"null"_s;
    case QJsonValue::Bool:
        return value.toBool() ? u"true"_s : u"false"_s;
    case QJsonValue::Double:
        return QString::number(value.toDouble());
    case QJsonValue::String:
        return u"text "_s + showfile::quoted(value.toString());
    case QJsonValue::Array:
        return u"a list"_s;
    case QJsonValue::Object:
        return u"an object"_s;
    case QJsonValue::Undefined:
        break;
    }
    return u"nothing"_s;
}

std::optional<Whole> wholeNumber(const QJsonValue& value)
{
    if (!value.isDouble())
        return std::nullopt;
    const double number = value.toDouble();
    if (!std::isfinite(number) || std::trunc(number) != number)
        return std::nullopt;
    // Far beyond every limit, and still exact in a double; larger numbers are clamped to it.
    constexpr double largest = 1e15;
    if (std::abs(number) > largest)
        return Whole{static_cast<qint64>(std::copysign(largest, number)), describe(value)};
    const auto whole = static_cast<qint64>(number);
    return Whole{whole, QString::number(whole)};
}

// Reads the fields of one JSON object and reports each problem at the line of its field.
class ObjectReader {
public:
    // The object is kept by value (it is shared, not copied): a reader built from a temporary
    // such as `value.toObject()` must not outlive what it reads.
    ObjectReader(QJsonObject object, const QString& path, const JsonOutline& outline,
                 QList<ShowFileProblem>& problems)
        : m_object(std::move(object))
        , m_path(path)
        , m_outline(outline)
        , m_problems(problems)
    {
    }

    // Reports keys that are missing or not known; `optional` keys may be left out. The typed
    // readers below stay silent about a missing key, so each one is reported once.
    void expectKeys(std::initializer_list<QString> keys,
                    std::initializer_list<QString> optional = {})
    {
        for (const QString& key : keys) {
            if (!m_object.contains(key))
                refuseObject(u"missing key \""_s + key + u'"');
        }
        for (const QString& key : m_object.keys()) {
            if (std::find(keys.begin(), keys.end(), key) == keys.end() &&
                std::find(optional.begin(), optional.end(), key) == optional.end()) {
                refuse(key, u"unknown key "_s + showfile::quoted(key));
            }
        }
    }

    bool has(const QString& key) const { return m_object.contains(key); }

    std::optional<QString> text(const QString& key)
    {
        const QJsonValue value = m_object.value(key);
        if (!value.isString()) {
            refuseType(key, u"text"_s);
            return std::nullopt;
        }
        // "\ud800" is valid JSON but no character: written out again it would become "?".
        const QString text = value.toString();
        if (!text.isValidUtf16()) {
            refuse(key, u'"' + key + u"\" holds a lone surrogate, which is no character: "_s +
                            showfile::quoted(text));
            return std::nullopt;
        }
        return text;
    }

    std::optional<Whole> whole(const QString& key)
    {
        const QJsonValue value = m_object.value(key);
        if (std::optional<Whole> number = wholeNumber(value))
            return number;
        refuseType(key, u"a whole number"_s);
        return std::nullopt;
    }

    // The value of `key` if it passes `reasonAgainst`, which may refuse it.
    template <typename Check> std::optional<Whole> whole(const QString& key, Check reasonAgainst)
    {
        std::optional<Whole> number = whole(key);
        if (!number)
            return std::nullopt;
        if (std::optional<QString> reason = reasonAgainst(*number)) {
            refuse(key, *reason);
            return std::nullopt;
        }
        return number;
    }

    std::optional<QJsonObject> object(const QString& key)
    {
        const QJsonValue value = m_object.value(key);
        if (value.isObject())
            return value.toObject();
        refuseType(key, u"an object"_s);
        return std::nullopt;
    }

    std::optional<QJsonArray> list(const QString& key)
    {
        const QJsonValue value = m_object.value(key);
        if (value.isArray())
            return value.toArray();
        refuseType(key, u"a list"_s);
        return std::nullopt;
    }

    QString pathOf(const QString& key) const { return keyPath(m_path, key); }

    int lineOf(const QString& key) const
    {
        return m_outline.lineOf(pathOf(key), m_outline.lineOf(m_path, 1));
    }

    void refuse(const QString& key, const QString& reason)
    {
        m_problems.append({lineOf(key), m_path, reason});
    }

    void refuseObject(const QString& reason)
    {
        m_problems.append({m_outline.lineOf(m_path, 1), m_path, reason});
    }

private:
    void refuseType(const QString& key, const QString& expected)
    {
        const QJsonValue value = m_object.value(key);
        if (value.isUndefined())
            return;
        refuse(key, u'"' + key + u"\" must be "_s + expected + u", found "_s + describe(value));
    }

    const QJsonObject m_object;
    QString m_path;
    const JsonOutline& m_outline;
    QList<ShowFileProblem>& m_problems;
};

// Format and version come first: a file of another kind, or of a later version, would only
// drown the one useful message in a list of unknown keys.
bool readIdentity(ObjectReader& root, const QJsonObject& object)
{
    const QJsonValue format = object.value(u"format"_s);
    if (format.isUndefined()) {
        root.refuseObject(u"not a Quorvane show file: it has no \"format\""_s);
        return false;
    }
    if (format != QJsonValue(formatName)) {
        root.refuse(u"format"_s, u"not a Quorvane show file: \"format\" is "_s + describe(format) +
                                     u", expected \""_s + formatName + u'"');
        return false;
    }
    if (!object.contains(u"version"_s)) {
        root.refuseObject(u"missing key \"version\""_s);
        return false;
    }
    const std::optional<Whole> version = root.whole(u"version"_s);
    if (!version)
        return false;
    if (version->value < firstReadVersion || version->value > showFileVersion) {
        root.refuse(u"version"_s, u"version "_s + version->text +
                                      u" is not supported (this program reads versions "_s +
                                      QString::number(firstReadVersion) + u" to "_s +
                                      QString::number(showFileVersion) + u')');
        return false;
    }
    return true;
}

void readFrame(ObjectReader& root, const JsonOutline& outline, QList<ShowFileProblem>& problems,
               ShowFile& file)
{
    const std::optional<QJsonObject> object = root.object(u"frame"_s);
    if (!object)
        return;
    ObjectReader frame(*object, root.pathOf(u"frame"_s), outline, problems);
    frame.expectKeys({u"name"_s, u"version"_s, u"address"_s});
    file.frameName = frame.text(u"name"_s).value_or(QString());
    file.frameVersion = frame.text(u"version"_s).value_or(QString());
    file.frameAddress = frame.text(u"address"_s).value_or(QString());
}

std::optional<ShowButton> readButton(const QJsonValue& value, int index, int buttonCount,
                                     const JsonOutline& outline, QList<ShowFileProblem>& problems,
                                     showfile::ButtonPlaces& places)
{
    const QString path = u"buttons["_s + QString::number(index) + u']';
    const int line = outline.lineOf(path, 1);
    if (!value.isObject()) {
        problems.append({line, path, u"a button must be an object, found "_s + describe(value)});
        return std::nullopt;
    }
    const QJsonObject object = value.toObject();
    ObjectReader reader(object, path, outline, problems);
    reader.expectKeys({u"bus"_s, u"shift"_s, u"button"_s, u"source"_s}, {u"name"_s});

    std::optional<Bus> bus;
    if (const std::optional<QString> busText = reader.text(u"bus"_s)) {
        bus = busFromName(*busText);
        if (!bus)
            reader.refuse(u"bus"_s, showfile::unknownBusReason(*busText));
    }
    const auto shift = reader.whole(u"shift"_s, showfile::shiftReason);
    const auto number = reader.whole(u"button"_s, [buttonCount](const Whole& button) {
        return showfile::buttonReason(button, buttonCount);
    });
    const auto source = reader.whole(u"source"_s, showfile::sourceReason);
    // The name is for people: a hand-written file may leave it out.
    const std::optional<QString> name =
        reader.has(u"name"_s) ? reader.text(u"name"_s) : std::optional<QString>(QString());
    if (!bus || !shift || !number || !source || !name)
        return std::nullopt;

    const ShowButton button{*bus, static_cast<int>(shift->value), static_cast<int>(number->value),
                            source->value, *name};
    const QString place = path + u", line "_s + QString::number(line);
    if (const std::optional<QString> reason = places.repeated(button, place)) {
        problems.append({line, path, *reason});
        return std::nullopt;
    }
    return button;
}

void readButtons(ObjectReader& root, int buttonCount, const JsonOutline& outline,
                 QList<ShowFileProblem>& problems, ShowFile& file)
{
    const std::optional<QJsonArray> list = root.list(u"buttons"_s);
    if (!list)
        return;
    showfile::ButtonPlaces places;
    for (qsizetype i = 0; i < list->size(); ++i) {
        const std::optional<ShowButton> button =
            readButton(list->at(i), static_cast<int>(i), buttonCount, outline, problems, places);
        if (button)
            file.buttons.append(*button);
    }
    sortButtons(file.buttons);
}

void readSources(ObjectReader& root, const JsonOutline& outline, QList<ShowFileProblem>& problems,
                 ShowFile& file)
{
    if (!root.has(u"sources"_s))
        return;
    const std::optional<QJsonArray> list = root.list(u"sources"_s);
    if (!list)
        return;
    QHash<int, QString> firstPlaces;
    for (qsizetype i = 0; i < list->size(); ++i) {
        const QString path = u"sources["_s + QString::number(i) + u']';
        const int line = outline.lineOf(path, 1);
        const QJsonValue value = list->at(i);
        if (!value.isObject()) {
            problems.append(
                {line, path, u"a source must be an object, found "_s + describe(value)});
            continue;
        }
        ObjectReader reader(value.toObject(), path, outline, problems);
        reader.expectKeys({u"source"_s}, {u"eng"_s, u"panel"_s, u"oled"_s, u"menu"_s});
        const auto number = reader.whole(u"source"_s, showfile::namedSourceReason);
        SourceName names;
        bool good = number.has_value();
        for (auto [key, field] : {std::pair{u"eng"_s, &names.eng},
                                  {u"panel"_s, &names.panel},
                                  {u"oled"_s, &names.oled},
                                  {u"menu"_s, &names.menu}}) {
            if (!reader.has(key))
                continue;
            const std::optional<QString> text = reader.text(key);
            good = good && text.has_value();
            if (text)
                *field = *text;
        }
        if (!good)
            continue;
        const int source = static_cast<int>(number->value);
        const QString place = path + u", line "_s + QString::number(line);
        if (const auto first = firstPlaces.constFind(source); first != firstPlaces.cend()) {
            problems.append({line, path,
                             u"source "_s + QString::number(source) +
                                 u" is listed twice (first at "_s + *first + u')'});
            continue;
        }
        firstPlaces.insert(source, place);
        file.sources.insert(source, names);
    }
}

ShowFileResult readDocument(const QJsonObject& object, const JsonOutline& outline)
{
    QList<ShowFileProblem> problems;
    ObjectReader root(object, QString(), outline, problems);
    if (!readIdentity(root, object))
        return showfile::refused(problems);

    // Source names came with version 2.
    const bool hasSources = root.whole(u"version"_s)->value >= 2;
    if (hasSources) {
        root.expectKeys(
            {u"format"_s, u"version"_s, u"frame"_s, u"suite"_s, u"buttonCount"_s, u"buttons"_s},
            {u"sources"_s});
    } else {
        root.expectKeys(
            {u"format"_s, u"version"_s, u"frame"_s, u"suite"_s, u"buttonCount"_s, u"buttons"_s});
    }
    ShowFile file;
    readFrame(root, outline, problems, file);
    if (const auto suite = root.whole(u"suite"_s, showfile::suiteReason))
        file.suite = static_cast<int>(suite->value);
    const auto count = root.whole(u"buttonCount"_s, showfile::buttonCountReason);
    // Without a good count the buttons are still checked, against the largest panel.
    file.buttonCount = count ? static_cast<int>(count->value) : 0;
    readButtons(root, file.buttonCount, outline, problems, file);
    if (hasSources)
        readSources(root, outline, problems, file);
    problems += outline.repeatedKeys;

    if (!problems.isEmpty())
        return showfile::refused(problems);
    return ShowFileResult{file, {}};
}

} // namespace

QByteArray writeShowJson(const ShowFile& file)
{
    QList<ShowButton> buttons = file.buttons;
    sortButtons(buttons);

    QByteArray json = "{\n";
    json += "  \"format\": " + jsonString(formatName) + ",\n";
    json += "  \"version\": " + QByteArray::number(showFileVersion) + ",\n";
    json += "  \"frame\": { \"name\": " + jsonString(file.frameName) +
            ", \"version\": " + jsonString(file.frameVersion) +
            ", \"address\": " + jsonString(file.frameAddress) + " },\n";
    json += "  \"suite\": " + QByteArray::number(file.suite) + ",\n";
    json += "  \"buttonCount\": " + QByteArray::number(file.buttonCount) + ",\n";
    QList<QByteArray> buttonLines;
    for (const ShowButton& button : buttons)
        buttonLines.append(buttonLine(button));
    json += listOf("buttons", buttonLines, false);
    QList<int> numbers = file.sources.keys();
    std::sort(numbers.begin(), numbers.end());
    QList<QByteArray> sourceLines;
    for (int number : numbers)
        sourceLines.append(sourceLine(number, file.sources.value(number)));
    json += listOf("sources", sourceLines, true);
    json += "}\n";
    return json;
}

ShowFileResult readShowJson(const QByteArray& data)
{
    const showfile::FileText text = showfile::fileText(data);
    if (text.problem)
        return showfile::refused({*text.problem});
    // QJsonDocument drops a byte order mark that opens a string, as if it began the document,
    // where the CSV reader keeps it. Written as an escape it is kept; a mark anywhere else is
    // kept already, or is no JSON. No line changes.
    const QByteArray json = text.bytes.toByteArray().replace("\"\xEF\xBB\xBF"_ba, "\"\\ufeff"_ba);
    if (std::optional<ShowFileProblem> problem = showfile::invalidString(json))
        return showfile::refused({*problem});

    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError) {
        return showfile::refused({{showfile::lineAt(json, error.offset),
                                   {},
                                   u"not valid JSON: "_s + error.errorString()}});
    }
    const JsonOutline outline = outlineOf(json);
    if (!document.isObject()) {
        const QString reason = u"a show file is one JSON object, found a list"_s;
        return showfile::refused({{outline.lineOf(QString(), 1), {}, reason}});
    }
    return readDocument(document.object(), outline);
}

} // namespace quorvane
