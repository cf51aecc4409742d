#pragma once

#include <QWidget>
#include <optional>

namespace quorvane {

class EditingModel;

// The source sandbox: parked sources in slots S1, S2 … A click selects a slot, a drag from a
// slot assigns its source to a button, and buttons dropped here are parked.
class SandboxStrip : public QWidget {
    Q_OBJECT

public:
    static constexpr int slotWidth = 86;
    static constexpr int slotHeight = 44;
    static constexpr int slotGap = 4;

    explicit SandboxStrip(EditingModel& model, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    std::optional<int> slotAt(QPoint point) const;
    QRect slotRect(int index) const;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    EditingModel& m_model;
    std::optional<int> m_pressedSlot;
    QPoint m_pressPoint;
};

// The "CLIPBOARD" drop area: buttons dropped here are copied, in order, as by Command-C.
class ClipboardDropArea : public QWidget {
    Q_OBJECT

public:
    explicit ClipboardDropArea(EditingModel& model, QWidget* parent = nullptr);
    QSize sizeHint() const override { return {120, SandboxStrip::slotHeight}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    EditingModel& m_model;
};

} // namespace quorvane
