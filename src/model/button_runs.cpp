#include "button_runs.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace quorvane {

namespace {
QString runText(int first, int last)
{
    return first == last ? QString::number(first)
                         : QString::number(first) + u'-' + QString::number(last);
}
} // namespace

QStringList describeButtonRuns(Bus bus, QList<ButtonPosition> positions)
{
    std::ranges::sort(positions, [](const ButtonPosition& a, const ButtonPosition& b) {
        return std::tie(a.shift, a.button) < std::tie(b.shift, b.button);
    });
    positions.erase(std::unique(positions.begin(), positions.end()), positions.end());

    QStringList lines;
    for (qsizetype i = 0; i < positions.size();) {
        const int shift = positions[i].shift;
        QStringList runs;
        int buttons = 0;
        while (i < positions.size() && positions[i].shift == shift) {
            const int first = positions[i].button;
            int last = first;
            while (i + 1 < positions.size() && positions[i + 1].shift == shift &&
                   positions[i + 1].button == last + 1) {
                ++i;
                ++last;
            }
            runs.append(runText(first, last));
            buttons += last - first + 1;
            ++i;
        }
        lines.append(busName(bus) + u" shift "_s + QString::number(shift) +
                     (buttons == 1 ? u": button "_s : u": buttons "_s) + runs.join(u", "_s));
    }
    return lines;
}

} // namespace quorvane
