#include "model/AVDAppFileTagColors.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <limits>

namespace {

constexpr double Epsilon = std::numeric_limits<float>::epsilon(); // 1.1920928955078125e-07

using Blend = std::function<double(double base, double top)>;

double overlay(double b, double t)
{
    // the hard light of the base over the top
    return b <= 0.5 ? t * 2.0 * b : t + (2.0 * b - 1.0) - t * (2.0 * b - 1.0);
}

double colorDodge(double b, double t)
{
    if (b <= 0.0) {
        return 0.0;
    }
    const double room = 1.0 - t;
    return room < Epsilon ? 1.0 : std::min(1.0, b / room);
}

double colorBurn(double b, double t)
{
    if (b >= 1.0) {
        return 1.0;
    }
    return t < Epsilon ? 0.0 : 1.0 - std::min(1.0, (1.0 - b) / t);
}

Blend blendFor(const QString &filter)
{
    if (filter == CompositingFilter::MultiplyBlendMode) {
        return [](double b, double t) { return b * t; };
    }
    if (filter == CompositingFilter::ScreenBlendMode) {
        return [](double b, double t) { return b + t - b * t; };
    }
    if (filter == CompositingFilter::OverlayBlendMode) {
        return overlay;
    }
    if (filter == CompositingFilter::DarkenBlendMode) {
        return [](double b, double t) { return std::min(b, t); };
    }
    if (filter == CompositingFilter::LightenBlendMode) {
        return [](double b, double t) { return std::max(b, t); };
    }
    if (filter == CompositingFilter::ColorDodgeBlendMode) {
        return colorDodge;
    }
    if (filter == CompositingFilter::ColorBurnBlendMode) {
        return colorBurn;
    }
    if (filter == CompositingFilter::PlusLighter) {
        return [](double b, double t) { return std::min(1.0, b + t); };
    }
    if (filter == CompositingFilter::PlusDarker) {
        return [](double b, double t) { return std::max(0.0, b + t - 1.0); };
    }
    return {};
}

QColor sourceOver(const QColor &base, const QColor &top)
{
    const double at = top.alphaF();
    const double ab = base.alphaF();
    const double a = at + (1.0 - at) * ab;
    if (a < Epsilon) {
        QColor clear = base;
        clear.setAlphaF(float(a));
        return clear;
    }
    const auto component = [&](double ct, double cb) { return (at * ct + (1.0 - at) * ab * cb) / a; };
    return QColor::fromRgbF(float(component(top.redF(), base.redF())), float(component(top.greenF(), base.greenF())),
                            float(component(top.blueF(), base.blueF())), float(a));
}

} // namespace

QColor AVDAppFileTagColors::_colorBlendedWithColor(const QColor &base, const QColor &top)
{
    return _colorBlendedWithColor_compositingFilter(base, top, CompositingFilter::SourceOver);
}

QColor AVDAppFileTagColors::_colorBlendedWithColor_compositingFilter(const QColor &base, const QColor &top,
                                                                     const QString &filter)
{
    if (!top.isValid() || std::fabs(top.alphaF()) < Epsilon) {
        return base;
    }
    if (filter.isNull() || filter == CompositingFilter::NormalBlendMode || filter == CompositingFilter::SourceOver) {
        return sourceOver(base, top);
    }
    const Blend blend = blendFor(filter);
    if (!blend) {
        return base;
    }
    const double at = top.alphaF();
    const auto mix = [&](double cb, double ct) {
        return float(std::clamp(blend(cb, ct) * at + cb * (1.0 - at), 0.0, 1.0));
    };
    return QColor::fromRgbF(mix(base.redF(), top.redF()), mix(base.greenF(), top.greenF()),
                            mix(base.blueF(), top.blueF()), base.alphaF());
}
