#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace quorvane {

// The largest file read as a show file. A full show, every bus of a 35-button suite with long
// names, is a few hundred kilobytes: anything far larger is not a show file, and a device or a
// pipe may never end.
inline constexpr qint64 maxShowFileSize = 16 * 1024 * 1024;

// The bytes of the file at `path`, or why they cannot be had: `problem` is one line without
// the path, such as the system's "No such file or directory". A file larger than
// maxShowFileSize is refused before it is read; from a device or a pipe, whose size is not
// known beforehand, at most one byte more is read.
struct ShowFileBytes {
    std::optional<QByteArray> bytes;
    QString problem;
};
ShowFileBytes readShowFileBytes(const QString& path);

} // namespace quorvane
