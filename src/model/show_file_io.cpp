#include "show_file_io.h"

#include <QFile>
#include <QFileInfo>
#include <filesystem>

using namespace Qt::StringLiterals;

namespace quorvane {

namespace {
QString tooLarge()
{
    return u"the file is larger than "_s + QString::number(maxShowFileSize / (1024 * 1024)) +
           u" MiB, far more than any show file"_s;
}

// Why the thing at `path` is no file to read a show from, or nothing when it is a regular file
// (or missing, which opening reports in the system's words). Opening a named pipe waits for a
// writer, deaf to Ctrl+C, and a device may never end: neither holds a show.
std::optional<QString> notARegularFile(const QString& path)
{
    std::error_code error;
    const std::filesystem::file_status status =
        std::filesystem::status(QFileInfo(path).filesystemFilePath(), error);
    switch (status.type()) {
    case std::filesystem::file_type::regular:
    case std::filesystem::file_type::not_found:
    case std::filesystem::file_type::none:
        return std::nullopt;
    case std::filesystem::file_type::directory:
        return u"it is a folder, not a file"_s;
    case std::filesystem::file_type::fifo:
        return u"it is a named pipe, not a regular file"_s;
    case std::filesystem::file_type::character:
    case std::filesystem::file_type::block:
        return u"it is a device, not a regular file"_s;
    case std::filesystem::file_type::socket:
        return u"it is a socket, not a regular file"_s;
    default:
        return u"it is not a regular file"_s;
    }
}
} // namespace

ShowFileBytes readShowFileBytes(const QString& path)
{
    if (const std::optional<QString> refused = notARegularFile(path))
        return {std::nullopt, *refused};
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {std::nullopt, file.errorString()};
    if (file.size() > maxShowFileSize)
        return {std::nullopt, tooLarge()};

    // Some files say they are empty and are not (those under /proc): read until the end or
    // past the bound, whatever the size said.
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
