#include "widgets/grid_scroll_area.h"

#include "widgets/button_grid_widget.h"
#include "editing/editing_model.h"
#include "editing/grid_geometry.h"

#include <QEvent>
#include <QPainter>
#include <QScrollBar>
#include <algorithm>

namespace quorvane {

namespace {
// Everything before the first column and above the first row stays in view: the header and the
// labels cover the grid up to there, so a cell scrolls under them whole.
QPoint firstCell(const GridMetrics& metrics)
{
    return metrics.cellRect(firstShift, 1).topLeft();
}

// The numbers above the columns or the labels before the rows, painted where the grid's own
// header and label column are in view: shifted along with the cells on one axis, fixed on the
// other. The labels' column keeps the top-left corner clear of the cells too.
class GridHeader : public QWidget {
public:
    GridHeader(const EditingModel& model, Qt::Orientation orientation, QWidget* parent)
        : QWidget(parent)
        , m_model(model)
        , m_orientation(orientation)
    {
        // Opaque, so that the cells scrolled under it never show through.
        setAutoFillBackground(true);
        setBackgroundRole(QPalette::Window);
    }

    // The grid's origin in the viewport: negative once it is scrolled.
    void setGridOrigin(QPoint origin)
    {
        m_origin = origin;
        update();
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        const GridMetrics& metrics = m_model.gridMetrics();
        if (m_orientation == Qt::Horizontal) {
            painter.setFont(gridFont(font(), 9, metrics, false));
            painter.setPen(QColor(0x9a, 0x9e, 0xa6));
            for (int button = 1; button <= m_model.selectedButtonCount(); ++button) {
                painter.drawText(metrics.headerRect(button).translated(m_origin.x(), 0),
                                 Qt::AlignCenter, QString::number(button));
            }
            return;
        }
        // The labels fit their column: 11 pixels at actual size.
        QFont label = font();
        label.setPixelSize(std::max(1, int(metrics.scaled(11))));
        label.setBold(true);
        painter.setFont(label);
        painter.setPen(QColor(0xd0, 0xd3, 0xd9));
        painter.setClipRect(rect().adjusted(0, firstCell(metrics).y(), 0, 0));
        for (int shift = firstShift; shift <= lastShift; ++shift) {
            painter.drawText(metrics.rowLabelRect(shift).translated(0, m_origin.y()),
                             Qt::AlignRight | Qt::AlignVCenter, shiftLabel(shift));
        }
    }

private:
    const EditingModel& m_model;
    Qt::Orientation m_orientation;
    QPoint m_origin;
};
} // namespace

GridScrollArea::GridScrollArea(EditingModel& model, ButtonGridWidget* grid, QWidget* parent)
    : QScrollArea(parent)
    , m_model(model)
{
    setWidget(grid);
    m_buttonNumbers = new GridHeader(model, Qt::Horizontal, viewport());
    m_buttonNumbers->setObjectName(QStringLiteral("buttonNumbers"));
    m_shiftLabels = new GridHeader(model, Qt::Vertical, viewport());
    m_shiftLabels->setObjectName(QStringLiteral("shiftLabels"));
    for (auto changed :
         {&EditingModel::selectedButtonCountChanged, &EditingModel::gridMetricsChanged}) {
        QObject::connect(&m_model, changed, this, &GridScrollArea::placeHeaders);
    }
    placeHeaders();
}

void GridScrollArea::placeHeaders()
{
    const QPoint cells = firstCell(m_model.gridMetrics());
    const QSize space = viewport()->size();
    m_buttonNumbers->setGeometry(0, 0, space.width(), cells.y());
    m_shiftLabels->setGeometry(0, 0, cells.x(), space.height());
    const QPoint origin = widget()->pos();
    for (QWidget* header : {m_buttonNumbers, m_shiftLabels})
        static_cast<GridHeader*>(header)->setGridOrigin(origin);
    m_shiftLabels->raise();
}

void GridScrollArea::showCell(const QRect& cell)
{
    const QPoint cells = firstCell(m_model.gridMetrics());
    const QSize space = viewport()->size();
    horizontalScrollBar()->setValue(scrollToShow(
        cell.x(), cell.width(), horizontalScrollBar()->value(), space.width(), cells.x()));
    verticalScrollBar()->setValue(scrollToShow(
        cell.y(), cell.height(), verticalScrollBar()->value(), space.height(), cells.y()));
}

void GridScrollArea::scrollContentsBy(int dx, int dy)
{
    QScrollArea::scrollContentsBy(dx, dy);
    placeHeaders();
}

bool GridScrollArea::viewportEvent(QEvent* event)
{
    if (event->type() == QEvent::Resize)
        placeHeaders();
    return QScrollArea::viewportEvent(event);
}

} // namespace quorvane
