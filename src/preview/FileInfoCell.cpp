#include "preview/FileInfoCell.h"

#include "platform/ui/Font.h"

#include <QFontMetrics>
#include <QGridLayout>
#include <QGuiApplication>
#include <QLabel>

FileInfoCell::FileInfoCell(QWidget *parent)
    : QWidget(parent)
{
    initWithNameAndValue_value_maxLines(QString(), QString(), 1);
}

FileInfoCell::FileInfoCell(const QString &name, const QString &value, int maxLines, QWidget *parent)
    : QWidget(parent)
{
    initWithNameAndValue_value_maxLines(name, value, maxLines);
}

QFont FileInfoCell::font()
{
    return Font::preferredFontForTextStyle(Font::TextStyle::Subheadline);
}

void FileInfoCell::initWithNameAndValue_value_maxLines(const QString &name, const QString &value, int maxLines)
{
    setObjectName(QStringLiteral("fileInfoCell"));
    m_maxLines = std::max(1, maxLines);
    m_nameLabel = new QLabel(name, this);
    m_nameLabel->setObjectName(QStringLiteral("nameLabel"));
    m_nameLabel->setFont(font());
    m_nameLabel->setStyleSheet(QStringLiteral("color: #8e8e93;"));
    m_nameLabel->setAlignment((QGuiApplication::layoutDirection() == Qt::RightToLeft ? Qt::AlignLeft : Qt::AlignRight)
                              | Qt::AlignTop);
    m_nameLabel->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    m_valueLabel = new QLabel(value, this);
    m_valueLabel->setObjectName(QStringLiteral("valueLabel"));
    m_valueLabel->setFont(font());
    m_valueLabel->setStyleSheet(QStringLiteral("color: black;"));
    m_valueLabel->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    // the value takes the rest of the width, however long its text
    m_valueLabel->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    m_valueLabel->setMinimumWidth(1);
    const QFontMetrics metrics(font());
    if (m_maxLines > 1) {
        m_valueLabel->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
        m_valueLabel->setWordWrap(true);
        m_valueLabel->setMaximumHeight(metrics.lineSpacing() * m_maxLines);
    } else {
        m_valueLabel->setFixedHeight(metrics.height());
    }
    auto *layout = new QGridLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setHorizontalSpacing(10);
    layout->addWidget(m_nameLabel, 0, 0, Qt::AlignTop);
    layout->addWidget(m_valueLabel, 0, 1);
    layout->setColumnStretch(1, 1);
}
