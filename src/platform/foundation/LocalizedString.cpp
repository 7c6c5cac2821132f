#include "platform/foundation/LocalizedString.h"

#include <QCoreApplication>
#include <QLocale>
#include <QTranslator>

void LocalizedString::installTable()
{
    static const bool installed = [] {
        // the English table is always there: the plural forms of the ".DICT." keys live in it
        auto *english = new QTranslator(QCoreApplication::instance());
        const bool loaded = english->load(QStringLiteral(":/i18n/aerovadrive_en.qm"));
        if (loaded) {
            QCoreApplication::installTranslator(english);
        }
        // the person's language over it (the last installed is asked first): the first of the
        // languages they read that has a table; a key it lacks shows in English
        auto *own = new QTranslator(QCoreApplication::instance());
        if (own->load(QLocale(), QStringLiteral("aerovadrive"), QStringLiteral("_"), QStringLiteral(":/i18n"))
            && own->language() != QLatin1String("en")) {
            QCoreApplication::installTranslator(own);
        } else {
            delete own;
        }
        return loaded;
    }();
    Q_UNUSED(installed)
}

QString LocalizedString::localized(const QString &key)
{
    installTable();
    return qtTrId(key.toUtf8().constData());
}

QString LocalizedString::localizedPlural(const QString &key, int count)
{
    installTable();
    return qtTrId(key.toUtf8().constData(), count);
}
