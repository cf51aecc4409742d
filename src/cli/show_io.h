#pragma once

#include "cli_options.h"
#include "model/show_file.h"

#include <QByteArray>
#include <QString>
#include <optional>

namespace quorvane::cli {

// The format of the show file at `path`: the one chosen with --format, else CSV for a name
// ending in ".csv", else JSON.
ShowFormat showFormatFor(const QString& path, std::optional<ShowFormat> chosen);

// A show file read from disk, or why it cannot be used. `problem` is one line for the user;
// `problems` holds every problem the reader found, for the log.
struct ShowFileRead {
    std::optional<ShowFile> file;
    QString problem;
    QList<ShowFileProblem> problems;
};

// A CSV file carries no button count: its buttons are read at `csvButtonCount`.
ShowFileRead readShowFile(const QString& path, ShowFormat format, int csvButtonCount);

QByteArray encodeShowFile(const ShowFile& file, ShowFormat format);

} // namespace quorvane::cli
