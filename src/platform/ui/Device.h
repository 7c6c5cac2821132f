#pragma once

#include <QSize>

/// The kind of device the app runs on, as its screens need to know it: a phone or a tablet.
///
/// A window whose shorter side is at least 600 logical pixels is a tablet ("pad"), anything
/// smaller a phone; `--idiom phone|pad` forces one for the whole run. The width size class is
/// regular from 600 pixels on.
class Device final
{
public:
    enum class Idiom {
        Phone,
        Pad,
    };
    enum class SizeClass {
        Compact,
        Regular,
    };

    Device() = delete;

    static Idiom userInterfaceIdiom();
    /// Forces an idiom (from `--idiom`); std::nullopt goes back to following the window.
    static void setForcedIdiom(std::optional<Idiom> idiom);
    /// The size of the app's window, which decides the idiom unless one is forced.
    static void setWindowSize(const QSize &size);
    static QSize windowSize();
    static SizeClass horizontalSizeClass();
    /// Regular from 480 pixels of height on: every upright screen; a phone on its side is compact.
    static SizeClass verticalSizeClass();
    /// Parses "phone" or "pad" ("tablet" too); std::nullopt for anything else.
    static std::optional<Idiom> idiomFromString(const QString &text);

    static constexpr int TabletMinimumSide = 600;
    static constexpr int RegularMinimumHeight = 480;
};
