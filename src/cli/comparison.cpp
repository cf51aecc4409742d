#include "comparison.h"

#include "report_lines.h"

#include <QSet>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace quorvane::cli {

namespace {
constexpr int defaultButtonCount = 35;
constexpr int defaultSuite = 1;

QList<Bus> busesListed(const QList<ShowButton>& buttons)
{
    QList<Bus> buses;
    for (const ShowButton& button : buttons) {
        if (!buses.contains(button.bus))
            buses.append(button.bus);
    }
    std::sort(buses.begin(), buses.end());
    return buses;
}
} // namespace

std::variant<ComparisonPlan, QString> planComparison(const CliOptions& options, ShowFile file,
                                                     ShowFormat format)
{
    ComparisonPlan plan;
    plan.target.host = options.host;
    if (format == ShowFormat::json) {
        // The same button number is another button on a panel of another width.
        if (options.buttonCount && *options.buttonCount != file.buttonCount) {
            return QString(options.file + u" was read from a "_s +
                           QString::number(file.buttonCount) +
                           u"-button panel; it cannot be compared at --buttons "_s +
                           QString::number(*options.buttonCount));
        }
        plan.target.buttonCount = file.buttonCount;
        plan.target.suite = options.suite.value_or(file.suite);
    } else {
        plan.target.buttonCount = options.buttonCount.value_or(defaultButtonCount);
        plan.target.suite = options.suite.value_or(defaultSuite);
    }

    plan.buses = options.buses.isEmpty() ? busesListed(file.buttons) : options.buses;
    if (plan.buses.isEmpty()) {
        return QString(options.file +
                       u" lists no buttons: name the buses to compare it with, with --bus (on "
                       u"them every assigned button then differs)"_s);
    }
    const QList<ShowButton> compared = onBuses(file.buttons, plan.buses);
    plan.ignoredButtons = file.buttons.size() - compared.size();
    file.buttons = compared;
    plan.file = std::move(file);
    plan.listedOnly = options.listedOnly;
    return plan;
}

QList<ShowButton> onBuses(const QList<ShowButton>& buttons, const QList<Bus>& buses)
{
    QList<ShowButton> kept;
    for (const ShowButton& button : buttons) {
        if (buses.contains(button.bus))
            kept.append(button);
    }
    return kept;
}

QList<ShowButton> comparedOnly(QList<ShowButton> frameButtons, const ComparisonPlan& plan)
{
    QList<ShowButton> frame = onBuses(frameButtons, plan.buses);
    if (plan.listedOnly) {
        QSet<QString> listed;
        for (const ShowButton& button : plan.file.buttons)
            listed.insert(buttonText(button));
        frame.removeIf(
            [&listed](const ShowButton& button) { return !listed.contains(buttonText(button)); });
    }
    return frame;
}

QList<ShowDifference> compareWithFrame(const QList<ShowButton>& frameButtons,
                                       const ComparisonPlan& plan)
{
    return differences(comparedOnly(frameButtons, plan), plan.file.buttons);
}

} // namespace quorvane::cli
