#pragma once

// What every benchmark starts with: an offscreen application on a signed-in drive of its own,
// removed when the benchmark ends, and the drive's own folder to work in.

#include "platform/drive/DriveFileManager.h"
#include "platform/drive/DriveSetup.h"
#include "platform/drive/KDContainer.h"

#include <QApplication>
#include <QTemporaryDir>

#include <memory>

class BenchDrive final
{
public:
    BenchDrive(int &argc, char **argv)
    {
        if (qgetenv("QT_QPA_PLATFORM").isEmpty()) {
            qputenv("QT_QPA_PLATFORM", "offscreen");
        }
        qputenv("AEROVA_HOME", m_home.path().toLocal8Bit());
        qputenv("AEROVA_SYSLOG", "memory");
        m_app = std::make_unique<QApplication>(argc, argv);
        DriveSetup::initialize();
        DriveFileManager::signIn(QStringLiteral("bench@example.com"));
    }

    QString home() const { return m_home.path(); }
    /// The drive's own folder.
    static QString root()
    {
        return KDContainer::containerWithIdentifier(KDUbiquitousDefaultContainerID)->containerURL().toLocalFile();
    }

private:
    QTemporaryDir m_home;
    std::unique_ptr<QApplication> m_app;
};
