#pragma once

#include <QFont>
#include <QWidget>

class QLabel;

/// One row of the details: a grey name, right-aligned, beside its value; a long value grows
/// downwards beside the name, which stays at the top.
class FileInfoCell final : public QWidget
{
    Q_OBJECT

public:
    explicit FileInfoCell(QWidget *parent = nullptr);
    FileInfoCell(const QString &name, const QString &value, int maxLines, QWidget *parent = nullptr);

    /// The subheadline font of every cell.
    static QFont font();

    QLabel *nameLabel() const { return m_nameLabel; }
    QLabel *valueLabel() const { return m_valueLabel; }
    int maxLines() const { return m_maxLines; }

private:
    void initWithNameAndValue_value_maxLines(const QString &name, const QString &value, int maxLines);

    QLabel *m_nameLabel = nullptr;
    QLabel *m_valueLabel = nullptr;
    int m_maxLines = 1;
};
