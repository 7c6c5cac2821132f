#pragma once

#include <QSize>
#include <QString>

/// `aerovadrive --tour DIR`: renders the app's main screens on the current drive, in phone and
/// tablet sizes, as PNG files in DIR, so that a person can look at every screen at once.
class Tour final
{
public:
    Tour() = delete;

    /// Writes the screenshots; returns the process exit status.
    static int run(const QString &directory);

    static constexpr QSize PhoneSize{390, 844};
    static constexpr QSize TabletSize{1024, 768};
};
