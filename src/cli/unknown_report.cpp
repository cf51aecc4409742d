#include "unknown_report.h"

#include "link/frame_reading.h"

using namespace Qt::StringLiterals;

namespace quorvane::cli {

ExitCode reportUnknownButtons(Console& console, const QList<ShowButton>& unknown, int retries,
                              const QString& leftUndone)
{
    for (const QString& line : unknownButtonLines(unknown))
        console.error(line + u" did not answer"_s);
    const qsizetype count = unknown.size();
    const QString asked =
        retries == 0   ? QString()
        : retries == 1 ? u", even when asked once more"_s
                       : u", even when asked "_s + QString::number(retries) + u" more times"_s;
    console.error(QString::number(count) +
                  (count == 1 ? u" button did not answer"_s : u" buttons did not answer"_s) +
                  asked + u": "_s + leftUndone + u" (try again, or raise --retries)"_s);
    return ExitCode::incomplete;
}

} // namespace quorvane::cli
