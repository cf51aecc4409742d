#include "widgets/sandbox_strip.h"

#include "editing/drag_payload.h"
#include "editing/editing_model.h"

#include <QApplication>
#include <QDrag>
#include <QFontDatabase>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

using namespace Qt::StringLiterals;

namespace quorvane {

namespace {
std::optional<MultiButtonDragData> payloadOf(const QMimeData* mime)
{
    if (!mime->hasFormat(dragDataMimeType()))
        return std::nullopt;
    return decodeDragData(mime->data(dragDataMimeType()));
}

void fillRounded(QPainter& painter, const QRect& rect, const QColor& color)
{
    QPainterPath shape;
    shape.addRoundedRect(QRectF(rect).adjusted(0.5, 0.5, -0.5, -0.5), 5, 5);
    painter.fillPath(shape, color);
}
} // namespace

SandboxStrip::SandboxStrip(EditingModel& model, QWidget* parent)
    : QWidget(parent)
    , m_model(model)
{
    setAcceptDrops(true);
    for (auto changed : {&EditingModel::sandboxChanged, &EditingModel::gridDataChanged}) {
        QObject::connect(&m_model, changed, this, [this] {
            updateGeometry();
            update();
        });
    }
}

QSize SandboxStrip::sizeHint() const
{
    const int slots = qMax(1, int(m_model.sandboxSlots().size()));
    return {slots * (slotWidth + slotGap), slotHeight};
}

QRect SandboxStrip::slotRect(int index) const
{
    return {index * (slotWidth + slotGap), 0, slotWidth, slotHeight};
}

std::optional<int> SandboxStrip::slotAt(QPoint point) const
{
    for (int index = 0; index < m_model.sandboxSlots().size(); ++index) {
        if (slotRect(index).contains(point))
            return index;
    }
    return std::nullopt;
}

void SandboxStrip::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QList<SandboxSlot>& slots = m_model.sandboxSlots();
    if (slots.isEmpty()) {
        painter.setPen(QColor(0x80, 0x84, 0x8c));
        painter.drawText(rect(), Qt::AlignVCenter | Qt::AlignLeft,
                         u"Sandbox: drop buttons here to park their sources"_s);
        return;
    }
    QFont label = font();
    label.setPointSize(8);
    QFont name = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    name.setPointSize(12);
    name.setBold(true);
    for (int index = 0; index < slots.size(); ++index) {
        const QRect slot = slotRect(index);
        const bool selected = m_model.selectedSandboxIndex() == index;
        fillRounded(painter, slot, selected ? QColor(0xe0, 0x8e, 0x22) : QColor(0x3a, 0x3d, 0x45));
        const QRect inner = slot.adjusted(4, 2, -4, -2);
        painter.setPen(QColor(0xb0, 0xb4, 0xbc));
        painter.setFont(label);
        painter.drawText(inner, Qt::AlignTop | Qt::AlignLeft, Sandbox::slotLabel(index));
        painter.setPen(Qt::white);
        painter.setFont(name);
        const QString text = painter.fontMetrics().elidedText(
            m_model.sourceText(slots[index].source), Qt::ElideRight, inner.width());
        painter.drawText(inner, Qt::AlignBottom | Qt::AlignHCenter, text);
    }
}

void SandboxStrip::mousePressEvent(QMouseEvent* event)
{
    m_pressedSlot = slotAt(event->position().toPoint());
    m_pressPoint = event->position().toPoint();
    if (event->button() == Qt::LeftButton && m_pressedSlot)
        m_model.selectSandboxSlot(*m_pressedSlot);
}

void SandboxStrip::mouseMoveEvent(QMouseEvent* event)
{
    if (!(event->buttons() & Qt::LeftButton) || !m_pressedSlot ||
        (event->position().toPoint() - m_pressPoint).manhattanLength() <
            QApplication::startDragDistance()) {
        return;
    }
    const std::optional<MultiButtonDragData> payload = m_model.beginSandboxDrag(*m_pressedSlot);
    m_pressedSlot.reset();
    if (!payload)
        return;
    auto* mime = new QMimeData;
    mime->setData(dragDataMimeType(), encodeDragData(*payload));
    auto* drag = new QDrag(this);
    drag->setMimeData(mime);
    drag->exec(Qt::CopyAction);
    m_model.endDrag();
}

void SandboxStrip::dragEnterEvent(QDragEnterEvent* event)
{
    // Slots are not dropped back onto the sandbox.
    const std::optional<MultiButtonDragData> payload = payloadOf(event->mimeData());
    if (payload && payload->fromBus != sandboxOrigin)
        event->acceptProposedAction();
}

void SandboxStrip::dropEvent(QDropEvent* event)
{
    const std::optional<MultiButtonDragData> payload = payloadOf(event->mimeData());
    if (payload && m_model.addToSandbox({*payload}) > 0)
        event->acceptProposedAction();
    else
        event->ignore();
}

ClipboardDropArea::ClipboardDropArea(EditingModel& model, QWidget* parent)
    : QWidget(parent)
    , m_model(model)
{
    setAcceptDrops(true);
    for (auto changed : {&EditingModel::clipboardChanged, &EditingModel::dragStateChanged})
        QObject::connect(&m_model, changed, this, qOverload<>(&QWidget::update));
}

void ClipboardDropArea::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const bool targeted = m_model.isClipboardDropTargeted();
    fillRounded(painter, rect(), targeted ? QColor(0x1f, 0x6f, 0xd1) : QColor(0x2a, 0x2a, 0x2e));
    painter.setPen(QPen(QColor(0x80, 0x84, 0x8c), 1, Qt::DashLine));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 5, 5);
    painter.setPen(Qt::white);
    QFont title = font();
    title.setBold(true);
    painter.setFont(title);
    const int copied = int(m_model.clipboard().copiedSources.size());
    painter.drawText(rect(), Qt::AlignCenter,
                     copied > 0 ? u"CLIPBOARD\n"_s + QString::number(copied) + u" copied"_s
                                : u"CLIPBOARD"_s);
}

void ClipboardDropArea::dragEnterEvent(QDragEnterEvent* event)
{
    if (!payloadOf(event->mimeData()))
        return;
    m_model.setClipboardDropTargeted(true);
    event->acceptProposedAction();
}

void ClipboardDropArea::dragLeaveEvent(QDragLeaveEvent*)
{
    m_model.setClipboardDropTargeted(false);
}

void ClipboardDropArea::dropEvent(QDropEvent* event)
{
    m_model.setClipboardDropTargeted(false);
    const std::optional<MultiButtonDragData> payload = payloadOf(event->mimeData());
    if (payload && m_model.dropOnClipboard({*payload}))
        event->acceptProposedAction();
    else
        event->ignore();
}

} // namespace quorvane
