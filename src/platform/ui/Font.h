#pragma once

#include <QFont>

/// Fonts by text style, in one place for every screen: caption 2 = 11 px, footnote 13,
/// subheadline 15, body 17, headline 17 semibold, title 2 = 22, scaled by the user's font size
/// (the ratio of the application font to the usual 10 pt).
class Font final
{
public:
    enum class TextStyle {
        Caption2,
        Caption1,
        Footnote,
        Subheadline,
        Body,
        Headline,
        Title2,
    };

    Font() = delete;

    static QFont preferredFontForTextStyle(TextStyle style);
    static int pointSizeForTextStyle(TextStyle style);
    /// The height of one line of text in the font, in logical pixels.
    static qreal lineHeight(const QFont &font);
};
