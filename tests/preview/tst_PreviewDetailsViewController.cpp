#include "model/DRItem.h"
#include "model/FileTags.h"
#include "platform/drive/DriveSetup.h"
#include "platform/ui/BarButtonItem.h"
#include "platform/ui/Device.h"
#include "platform/ui/ElidedLabel.h"
#include "platform/ui/NavigationController.h"
#include "platform/ui/NavigationItem.h"
#include "platform/ui/Toolbar.h"
#include "platform/ui/Window.h"
#include "preview/ConstraintUtils.h"
#include "preview/FileInfoCell.h"
#include "preview/FileInfoStackView.h"
#include "preview/HairlineView.h"
#include "preview/PreviewDetailsViewController.h"
#include "preview/PreviewItemManager.h"
#include "preview/ThumbnailImageView.h"
#include "browser/RenamePrompt.h"
#include "platform/ui/AlertController.h"
#include "support/Accessibility.h"
#include "support/TestDrive.h"

#include <QLabel>
#include <QLayout>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>
#include <QTextLayout>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextFragment>
#include <QTextImageFormat>

class tst_PreviewDetailsViewController : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;
    QTemporaryDir m_xdg;

    /// A phone window whose navigation shows what `manager` previews, on the details screen.
    static NavigationController *stageDetails(Window &window, const std::shared_ptr<PreviewItemManager> &manager)
    {
        Device::setForcedIdiom(Device::Idiom::Phone);
        auto *navigation = new NavigationController;
        manager->setMode(PreviewModeDetails);
        manager->setNavigationController(navigation);
        navigation->setViewControllers({new ViewController}, false);
        window.setRootViewController(navigation);
        window.show();
        return navigation;
    }

    std::shared_ptr<DRItem> documentItem(const QString &relative)
    {
        const QString path = m_drive.path(relative);
        TestDrive::writeFile(path, "some words");
        auto item = DRItem::initWithURL(QUrl::fromLocalFile(path));
        item->setCreationDate(QDateTime(QDate(2026, 9, 14), QTime(9, 30)));
        item->setContentModificationDate(QDateTime(QDate(2026, 11, 2), QTime(17, 5)));
        item->setTags(std::nullopt);
        return item;
    }
    static QStringList names(FileInfoStackView *view)
    {
        QStringList result;
        for (FileInfoCell *cell : view->cells()) {
            result << cell->nameLabel()->text();
        }
        return result;
    }
    /// Makes the value column of the rows `width` pixels wide.
    static void setValueWidth(FileInfoStackView *view, int width)
    {
        const int name = view->cells().first()->nameLabel()->width();
        view->resize(name + 10 + width, view->sizeHint().height());
        view->layout()->activate();
        for (FileInfoCell *cell : view->cells()) {
            cell->layout()->activate();
        }
        view->layoutSubviews();
    }

private Q_SLOTS:
    void initTestCase()
    {
        qputenv("XDG_DATA_HOME", QFile::encodeName(m_xdg.path() + QStringLiteral("/data")));
        qputenv("XDG_DATA_DIRS", QByteArrayLiteral("/usr/share"));
        QVERIFY(TestDrive::writeFile(m_xdg.path() + QStringLiteral("/data/applications/com.example.TextEditor.desktop"),
                                     "[Desktop Entry]\nType=Application\nName=Text Editor\nExec=true %U\n"
                                     "MimeType=text/plain;\n"));
        QVERIFY(TestDrive::writeFile(m_drive.home() + QStringLiteral("/config/mimeapps.list"),
                                     "[Default Applications]\ntext/plain=com.example.TextEditor.desktop\n"));
        DriveSetup::defineTags({{QStringLiteral("Red"), 6}, {QStringLiteral("Work"), 4}});
    }
    void cleanup() { Device::setForcedIdiom(std::nullopt); }

    void withoutTagsFiveRowsInOrder()
    {
        FileInfoStackView view;
        view.setItem(documentItem(QStringLiteral("Work/Plan.txt")));
        QCOMPARE(names(&view), (QStringList{QStringLiteral("Kind"), QStringLiteral("Size"), QStringLiteral("Where"),
                                            QStringLiteral("Created"), QStringLiteral("Modified")}));
        QCOMPARE(view.cells().at(2)->valueLabel()->text(), QStringLiteral("Aerova Drive ▸ Work"));
        QCOMPARE(view.creationDateCell(), view.cells().at(3));
        QCOMPARE(view.modifiedDateCell(), view.cells().at(4));
        // every name column is as wide as the widest
        QCOMPARE(view.cells().first()->nameLabel()->width(), view.cells().at(4)->nameLabel()->width());
    }

    // only the location may wrap, to three lines
    void onlyWhereWraps()
    {
        FileInfoStackView view;
        view.setItem(documentItem(QStringLiteral("A rather long folder name/Another long folder name/Third one/Doc.txt")));
        for (FileInfoCell *cell : view.cells()) {
            const bool where = cell->nameLabel()->text() == QLatin1String("Where");
            QCOMPARE(cell->maxLines(), where ? 3 : 1);
            QCOMPARE(cell->valueLabel()->wordWrap(), where);
        }
        setValueWidth(&view, 120);
        FileInfoCell *where = view.cells().at(2);
        const int line = QFontMetrics(FileInfoCell::font()).lineSpacing();
        QVERIFY(where->valueLabel()->heightForWidth(120) > line);
        QVERIFY(where->valueLabel()->maximumHeight() <= 3 * line);
    }

    void datesTakeTheLongestStyleThatFits()
    {
        FileInfoStackView view;
        const auto item = documentItem(QStringLiteral("Dates.txt"));
        view.setItem(item);
        const QFontMetrics metrics(FileInfoCell::font());
        auto widest = [&](DateFormatter::Style style) {
            return std::max(metrics.horizontalAdvance(item->friendlyCreationDate(style)),
                            metrics.horizontalAdvance(item->friendlyContentModificationDate(style)));
        };
        const int longWidth = widest(DateFormatter::Style::Long);
        const int mediumWidth = widest(DateFormatter::Style::Medium);
        QVERIFY(mediumWidth < longWidth);
        setValueWidth(&view, longWidth + 4);
        QCOMPARE(view.dateStyle(), DateFormatter::Style::Long);
        setValueWidth(&view, (mediumWidth + longWidth) / 2);
        QCOMPARE(view.dateStyle(), DateFormatter::Style::Medium);
        QCOMPARE(view.modifiedDateCell()->valueLabel()->text(), item->friendlyContentModificationDate(DateFormatter::Style::Medium));
        QCOMPARE(view.creationDateCell()->valueLabel()->text(), item->friendlyCreationDate(DateFormatter::Style::Medium));
        setValueWidth(&view, 20);
        QCOMPARE(view.dateStyle(), DateFormatter::Style::Short);
        QCOMPARE(view.modifiedDateCell()->valueLabel()->text(), item->friendlyContentModificationDate(DateFormatter::Style::Short));
    }

    // dot, "Red ", dot, "Work": a space between the names and none after the last
    void tagsAreDotsAndNames()
    {
        const auto item = documentItem(QStringLiteral("Tagged.txt"));
        item->setTags(QStringList{QStringLiteral("Red"), QStringLiteral("Work")});
        const auto document = FileInfoStackView::buildTagsWithImagesString_font(item, FileInfoCell::font());
        QVERIFY(document);
        QStringList runs;
        for (QTextBlock::iterator it = document->begin().begin(); !it.atEnd(); ++it) {
            const QTextFragment fragment = it.fragment();
            if (fragment.charFormat().isImageFormat()) {
                const QImage dot = document->resource(QTextDocument::ImageResource,
                                                      QUrl(fragment.charFormat().toImageFormat().name())).value<QImage>();
                QVERIFY(!dot.isNull());
                runs << QStringLiteral("<dot>");
            } else {
                runs << fragment.text();
            }
        }
        QCOMPARE(runs, (QStringList{QStringLiteral("<dot>"), QStringLiteral("Red "), QStringLiteral("<dot>"),
                                    QStringLiteral("Work")}));
        // the names stand on the baseline of the "Tags" label beside them, not lower
        document->documentLayout(); // laid out
        const QTextLine line = document->begin().layout()->lineAt(0);
        QVERIFY(line.isValid());
        QVERIFY2(qAbs(line.ascent() - QFontMetricsF(FileInfoCell::font()).ascent()) <= 1.0,
                 qPrintable(QStringLiteral("%1 against %2").arg(line.ascent()).arg(QFontMetricsF(FileInfoCell::font()).ascent())));
        FileInfoStackView view;
        view.setItem(item);
        QCOMPARE(names(&view).last(), QStringLiteral("Tags"));
        item->setTags(QStringList{});
        QVERIFY(!FileInfoStackView::buildTagsWithImagesString_font(item, FileInfoCell::font()));
    }

    // Another program renames the document (mv a.txt b.txt): the open details screen stays and
    // follows it to its new name, as it follows a move made in the app, instead of closing as
    // if the document were deleted.
    void renameByAnotherProgramIsFollowed()
    {
        Window window(QRect(0, 0, 390, 844));
        auto manager = PreviewItemManager::create();
        NavigationController *navigation = stageDetails(window, manager);
        manager->previewItem(documentItem(QStringLiteral("Renamed/a.txt")));
        auto *screen = qobject_cast<PreviewDetailsViewController *>(navigation->topViewController());
        QVERIFY(screen);
        QCOMPARE(screen->filenameTextField()->text(), QStringLiteral("a.txt"));
        QCOMPARE(QProcess::execute(QStringLiteral("/bin/mv"), {m_drive.path(QStringLiteral("Renamed/a.txt")),
                                                                m_drive.path(QStringLiteral("Renamed/b.txt"))}),
                 0);
        QTRY_COMPARE(manager->item()->url(), QUrl::fromLocalFile(m_drive.path(QStringLiteral("Renamed/b.txt"))));
        QTRY_COMPARE(screen->filenameTextField()->text(), QStringLiteral("b.txt"));
        QCOMPARE(navigation->topViewController(), screen);
        manager->unregisterAsFilePresenter();
    }

    // a long name stays on one line within a phone's width, cut in its middle so its start and
    // its extension both show; the bar names the document
    void aLongNameIsCutInItsMiddle()
    {
        const QString name = QStringLiteral("Minutes of the annual general meeting of the rowing club 2026.txt");
        QVERIFY(TestDrive::writeFile(m_drive.path(name), "minutes"));
        Window window(QRect(0, 0, 390, 844));
        auto manager = PreviewItemManager::create();
        NavigationController *navigation = stageDetails(window, manager);
        manager->previewItem(documentItem(name));
        auto *screen = qobject_cast<PreviewDetailsViewController *>(navigation->topViewController());
        QVERIFY(screen);
        QCoreApplication::processEvents();
        ElidedLabel *label = screen->filenameTextField();
        QCOMPARE(label->fullText(), name);
        QVERIFY2(label->text().startsWith(QStringLiteral("Minutes")), qPrintable(label->text()));
        QVERIFY2(label->text().endsWith(QStringLiteral(".txt")), qPrintable(label->text()));
        QVERIFY(label->text().contains(QChar(0x2026)));
        QVERIFY(label->fontMetrics().horizontalAdvance(label->text()) <= label->contentsRect().width());
        QVERIFY(label->width() <= 390);
        QCOMPARE(screen->title(), name);
        manager->unregisterAsFilePresenter();
    }

    // a screen reader names every control of the details screen, the icon-only bar buttons too
    void everyControlHasANameForScreenReaders()
    {
        Window window(QRect(0, 0, 390, 844));
        auto manager = PreviewItemManager::create();
        NavigationController *navigation = stageDetails(window, manager);
        manager->previewItem(documentItem(QStringLiteral("Spoken.txt")));
        QCoreApplication::processEvents();
        QCOMPARE(Accessibility::unnamedControls(navigation->view()), QStringList());
        const auto buttons = navigation->toolbar()->findChildren<QToolButton *>();
        QStringList names;
        for (QToolButton *button : buttons) {
            if (button->isVisibleTo(navigation->toolbar())) {
                names << Accessibility::nameOf(button);
            }
        }
        QCOMPARE(names, (QStringList{QStringLiteral("Share"), QStringLiteral("Delete"), QStringLiteral("Move")}));
        manager->unregisterAsFilePresenter();
    }

    // on its side the screen puts the thumbnail and the details in equal halves
    void landscapeSideBySide()
    {
        Window window(QRect(0, 0, 390, 844));
        auto manager = PreviewItemManager::create();
        NavigationController *navigation = stageDetails(window, manager);
        manager->previewItem(documentItem(QStringLiteral("Turn.txt")));
        auto *screen = qobject_cast<PreviewDetailsViewController *>(navigation->topViewController());
        QVERIFY(screen);
        QCOMPARE(screen->filenameTextField()->text(), QStringLiteral("Turn.txt"));
        QVERIFY(!screen->isLandscapeLayout());
        QCoreApplication::processEvents();
        for (const LayoutConstraint &rule : screen->verticalConstraints()) {
            QVERIFY(rule.isSatisfied());
        }
        QCOMPARE(screen->hairlineViews().first()->width(), screen->view()->width());
        QVERIFY(screen->filenameTextFieldFullWidthConstraint().isSatisfied());
        QCOMPARE(screen->filenameTextField()->alignment() & Qt::AlignHorizontal_Mask, Qt::AlignHCenter);

        screen->view()->window()->resize(844, 390);
        screen->adjustViewsForOrientation(PseudoOrientation::LandscapeRight);
        QCoreApplication::processEvents();
        QVERIFY(screen->isLandscapeLayout());
        QVERIFY(qAbs(screen->thumbnailView()->width() - screen->fileDetailsView()->width()) <= 16);
        QVERIFY(screen->fileDetailsView()->x() > screen->thumbnailView()->x());
        QCOMPARE(screen->filenameTextField()->alignment() & Qt::AlignHorizontal_Mask, Qt::AlignLeft);
        for (const LayoutConstraint &rule : screen->horizontalConstraints()) {
            QVERIFY(rule.isSatisfied());
        }
        manager->unregisterAsFilePresenter();
    }

    // a phone has no room for the open-in button in the view: the navigation bar takes it
    void onAPhoneTheOpenInButtonGoesToTheBar()
    {
        Device::setForcedIdiom(Device::Idiom::Phone);
        auto manager = PreviewItemManager::create();
        manager->setMode(PreviewModeDetails);
        NavigationController navigation;
        manager->setNavigationController(&navigation);
        navigation.setViewControllers({new ViewController}, false);
        manager->previewItem(documentItem(QStringLiteral("Editable.txt")));
        auto *screen = qobject_cast<PreviewDetailsViewController *>(navigation.topViewController());
        QVERIFY(screen);
        QVERIFY(screen->openInAppButton());
        QCOMPARE(screen->openInAppButton()->text(), QStringLiteral("Open in “Text Editor”"));
        QVERIFY(!screen->shouldDisplayOpenInAppButtonInView());
        QVERIFY(!screen->fileDetailsView()->isAncestorOf(screen->openInAppButton()));
        QCOMPARE(screen->openInAppNavControllerButton(), screen->openInAppButton());
        QCOMPARE(screen->navigationItem()->rightBarButtonItems().first()->customView(), screen->openInAppButton());
        // on a tablet it is in the view
        Device::setForcedIdiom(Device::Idiom::Pad);
        auto tabletManager = PreviewItemManager::create();
        tabletManager->setMode(PreviewModeDetails);
        NavigationController tabletNavigation;
        tabletManager->setNavigationController(&tabletNavigation);
        tabletNavigation.setViewControllers({new ViewController}, false);
        tabletManager->previewItem(documentItem(QStringLiteral("Editable2.txt")));
        auto *tablet = qobject_cast<PreviewDetailsViewController *>(tabletNavigation.topViewController());
        QVERIFY(tablet->fileDetailsView()->isAncestorOf(tablet->openInAppButton()));
        QVERIFY(!tablet->openInAppNavControllerButton());
        manager->unregisterAsFilePresenter();
        tabletManager->unregisterAsFilePresenter();
    }

    void tappingTheNameRenames()
    {
        auto manager = PreviewItemManager::create();
        manager->setMode(PreviewModeDetails);
        NavigationController navigation;
        manager->setNavigationController(&navigation);
        navigation.setViewControllers({new ViewController}, false);
        manager->previewItem(documentItem(QStringLiteral("Old name.txt")));
        auto *screen = qobject_cast<PreviewDetailsViewController *>(navigation.topViewController());
        screen->filenameWasTapped();
        QVERIFY(screen->renamePrompt());
        QCOMPARE(screen->presentedViewController(), screen->renamePrompt()->alert());
        manager->unregisterAsFilePresenter();
    }

    void stackedRulesDescribeTwoChildren()
    {
        QWidget parent;
        parent.resize(200, 300);
        QWidget top(&parent);
        QWidget bottom(&parent);
        top.setGeometry(50, 0, 100, 100);
        bottom.setGeometry(25, 110, 150, 190);
        const auto rules = ConstraintUtils::verticallyStackedConstraintsInParent_topChild_bottomChild_middleGap(&parent, &top,
                                                                                                               &bottom, 10);
        QCOMPARE(rules.size(), 7);
        for (const LayoutConstraint &rule : rules) {
            QVERIFY(rule.isSatisfied());
        }
        bottom.move(25, 130);
        QVERIFY(!std::all_of(rules.cbegin(), rules.cend(), [](const LayoutConstraint &rule) { return rule.isSatisfied(); }));
        QCOMPARE(ConstraintUtils::stretchSubviewConstraints_withinView(&top, &parent).size(), 4);
        HairlineView hairline;
        QVERIFY(hairline._hairline() > 0 && hairline._hairline() <= 1);
    }
};

QTEST_MAIN(tst_PreviewDetailsViewController)
#include "tst_PreviewDetailsViewController.moc"
