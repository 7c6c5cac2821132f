#include "platform/ui/ViewControllerRegistry.h"

#include <QHash>

namespace {
QHash<QString, ViewControllerRegistry::Factory> &factories()
{
    static QHash<QString, ViewControllerRegistry::Factory> registry;
    return registry;
}
} // namespace

void ViewControllerRegistry::registerClass(const QString &className, Factory factory)
{
    factories().insert(className, std::move(factory));
}

void ViewControllerRegistry::unregisterClass(const QString &className)
{
    factories().remove(className);
}

ViewController *ViewControllerRegistry::create(const QString &className, QObject *parent)
{
    const auto it = factories().constFind(className);
    return it == factories().constEnd() ? nullptr : (*it)(parent);
}
