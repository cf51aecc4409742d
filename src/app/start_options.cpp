#include "start_options.h"

#include "model/button_address.h"
#include "project_info.h"

#include <QCommandLineParser>

using namespace Qt::StringLiterals;

namespace quorvane {

namespace {

const QString firstPaintOption = u"report-first-paint"_s;

void declareOptions(QCommandLineParser& parser)
{
    parser.setApplicationDescription(u"Maps the source-select buttons of a K-Frame panel suite."_s);
    // Not addHelpOption(): its --help-all promises a list of Qt's own options, which this
    // program does not print.
    parser.addOption({{u"h"_s, u"help"_s}, u"Displays help on commandline options."_s});
    parser.addVersionOption();
    parser.addOptions({
        {u"demo"_s, u"Start the built-in demo frame (an emulated K-Frame on 127.0.0.1)."_s},
        {u"show"_s,
         u"Open a show file offline: the built-in frame serves it on 127.0.0.1, to edit it "
         u"without the switcher and save it back."_s,
         u"file"_s},
        {u"host"_s, u"The frame's IPv4 address or host name."_s, u"address"_s},
        {u"suite"_s, u"The panel suite, 1 to 4."_s, u"n"_s},
        {u"buttons"_s, u"Buttons per row: 15, 20, 25 or 35."_s, u"n"_s},
        {u"connect"_s, u"Connect at once."_s},
    });
    // For the start-up benchmark, not for users.
    QCommandLineOption firstPaint(firstPaintOption);
    firstPaint.setFlags(QCommandLineOption::HiddenFromHelp);
    parser.addOption(firstPaint);
}

} // namespace

ParsedStart parseStartOptions(const QStringList& arguments)
{
    QCommandLineParser parser;
    declareOptions(parser);
    ParsedStart parsed;
    if (!parser.parse(arguments)) {
        parsed.error = parser.errorText();
        parsed.unknownOption = !parser.unknownOptionNames().isEmpty();
        return parsed;
    }
    StartOptions& options = parsed.options;
    if (parser.isSet(u"help"_s))
        options.request = StartRequest::help;
    else if (parser.isSet(u"version"_s))
        options.request = StartRequest::version;
    options.demo = parser.isSet(u"demo"_s);
    options.connect = parser.isSet(u"connect"_s);
    options.reportFirstPaint = parser.isSet(firstPaintOption);
    if (parser.isSet(u"host"_s))
        options.host = parser.value(u"host"_s);
    if (parser.isSet(u"show"_s)) {
        options.show = parser.value(u"show"_s);
        // An offline show has its own frame, suite and button count.
        if (options.demo || options.host) {
            parsed.error = u"--show opens a show offline; it does not go with "_s +
                           (options.demo ? u"--demo"_s : u"--host"_s);
            return parsed;
        }
    }
    // One of `allowed`, or a refusal that lists them.
    auto choice = [&](const QString& name, const QList<int>& allowed) -> std::optional<int> {
        if (!parser.isSet(name) || !parsed.error.isEmpty())
            return std::nullopt;
        bool ok = false;
        const int value = parser.value(name).toInt(&ok);
        if (!ok || !allowed.contains(value)) {
            QStringList named;
            for (int n : allowed)
                named.append(QString::number(n));
            const QString last = named.takeLast();
            parsed.error = u"--"_s + name + u": "_s + parser.value(name) +
                           u" is not allowed; use "_s + named.join(u", "_s) + u" or "_s + last;
            return std::nullopt;
        }
        return value;
    };
    options.suite = choice(u"suite"_s, {1, 2, 3, 4});
    options.buttons = choice(
        u"buttons"_s, QList<int>(supportedButtonCounts.begin(), supportedButtonCounts.end()));
    return parsed;
}

QString startHelpText()
{
    QCommandLineParser parser;
    declareOptions(parser);
    return parser.helpText();
}

QString startVersionText()
{
    return u"quorvane "_s + projectVersion;
}

} // namespace quorvane
