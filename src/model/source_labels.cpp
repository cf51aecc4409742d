#include "source_labels.h"

#include "diagnostics/debug_logger.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace quorvane {

QStringList defaultSourceLabelsLocations()
{
    return {u":/source_labels.csv"_s, QDir::currentPath() + u"/docs/source_labels.csv"_s};
}

InternalSourceLabels parseSourceLabels(const QString& csv)
{
    static const QRegularExpression lineBreak(u"[\r\n]"_s);
    static const QRegularExpression decimal(u"^[+-]?[0-9]+$"_s);

    InternalSourceLabels labels;
    const QStringList lines = csv.split(lineBreak);
    // Line 1 is the header, whatever it holds; the pieces between \r and \n are empty and
    // fall out below for having no comma.
    for (qsizetype i = 1; i < lines.size(); ++i) {
        const QStringList fields = lines[i].split(u',');
        if (fields.size() < 2)
            continue;
        const QString number = fields[0].trimmed();
        if (!decimal.match(number).hasMatch())
            continue;
        // Only a source number can carry a label; a number past it is a slip, not a label to
        // keep under whatever smaller number it might be narrowed to.
        bool fits = false;
        const qint64 source = number.toLongLong(&fits);
        if (!fits || source < firstSourceNumber || source > lastSourceNumber)
            continue;
        const QString label = fields[1].trimmed();
        // An empty label would hide the source's engineering name behind a blank cell.
        if (label.isEmpty())
            continue;
        labels.insert(static_cast<int>(source), label);
    }
    return labels;
}

InternalSourceLabels loadInternalSourceLabels(const QStringList& locations, DebugLogger& logger)
{
    for (const QString& path : locations) {
        if (!QFile::exists(path))
            continue;
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly)) {
            logger.error(u"Failed to load source_labels.csv: "_s + file.errorString());
            return {};
        }
        const QByteArray content = file.readAll();
        if (file.error() != QFileDevice::NoError) {
            logger.error(u"Failed to load source_labels.csv: "_s + file.errorString());
            return {};
        }
        InternalSourceLabels labels = parseSourceLabels(QString::fromUtf8(content));
        logger.info(u"Loaded "_s + QString::number(labels.size()) +
                    u" internal source labels from CSV"_s);
        return labels;
    }
    logger.info(u"source_labels.csv not found, internal source labels not loaded"_s);
    return {};
}

} // namespace quorvane
