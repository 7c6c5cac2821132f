#pragma once

#include <QtGlobal>

#include <unistd.h>

/// A file descriptor closed when it goes out of scope: an early return never leaks one.
class FileDescriptor final
{
public:
    explicit FileDescriptor(int fd = -1)
        : m_fd(fd)
    {
    }
    ~FileDescriptor()
    {
        if (m_fd >= 0) {
            ::close(m_fd);
        }
    }
    Q_DISABLE_COPY_MOVE(FileDescriptor)

    int get() const { return m_fd; }
    bool isValid() const { return m_fd >= 0; }

private:
    int m_fd;
};
