#include "platform/quicklook/PreviewController.h"

#include "platform/drive/KDURL.h"
#include "platform/drive/URLResourceValues.h"
#include "platform/foundation/FilePath.h"
#include "platform/foundation/LocalizedString.h"
#include "platform/quicklook/PreviewControllerDataSource.h"
#include "platform/quicklook/PreviewText.h"
#include "platform/types/DocumentProxy.h"
#include "platform/types/IconForResourceProxy.h"
#include "platform/types/UniformType.h"
#include "platform/ui/BarButtonItem.h"
#include "platform/ui/Font.h"
#include "platform/ui/NavigationItem.h"

#include <QApplication>
#include <QAudioOutput>
#include <QEvent>
#include <QFile>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QHash>
#include <QImageReader>
#include <QLabel>
#include <QMediaPlayer>
#include <QMimeDatabase>
#include <QMouseEvent>
#include <QMovie>
#include <QMutex>
#include <QPainter>
#include <QPdfDocument>
#include <QPdfView>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QScroller>
#include <QShortcut>
#include <QSlider>
#include <QStackedLayout>
#include <QSvgRenderer>
#include <QTextBrowser>
#include <QVBoxLayout>
#include <QVideoWidget>
#include <QWheelEvent>

#include <sys/stat.h>

namespace {

/// Text keeps a reading margin from the screen's edges, as the lists' rows do.
constexpr int TextMargin = 16;

QString mimeTypeOf(const QString &path)
{
    static const QMimeDatabase database;
    return database.mimeTypeForFile(path).name();
}

bool isRegularFile(const QString &path)
{
    struct stat st;
    return ::stat(FilePath::encode(path).constData(), &st) == 0 && S_ISREG(st.st_mode);
}

/// The kind shown for an item that is not read: a link out of the drive is a link; anything
/// else is known by its name.
QString unreadableType(const QString &path)
{
    if (const std::optional<struct stat> st = FilePath::linkStatus(path); st && S_ISLNK(st->st_mode)) {
        return UniformType::SymbolicLink;
    }
    static const QMimeDatabase database;
    return database.mimeTypeForFile(path, QMimeDatabase::MatchExtension).name();
}

bool isMarkdown(const QString &type)
{
    return UniformType::conformsTo(type, QStringLiteral("text/markdown"));
}

bool isMedia(const QString &type)
{
    return UniformType::conformsTo(type, UniformType::Audio) || UniformType::conformsTo(type, UniformType::Movie);
}

/// A label showing a still picture scaled to fit, letter-boxed; the picture is kept whole in
/// its "picture" property and scaled again whenever the label is resized.
/// The smallest and largest zoom of a picture, its fitted size being 1.
constexpr qreal MinimumZoom = 1.0;
constexpr qreal MaximumZoom = 8.0;
/// What a double-click zooms a fitted picture to.
constexpr qreal DoubleClickZoom = 2.5;
/// One step of the wheel or of Ctrl+plus.
constexpr qreal ZoomStep = 1.25;

/// A picture fitted to the screen, zoomed and panned within it: the label holding it sits in
/// a scroll area that a finger or the wheel moves.
QScrollArea *makePictureView(const QImage &image)
{
    auto *area = new QScrollArea;
    area->setObjectName(QStringLiteral("pictureView"));
    area->setFrameShape(QFrame::NoFrame);
    area->setAlignment(Qt::AlignCenter);
    area->setWidgetResizable(false);
    // no bars: they would take room from the picture they measure
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area->setProperty("zoom", MinimumZoom);
    auto *label = new QLabel;
    label->setObjectName(QStringLiteral("picture"));
    label->setAlignment(Qt::AlignCenter);
    label->setProperty("picture", image);
    area->setWidget(label);
    QScroller::grabGesture(area->viewport(), QScroller::TouchGesture);
    return area;
}

/// Draws the picture at its zoom: 1 fits it to the screen (never above four times its own
/// pixels), more enlarges it around the point kept in place.
void fitPicture(QScrollArea *area, const QPointF &keep = {-1, -1})
{
    auto *label = qobject_cast<QLabel *>(area->widget());
    const QImage image = label ? label->property("picture").value<QImage>() : QImage();
    const QSize room = area->viewport()->size();
    if (image.isNull() || room.width() < 2 || room.height() < 2) {
        return;
    }
    const qreal zoom = area->property("zoom").toReal();
    const qreal ratio = area->devicePixelRatioF();
    const QSize fitted = image.size().scaled(room * ratio, Qt::KeepAspectRatio).boundedTo(image.size() * 4);
    const QSize target = (QSizeF(fitted) * zoom).toSize();
    // where the kept point lies within the picture, to put it back under the finger
    const QPointF anchor = keep.x() < 0 ? QPointF(room.width() / 2.0, room.height() / 2.0) : keep;
    const QPointF before = label->mapFrom(area->viewport(), anchor.toPoint());
    const qreal xShare = label->width() > 0 ? before.x() / label->width() : 0.5;
    const qreal yShare = label->height() > 0 ? before.y() / label->height() : 0.5;
    QPixmap pixmap = QPixmap::fromImage(image.scaled(target, Qt::KeepAspectRatio, Qt::SmoothTransformation));
    pixmap.setDevicePixelRatio(ratio);
    label->setPixmap(pixmap);
    label->resize(pixmap.deviceIndependentSize().toSize());
    area->horizontalScrollBar()->setValue(int(xShare * label->width() - anchor.x()));
    area->verticalScrollBar()->setValue(int(yShare * label->height() - anchor.y()));
}

QImage renderSvg(const QString &path, const QSize &size)
{
    QSvgRenderer renderer(path);
    if (!renderer.isValid()) {
        return {};
    }
    const QSize natural = renderer.defaultSize().isEmpty() ? QSize(512, 512) : renderer.defaultSize();
    const QSize target = natural.scaled(size.isEmpty() ? QSize(1024, 1024) : size, Qt::KeepAspectRatio);
    QImage image(target, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    renderer.render(&painter);
    return image;
}
} // namespace

PreviewController::PreviewController(QObject *parent)
    : ViewController(parent)
{
}

PreviewController::~PreviewController() = default;

bool PreviewController::canPreviewItem(const QUrl &url)
{
    if (FilePath::holdsUndecodableBytes(url.toLocalFile())) {
        return false; // known from the name alone: nothing of the item is read
    }
    std::optional<Error> error;
    const auto values = URLResourceValues::promisedItemResourceValuesForKeys(
        url, {URLResourceKey::TypeIdentifier, URLResourceKey::IsDirectory}, &error);
    return values
        && canPreviewItem(url, values->value(URLResourceKey::TypeIdentifier).toString(),
                          values->value(URLResourceKey::IsDirectory).toBool());
}

bool PreviewController::canPreviewItem(const QUrl &url, const QString &typeIdentifier, bool isDirectory)
{
    if (FilePath::holdsUndecodableBytes(url.toLocalFile())) {
        return false; // the viewers open files through Qt, which cannot reach a name that is not UTF-8
    }
    return !isDirectory && canPreviewType(typeIdentifier);
}

bool PreviewController::canPreviewType(const QString &typeIdentifier)
{
    if (typeIdentifier.isEmpty()) {
        return false;
    }
    // the answer asks the type database for the type's parents: every record asks, so keep them
    static QMutex mutex;
    static QHash<QString, bool> answers;
    QMutexLocker lock(&mutex);
    if (const auto found = answers.constFind(typeIdentifier); found != answers.cend()) {
        return *found;
    }
    static const QList<QByteArray> imageTypes = QImageReader::supportedMimeTypes();
    const bool answer = imageTypes.contains(typeIdentifier.toLatin1()) || typeIdentifier == QLatin1String("image/svg+xml")
        || UniformType::conformsTo(typeIdentifier, UniformType::PDF)
        || UniformType::conformsTo(typeIdentifier, QStringLiteral("text/plain")) || isMarkdown(typeIdentifier)
        || isMedia(typeIdentifier);
    answers.insert(typeIdentifier, answer);
    return answer;
}

bool PreviewController::wantsDefaultMediaPlayer(const QUrl &url)
{
    Q_UNUSED(url)
    return true;
}

QList<BarButtonItem *> PreviewController::additionalRightBarButtonItems() const
{
    QList<BarButtonItem *> items;
    for (const auto &item : m_additionalItems) {
        if (item) {
            items.append(item.data());
        }
    }
    return items;
}

void PreviewController::setAdditionalRightBarButtonItems(const QList<BarButtonItem *> &items)
{
    m_additionalItems.clear();
    for (BarButtonItem *item : items) {
        m_additionalItems.append(item);
    }
    navigationItem()->setRightBarButtonItems(items);
}

QWidget *PreviewController::loadView()
{
    auto *root = new QWidget;
    root->setObjectName(QStringLiteral("previewController"));
    root->setAutoFillBackground(true);
    QPalette palette = root->palette();
    palette.setColor(QPalette::Window, Qt::white);
    root->setPalette(palette);
    m_stack = new QStackedLayout(root);
    // the viewer takes the keyboard when it shows (its keys below act on the document)
    root->setFocusPolicy(Qt::StrongFocus);
    // Ctrl and plus or minus zoom a picture or the pages, Ctrl+0 fits them again
    const QList<std::pair<QKeySequence, std::function<void()>>> keys{
        {QKeySequence::ZoomIn, [this] { zoomBy(ZoomStep); }},
        {QKeySequence(Qt::CTRL | Qt::Key_Equal), [this] { zoomBy(ZoomStep); }},
        {QKeySequence::ZoomOut, [this] { zoomBy(1 / ZoomStep); }},
        {QKeySequence(Qt::CTRL | Qt::Key_0), [this] { resetZoom(); }},
    };
    for (const auto &[sequence, action] : keys) {
        auto *shortcut = new QShortcut(sequence, root);
        shortcut->setContext(Qt::WidgetWithChildrenShortcut);
        connect(shortcut, &QShortcut::activated, this, action);
    }
    return root;
}

void PreviewController::viewDidAppear(bool animated)
{
    ViewController::viewDidAppear(animated);
    if (!view()->isAncestorOf(QApplication::focusWidget())) {
        view()->setFocus(Qt::OtherFocusReason);
    }
}

void PreviewController::reloadData()
{
    auto *source = qobject_cast<PreviewControllerDataSource *>(m_dataSource.data());
    const qint64 count = source ? source->numberOfPreviewItemsInPreviewController(this) : 0;
    showDocument(count > 0 ? source->previewController_previewItemAtIndex(this, 0) : QUrl());
}

void PreviewController::refreshCurrentPreviewItem()
{
    showDocument(m_currentItem);
}

PreviewController::Renderer PreviewController::rendererForFile(const QString &path)
{
    const QString type = mimeTypeOf(path);
    if (type == QLatin1String("image/svg+xml")) {
        return Renderer::Svg;
    }
    if (UniformType::conformsTo(type, UniformType::PDF)) {
        return Renderer::Pdf;
    }
    if (isMarkdown(type)) {
        return Renderer::Markdown;
    }
    if (UniformType::conformsTo(type, QStringLiteral("text/plain"))) {
        return Renderer::Text;
    }
    if (isMedia(type)) {
        return Renderer::Media;
    }
    QImageReader reader(path);
    if (reader.canRead()) {
        return reader.supportsAnimation() && reader.imageCount() > 1 ? Renderer::Animation : Renderer::Image;
    }
    return Renderer::Generic;
}

void PreviewController::showDocument(const QUrl &url)
{
    view();
    if (m_rendererWidget) {
        m_stack->removeWidget(m_rendererWidget);
        m_rendererWidget->deleteLater();
    }
    m_currentItem = url;
    m_renderer = Renderer::None;
    if (url.isEmpty()) {
        setTitle(QString());
        return;
    }
    // only what really lies in the drive is read, and exactly the path that was checked: a
    // link out of the drive, or "link/../x", shows the item's name and nothing of its target;
    // so does a name that is not UTF-8, which the renderers (Qt's file classes) cannot reach
    const QString resolved = kd_resolvedPathInMobileDocuments(url);
    const bool readable = !resolved.isNull() && isRegularFile(resolved) && !FilePath::holdsUndecodableBytes(resolved);
    const QString path = readable ? resolved : url.toLocalFile();
    setTitle(FilePath::displayName(QFileInfo(url.toLocalFile()).fileName()));
    m_renderer = readable ? rendererForFile(path) : Renderer::Generic;
    QWidget *widget = nullptr;
    switch (m_renderer) {
    case Renderer::Image: {
        QImageReader reader(path);
        reader.setAutoTransform(true);
        widget = makePictureView(reader.read());
        static_cast<QScrollArea *>(widget)->viewport()->installEventFilter(this);
        break;
    }
    case Renderer::Svg:
        widget = makePictureView(renderSvg(path, QSize(2048, 2048)));
        static_cast<QScrollArea *>(widget)->viewport()->installEventFilter(this);
        break;
    case Renderer::Animation: {
        auto *label = new QLabel;
        label->setAlignment(Qt::AlignCenter);
        label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored);
        auto *movie = new QMovie(path, QByteArray(), label);
        label->setMovie(movie);
        label->setProperty("naturalSize", QImageReader(path).size());
        label->installEventFilter(this);
        movie->start();
        widget = label;
        break;
    }
    case Renderer::Pdf: {
        // the document is the holder's first child, so it goes before the view that shows it
        auto *holder = new QWidget;
        auto *document = new QPdfDocument(holder);
        auto *pdf = new QPdfView(holder);
        pdf->setObjectName(QStringLiteral("pdfView"));
        auto *layout = new QVBoxLayout(holder);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->addWidget(pdf);
        document->load(path);
        pdf->setDocument(document);
        pdf->setPageMode(QPdfView::PageMode::MultiPage);
        pdf->setZoomMode(QPdfView::ZoomMode::FitToWidth);
        pdf->viewport()->installEventFilter(this);
        QScroller::grabGesture(pdf->viewport(), QScroller::TouchGesture);
        widget = holder;
        break;
    }
    case Renderer::Text:
    case Renderer::Markdown: {
        const PreviewText text = PreviewText::fromFile(path);
        if (m_renderer == Renderer::Markdown && !text.isShortened()) {
            auto *browser = new QTextBrowser;
            browser->setOpenExternalLinks(true);
            browser->setMarkdown(text.text());
            browser->document()->setDocumentMargin(TextMargin);
            widget = browser;
        } else {
            // a very long text is shown as plain text: mark-up over megabytes lays out for minutes
            auto *plain = new QPlainTextEdit;
            plain->setReadOnly(true);
            plain->setPlainText(text.text());
            plain->document()->setDocumentMargin(TextMargin);
            widget = plain;
        }
        auto *scrolling = static_cast<QAbstractScrollArea *>(widget);
        scrolling->setFrameShape(QFrame::NoFrame);

        widget->setFont(Font::preferredFontForTextStyle(Font::TextStyle::Body));
        QScroller::grabGesture(scrolling->viewport(), QScroller::TouchGesture);
        break;
    }
    case Renderer::Media: {
        auto *player = new QWidget;
        auto *layout = new QVBoxLayout(player);
        auto *video = new QVideoWidget(player);
        layout->addWidget(video, 1);
        auto *controls = new QHBoxLayout;
        auto *play = new QPushButton(LocalizedString::localized(QStringLiteral("Play")), player);
        play->setObjectName(QStringLiteral("playButton"));
        play->setMinimumSize(88, 44);
        auto *position = new QSlider(Qt::Horizontal, player);
        position->setObjectName(QStringLiteral("positionSlider"));
        position->setAccessibleName(LocalizedString::localized(QStringLiteral("Position")));
        controls->addWidget(play);
        controls->addWidget(position, 1);
        if (wantsDefaultMediaPlayer(url)) {
            layout->addLayout(controls);
        }
        auto *media = new QMediaPlayer(player);
        auto *audio = new QAudioOutput(player);
        media->setAudioOutput(audio);
        media->setVideoOutput(video);
        media->setSource(QUrl::fromLocalFile(path));
        connect(play, &QPushButton::clicked, media, [media, play] {
            const bool playing = media->playbackState() == QMediaPlayer::PlayingState;
            playing ? media->pause() : media->play();
            play->setText(LocalizedString::localized(playing ? QStringLiteral("Play") : QStringLiteral("Pause")));
        });
        connect(media, &QMediaPlayer::durationChanged, position, [position](qint64 ms) { position->setRange(0, int(ms)); });
        connect(media, &QMediaPlayer::positionChanged, position, [position](qint64 ms) {
            const QSignalBlocker block(position);
            position->setValue(int(ms));
        });
        connect(position, &QSlider::sliderMoved, media, [media](int ms) { media->setPosition(ms); });
        widget = player;
        break;
    }
    case Renderer::Generic:
    case Renderer::None: {
        // no renderer: the document's icon, name and kind
        ensureIconTheme();
        auto *card = new QWidget;
        auto *layout = new QVBoxLayout(card);
        layout->addStretch(1);
        auto *icon = new QLabel(card);
        icon->setObjectName(QStringLiteral("genericIcon"));
        // what is not read is named by its extension alone
        const QString type = readable ? mimeTypeOf(path) : unreadableType(url.toLocalFile());
        icon->setPixmap(QPixmap::fromImage(IconForResourceProxy(
            DocumentProxy::documentProxyForName_type_MIMEType(QFileInfo(path).fileName(), type, QString()),
            IconFormat::Large).scaled(128, 128, Qt::KeepAspectRatio, Qt::SmoothTransformation)));
        icon->setAlignment(Qt::AlignCenter);
        auto *name = new QLabel(FilePath::displayName(QFileInfo(url.toLocalFile()).fileName()), card);
        name->setObjectName(QStringLiteral("genericName"));
        name->setFont(Font::preferredFontForTextStyle(Font::TextStyle::Title2));
        name->setAlignment(Qt::AlignCenter);
        name->setWordWrap(true);
        auto *kind = new QLabel(UniformType::localizedDescription(type), card);
        kind->setObjectName(QStringLiteral("genericKind"));
        kind->setFont(Font::preferredFontForTextStyle(Font::TextStyle::Subheadline));
        kind->setStyleSheet(QStringLiteral("color: #6d6d72;"));
        kind->setAlignment(Qt::AlignCenter);
        layout->addWidget(icon);
        layout->addWidget(name);
        layout->addWidget(kind);
        layout->addStretch(2);
        m_renderer = Renderer::Generic;
        widget = card;
        break;
    }
    }
    widget->setObjectName(QStringLiteral("previewRenderer"));
    m_rendererWidget = widget;
    m_stack->addWidget(widget);
    m_stack->setCurrentWidget(widget);
}

QScrollArea *PreviewController::pictureView() const
{
    return (m_renderer == Renderer::Image || m_renderer == Renderer::Svg) ? qobject_cast<QScrollArea *>(m_rendererWidget.data())
                                                                           : nullptr;
}

QPdfView *PreviewController::pdfView() const
{
    return m_renderer == Renderer::Pdf && m_rendererWidget ? m_rendererWidget->findChild<QPdfView *>() : nullptr;
}

qreal PreviewController::zoomFactor() const
{
    if (QScrollArea *picture = pictureView()) {
        return picture->property("zoom").toReal();
    }
    if (QPdfView *pdf = pdfView()) {
        return pdf->zoomMode() == QPdfView::ZoomMode::Custom ? pdf->zoomFactor() : 1.0;
    }
    return 1.0;
}

void PreviewController::zoomBy(qreal factor, const QPointF &keep)
{
    if (QScrollArea *picture = pictureView()) {
        picture->setProperty("zoom", std::clamp(zoomFactor() * factor, MinimumZoom, MaximumZoom));
        fitPicture(picture, keep);
    } else if (QPdfView *pdf = pdfView()) {
        const qreal zoom = std::clamp(zoomFactor() * factor, 0.25, MaximumZoom);
        pdf->setZoomMode(QPdfView::ZoomMode::Custom);
        pdf->setZoomFactor(zoom);
    }
}

void PreviewController::resetZoom()
{
    if (QScrollArea *picture = pictureView()) {
        picture->setProperty("zoom", MinimumZoom);
        fitPicture(picture);
    } else if (QPdfView *pdf = pdfView()) {
        pdf->setZoomMode(QPdfView::ZoomMode::FitToWidth);
    }
}

bool PreviewController::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Resize && m_renderer == Renderer::Animation && watched == m_rendererWidget) {
        // an animation plays as large as the screen allows, in its own shape
        auto *label = qobject_cast<QLabel *>(watched);
        const QSize natural = label ? label->property("naturalSize").toSize() : QSize();
        if (label && label->movie() && natural.isValid()) {
            label->movie()->setScaledSize(natural.scaled(label->size(), Qt::KeepAspectRatio));
        }
    }
    QScrollArea *picture = pictureView();
    if (picture && watched == picture->viewport()) {
        switch (event->type()) {
        case QEvent::Resize:
            fitPicture(picture);
            break;
        case QEvent::MouseButtonDblClick: {
            // a double-click looks closer at the point clicked, and back again
            const QPointF at = static_cast<QMouseEvent *>(event)->position();
            zoomFactor() > MinimumZoom ? resetZoom() : zoomBy(DoubleClickZoom, at);
            return true;
        }
        default:
            break;
        }
    }
    if (event->type() == QEvent::Wheel && (picture || pdfView())) {
        auto *wheel = static_cast<QWheelEvent *>(event);
        if (wheel->modifiers() & Qt::ControlModifier) {
            // Ctrl and the wheel (or a touchpad's pinch) zoom the picture or the pages
            zoomBy(wheel->angleDelta().y() > 0 ? ZoomStep : 1 / ZoomStep, wheel->position());
            return true;
        }
    }
    return ViewController::eventFilter(watched, event);
}
