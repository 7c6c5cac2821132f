#pragma once

#include <QLabel>

/// A one-line label that shows as much of its text as fits and marks the cut with "…" (at the
/// end by default; in the middle for a file name, so its extension stays in sight): its width
/// never grows the window it is in (a long folder name in a title must not widen a phone's
/// screen). Screen readers get the whole text.
class ElidedLabel final : public QLabel
{
    Q_OBJECT

public:
    explicit ElidedLabel(QWidget *parent = nullptr);

    /// The whole text; what is shown is cut to the label's width.
    void setFullText(const QString &text);
    QString fullText() const { return m_fullText; }
    /// Where the text is cut when it does not fit; Qt::ElideRight until set.
    void setElideMode(Qt::TextElideMode mode);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void showWhatFits();

    QString m_fullText;
    Qt::TextElideMode m_elideMode = Qt::ElideRight;
};
