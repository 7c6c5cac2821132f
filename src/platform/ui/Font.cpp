#include "platform/ui/Font.h"

#include <QApplication>
#include <QFontMetricsF>

int Font::pointSizeForTextStyle(TextStyle style)
{
    switch (style) {
    case TextStyle::Caption2:
        return 11;
    case TextStyle::Caption1:
        return 12;
    case TextStyle::Footnote:
        return 13;
    case TextStyle::Subheadline:
        return 15;
    case TextStyle::Body:
    case TextStyle::Headline:
        return 17;
    case TextStyle::Title2:
        return 22;
    }
    return 17;
}

QFont Font::preferredFontForTextStyle(TextStyle style)
{
    QFont font = QApplication::font();
    // the user's chosen font size scales every style alike
    const qreal userScale = font.pointSizeF() > 0 ? font.pointSizeF() / 10.0 : 1.0;
    font.setPixelSize(qRound(pointSizeForTextStyle(style) * std::max(userScale, 1.0)));
    if (style == TextStyle::Headline) {
        font.setWeight(QFont::DemiBold);
    }
    return font;
}

qreal Font::lineHeight(const QFont &font)
{
    return QFontMetricsF(font).lineSpacing();
}
