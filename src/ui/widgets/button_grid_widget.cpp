#include "button_grid_widget.h"

#include "drag_payload.h"
#include "editing_model.h"
#include "grid_geometry.h"
#include "link/gv_connection.h"

#include <QApplication>
#include <QDrag>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

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
QPixmap countBadge(int count)
{
    QPixmap badge(44, 44);
    badge.fill(Qt::transparent);
    QPainter painter(&badge);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(QColor(0x1f, 0x6f, 0xd1));
    painter.setPen(Qt::NoPen);
    painter.drawEllipse(badge.rect().adjusted(2, 2, -2, -2));
    painter.setPen(Qt::white);
    QFont font = painter.font();
    font.setBold(true);
    font.setPointSize(13);
    painter.setFont(font);
    painter.drawText(badge.rect(), Qt::AlignCenter, QString::number(count));
    return badge;
}
} // namespace

ButtonGridWidget::ButtonGridWidget(EditingModel& model, QWidget* parent)
    : QWidget(parent)
    , m_model(model)
{
    setAcceptDrops(true);
    setMouseTracking(false);
    for (auto changed : {&EditingModel::gridDataChanged, &EditingModel::selectionChanged,
                         &EditingModel::dragStateChanged, &EditingModel::selectedBusChanged}) {
        QObject::connect(&m_model, changed, this, qOverload<>(&QWidget::update));
    }
    QObject::connect(&m_model, &EditingModel::selectedButtonCountChanged, this, [this] {
        updateGeometry();
        update();
    });
}

QSize ButtonGridWidget::sizeHint() const
{
    return {rowLabelWidth + m_model.selectedButtonCount() * cellPitchX + 4,
            headerHeight + shiftLevels * cellPitchY + 4};
}

QRect ButtonGridWidget::cellRect(int shift, int button) const
{
    return {rowLabelWidth + (button - 1) * cellPitchX + 3, headerHeight + (shift - 1) * cellPitchY,
            cellWidth, cellHeight};
}

std::optional<SelectedButtonKey> ButtonGridWidget::cellAt(QPoint point) const
{
    const int x = point.x() - rowLabelWidth - 3;
    const int y = point.y() - headerHeight;
    if (x < 0 || y < 0 || x % cellPitchX >= cellWidth || y % cellPitchY >= cellHeight)
        return std::nullopt;
    const int button = x / cellPitchX + 1;
    const int shift = y / cellPitchY + 1;
    if (button > m_model.selectedButtonCount() || shift > shiftLevels)
        return std::nullopt;
    return SelectedButtonKey{shift, button};
}

void ButtonGridWidget::paintCell(QPainter& painter, const QRect& rect, const ButtonCellState& cell)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath shape;
    shape.addRoundedRect(QRectF(rect).adjusted(0.5, 0.5, -0.5, -0.5), 5, 5);
    painter.fillPath(shape, cellFill(cell));
    if (cell.isAnchor() && !cell.hideSelectionDuringDrag) {
        painter.setPen(QPen(QColor(0xff, 0xd6, 0x0a), 2));
        painter.drawPath(shape);
    }
    if (cell.isFullyLoaded) {
        painter.setPen(QColor(0xb0, 0xb4, 0xbc));
        QFont number = painter.font();
        number.setPointSize(8);
        painter.setFont(number);
        const QRect inner = rect.adjusted(3, 2, -3, -2);
        painter.drawText(inner, Qt::AlignTop | Qt::AlignHCenter,
                         cell.source != 0 ? QString::number(cell.source) : u"—"_s);
        if (cell.displayName) {
            QFont name = painter.font();
            name.setPointSize(8);
            name.setBold(true);
            painter.setFont(name);
            painter.setPen(Qt::white);
            const QString text =
                painter.fontMetrics().elidedText(*cell.displayName, Qt::ElideRight, inner.width());
            painter.drawText(inner, Qt::AlignBottom | Qt::AlignHCenter, text);
        }
    }
    painter.restore();
}

void ButtonGridWidget::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const int count = m_model.selectedButtonCount();
    QFont header = font();
    header.setPointSize(9);
    painter.setFont(header);
    painter.setPen(QColor(0x9a, 0x9e, 0xa6));
    for (int button = 1; button <= count; ++button) {
        const QRect cell = cellRect(1, button);
        painter.drawText(QRect(cell.x(), 0, cellWidth, headerHeight), Qt::AlignCenter,
                         QString::number(button));
    }
    QFont label = font();
    label.setPixelSize(11); // the row labels fit the 55-wide label column
    label.setBold(true);
    for (int shift = 1; shift <= shiftLevels; ++shift) {
        painter.setFont(label);
        painter.setPen(QColor(0xd0, 0xd3, 0xd9));
        painter.drawText(
            QRect(0, headerHeight + (shift - 1) * cellPitchY, rowLabelWidth - 6, cellHeight),
            Qt::AlignRight | Qt::AlignVCenter, u"Shift "_s + QString::number(shift));
        for (int button = 1; button <= count; ++button)
            paintCell(painter, cellRect(shift, button), m_model.cellState(shift, button));
    }
    Q_EMIT painted();
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
    if (payload->buttons.size() > 1) {
        drag->setPixmap(countBadge(int(payload->buttons.size())));
        drag->setHotSpot({22, 22});
    } else {
        QPixmap preview(cellWidth, cellHeight);
        preview.fill(Qt::transparent);
        QPainter painter(&preview);
        ButtonCellState shown = m_model.cellState(cell.shift, cell.button);
        shown.isSelected = false;
        paintCell(painter, preview.rect(), shown);
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
