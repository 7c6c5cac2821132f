#pragma once

#include <QMutex>
#include <QSet>
#include <QString>

/// Keeps the network-activity indicator on while at least one named activity runs
/// ("PreviewDownload" while a preview downloads its item).
class NetworkIndicator final
{
public:
    static NetworkIndicator *sharedNetworkIndicator();

    NetworkIndicator() = default;
    Q_DISABLE_COPY_MOVE(NetworkIndicator)

    /// Showing an identifier twice counts once.
    void show(const QString &identifier);
    /// Hiding an identifier that is not shown does nothing.
    void hide(const QString &identifier);

    QSet<QString> ids() const;

private:
    mutable QMutex m_mutex;
    QSet<QString> m_ids;
};
