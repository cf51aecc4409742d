#include "editing/grid_zoom.h"

#include "editing/grid_geometry.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace quorvane {

namespace {
const QString fitSetting = u"fit"_s;
// Factors closer than this are the same step: a fitted factor just below a step is at it.
constexpr double sameStep = 0.005;
} // namespace

const QList<double>& GridZoom::steps()
{
    static const QList<double> factors{0.4, 0.5, 0.6,  0.7, 0.8,  0.9,
                                       1.0, 1.1, 1.25, 1.5, 1.75, 2.0};
    return factors;
}

GridZoom GridZoom::fixed(double factor)
{
    return GridZoom(false, std::clamp(factor, smallest, largest));
}

GridZoom GridZoom::zoomedIn(double current)
{
    for (double step : steps()) {
        if (step > current + sameStep)
            return fixed(step);
    }
    return fixed(largest);
}

GridZoom GridZoom::zoomedOut(double current)
{
    for (auto step = steps().crbegin(); step != steps().crend(); ++step) {
        if (*step < current - sameStep)
            return fixed(*step);
    }
    return fixed(smallest);
}

double GridZoom::factorFor(QSize space, int buttonCount) const
{
    return m_fit ? fittingFactor(space, buttonCount) : m_factor;
}

QString GridZoom::toSetting() const
{
    return m_fit ? fitSetting : QString::number(m_factor);
}

GridZoom GridZoom::fromSetting(const QString& text)
{
    if (text == fitSetting)
        return fitToWindow();
    bool ok = false;
    const double factor = text.toDouble(&ok);
    return ok ? fixed(factor) : actualSize();
}

double fittingFactor(QSize space, int buttonCount)
{
    const QSize actual = GridMetrics(1.0).gridSize(buttonCount);
    double factor =
        std::min(double(space.width()) / actual.width(), double(space.height()) / actual.height());
    factor = std::clamp(factor, GridZoom::smallest, GridZoom::largest);
    // Rounding each length may make the grid a pixel larger than the plain product.
    while (factor > GridZoom::smallest) {
        const QSize size = GridMetrics(factor).gridSize(buttonCount);
        if (size.width() <= space.width() && size.height() <= space.height())
            break;
        factor = std::max(GridZoom::smallest, factor - 0.001);
    }
    return factor;
}

} // namespace quorvane
