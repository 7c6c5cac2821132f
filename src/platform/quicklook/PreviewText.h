#pragma once

#include <QString>

/// The text of a document as the viewer shows it, made so that showing it never holds the
/// screen: laying out one line costs time in the square of its length, so a text without line
/// breaks (a minified file, a log of one line) would freeze the viewer for minutes. Lines are
/// cut into pieces of at most `MaximumLineLength` characters, at most `MaximumTextBytes` of the
/// file are read, and a text cut short ends by saying so.
class PreviewText final
{
public:
    static constexpr qint64 MaximumTextBytes = 8 * 1024 * 1024;
    static constexpr qsizetype MaximumLineLength = 2000;

    /// The text of the file at `path` (UTF-8), as it is shown.
    static PreviewText fromFile(const QString &path);
    static PreviewText fromUtf8(const QByteArray &bytes, bool truncated);

    QString text() const { return m_text; }
    /// Whether lines were cut or the end left out: the text is no longer the document's own,
    /// so mark-up is not applied to it.
    bool isShortened() const { return m_shortened; }

private:
    QString m_text;
    bool m_shortened = false;
};
