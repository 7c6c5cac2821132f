#include "platform/foundation/InotifyEvents.h"

#include <cstring>

#include <sys/inotify.h>
#include <unistd.h>

bool InotifyEvents::readAll(int fd, const std::function<void(const struct inotify_event &event, QByteArrayView name)> &take)
{
    alignas(struct inotify_event) char buffer[64 * 1024];
    bool any = false;
    for (;;) {
        const ssize_t length = ::read(fd, buffer, sizeof buffer);
        if (length <= 0) {
            return any; // EAGAIN: all read
        }
        for (ssize_t offset = 0; offset < length;) {
            const auto *event = reinterpret_cast<const struct inotify_event *>(buffer + offset);
            offset += ssize_t(sizeof(struct inotify_event)) + event->len;
            any = true;
            // the name is padded with zero bytes up to its length
            take(*event, event->len == 0 ? QByteArrayView() : QByteArrayView(event->name, qsizetype(std::strlen(event->name))));
        }
    }
}
