#include "panel_sheet.h"

#include "diagnostics/programming_error.h"
#include "model/button_address.h"
#include "sheet_content.h"
#include "sheet_geometry.h"
#include "sheet_painter.h"

#include <QBuffer>
#include <QImage>
#include <QPageLayout>
#include <QPainter>
#include <QPdfWriter>
#include <QSaveFile>
#include <memory>
#include <vector>

using namespace Qt::StringLiterals;

namespace quorvane {

namespace {
// Sharp enough to read the smallest names on screen, small enough to mail.
constexpr int imageDotsPerInch = 150;
constexpr qreal pointsPerInch = 72;
constexpr qreal metresPerInch = 0.0254;

QList<PrintedPage> printedPages(const ShowFile& file, const SheetOptions& options)
{
    const QList<Bus> buses = sheetBuses(file, options.buses);
    QList<PrintedPage> pages;
    for (Bus bus : buses) {
        SheetPage page = sheetPage(file, bus);
        QList<SheetFact> facts = sheetFacts(file, page, options.date);
        pages.append(PrintedPage{std::move(page), std::move(facts), options.fileName,
                                 pageNumberText(int(pages.size()) + 1, int(buses.size()))});
    }
    return pages;
}

QString cannotWrite(const QString& path, const QString& reason)
{
    return u"cannot write "_s + path + u": "_s + reason;
}

SheetExport writePdf(const QList<PrintedPage>& pages, const SheetGeometry& geometry,
                     const QString& path, const SheetOptions& options)
{
    QSaveFile out(path);
    if (!out.open(QIODevice::WriteOnly))
        return {{}, cannotWrite(path, out.errorString())};
    {
        QPdfWriter writer(&out);
        writer.setPageLayout(QPageLayout(
            QPageSize(options.paper == SheetPaper::letter ? QPageSize::Letter : QPageSize::A4),
            QPageLayout::Landscape, QMarginsF()));
        // One unit a point, the resolution paintSheetPage expects.
        writer.setResolution(int(pointsPerInch));
        writer.setTitle(u"Panel sheet: "_s + options.fileName);
        writer.setCreator(u"Quorvane"_s);
        QPainter painter;
        if (!painter.begin(&writer))
            return {{}, cannotWrite(path, u"the PDF could not be started"_s)};
        for (qsizetype index = 0; index < pages.size(); ++index) {
            if (index > 0)
                writer.newPage();
            paintSheetPage(painter, geometry, pages[index]);
        }
        painter.end();
    }
    if (!out.commit())
        return {{}, cannotWrite(path, out.errorString())};
    return {{path}, {}};
}

QImage paintImage(const PrintedPage& page, const SheetGeometry& geometry, SheetPaper paper)
{
    QImage image(sheetImageSize(paper), QImage::Format_RGB32);
    image.fill(Qt::white);
    // Painted at 72 dots per inch scaled up, so that text measures as it does on paper; the
    // image then says its true resolution.
    const int pointsPerMetre = qRound(pointsPerInch / metresPerInch);
    image.setDotsPerMeterX(pointsPerMetre);
    image.setDotsPerMeterY(pointsPerMetre);
    {
        QPainter painter(&image);
        const qreal scale = imageDotsPerInch / pointsPerInch;
        painter.scale(scale, scale);
        paintSheetPage(painter, geometry, page);
    }
    const int dotsPerMetre = qRound(imageDotsPerInch / metresPerInch);
    image.setDotsPerMeterX(dotsPerMetre);
    image.setDotsPerMeterY(dotsPerMetre);
    return image;
}

SheetExport writePngs(const QList<PrintedPage>& pages, const SheetGeometry& geometry,
                      const QString& path, const SheetOptions& options)
{
    // Every image is painted and every file opened before the first takes its place: a set
    // that cannot be written whole leaves the old one as it was.
    std::vector<std::unique_ptr<QSaveFile>> files;
    QStringList written;
    for (const PrintedPage& page : pages) {
        const QString imagePath = pngPathFor(path, page.page.bus);
        auto file = std::make_unique<QSaveFile>(imagePath);
        if (!file->open(QIODevice::WriteOnly))
            return {{}, cannotWrite(imagePath, file->errorString())};
        if (!paintImage(page, geometry, options.paper).save(file.get(), "PNG"))
            return {{}, cannotWrite(imagePath, file->errorString())};
        files.push_back(std::move(file));
        written.append(imagePath);
    }
    for (const std::unique_ptr<QSaveFile>& file : files) {
        if (!file->commit())
            return {{}, cannotWrite(file->fileName(), file->errorString())};
    }
    return {written, {}};
}
} // namespace

QSize sheetImageSize(SheetPaper paper)
{
    const QSizeF points = sheetPageSize(paper);
    const qreal scale = imageDotsPerInch / pointsPerInch;
    return QSize(qRound(points.width() * scale), qRound(points.height() * scale));
}

SheetExport exportPanelSheet(const ShowFile& file, const QString& path, const SheetOptions& options)
{
    QUORVANE_REQUIRE(isSupportedButtonCount(file.buttonCount),
                     "a sheet is printed at a panel width: 15, 20, 25 or 35 buttons");
    const QList<PrintedPage> pages = printedPages(file, options);
    if (pages.isEmpty())
        return {{}, u"nothing to print: the show file lists no buttons and no bus was named"_s};
    const SheetGeometry geometry = sheetGeometry(options.paper, file.buttonCount);
    return options.format == SheetFormat::png ? writePngs(pages, geometry, path, options)
                                              : writePdf(pages, geometry, path, options);
}

} // namespace quorvane
