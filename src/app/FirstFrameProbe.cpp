#include "app/FirstFrameProbe.h"

#include <QAbstractItemView>
#include <QCoreApplication>
#include <QEvent>
#include <QTimer>

#include <cstdio>

void FirstFrameProbe::install()
{
    QCoreApplication *app = QCoreApplication::instance();
    app->installEventFilter(new FirstFrameProbe(app));
}

bool FirstFrameProbe::eventFilter(QObject *watched, QEvent *event)
{
    if (m_seen || event->type() != QEvent::Paint) {
        return false;
    }
    // a list's rows are painted on its viewport
    const auto *list = qobject_cast<const QAbstractItemView *>(watched->parent());
    if (!list || list->viewport() != watched || !list->model() || list->model()->rowCount(list->rootIndex()) == 0) {
        return false;
    }
    m_seen = true;
    // once this paint has been made and shown
    QTimer::singleShot(0, this, [] {
        std::fputs("first frame\n", stdout);
        std::fflush(stdout);
        QCoreApplication::exit(0);
    });
    return false;
}
