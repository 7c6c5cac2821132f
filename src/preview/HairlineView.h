#pragma once

#include <QWidget>

/// A separator one physical pixel high, in the bars' hairline grey.
class HairlineView final : public QWidget
{
    Q_OBJECT

public:
    explicit HairlineView(QWidget *parent = nullptr);

    /// One physical pixel in logical pixels, for the screen the view is on (or the primary one).
    double _hairline() const;

protected:
    void paintEvent(QPaintEvent *event) override;
};
