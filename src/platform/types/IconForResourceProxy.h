#pragma once

#include <QImage>

class DocumentProxy;

/// Sizes of document icons: a format number picks the icon's edge in pixels. Format 12 is the
/// large icon of a details or preview screen.
namespace IconFormat {
constexpr int Small = 0;   // 29 px
constexpr int Large = 12;  // 256 px
int pixelSize(int format);
} // namespace IconFormat

/// The icon theme's document icon for the proxy's type (the type's own icon, else its generic
/// one, else a plain document), at the format's size. Needs a GUI application for the theme.
/// Makes sure an icon theme with document icons is in use (a session without a desktop names
/// none). Every screen that shows type icons calls it first.
void ensureIconTheme();

QImage IconForResourceProxy(const DocumentProxy &proxy, int format);
