#include "platform/ui/Device.h"

#include <QGuiApplication>
#include <QScreen>
#include <QString>

namespace {
std::optional<Device::Idiom> s_forcedIdiom;
QSize s_windowSize;
} // namespace

Device::Idiom Device::userInterfaceIdiom()
{
    if (s_forcedIdiom) {
        return *s_forcedIdiom;
    }
    QSize size = s_windowSize;
    if (!size.isValid() && QGuiApplication::primaryScreen()) {
        size = QGuiApplication::primaryScreen()->availableSize();
    }
    return std::min(size.width(), size.height()) >= TabletMinimumSide ? Idiom::Pad : Idiom::Phone;
}

void Device::setForcedIdiom(std::optional<Idiom> idiom)
{
    s_forcedIdiom = idiom;
}

void Device::setWindowSize(const QSize &size)
{
    s_windowSize = size;
}

QSize Device::windowSize()
{
    return s_windowSize;
}

Device::SizeClass Device::horizontalSizeClass()
{
    if (s_windowSize.isValid()) {
        return s_windowSize.width() >= TabletMinimumSide ? SizeClass::Regular : SizeClass::Compact;
    }
    return userInterfaceIdiom() == Idiom::Pad ? SizeClass::Regular : SizeClass::Compact;
}

Device::SizeClass Device::verticalSizeClass()
{
    if (s_windowSize.isValid()) {
        return s_windowSize.height() >= RegularMinimumHeight ? SizeClass::Regular : SizeClass::Compact;
    }
    return SizeClass::Regular;
}

std::optional<Device::Idiom> Device::idiomFromString(const QString &text)
{
    if (text == QLatin1String("phone")) {
        return Idiom::Phone;
    }
    if (text == QLatin1String("pad") || text == QLatin1String("tablet")) {
        return Idiom::Pad;
    }
    return std::nullopt;
}
