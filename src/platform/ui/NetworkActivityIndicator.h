#pragma once

#include <QObject>

#include <atomic>

/// The app's network-activity signal: a busy indicator in the navigation bar, visible while the
/// app is moving data over the network. The navigation bar follows `visibleChanged`.
class NetworkActivityIndicator final : public QObject
{
    Q_OBJECT

public:
    static NetworkActivityIndicator *shared();

    bool isVisible() const { return m_visible.load(); }
    /// May be called from any thread; the signal is emitted on the caller's thread.
    void setVisible(bool visible);

Q_SIGNALS:
    void visibleChanged(bool visible);

private:
    NetworkActivityIndicator() = default;

    std::atomic<bool> m_visible{false};
};
