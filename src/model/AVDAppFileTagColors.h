#pragma once

#include <QColor>
#include <QString>

/// Names of the compositing filters a colour can be blended with.
namespace CompositingFilter {
inline const QString NormalBlendMode = QStringLiteral("normalBlendMode");
inline const QString SourceOver = QStringLiteral("sourceOver");
inline const QString MultiplyBlendMode = QStringLiteral("multiplyBlendMode");
inline const QString ScreenBlendMode = QStringLiteral("screenBlendMode");
inline const QString OverlayBlendMode = QStringLiteral("overlayBlendMode");
inline const QString DarkenBlendMode = QStringLiteral("darkenBlendMode");
inline const QString LightenBlendMode = QStringLiteral("lightenBlendMode");
inline const QString ColorDodgeBlendMode = QStringLiteral("colorDodgeBlendMode");
inline const QString ColorBurnBlendMode = QStringLiteral("colorBurnBlendMode");
inline const QString PlusLighter = QStringLiteral("plusL");
inline const QString PlusDarker = QStringLiteral("plusD");
} // namespace CompositingFilter

/// Blending of two colours, as the tag dots draw their rims: the receiver `base` below, `top`
/// above.
namespace AVDAppFileTagColors {
/// `top` over `base` (source-over).
QColor _colorBlendedWithColor(const QColor &base, const QColor &top);
/// `top` onto `base` with a compositing filter: a null filter, normal blend and source-over
/// composite; multiply, screen, overlay, darken, lighten, colour dodge, colour burn, plus-lighter
/// and plus-darker blend each component by the published separable formula, mix the result with
/// the base by the top's alpha and keep the base's alpha. An invalid (nil) or transparent top,
/// or an unknown filter, leaves the base unchanged.
QColor _colorBlendedWithColor_compositingFilter(const QColor &base, const QColor &top, const QString &filter);
} // namespace AVDAppFileTagColors
