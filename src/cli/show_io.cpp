#include "show_io.h"

#include "model/show_file_io.h"

using namespace Qt::StringLiterals;

namespace quorvane::cli {

ShowFormat showFormatFor(const QString& path, std::optional<ShowFormat> chosen)
{
    if (chosen)
        return *chosen;
    return path.endsWith(u".csv"_s, Qt::CaseInsensitive) ? ShowFormat::csv : ShowFormat::json;
}

ShowFileRead readShowFile(const QString& path, ShowFormat format, int csvButtonCount)
{
    const ShowFileBytes read = readShowFileBytes(path);
    if (!read.bytes)
        return ShowFileRead{std::nullopt, u"cannot read "_s + path + u": "_s + read.problem, {}};
    const QByteArray& data = *read.bytes;

    ShowFileResult result =
        format == ShowFormat::csv ? readShowCsv(data, csvButtonCount) : readShowJson(data);
    if (result.file)
        return ShowFileRead{std::move(result.file), QString(), {}};

    // The first problem says where to look; a file with many is usually wrong in one way.
    const qsizetype more = result.problems.size() - 1;
    QString problem = path + u" is not a valid "_s +
                      (format == ShowFormat::csv ? u"CSV"_s : u"JSON"_s) + u" show file"_s;
    if (!result.problems.isEmpty())
        problem += u": "_s + result.problems.first().text();
    if (more > 0) {
        problem += u" (and "_s + QString::number(more) +
                   (more == 1 ? u" more problem)"_s : u" more problems)"_s);
    }
    return ShowFileRead{std::nullopt, problem, result.problems};
}

QByteArray encodeShowFile(const ShowFile& file, ShowFormat format)
{
    return format == ShowFormat::csv ? writeShowCsv(file) : writeShowJson(file);
}

} // namespace quorvane::cli
