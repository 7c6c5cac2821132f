#pragma once

#include <QObject>

/// For the start-up benchmark: waits for the first frame that shows a list with rows in it, then
/// prints "first frame" on standard output and ends the application. The app installs it when
/// AEROVA_QUIT_AFTER_FIRST_FRAME is set; the benchmark's bare Qt window installs it too, so both
/// are timed to the same moment.
class FirstFrameProbe final : public QObject
{
    Q_OBJECT
public:
    /// Watches every widget of the application from now on; owned by the application.
    static void install();

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    using QObject::QObject;
    bool m_seen = false;
};
