#pragma once

#include <QColor>
#include <QString>

#include <functional>

/// The app's preferences, kept in its own domain inside its data container so that every
/// process reading the container sees the same values, and two fixed colours.
class Settings final
{
public:
    Settings() = delete;

    static constexpr const char PreferencesDomain[] = "com.quillmere.AerovaDriveApp";

    static QColor backgroundColor();
    /// The colour of the status bar's text.
    static QColor statusLabelColor();

    /// The path of the app's data container, found once per process.
    static QString _appContainerPath();

    static bool boolPrefForKey_withDefault(const QString &key, bool defaultValue);
    static void setBoolPref_forKey(bool value, const QString &key);

    static QString stringPrefForKey_withDefault(const QString &key, const QString &defaultValue);
    static void setStringPref_forKey(const QString &value, const QString &key);

    static bool gridMode();
    static void setGridMode(bool gridMode);
    /// How folder lists are sorted on this device: "name", "date", "size" or "kind" ("name"
    /// until set), and whether the order is reversed.
    static QString listSortKey();
    static void setListSortKey(const QString &key);
    static bool listSortDescending();
    static void setListSortDescending(bool descending);
    /// Always YES: handing a document to the app that opens it is fixed on, whatever
    /// setQuickLaunch stored.
    static bool quickLaunch();
    static void setQuickLaunch(bool quickLaunch);
    /// Where quickLaunch's answer comes from; an empty source restores the fixed YES. Only tests
    /// replace it, to play a device where the feature is off and check every screen's answer.
    static void setQuickLaunchSource(std::function<bool()> source);
};
