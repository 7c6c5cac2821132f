#pragma once

#include <QString>
#include <QTemporaryDir>
#include <QUrl>

/// A drive of its own for one test executable: a temporary `AEROVA_HOME` (and XDG folders)
/// holding a freshly initialised drive, removed when the test ends.
class TestDrive final
{
public:
    TestDrive();
    ~TestDrive();

    QString home() const { return m_dir.path(); }
    /// The default container's folder.
    QString root() const;
    QString path(const QString &relative) const;
    QUrl url(const QString &relative) const;
    /// A new empty folder in the default container, for one test function.
    QString freshFolder(const QString &name);

    static bool writeFile(const QString &path, const QByteArray &content);
    /// Makes the drive service report `state` ("wifi", "cellular", "offline") and waits until the
    /// app's network watcher sees `expected` (a NetworkState value).
    static bool useNetwork(const QString &state, quint64 expected);
    /// The bytes of a PNG picture of one colour.
    static QByteArray png(int width, int height);

private:
    QTemporaryDir m_dir;
};
