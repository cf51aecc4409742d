#include "apply_report.h"

#include <QHash>
#include <QSet>

using namespace Qt::StringLiterals;

namespace quorvane::cli {

QList<ShowButton> ApplyRecord::neverSent() const
{
    QSet<QString> sent;
    for (const TrackedWrite& write : confirmations.writes())
        sent.insert(buttonText(write.wanted));
    QList<ShowButton> unsent;
    for (const ShowButton& wanted : toWrite) {
        if (!sent.contains(buttonText(wanted)))
            unsent.append(wanted);
    }
    return unsent;
}

QList<TrackedWrite> ApplyRecord::writes() const
{
    QHash<QString, QString> names;
    for (const ShowButton& wanted : toWrite)
        names.insert(buttonText(wanted), wanted.name);
    QList<TrackedWrite> named = confirmations.writes();
    for (TrackedWrite& write : named)
        write.wanted.name = names.value(buttonText(write.wanted));
    return named;
}

void reportConfirmations(Console& console, const ApplyRecord& record, const SourceNamer& names,
                         const QString& silence)
{
    for (const TrackedWrite& write : record.writes())
        console.result(writeLine(write, names, silence));
    for (const ShowButton& wanted : record.neverSent())
        console.result(neverSentLine(wanted, names));
}

void reportReadBack(Console& console, const ApplyRecord& record,
                    const QList<ShowDifference>& heldDifferences, const SourceNamer& names)
{
    QHash<QString, ShowDifference> differing;
    for (const ShowDifference& difference : heldDifferences)
        differing.insert(buttonText(difference.wanted), difference);
    for (const TrackedWrite& write : record.writes()) {
        const QString button = buttonText(write.wanted);
        const auto difference = differing.constFind(button);
        console.result(readBackLine(write,
                                    difference == differing.cend()
                                        ? std::nullopt
                                        : std::optional<ShowDifference>(*difference),
                                    names));
        differing.remove(button);
    }
    for (const ShowDifference& difference : heldDifferences) {
        if (differing.contains(buttonText(difference.wanted)))
            console.result(u"differs "_s + differenceLine(difference, names) + u"; not written"_s);
    }
}

QString applyTotals(const ApplyRecord& record)
{
    const WriteConfirmations& confirmations = record.confirmations;
    const qsizetype neverSent = record.toWrite.size() - confirmations.writes().size();
    return u"sent "_s + QString::number(confirmations.writes().size()) + u", confirmed "_s +
           QString::number(confirmations.confirmedCount()) + u", unconfirmed "_s +
           QString::number(confirmations.unconfirmedCount()) +
           (neverSent > 0 ? u", never sent "_s + QString::number(neverSent) : QString());
}

} // namespace quorvane::cli
