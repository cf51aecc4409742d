#pragma once

#include <QList>
#include <QSize>
#include <QString>

namespace quorvane {

// How large the grid is drawn: a fixed factor of its actual size (1.0, the default), or fitted
// to the space it is shown in, which then follows the window and the button count.
class GridZoom {
public:
    static constexpr double smallest = 0.4;
    static constexpr double largest = 2.0;
    // The factors Zoom In and Zoom Out step through.
    static const QList<double>& steps();

    static GridZoom actualSize() { return GridZoom(false, 1.0); }
    static GridZoom fitToWindow() { return GridZoom(true, 1.0); }
    // Clamped to smallest…largest.
    static GridZoom fixed(double factor);
    // The next step above or below `current`, the factor drawn now.
    static GridZoom zoomedIn(double current);
    static GridZoom zoomedOut(double current);

    bool fitsWindow() const { return m_fit; }
    // The factor to draw at, in `space` with `buttonCount` buttons per row.
    double factorFor(QSize space, int buttonCount) const;

    // As kept between runs: "fit" or the factor; anything else reads as actual size.
    QString toSetting() const;
    static GridZoom fromSetting(const QString& text);

    friend bool operator==(const GridZoom&, const GridZoom&) = default;

private:
    GridZoom(bool fit, double factor)
        : m_fit(fit)
        , m_factor(factor)
    {
    }

    bool m_fit;
    double m_factor;
};

// The largest factor, smallest…largest, at which the whole grid fits in `space`.
double fittingFactor(QSize space, int buttonCount);

} // namespace quorvane
