#include "widgets/button_grid_widget.h"

#include "editing/drag_payload.h"
#include "editing/editing_model.h"
#include "editing/grid_geometry.h"
#include "link/gv_connection.h"

#include <QApplication>
#include <QDrag>
#include <QKeyEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QToolTip>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace quorvane {

namespace {
QColor cellFill(const ButtonCellState& cell)
{
    if (!cell.isFullyLoaded)
        return QColor(0x2a, 0x2a, 0x2e);
    if (cell.isInDropPreview)
        return QColor(0x1f, 0x6f, 0xd1);
    if (cell.isSelected && !cell.hideSelectionDuringDrag)
        return cell.isMultiSelected ? QColor(0xc2, 0x7a, 0x1a) : QColor(0xe0, 0x8e, 0x22);
    return cell.source != 0 ? QColor(0x3a, 0x3d, 0x45) : QColor(0x30, 0x30, 0x34);
}

// Draws a badge with the number of dragged buttons.
QPixmap countBadge(int count, const GridMetrics& metrics)
{
    const int side = int(metrics.scaled(44));
    QPixmap badge(side, side);
    badge.fill(Qt::transparent);
    QPainter painter(&badge);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(QColor(0x1f, 0x6f, 0xd1));
    painter.setPen(Qt::NoPen);
    painter.drawEllipse(badge.rect().adjusted(2, 2, -2, -2));
    painter.setPen(Qt::white);
    QFont font = painter.font();
    font.setBold(true);
    font.setPointSizeF(metrics.scaled(13));
    painter.setFont(font);
    painter.drawText(badge.rect(), Qt::AlignCenter, QString::number(count));
    return badge;
}

QRect innerRect(const QRect& cell, const GridMetrics& metrics)
{
    const int pad = int(metrics.scaled(3));
    return cell.adjusted(pad, pad / 2, -pad, -pad / 2);
}

// The source number on top, the name below, cut to the cell's width.
void paintSource(QPainter& painter, const QRect& rect, const ButtonCellState& cell,
                 const GridMetrics& metrics)
{
    const QRect inner = innerRect(rect, metrics);
    painter.setPen(QColor(0xb0, 0xb4, 0xbc));
    painter.setFont(gridFont(painter.font(), 8, metrics, false));
    painter.drawText(inner, Qt::AlignTop | Qt::AlignHCenter,
                     cell.source != 0 ? QString::number(cell.source) : u"—"_s);
    if (cell.displayName) {
        painter.setFont(gridFont(painter.font(), 8, metrics, true));
        painter.setPen(Qt::white);
        const QString text =
            painter.fontMetrics().elidedText(*cell.displayName, Qt::ElideRight, inner.width());
        painter.drawText(inner, Qt::AlignBottom | Qt::AlignHCenter, text);
    }
}

// Hatching and a question mark: the frame never said what this button holds. A large mark
// alone, or a small one in the corner over a source written to it.
void paintUnknownMark(QPainter& painter, const QPainterPath& shape, const QRect& rect,
                      const ButtonCellState& cell, const GridMetrics& metrics)
{
    painter.setBrushOrigin(rect.topLeft()); // every unknown cell hatched alike
    painter.fillPath(shape, QBrush(QColor(0x9a, 0x9e, 0xa6, 0x70), Qt::BDiagPattern));
    painter.setPen(QColor(0xf5, 0xc5, 0x42));
    const bool alone = cell.source == 0;
    painter.setFont(gridFont(painter.font(), alone ? 14 : 8, metrics, true));
    painter.drawText(alone ? rect : innerRect(rect, metrics),
                     alone ? Qt::AlignCenter : Qt::AlignTop | Qt::AlignRight, u"?"_s);
}

// A write the frame has not confirmed: an outline and a sign in the top left corner, each
// state its own colour and line, so that they read apart from each other and from unknown.
void paintWriteMark(QPainter& painter, const QPainterPath& shape, const QRect& rect,
                    const ButtonCellState& cell, const GridMetrics& metrics)
{
    QColor colour;
    Qt::PenStyle line = Qt::SolidLine;
    QString sign;
    switch (cell.writeMark) {
    case CellWriteMark::none:
        return;
    case CellWriteMark::pending:
        colour = QColor(0x6c, 0xb4, 0xff);
        line = Qt::DashLine;
        sign = u"\u2026"_s; // …
        break;
    case CellWriteMark::notConfirmed:
        colour = QColor(0xff, 0x9f, 0x0a);
        sign = u"!"_s;
        break;
    case CellWriteMark::refused:
        colour = QColor(0xff, 0x45, 0x3a);
        sign = u"\u2715"_s; // ✕
        break;
    }
    painter.setPen(QPen(colour, std::max(1.0, metrics.scaled(2)), line));
    painter.drawPath(shape);
    painter.setFont(gridFont(painter.font(), 8, metrics, true));
    painter.drawText(innerRect(rect, metrics), Qt::AlignTop | Qt::AlignLeft, sign);
}
} // namespace

QFont gridFont(const QFont& base, double pointSize, const GridMetrics& metrics, bool bold)
{
    QFont font = base;
    font.setPointSizeF(std::max(1.0, metrics.scaled(pointSize)));
    font.setBold(bold);
    return font;
}

ButtonGridWidget::ButtonGridWidget(EditingModel& model, QWidget* parent)
    : QWidget(parent)
    , m_model(model)
{
    setAcceptDrops(true);
    setMouseTracking(false);
    // A click in the grid gives it the keyboard, for the arrow keys and Return.
    setFocusPolicy(Qt::StrongFocus);
    for (auto changed : {&EditingModel::gridDataChanged, &EditingModel::selectionChanged,
                         &EditingModel::dragStateChanged, &EditingModel::selectedBusChanged}) {
        QObject::connect(&m_model, changed, this, qOverload<>(&QWidget::update));
    }
    for (auto resized :
         {&EditingModel::selectedButtonCountChanged, &EditingModel::gridMetricsChanged}) {
        QObject::connect(&m_model, resized, this, &ButtonGridWidget::followSize);
    }
    followSize();
}

void ButtonGridWidget::followSize()
{
    updateGeometry();
    // Inside a scroll area only a resize changes the size: the grid never keeps the columns
    // of another count.
    resize(sizeHint());
    update();
}

QSize ButtonGridWidget::sizeHint() const
{
    return m_model.gridMetrics().gridSize(m_model.selectedButtonCount());
}

QRect ButtonGridWidget::cellRect(int shift, int button) const
{
    return m_model.gridMetrics().cellRect(shift, button);
}

std::optional<SelectedButtonKey> ButtonGridWidget::cellAt(QPoint point) const
{
    return m_model.gridMetrics().cellAt(point, m_model.selectedButtonCount());
}

bool ButtonGridWidget::event(QEvent* event)
{
    if (event->type() != QEvent::ToolTip)
        return QWidget::event(event);
    const auto* help = static_cast<QHelpEvent*>(event);
    const std::optional<SelectedButtonKey> cell = cellAt(help->pos());
    if (!cell) {
        QToolTip::hideText();
        event->ignore();
        return true;
    }
    QToolTip::showText(help->globalPos(), cellToolTip(m_model.cellState(cell->shift, cell->button)),
                       this, cellRect(cell->shift, cell->button));
    return true;
}

void ButtonGridWidget::paintCell(QPainter& painter, const QRect& rect, const ButtonCellState& cell,
                                 const GridMetrics& metrics)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath shape;
    const double radius = metrics.scaled(5);
    shape.addRoundedRect(QRectF(rect).adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
    painter.fillPath(shape, cellFill(cell));
    if (cell.isAnchor() && !cell.hideSelectionDuringDrag) {
        painter.setPen(QPen(QColor(0xff, 0xd6, 0x0a), std::max(1.0, metrics.scaled(2))));
        painter.drawPath(shape);
    }
    if (cell.isFullyLoaded) {
        if (cell.isUnknown)
            paintUnknownMark(painter, shape, rect, cell, metrics);
        // An unknown button without a written source has nothing else to show.
        if (!cell.isUnknown || cell.source != 0)
            paintSource(painter, rect, cell, metrics);
        paintWriteMark(painter, shape, rect, cell, metrics);
    }
    painter.restore();
}

void ButtonGridWidget::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const GridMetrics& metrics = m_model.gridMetrics();
    const int count = m_model.selectedButtonCount();
    // The header and the row labels are painted by the scroll area, in place above the cells.
    for (int shift = firstShift; shift <= lastShift; ++shift) {
        for (int button = 1; button <= count; ++button)
            paintCell(painter, cellRect(shift, button), m_model.cellState(shift, button), metrics);
    }
    Q_EMIT painted();
}

void ButtonGridWidget::keyPressEvent(QKeyEvent* event)
{
    if (!m_model.handleGridKey(Qt::Key(event->key()), event->modifiers())) {
        QWidget::keyPressEvent(event);
        return;
    }
    // Taken here, so that it never scrolls the grid's scroll area instead.
    event->accept();
    if (const std::optional<SelectedButtonKey> anchor = m_model.selection().anchor())
        Q_EMIT cellToShow(cellRect(anchor->shift, anchor->button));
}

void ButtonGridWidget::clickAt(QMouseEvent* event)
{
    m_pressedCell = cellAt(event->position().toPoint());
    m_pressPoint = event->position().toPoint();
    if (m_pressedCell)
        m_model.click(m_pressedCell->shift, m_pressedCell->button, event->modifiers());
}

void ButtonGridWidget::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        clickAt(event);
}

void ButtonGridWidget::mouseDoubleClickEvent(QMouseEvent* event)
{
    // Qt reports the second press of a quick pair as a double click; the cell's own click
    // timing decides what it is.
    if (event->button() == Qt::LeftButton)
        clickAt(event);
}

void ButtonGridWidget::mouseMoveEvent(QMouseEvent* event)
{
    if (!(event->buttons() & Qt::LeftButton) || !m_pressedCell)
        return;
    if ((event->position().toPoint() - m_pressPoint).manhattanLength() <
        QApplication::startDragDistance()) {
        return;
    }
    const SelectedButtonKey cell = *m_pressedCell;
    m_pressedCell.reset();
    startDrag(cell, mapTo(window(), m_pressPoint));
}

void ButtonGridWidget::startDrag(const SelectedButtonKey& cell, QPoint windowPoint)
{
    const std::optional<MultiButtonDragData> payload =
        m_model.beginDrag(cell.shift, cell.button, QPointF(windowPoint));
    if (!payload)
        return;
    auto* mime = new QMimeData;
    mime->setData(dragDataMimeType(), encodeDragData(*payload));
    auto* drag = new QDrag(this);
    drag->setMimeData(mime);
    const GridMetrics& metrics = m_model.gridMetrics();
    if (payload->buttons.size() > 1) {
        const QPixmap badge = countBadge(int(payload->buttons.size()), metrics);
        drag->setPixmap(badge);
        drag->setHotSpot(badge.rect().center());
    } else {
        QPixmap preview(metrics.cellWidth(), metrics.cellHeight());
        preview.fill(Qt::transparent);
        QPainter painter(&preview);
        ButtonCellState shown = m_model.cellState(cell.shift, cell.button);
        shown.isSelected = false;
        paintCell(painter, preview.rect(), shown, metrics);
        painter.end();
        drag->setPixmap(preview);
        drag->setHotSpot(m_model.dragClickOffset().toPoint());
    }
    drag->exec(Qt::CopyAction);
    m_model.endDrag();
}

void ButtonGridWidget::dragEnterEvent(QDragEnterEvent* event)
{
    if (event->mimeData()->hasFormat(dragDataMimeType()))
        event->acceptProposedAction();
}

void ButtonGridWidget::dragMoveEvent(QDragMoveEvent* event)
{
    const std::optional<SelectedButtonKey> cell = cellAt(event->position().toPoint());
    if (cell != m_dropTarget) {
        leaveDropTarget();
        m_dropTarget = cell;
        if (cell)
            m_model.dropTargetChanged(true, cell->shift, cell->button);
    }
    if (cell)
        event->acceptProposedAction();
    else
        event->ignore();
}

void ButtonGridWidget::dragLeaveEvent(QDragLeaveEvent*)
{
    leaveDropTarget();
}

void ButtonGridWidget::leaveDropTarget()
{
    if (m_dropTarget)
        m_model.dropTargetChanged(false, m_dropTarget->shift, m_dropTarget->button);
    m_dropTarget.reset();
}

void ButtonGridWidget::dropEvent(QDropEvent* event)
{
    const std::optional<SelectedButtonKey> cell = cellAt(event->position().toPoint());
    m_dropTarget.reset();
    if (!cell) {
        event->ignore();
        return;
    }
    if (m_model.dropOnCell(event->mimeData()->data(dragDataMimeType()), cell->shift,
                           cell->button)) {
        event->acceptProposedAction();
    } else {
        event->ignore();
    }
}

} // namespace quorvane
