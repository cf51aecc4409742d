#include "sheet_painter.h"

#include "fitted_text.h"
#include "model/button_address.h"

#include <QFontMetricsF>
#include <QPainter>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace quorvane {

namespace {
// Print-friendly: black text on white, greys that survive a cheap laser printer.
const QColor ink(0, 0, 0);
const QColor quiet(90, 90, 90);
const QColor cellLine(150, 150, 150);
const QColor unassignedFill(236, 236, 236);

// Names run across cells at least this wide (in points, inside the padding), else along them.
constexpr qreal narrowestCellAcross = 40;

// A condensed face where there is one: at 35 buttons a cell is under 8 mm wide. Sized by
// fitText, or by sheetFont.
QFont sheetFace(QFont::Weight weight = QFont::Normal)
{
    QFont font;
    font.setFamilies({u"DejaVu Sans Condensed"_s, u"DejaVu Sans"_s});
    font.setStyleHint(QFont::SansSerif);
    // Unhinted, text keeps the widths it was designed with, on paper and scaled into an image.
    font.setHintingPreference(QFont::PreferNoHinting);
    font.setWeight(weight);
    return font;
}

// Whole points, as fitText explains.
QFont sheetFont(int points, QFont::Weight weight = QFont::Normal)
{
    QFont font = sheetFace(weight);
    font.setPointSize(points);
    return font;
}

// Draws the lines of `text` from `top` down at `left`; returns where the next line would go.
qreal drawLines(QPainter& painter, const FittedText& text, qreal left, qreal top)
{
    painter.setFont(text.font);
    for (const QString& line : text.lines) {
        painter.drawText(QPointF(left, top + text.ascent), line);
        top += text.lineSpacing;
    }
    return top;
}

// The widest a column of `widths` may be so that all fit `room`: only the widest give way.
qreal widestColumn(QList<qreal> widths, qreal room)
{
    std::sort(widths.begin(), widths.end());
    for (qsizetype index = 0; index < widths.size(); ++index) {
        const qreal share = room / qreal(widths.size() - index);
        if (widths[index] > share)
            return share;
        room -= widths[index];
    }
    return widths.isEmpty() ? room : widths.last();
}

void paintHeader(QPainter& painter, const QRectF& area, Bus bus, const QList<SheetFact>& facts)
{
    QPaintDevice* device = painter.device();
    const QFont busFont = sheetFont(24, QFont::Bold);
    const QFontMetricsF busMetrics(busFont, device);
    painter.setPen(ink);
    painter.setFont(busFont);
    painter.drawText(QPointF(area.left(), area.top() + busMetrics.ascent()), busName(bus));

    // The facts in columns, each a small label over its value.
    const QFont labelFont = sheetFont(7);
    const QFont valueFont = sheetFont(10, QFont::Bold);
    const QFontMetricsF labelMetrics(labelFont, device);
    const QFontMetricsF valueMetrics(valueFont, device);
    const qreal labelBaseline = area.top() + 2 + labelMetrics.ascent();
    const qreal valueBaseline = labelBaseline + labelMetrics.descent() + 2 + valueMetrics.ascent();
    constexpr qreal columnGap = 18;
    qreal left = area.left() + std::max<qreal>(busMetrics.horizontalAdvance(u"AUX"_s), 60) + 24;
    QList<qreal> widths;
    for (const SheetFact& fact : facts) {
        widths.append(std::max(labelMetrics.horizontalAdvance(fact.label),
                               valueMetrics.horizontalAdvance(fact.value)));
    }
    const qreal widest =
        widestColumn(widths, area.right() - left - columnGap * qreal(facts.size() - 1));
    for (const SheetFact& fact : facts) {
        const QString value = valueMetrics.elidedText(fact.value, Qt::ElideRight, widest);
        painter.setPen(quiet);
        painter.setFont(labelFont);
        painter.drawText(QPointF(left, labelBaseline), fact.label);
        painter.setPen(ink);
        painter.setFont(valueFont);
        painter.drawText(QPointF(left, valueBaseline), value);
        left += std::max(labelMetrics.horizontalAdvance(fact.label),
                         valueMetrics.horizontalAdvance(value)) +
                columnGap;
    }
    painter.setPen(QPen(ink, 1));
    painter.drawLine(QPointF(area.left(), area.bottom()), QPointF(area.right(), area.bottom()));
}

void paintFooter(QPainter& painter, const QRectF& area, const PrintedPage& page)
{
    const QFont font = sheetFont(7);
    const QFontMetricsF metrics(font, painter.device());
    painter.setPen(QPen(quiet, 0.5));
    painter.drawLine(QPointF(area.left(), area.top()), QPointF(area.right(), area.top()));
    painter.setFont(font);
    const qreal baseline = area.bottom() - metrics.descent();
    const qreal third = area.width() / 3;
    painter.drawText(QPointF(area.left(), baseline),
                     metrics.elidedText(page.fileName, Qt::ElideMiddle, third - 10));
    const QString legend = u"Each button: its number, source number and source name; "
                           u"— unassigned"_s;
    painter.drawText(QPointF(area.center().x() - metrics.horizontalAdvance(legend) / 2, baseline),
                     legend);
    painter.drawText(QPointF(area.right() - metrics.horizontalAdvance(page.pageNumber), baseline),
                     page.pageNumber);
}

void paintShiftLabel(QPainter& painter, const QRectF& area, int shift)
{
    const QFont font = sheetFont(9, QFont::Bold);
    const QFontMetricsF metrics(font, painter.device());
    const QString text = u"Shift "_s + QString::number(shift);
    painter.save();
    // Read from the top down, like the names in narrow cells.
    painter.translate(area.center());
    painter.rotate(90);
    painter.setPen(ink);
    painter.setFont(font);
    painter.drawText(
        QPointF(-metrics.horizontalAdvance(text) / 2, (metrics.ascent() - metrics.descent()) / 2),
        text);
    painter.restore();
}

void paintCell(QPainter& painter, const QRectF& area, const SheetCell& cell)
{
    QPaintDevice* device = painter.device();
    if (!cell.isAssigned())
        painter.fillRect(area, unassignedFill);
    const qreal padding = std::clamp(area.width() * 0.08, 1.5, 3.5);
    const QRectF inside = area.adjusted(padding, padding, -padding, -padding);
    const qreal width = inside.width();

    // Sizes grow with the cell, within what stays legible and what stays modest.
    const auto sized = [width](qreal share, int smallest, int largest) {
        return std::clamp(int(width * share), smallest, largest);
    };
    const FittedText number = fitText(QString::number(cell.button), sheetFace(),
                                      QSizeF(width, inside.height()), sized(0.3, 6, 8), 6, device);
    painter.setPen(quiet);
    qreal top = drawLines(painter, number, inside.left(), inside.top());

    const int sourceSize = sized(0.42, 6, 12);
    if (!cell.isAssigned()) {
        const FittedText none = fitText(u"—"_s, sheetFace(), QSizeF(width, inside.height()),
                                        sourceSize, sourceSize, device);
        drawLines(painter, none, inside.left(), top);
        return;
    }
    const FittedText source = fitText(QString::number(cell.source), sheetFace(QFont::Bold),
                                      QSizeF(width, inside.bottom() - top), sourceSize, 5, device);
    painter.setPen(ink);
    top = drawLines(painter, source, inside.left(), top) + 1;

    const QRectF nameBox(inside.left(), top, width, inside.bottom() - top);
    if (width >= narrowestCellAcross) {
        const FittedText name = fitText(cell.name, sheetFace(), nameBox.size(), 9, 6, device);
        drawLines(painter, name, nameBox.left(), nameBox.top());
        return;
    }
    // Across a narrow cell a name breaks inside its words at a size hardly legible; along the
    // cell, which is tall, it fits whole, read from the top down below its source.
    const FittedText name =
        fitText(cell.name, sheetFace(), nameBox.size().transposed(), 9, 6, device);
    const qreal block = qreal(name.lines.size()) * name.lineSpacing;
    painter.save();
    painter.translate(nameBox.topRight() - QPointF(std::max(0.0, (width - block) / 2), 0));
    painter.rotate(90);
    drawLines(painter, name, 0, 0);
    painter.restore();
}

void paintGridLines(QPainter& painter, const SheetGeometry& geometry)
{
    painter.setPen(QPen(cellLine, 0.5));
    for (int button = 2; button <= geometry.buttonCount; ++button) {
        const qreal x = geometry.cell(1, button).left();
        painter.drawLine(QPointF(x, geometry.grid.top()), QPointF(x, geometry.grid.bottom()));
    }
    painter.setPen(QPen(ink, 1));
    for (int shift = 2; shift <= shiftRowCount; ++shift) {
        const qreal y = geometry.cell(shift, 1).top();
        painter.drawLine(QPointF(geometry.grid.left(), y), QPointF(geometry.grid.right(), y));
    }
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(geometry.grid);
}
} // namespace

void paintSheetPage(QPainter& painter, const SheetGeometry& geometry, const PrintedPage& page)
{
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
    paintHeader(painter, geometry.header, page.page.bus, page.facts);
    for (int shift = 1; shift <= shiftRowCount; ++shift)
        paintShiftLabel(painter, geometry.shiftLabel(shift), shift);
    for (const SheetCell& cell : page.page.cells)
        paintCell(painter, geometry.cell(cell.shift, cell.button), cell);
    paintGridLines(painter, geometry);
    paintFooter(painter, geometry.footer, page);
}

} // namespace quorvane
