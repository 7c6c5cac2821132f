#pragma once

#include <QLocale>
#include <QString>

/// Sizes for people: "Zero KB", "1 byte", "999 bytes", "12 KB", "3.4 MB", "1.25 GB".
///
/// The file style counts in powers of 1000 (what a drive's files and storage plans use); the
/// binary style in powers of 1024 (what memory and a device's free space use). Both use the
/// same unit words. Kilobytes are whole, megabytes carry one decimal, larger units two, and
/// trailing zero decimals are dropped. Digits follow the given locale.
class ByteCountFormatter final
{
public:
    enum class CountStyle {
        File,
        Memory,
        Decimal,
        Binary,
    };

    ByteCountFormatter() = delete;

    static QString stringFromByteCount(qint64 byteCount, CountStyle style, const QLocale &locale = QLocale());
    /// Without the unit: the number alone ("3.4"), "Zero" for nothing.
    static QString stringFromByteCount(qint64 byteCount, CountStyle style, bool includesUnit,
                                       const QLocale &locale = QLocale());
};
