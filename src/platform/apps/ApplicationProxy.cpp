#include "platform/apps/ApplicationProxy.h"

#include "platform/foundation/FilePath.h"

#include <QFileInfo>
#include <QHash>

// GLib's headers use `signals` as a field name, which Qt defines as a keyword
#pragma push_macro("signals")
#undef signals
#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>
#pragma pop_macro("signals")

namespace {

QString fromUtf8(const char *text)
{
    return text ? QString::fromUtf8(text) : QString();
}

QString desktopString(GDesktopAppInfo *info, const char *key)
{
    char *value = g_desktop_app_info_get_string(info, key);
    const QString result = fromUtf8(value);
    g_free(value);
    return result;
}

QString withoutDesktopSuffix(QString id)
{
    if (id.endsWith(QLatin1String(".desktop"))) {
        id.chop(int(qstrlen(".desktop")));
    }
    return id;
}

} // namespace

std::shared_ptr<ApplicationProxy> ApplicationProxy::fromAppInfo(void *appInfo)
{
    auto *app = static_cast<GAppInfo *>(appInfo);
    if (!app) {
        return nullptr;
    }
    auto proxy = std::shared_ptr<ApplicationProxy>(new ApplicationProxy);
    proxy->m_desktopId = fromUtf8(g_app_info_get_id(app));
    proxy->m_bundleIdentifier = withoutDesktopSuffix(proxy->m_desktopId);
    proxy->m_localizedName = fromUtf8(g_app_info_get_name(app));
    proxy->m_localizedShortName = fromUtf8(g_app_info_get_display_name(app));
    proxy->m_itemName = proxy->m_localizedName;
    proxy->m_bundleExecutable = fromUtf8(g_app_info_get_executable(app));
    proxy->m_supportsOpenInPlace = g_app_info_supports_files(app) || g_app_info_supports_uris(app);
    proxy->m_itemID = quint64(qHash(proxy->m_desktopId));
    if (G_IS_DESKTOP_APP_INFO(app)) {
        auto *desktop = G_DESKTOP_APP_INFO(app);
        proxy->m_shortVersionString = desktopString(desktop, "X-AppVersion");
        proxy->m_vendorName = desktopString(desktop, "X-Vendor");
        if (const char *file = g_desktop_app_info_get_filename(desktop)) {
            proxy->m_bundleContainerURL = QUrl::fromLocalFile(QFileInfo(QString::fromUtf8(file)).absolutePath());
        }
    }
    g_object_unref(app);
    return proxy;
}

std::shared_ptr<ApplicationProxy> ApplicationProxy::applicationProxyForIdentifier(const QString &identifier)
{
    const QString id = identifier.endsWith(QLatin1String(".desktop")) ? identifier
                                                                        : identifier + QStringLiteral(".desktop");
    return fromAppInfo(g_desktop_app_info_new(id.toUtf8().constData()));
}

std::shared_ptr<ApplicationProxy> ApplicationProxy::defaultApplicationForType(const QString &mimeType)
{
    if (mimeType.isEmpty()) {
        return nullptr;
    }
    char *contentType = g_content_type_from_mime_type(mimeType.toUtf8().constData());
    GAppInfo *app = contentType ? g_app_info_get_default_for_type(contentType, FALSE) : nullptr;
    g_free(contentType);
    return fromAppInfo(app);
}

QList<std::shared_ptr<ApplicationProxy>> ApplicationProxy::applicationsForType(const QString &mimeType)
{
    QList<std::shared_ptr<ApplicationProxy>> apps;
    if (mimeType.isEmpty()) {
        return apps;
    }
    char *contentType = g_content_type_from_mime_type(mimeType.toUtf8().constData());
    GList *all = contentType ? g_app_info_get_all_for_type(contentType) : nullptr;
    g_free(contentType);
    for (GList *entry = all; entry; entry = entry->next) {
        // fromAppInfo takes over one reference of its own
        if (auto proxy = fromAppInfo(g_object_ref(entry->data))) {
            apps.append(proxy);
        }
    }
    g_list_free_full(all, g_object_unref);
    return apps;
}

QString ApplicationProxy::description() const
{
    return QStringLiteral("<ApplicationProxy %1 \"%2\">").arg(m_bundleIdentifier, m_localizedName);
}

bool ApplicationProxy::launchWithURLs(const QList<QUrl> &urls, QString *failure) const
{
    GDesktopAppInfo *app = g_desktop_app_info_new(m_desktopId.toUtf8().constData());
    if (!app) {
        if (failure) {
            *failure = QStringLiteral("%1 is no longer installed").arg(m_localizedName);
        }
        return false;
    }
    GList *uris = nullptr;
    QList<QByteArray> encoded;
    for (const QUrl &url : urls) {
        // a local file by its own bytes: a name that is not UTF-8 must reach the app unchanged
        encoded << (url.isLocalFile() ? "file://" + FilePath::encode(url.toLocalFile()).toPercentEncoding("/")
                                      : url.toEncoded());
    }
    for (const QByteArray &uri : std::as_const(encoded)) {
        uris = g_list_append(uris, const_cast<char *>(uri.constData()));
    }
    GError *error = nullptr;
    const bool launched = g_app_info_launch_uris(G_APP_INFO(app), uris, nullptr, &error);
    if (!launched && failure) {
        *failure = error ? QString::fromUtf8(error->message) : QStringLiteral("the app did not start");
    }
    if (error) {
        g_error_free(error);
    }
    g_list_free(uris);
    g_object_unref(app);
    return launched;
}
