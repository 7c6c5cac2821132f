#pragma once

#include "preview/LayoutConstraint.h"
#include "preview/PreviewBaseViewController.h"

#include <QPointer>
#include <QPushButton>

#include <memory>

class ElidedLabel;
class FileInfoStackView;
class HairlineView;
class QBoxLayout;
class QLabel;
class RenamePrompt;
class ThumbnailImageView;

/// The facts of one item instead of its content: thumbnail, name (tap to rename), the rows of
/// `FileInfoStackView`, and an open-in button when another app opens the document in place
/// (in the view on a tablet, in the navigation bar otherwise). Upright the parts are stacked and
/// centred; on its side the thumbnail and the details share the width, aligned to the leading
/// edge. The separators around the name run to the screen's edges.
class PreviewDetailsViewController final : public PreviewBaseViewController
{
    Q_OBJECT

public:
    explicit PreviewDetailsViewController(QObject *parent = nullptr);
    ~PreviewDetailsViewController() override;

    ThumbnailImageView *thumbnailView() const { return m_thumbnailView; }
    ElidedLabel *filenameTextField() const { return m_filenameTextField; }
    RenamePrompt *renamePrompt() const { return m_renamePrompt.get(); }
    FileInfoStackView *fileInfoView() const { return m_fileInfoView; }
    QString originalFilename() const { return m_originalFilename; }
    QWidget *mainStackView() const { return m_mainStackView; }
    QWidget *filenameStackView() const { return m_filenameStackView; }
    QWidget *fileDetailsView() const { return m_fileDetailsView; }
    QList<HairlineView *> hairlineViews() const;
    QPushButton *openInAppButton() const { return m_openInAppButton.data(); }
    const QList<LayoutConstraint> &verticalConstraints() const { return m_verticalConstraints; }
    const QList<LayoutConstraint> &horizontalConstraints() const { return m_horizontalConstraints; }
    /// The name spans its stack's width.
    const LayoutConstraint &filenameTextFieldFullWidthConstraint() const { return m_filenameTextFieldFullWidthConstraint; }
    /// Kept for a keyboard that would cover the name while renaming; the rename prompt is a
    /// sheet of its own, so nothing moves.
    double keyboardScrollYOffset() const { return m_keyboardScrollYOffset; }
    /// Kept for bar items put aside while renaming; none are.
    QList<BarButtonItem *> originalRightBarButtonItems() const { return m_originalRightBarButtonItems; }
    /// Whether the landscape arrangement is on.
    bool isLandscapeLayout() const { return m_landscape; }

    void setupViewsAndConstraints();
    bool shouldDisplayOpenInAppButtonInView() const;
    QAbstractButton *openInAppNavControllerButton() override;
    static QWidget *buildVerticalStackWithSubviews_spacing(const QList<QWidget *> &views, int spacing);
    static void stretchSubview_withinView(QWidget *subview, QWidget *view);
    static QList<LayoutConstraint> stretchSubviewWidth_withinView(QWidget *subview, QWidget *view);
    void refreshItem() override;
    void setupVerticalConstraints();
    void setupHorizontalConstraints();
    void adjustViewsForOrientation(PseudoOrientation orientation);
    void viewWillTransitionToSize_withTransitionCoordinator(const QSize &size);
    void filenameWasTapped();

protected:
    void viewDidLoad() override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void placeHairlines();

    ThumbnailImageView *m_thumbnailView = nullptr;
    ElidedLabel *m_filenameTextField = nullptr;
    std::unique_ptr<RenamePrompt> m_renamePrompt;
    FileInfoStackView *m_fileInfoView = nullptr;
    QString m_originalFilename;
    QWidget *m_mainStackView = nullptr;
    QBoxLayout *m_mainLayout = nullptr;
    QWidget *m_filenameStackView = nullptr;
    QWidget *m_fileDetailsView = nullptr;
    /// Where the separators go in the name stack; the separators themselves span the screen.
    QList<QWidget *> m_hairlineSlots;
    QList<HairlineView *> m_hairlineViews;
    QPointer<QPushButton> m_openInAppButton;
    QList<LayoutConstraint> m_verticalConstraints;
    QList<LayoutConstraint> m_horizontalConstraints;
    bool m_landscape = false;
    LayoutConstraint m_filenameTextFieldFullWidthConstraint;
    double m_keyboardScrollYOffset = 0;
    QList<BarButtonItem *> m_originalRightBarButtonItems;
};
