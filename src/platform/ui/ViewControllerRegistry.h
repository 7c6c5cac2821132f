#pragma once

#include <QString>

#include <functional>

class QObject;
class ViewController;

/// Screens that the app looks up by class name at run time, as it does for screens that a
/// platform service may or may not provide. A name without a factory makes nothing.
class ViewControllerRegistry final
{
public:
    using Factory = std::function<ViewController *(QObject *parent)>;

    ViewControllerRegistry() = delete;

    static void registerClass(const QString &className, Factory factory);
    /// Takes a class away (its screen is then unavailable).
    static void unregisterClass(const QString &className);
    /// A new screen of that class, or null.
    static ViewController *create(const QString &className, QObject *parent = nullptr);
};
