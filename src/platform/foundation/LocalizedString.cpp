#include "platform/foundation/LocalizedString.h"

#include <QCoreApplication>
#include <QTranslator>

void LocalizedString::installTable()
{
    static const bool installed = [] {
        auto *translator = new QTranslator(QCoreApplication::instance());
        // the English table is always there: the plural forms of the ".DICT." keys live in it
        const bool loaded = translator->load(QStringLiteral(":/i18n/aerovadrive_en.qm"));
        if (loaded) {
            QCoreApplication::installTranslator(translator);
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
