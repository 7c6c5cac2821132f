#pragma once

#include <QByteArrayView>

#include <functional>

struct inotify_event;

/// The events waiting on a non-blocking inotify descriptor, read until none is left: each is
/// handed over with its name's bytes, empty for an event of a watched folder itself.
class InotifyEvents final
{
public:
    InotifyEvents() = delete;

    /// Returns whether any event was read.
    static bool readAll(int fd, const std::function<void(const struct inotify_event &event, QByteArrayView name)> &take);
};
