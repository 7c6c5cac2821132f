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

#include <QAudioOutput>
#include <QEvent>
#include <QFile>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QImageReader>
#include <QLabel>
#include <QMediaPlayer>
#include <QMimeDatabase>
#include <QMovie>
#include <QPdfDocument>
#include <QPdfView>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScroller>
#include <QSlider>
#include <QStackedLayout>
#include <QSvgRenderer>
#include <QTextBrowser>
#include <QVBoxLayout>
#include <QVideoWidget>
#include <QWheelEvent>
#include <QPainter>

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
QLabel *makePictureLabel(const QImage &image)
{
    auto *label = new QLabel;
    label->setAlignment(Qt::AlignCenter);
    label->setMinimumSize(1, 1);
    label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored);
    label->setProperty("picture", image);
    return label;
}

void fitPicture(QLabel *label)
{
    const QImage image = label->property("picture").value<QImage>();
    if (image.isNull() || label->width() < 2 || label->height() < 2) {
        return;
    }
    const qreal ratio = label->devicePixelRatioF();
    const QSize target = image.size().scaled(label->size() * ratio, Qt::KeepAspectRatio).boundedTo(image.size() * 4);
    QPixmap pixmap = QPixmap::fromImage(image.scaled(target, Qt::KeepAspectRatio, Qt::SmoothTransformation));
    pixmap.setDevicePixelRatio(ratio);
    label->setPixmap(pixmap);
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
        return false; // the viewers open files through Qt, which cannot reach a name that is not UTF-8
    }
    std::optional<Error> error;
    const auto values = URLResourceValues::promisedItemResourceValuesForKeys(
        url, {URLResourceKey::TypeIdentifier, URLResourceKey::IsDirectory}, &error);
    if (!values || values->value(URLResourceKey::IsDirectory).toBool()) {
        return false;
    }
    return canPreviewType(values->value(URLResourceKey::TypeIdentifier).toString());
}

bool PreviewController::canPreviewType(const QString &typeIdentifier)
{
    if (typeIdentifier.isEmpty()) {
        return false;
    }
    static const QList<QByteArray> imageTypes = QImageReader::supportedMimeTypes();
    return imageTypes.contains(typeIdentifier.toLatin1()) || typeIdentifier == QLatin1String("image/svg+xml")
        || UniformType::conformsTo(typeIdentifier, UniformType::PDF)
        || UniformType::conformsTo(typeIdentifier, QStringLiteral("text/plain")) || isMarkdown(typeIdentifier)
        || isMedia(typeIdentifier);
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
    return root;
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
        widget = makePictureLabel(reader.read());
        widget->installEventFilter(this);
        break;
    }
    case Renderer::Svg:
        widget = makePictureLabel(renderSvg(path, QSize(2048, 2048)));
        widget->installEventFilter(this);
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

bool PreviewController::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Resize && watched == m_rendererWidget) {
        auto *label = qobject_cast<QLabel *>(watched);
        if (label && label->movie()) {
            const QSize natural = label->property("naturalSize").toSize();
            if (natural.isValid()) {
                label->movie()->setScaledSize(natural.scaled(label->size(), Qt::KeepAspectRatio));
            }
        } else if (label) {
            fitPicture(label);
        }
    }
    if (event->type() == QEvent::Wheel && m_renderer == Renderer::Pdf) {
        auto *wheel = static_cast<QWheelEvent *>(event);
        auto *pdf = m_rendererWidget ? m_rendererWidget->findChild<QPdfView *>() : nullptr;
        if (pdf && (wheel->modifiers() & Qt::ControlModifier)) {
            // Ctrl and the wheel (or a touchpad's pinch) zoom the pages
            const qreal factor = wheel->angleDelta().y() > 0 ? 1.1 : 1 / 1.1;
            const qreal current = pdf->zoomMode() == QPdfView::ZoomMode::Custom ? pdf->zoomFactor() : 1.0;
            pdf->setZoomMode(QPdfView::ZoomMode::Custom);
            pdf->setZoomFactor(std::clamp(current * factor, 0.25, 8.0));
            return true;
        }
    }
    return ViewController::eventFilter(watched, event);
}
