#include "show_file_io.h"

#include <QFile>

using namespace Qt::StringLiterals;

namespace quorvane {

namespace {
QString tooLarge()
{
    return u"the file is larger than "_s + QString::number(maxShowFileSize / (1024 * 1024)) +
           u" MiB, far more than any show file"_s;
}
} // namespace

ShowFileBytes readShowFileBytes(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {std::nullopt, file.errorString()};
    if (!file.isSequential() && file.size() > maxShowFileSize)
        return {std::nullopt, tooLarge()};

    // A pipe hands over what it has at the moment, so read until the end or past the bound.
    constexpr qint64 chunkSize = 64 * 1024;
    QByteArray bytes;
    while (bytes.size() <= maxShowFileSize) {
        const QByteArray chunk = file.read(qMin(chunkSize, maxShowFileSize + 1 - bytes.size()));
        if (chunk.isEmpty())
            break;
        bytes += chunk;
    }
    if (file.error() != QFileDevice::NoError)
        return {std::nullopt, file.errorString()};
    if (bytes.size() > maxShowFileSize)
        return {std::nullopt, tooLarge()};
    return {bytes, QString()};
}

} // namespace quorvane
