#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace quorvane {

// The largest file read as a show file. A full show, every bus of a 35-button suite with long
// names, is a few hundred kilobytes: anything far larger is not a show file.
inline constexpr qint64 maxShowFileSize = 16 * 1024 * 1024;

// The bytes of the regular file at `path`, or why they cannot be had: `problem` is one line
// without the path, such as the system's "No such file or directory" or "it is a named pipe,
// not a regular file". Folders, pipes, devices and sockets are refused before they are opened;
// a file larger than maxShowFileSize before it is read.
struct ShowFileBytes {
    std::optional<QByteArray> bytes;
    QString problem;
};
ShowFileBytes readShowFileBytes(const QString& path);

} // namespace quorvane
