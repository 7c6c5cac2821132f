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

    /// Gives the test a desktop of its own: the machine's shared data (MIME database, icons)
    /// without the apps installed on it, so only the apps the test writes into
    /// `home()/data/applications` (and defaults into `home()/config/mimeapps.list`) exist.
    /// Called before anything asks for an app.
    void useOwnDesktop() const;

    /// Writes a file (and the folders to it) by the path's own bytes (FilePath), so a name
    /// that is not UTF-8 is written as another program would write it.
    static bool writeFile(const QString &path, const QByteArray &content);
    /// The whole content of a file, read by the path's own bytes; empty when it cannot be read.
    static QByteArray readFile(const QString &path);
    /// Makes the drive service report `state` ("wifi", "cellular", "offline") and waits until the
    /// app's network watcher sees `expected` (a NetworkState value).
    static bool useNetwork(const QString &state, quint64 expected);
    /// The bytes of a PNG picture of one colour.
    static QByteArray png(int width, int height);

private:
    QTemporaryDir m_dir;
};
