#include "platform/quicklook/PreviewText.h"

#include "platform/foundation/LocalizedString.h"

#include <QFile>

PreviewText PreviewText::fromFile(const QString &path)
{
    QFile file(path);
    QByteArray bytes;
    if (file.open(QIODevice::ReadOnly)) {
        bytes = file.read(MaximumTextBytes + 1);
    }
    const bool truncated = bytes.size() > MaximumTextBytes;
    if (truncated) {
        bytes.truncate(MaximumTextBytes);
    }
    return fromUtf8(bytes, truncated);
}

PreviewText PreviewText::fromUtf8(const QByteArray &bytes, bool truncated)
{
    PreviewText result;
    const QString whole = QString::fromUtf8(bytes);
    result.m_text.reserve(whole.size() + whole.size() / MaximumLineLength + 64);
    qsizetype lineStart = 0;
    for (qsizetype i = 0; i < whole.size(); ++i) {
        const QChar c = whole.at(i);
        if (c == QLatin1Char('\n')) {
            lineStart = i + 1;
        } else if (i - lineStart >= MaximumLineLength && !c.isLowSurrogate()) {
            result.m_text += QLatin1Char('\n');
            result.m_shortened = true;
            lineStart = i;
        }
        result.m_text += c;
    }
    if (truncated) {
        result.m_shortened = true;
        result.m_text += QStringLiteral("\n\n") + LocalizedString::localized(QStringLiteral("The rest is too long to preview."));
    }
    return result;
}
