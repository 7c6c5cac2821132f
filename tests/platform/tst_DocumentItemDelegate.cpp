#include "platform/lists/DocumentItemDelegate.h"
#include "platform/lists/DocumentListModel.h"
#include "platform/ui/Font.h"

#include <QFontMetrics>
#include <QIcon>
#include <QImage>
#include <QListView>
#include <QPainter>
#include <QStandardItemModel>
#include <QStyleOptionViewItem>
#include <QTest>

class tst_DocumentItemDelegate : public QObject
{
    Q_OBJECT

private:
    /// One row or tile painted on white, with a red picture as its thumbnail.
    static QImage painted(bool grid, bool editing, QStyle::State state, const QWidget *view = nullptr)
    {
        QStandardItemModel model;
        auto *item = new QStandardItem(QStringLiteral("Mountains.png"));
        QImage red(64, 64, QImage::Format_RGB32);
        red.fill(Qt::red);
        item->setData(red, DocumentListModel::ThumbnailRole);
        model.appendRow(item);
        DocumentItemDelegate delegate;
        delegate.setGridMode(grid);
        delegate.setEditing(editing);
        const QSize size = grid ? DocumentItemDelegate::TileSize : QSize(390, DocumentItemDelegate::RowHeight);
        QImage canvas(size, QImage::Format_RGB32);
        canvas.fill(Qt::white);
        QPainter painter(&canvas);
        QStyleOptionViewItem option;
        option.rect = QRect(QPoint(0, 0), size);
        option.state = QStyle::State_Enabled | state;
        option.widget = view;
        delegate.paint(&painter, option, model.index(0, 0));
        painter.end();
        return canvas;
    }
    /// A phone's row of `item` painted on white, outside edit mode.
    static QImage paintedRow(QStandardItem *item)
    {
        QStandardItemModel model;
        model.appendRow(item);
        DocumentItemDelegate delegate;
        QImage canvas(QSize(390, DocumentItemDelegate::RowHeight), QImage::Format_RGB32);
        canvas.fill(Qt::white);
        QPainter painter(&canvas);
        QStyleOptionViewItem option;
        option.rect = canvas.rect();
        option.state = QStyle::State_Enabled;
        delegate.paint(&painter, option, model.index(0, 0));
        painter.end();
        return canvas;
    }
    /// The colour in the middle of where the picture is drawn.
    static QColor pictureMiddle(const QImage &canvas, bool grid, bool editing)
    {
        if (grid) {
            return canvas.pixelColor(canvas.width() / 2, 4 + 6 + 36);
        }
        const int left = 16 + (editing ? 22 + 14 : 0);
        return canvas.pixelColor(left + 22, 10 + 22);
    }

private Q_SLOTS:
    // a type icon that comes as bitmaps is drawn at the one nearest the slot, at its own size:
    // a 48-pixel picture is not blown up from 32 nor squeezed to 44, so it stays sharp
    void aBitmapIconIsDrawnAtItsOwnSize()
    {
        QIcon icon;
        for (const int side : {32, 48}) {
            QPixmap square(side, side);
            square.fill(Qt::darkGreen);
            icon.addPixmap(square);
        }
        auto *item = new QStandardItem(QStringLiteral("Site Survey.zip"));
        item->setData(icon, DocumentListModel::IconRole);
        const QImage canvas = paintedRow(item);
        int green = 0;
        for (int x = 0; x < 80; ++x) {
            green += canvas.pixelColor(x, DocumentItemDelegate::RowHeight / 2) == QColor(Qt::darkGreen) ? 1 : 0;
        }
        QCOMPARE(green, 48);
    }

    // the cloud of an item only on the drive keeps a white arrow inside it at a row's size
    void theCloudBadgeShowsItsArrow()
    {
        auto *item = new QStandardItem(QStringLiteral("Brochure.pdf"));
        item->setData(true, DocumentListModel::IsPromiseRole);
        const QImage canvas = paintedRow(item);
        // across the badge's middle line: blue cloud, a white arrow, blue cloud again
        QString runs;
        for (int x = 300; x < 390; ++x) {
            const QColor c = canvas.pixelColor(x, DocumentItemDelegate::RowHeight / 2 + 2);
            const QChar kind = c.blue() > 200 && c.red() < 60 ? QLatin1Char('b') : c.lightness() > 240 ? QLatin1Char('w') : QLatin1Char('-');
            if (runs.isEmpty() || runs.back() != kind) {
                runs.append(kind);
            }
        }
        QVERIFY2(runs.contains(QStringLiteral("bwb")) || runs.contains(QStringLiteral("b-w-b")), qPrintable(runs));
    }

    // a name of two lines in a tile keeps the subtitle off it, and all of it stays in the tile
    void aTwoLineNameLeavesRoomForTheSubtitle()
    {
        const QRect tile(QPoint(0, 0), DocumentItemDelegate::TileSize);
        const QFontMetrics nameMetrics(Font::preferredFontForTextStyle(Font::TextStyle::Footnote));
        const auto two = DocumentItemDelegate::tileLayout(tile, QStringLiteral("Quarterly report for the board.pdf"));
        QVERIFY2(two.name.height() >= 2 * nameMetrics.lineSpacing(), "the name takes two lines");
        QVERIFY(two.subtitle.top() >= two.name.bottom() + 1 + 3);
        QVERIFY(two.subtitle.bottom() <= tile.bottom() - 4);
        QVERIFY(two.name.top() > two.picture.bottom());
        // one line: the subtitle follows it closely rather than leaving a blank line
        const auto one = DocumentItemDelegate::tileLayout(tile, QStringLiteral("Plan.txt"));
        QVERIFY(one.name.height() * 3 / 2 < two.name.height());
        QVERIFY(one.subtitle.top() < two.subtitle.top());
        QVERIFY(one.subtitle.top() >= one.name.bottom() + 1 + 3);
    }

    // in edit mode a picture's thumbnail is still drawn, selected or not, in a row or a tile:
    // never a blank or a solid blue square
    void editModeKeepsThePicture_data()
    {
        QTest::addColumn<bool>("grid");
        QTest::addColumn<bool>("selected");
        QTest::newRow("row") << false << false;
        QTest::newRow("row, selected") << false << true;
        QTest::newRow("tile") << true << false;
        QTest::newRow("tile, selected") << true << true;
    }
    void editModeKeepsThePicture()
    {
        QFETCH(bool, grid);
        QFETCH(bool, selected);
        const QImage canvas = painted(grid, true, selected ? QStyle::State_Selected : QStyle::State_None);
        QCOMPARE(pictureMiddle(canvas, grid, true), QColor(Qt::red));
    }

    // the keyboard's item has a frame, drawn as an outline that leaves the picture as it is
    void theKeyboardsItemHasAFrameAroundIt()
    {
        const QImage plain = painted(false, false, QStyle::State_None);
        const QImage focused = painted(false, false, QStyle::State_HasFocus);
        QCOMPARE(pictureMiddle(focused, false, false), QColor(Qt::red));
        QVERIFY(plain.pixelColor(4, 32) != focused.pixelColor(4, 32)); // the frame's left edge
        QCOMPARE(plain.pixelColor(200, 32), focused.pixelColor(200, 32));

        // in a list used by touch or mouse the frame stays away; a key brings it
        QListView list;
        list.setProperty(DocumentItemDelegate::KeyboardInUseProperty, false);
        QCOMPARE(painted(false, false, QStyle::State_HasFocus, &list).pixelColor(4, 32), plain.pixelColor(4, 32));
        list.setProperty(DocumentItemDelegate::KeyboardInUseProperty, true);
        QCOMPARE(painted(false, false, QStyle::State_HasFocus, &list).pixelColor(4, 32), focused.pixelColor(4, 32));
    }
};

QTEST_MAIN(tst_DocumentItemDelegate)
#include "tst_DocumentItemDelegate.moc"
