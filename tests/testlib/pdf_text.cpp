#include "pdf_text.h"

#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QXmlStreamReader>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace quorvane::test {

namespace {
// The tool's standard output, or nothing (and a warning) when it did not run to success.
std::optional<QByteArray> run(const QString& program, const QStringList& arguments)
{
    if (!QFileInfo(program).isExecutable()) {
        qWarning("%s is missing: install poppler-utils (./quorvane.sh test installs it)",
                 qPrintable(program));
        return std::nullopt;
    }
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished(60'000) || process.exitStatus() != QProcess::NormalExit ||
        process.exitCode() != 0) {
        qWarning("%s %s failed: %s", qPrintable(program), qPrintable(arguments.join(u' ')),
                 process.readAllStandardError().constData());
        return std::nullopt;
    }
    return process.readAllStandardOutput();
}

qreal number(const QXmlStreamAttributes& attributes, QLatin1StringView name)
{
    return attributes.value(name).toDouble();
}
} // namespace

QStringList PdfPage::wordsIn(const QRectF& area) const
{
    QStringList found;
    for (const PdfWord& word : words) {
        if (area.contains(word.box.center()))
            found.append(word.text);
    }
    std::sort(found.begin(), found.end());
    return found;
}

QString PdfPage::text() const
{
    QStringList texts;
    for (const PdfWord& word : words)
        texts.append(word.text);
    return texts.join(u' ');
}

int pdfPageCount(const QString& path)
{
    const std::optional<QByteArray> info = run(QStringLiteral(QUORVANE_PDFINFO), {path});
    if (!info)
        return -1;
    const QRegularExpressionMatch pages =
        QRegularExpression(u"^Pages:\\s+(\\d+)$"_s, QRegularExpression::MultilineOption)
            .match(QString::fromUtf8(*info));
    if (!pages.hasMatch()) {
        qWarning("pdfinfo names no page count for %s", qPrintable(path));
        return -1;
    }
    return pages.captured(1).toInt();
}

QList<PdfPage> pdfPages(const QString& path)
{
    const std::optional<QByteArray> xhtml =
        run(QStringLiteral(QUORVANE_PDFTOTEXT), {u"-bbox"_s, u"-enc"_s, u"UTF-8"_s, path, u"-"_s});
    if (!xhtml)
        return {};
    QList<PdfPage> pages;
    QXmlStreamReader reader(*xhtml);
    while (!reader.atEnd()) {
        if (reader.readNext() != QXmlStreamReader::StartElement)
            continue;
        const QXmlStreamAttributes attributes = reader.attributes();
        if (reader.name() == u"page") {
            pages.append(PdfPage{
                QSizeF(number(attributes, "width"_L1), number(attributes, "height"_L1)), {}});
        } else if (reader.name() == u"word" && !pages.isEmpty()) {
            const QPointF topLeft(number(attributes, "xMin"_L1), number(attributes, "yMin"_L1));
            const QPointF bottomRight(number(attributes, "xMax"_L1), number(attributes, "yMax"_L1));
            pages.last().words.append(
                PdfWord{QRectF(topLeft, bottomRight), reader.readElementText()});
        }
    }
    if (reader.hasError()) {
        qWarning("pdftotext -bbox gave unreadable output for %s: %s", qPrintable(path),
                 qPrintable(reader.errorString()));
        return {};
    }
    return pages;
}

} // namespace quorvane::test
