#pragma once

#include <QImage>
#include <QWidget>

#include <memory>

class DRItem;
class PieProgressIndicatorView;

/// An item's stored thumbnail scaled to fit (letter-boxed), or its type's icon when it has
/// none, with a small pie in the lower trailing corner while a download is shown.
class ThumbnailImageView final : public QWidget
{
    Q_OBJECT

public:
    explicit ThumbnailImageView(QWidget *parent = nullptr);

    std::shared_ptr<DRItem> item() const { return m_item; }
    /// Shows the item's thumbnail, else its type's icon; no item changes nothing on screen.
    void setItem(const std::shared_ptr<DRItem> &item);
    void showGenericImage();
    void showProgress(bool show);
    /// Moves the pie, only while it is shown.
    void updateProgress(double fraction);

    PieProgressIndicatorView *progressView() const { return m_progressView; }
    /// The picture shown, before scaling.
    QImage image() const { return m_image; }
    /// Where the picture is drawn inside the view.
    QRect imageRect() const;
    bool showsGenericImage() const { return m_generic; }

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

    static constexpr int PieSide = 22;

private:
    std::shared_ptr<DRItem> m_item;
    QImage m_image;
    bool m_generic = false;
    PieProgressIndicatorView *m_progressView = nullptr;
};
