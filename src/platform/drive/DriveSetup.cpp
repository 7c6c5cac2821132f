#include "platform/drive/DriveSetup.h"

#include "platform/drive/ContainerRegistry.h"
#include "platform/drive/DriveFileManager.h"
#include "platform/drive/DriveLayout.h"
#include "platform/drive/FileAttributes.h"
#include "platform/drive/KDContainer.h"
#include "platform/drive/PromisePlaceholder.h"
#include "platform/drive/PromiseStore.h"
#include "platform/drive/ServiceFile.h"
#include "platform/drive/Thumbnailer.h"
#include "platform/drive/UbiquitousKeyValueStore.h"
#include "platform/foundation/ByteCountFormatter.h"
#include "platform/foundation/FilePath.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFont>
#include <QImage>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLinearGradient>
#include <QPainter>
#include <QPdfWriter>
#include <QRandomGenerator>
#include <QSaveFile>
#include <QTextStream>

namespace {

std::optional<Error> writeFile(const QString &path, const QByteArray &content)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size() || !file.commit()) {
        return Error::fileError(FileWriteUnknownError, {{QString::fromLatin1(ErrorKey::FilePath), path}});
    }
    return std::nullopt;
}

/// The service's quota file as it stands; empty when there is none.
QJsonObject readQuota()
{
    return ServiceFile::readObject(DriveLayout::quotaFile()).value_or(QJsonObject());
}

std::optional<Error> writeJson(const QString &path, const QJsonObject &object)
{
    return writeFile(path, QJsonDocument(object).toJson());
}

QByteArray pngImage(const QColor &from, const QColor &to, int size)
{
    QImage image(size, size, QImage::Format_RGB32);
    QPainter painter(&image);
    QLinearGradient gradient(0, 0, 0, size);
    gradient.setColorAt(0, from);
    gradient.setColorAt(1, to);
    painter.fillRect(image.rect(), gradient);
    painter.setBrush(QColor(255, 236, 160));
    painter.setPen(Qt::NoPen);
    painter.drawEllipse(QPoint(size / 2, size * 2 / 3), size / 6, size / 6);
    painter.end();
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

std::optional<Error> writePdf(const QString &path, const QString &title, int pages)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QPdfWriter writer(path);
    writer.setTitle(title);
    QPainter painter(&writer);
    for (int page = 0; page < pages; ++page) {
        if (page > 0) {
            writer.newPage();
        }
        const int width = writer.width();
        const int height = writer.height();
        const int margin = width / 10;
        painter.fillRect(QRect(0, 0, width, height / 8), QColor(40, 110, 220));
        QFont heading(QStringLiteral("DejaVu Sans"));
        heading.setPixelSize(height / 24);
        heading.setBold(true);
        painter.setFont(heading);
        painter.setPen(Qt::white);
        painter.drawText(QRect(margin, 0, width - 2 * margin, height / 8), Qt::AlignVCenter | Qt::AlignLeft, title);
        QFont body(QStringLiteral("DejaVu Sans"));
        body.setPixelSize(height / 60);
        painter.setFont(body);
        painter.setPen(Qt::black);
        const QString text = QStringLiteral(
            "Page %1 of %2.\n\nThis document was made for the demo drive. It has a heading, a few lines "
            "of text and a frame, so that a preview shows what a real document looks like: pages to "
            "scroll through, words to read, and a size worth downloading on demand.")
                                 .arg(page + 1)
                                 .arg(pages);
        painter.drawText(QRect(margin, height / 6, width - 2 * margin, height / 8), Qt::TextWordWrap, text);
        painter.drawRect(QRect(margin, height / 3, width - 2 * margin, height / 2));
    }
    painter.end();
    return QFileInfo::exists(path) ? std::nullopt
                                   : std::optional<Error>(Error::fileError(FileWriteUnknownError));
}

QByteArray randomBytes(qint64 size)
{
    QByteArray bytes(qsizetype(size), Qt::Uninitialized);
    QRandomGenerator generator(20261122);
    generator.fillRange(reinterpret_cast<quint32 *>(bytes.data()), bytes.size() / 4);
    return bytes;
}

void printTree(QTextStream &out, const QString &folder, int depth)
{
    const QFileInfoList entries = QDir(folder).entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                                                             QDir::DirsFirst | QDir::Name | QDir::IgnoreCase);
    const QString indent(depth * 2, QLatin1Char(' '));
    for (const QFileInfo &entry : entries) {
        const QString name = entry.fileName();
        if (PromisePlaceholder::isPlaceholderName(name)) {
            const QString logical = PromisePlaceholder::logicalPathFor(entry.filePath());
            if (QFileInfo::exists(logical)) {
                continue; // stale: the real file wins
            }
            std::optional<Error> error;
            const auto placeholder = PromisePlaceholder::read(entry.filePath(), &error);
            out << indent << QFileInfo(logical).fileName() << QStringLiteral("  ☁ promised, ")
                << ByteCountFormatter::stringFromByteCount(placeholder ? placeholder->size : 0,
                                                           ByteCountFormatter::CountStyle::File);
            if (placeholder && !placeholder->tags.isEmpty()) {
                out << QStringLiteral("  [") << placeholder->tags.join(QStringLiteral(", ")) << QLatin1Char(']');
            }
            out << '\n';
            continue;
        }
        if (name.startsWith(QLatin1Char('.'))) {
            continue;
        }
        out << indent << name;
        if (entry.isSymLink()) {
            out << QStringLiteral(" -> ") << entry.symLinkTarget() << '\n';
            continue;
        }
        if (entry.isDir()) {
            out << QLatin1Char('/') << '\n';
            printTree(out, entry.filePath(), depth + 1);
            continue;
        }
        out << QStringLiteral("  ") << ByteCountFormatter::stringFromByteCount(entry.size(), ByteCountFormatter::CountStyle::File);
        const QStringList tags = FileAttributes::tags(entry.filePath());
        if (!tags.isEmpty()) {
            out << QStringLiteral("  [") << tags.join(QStringLiteral(", ")) << QLatin1Char(']');
        }
        out << '\n';
    }
}

} // namespace

std::optional<Error> DriveSetup::initialize()
{
    const QString defaultContainer = DriveLayout::mobileDocumentsPath() + QLatin1Char('/') + KDUbiquitousDefaultContainerID;
    for (const QString &folder : {defaultContainer, DriveLayout::storePath(), DriveLayout::appContainerPath()}) {
        if (!QDir().mkpath(folder)) {
            return Error::fileError(FileWriteNoPermissionError, {{QString::fromLatin1(ErrorKey::FilePath), folder}});
        }
    }
    if (!QFileInfo::exists(DriveLayout::containersFile())) {
        if (auto error = ContainerRegistry::registerContainer(ContainerRegistry::describe(
                KDUbiquitousDefaultContainerID, QStringLiteral("Aerova Drive"), KDUbiquitousContainerSupportedFolderAny, {}))) {
            return error;
        }
    }
    if (!QFileInfo::exists(DriveLayout::accountFile()) && !DriveFileManager::signIn(QStringLiteral("user@example.com"))) {
        return Error::fileError(FileWriteUnknownError, {{QString::fromLatin1(ErrorKey::FilePath), DriveLayout::accountFile()}});
    }
    return std::nullopt;
}

std::optional<Error> DriveSetup::addContainer(const QString &identifier, const QString &localizedName,
                                              const QString &supportedFolderLevels, const QStringList &contentTypes)
{
    if (!ContainerRegistry::isContainerIdentifier(identifier)) {
        return Error::fileError(FileWriteInvalidFileNameError, {{QString::fromLatin1(ErrorKey::FilePath), identifier}});
    }
    if (auto error = ContainerRegistry::registerContainer(
            ContainerRegistry::describe(identifier, localizedName, supportedFolderLevels, contentTypes))) {
        return error;
    }
    const QString folder = DriveLayout::mobileDocumentsPath() + QLatin1Char('/') + identifier
        + (identifier == KDUbiquitousDefaultContainerID ? QString() : QStringLiteral("/Documents"));
    if (!QDir().mkpath(folder)) {
        return Error::fileError(FileWriteNoPermissionError, {{QString::fromLatin1(ErrorKey::FilePath), folder}});
    }
    return std::nullopt;
}

std::optional<Error> DriveSetup::setNetwork(const QString &state)
{
    if (state.isEmpty()) {
        QFile::remove(DriveLayout::networkFile());
        return std::nullopt;
    }
    return writeFile(DriveLayout::networkFile(), state.toUtf8() + '\n');
}

std::optional<Error> DriveSetup::setStoreRate(qint64 bytesPerSecond)
{
    if (bytesPerSecond <= 0) {
        QFile::remove(DriveLayout::storeRateFile());
        return std::nullopt;
    }
    return writeFile(DriveLayout::storeRateFile(), QByteArray::number(bytesPerSecond) + '\n');
}

std::optional<Error> DriveSetup::promise(const QString &path)
{
    return PromiseStore::evict(FilePath::absolutePath(path));
}

std::optional<Error> DriveSetup::defineTags(const QList<TagDefinition> &tags, int version)
{
    QVariantList entries;
    for (const TagDefinition &tag : tags) {
        entries.append(QVariantMap{{QStringLiteral("n"), tag.name}, {QStringLiteral("l"), tag.label}});
    }
    const QVariantMap dictionary{{QStringLiteral("TrovexTagDictVersion"), version},
                                 {QStringLiteral("TrovexTags"), entries}};
    if (!UbiquitousKeyValueStore::defaultStore()->setObject_forKey(dictionary, QStringLiteral("TrovexTagDict"))) {
        return Error::fileError(FileWriteUnknownError, {{QString::fromLatin1(ErrorKey::FilePath), DriveLayout::kvstoreFile()}});
    }
    return std::nullopt;
}

std::optional<Error> DriveSetup::setItemTags(const QString &path, const QStringList &tags)
{
    if (PromisePlaceholder::isPromisedItem(path)) {
        const QString placeholderPath = PromisePlaceholder::placeholderPathFor(path);
        std::optional<Error> error;
        auto placeholder = PromisePlaceholder::read(placeholderPath, &error);
        if (!placeholder) {
            return error;
        }
        placeholder->tags = tags;
        return placeholder->write(placeholderPath, true);
    }
    if (!QFileInfo::exists(path)) {
        return Error::fileError(FileNoSuchFileError, {{QString::fromLatin1(ErrorKey::FilePath), path}});
    }
    if (!FileAttributes::setTags(path, tags)) {
        return Error::fromErrno(errno ? errno : EIO, path);
    }
    return std::nullopt;
}

std::optional<Error> DriveSetup::setQuota(qint64 planBytes, qint64 usedBytes)
{
    return writeJson(DriveLayout::quotaFile(), QJsonObject{{QStringLiteral("plan"), double(planBytes)},
                                                           {QStringLiteral("used"), double(usedBytes)}});
}

std::optional<Error> DriveSetup::setPlan(qint64 planBytes)
{
    QJsonObject quota = readQuota();
    quota.insert(QStringLiteral("plan"), double(planBytes));
    return writeJson(DriveLayout::quotaFile(), quota);
}

std::optional<Error> DriveSetup::failNextQuotaFetch(const QString &message)
{
    QJsonObject quota = readQuota();
    quota.insert(QStringLiteral("failNext"), message.isEmpty() ? QStringLiteral("The storage service is unavailable.") : message);
    return writeJson(DriveLayout::quotaFile(), quota);
}

std::optional<Error> DriveSetup::initializeDemo()
{
    if (auto error = initialize()) {
        return error;
    }
    const QString drive = DriveLayout::mobileDocumentsPath() + QLatin1Char('/') + KDUbiquitousDefaultContainerID;
    const auto file = [&drive](const QString &relative) -> QString { return drive + QLatin1Char('/') + relative; };
    std::optional<Error> error;
    auto step = [&error](std::optional<Error> result) {
        if (result && !error) {
            error = result;
        }
    };

    step(writeFile(file(QStringLiteral("Welcome.md")),
                   "# Welcome to Aerova Drive\n\nYour documents, on every device.\n\n"
                   "- Tap a folder to open it\n- Tap **Select** to move or delete several items\n"
                   "- Items with a cloud are on the drive only: tap one to download it\n"));
    step(writeFile(file(QStringLiteral("Documents/Shopping List.txt")), "Milk\nBread\nApples\nCoffee\n"));
    step(writeFile(file(QStringLiteral("Documents/Budget 2026.csv")),
                   "Month,Income,Spending\nJanuary,3200,2870\nFebruary,3200,2650\nMarch,3350,3010\n"));
    step(writeFile(file(QStringLiteral("Documents/Logo.svg")),
                   "<svg xmlns='http://www.w3.org/2000/svg' width='256' height='256'>"
                   "<circle cx='128' cy='128' r='110' fill='#2a6fdb'/>"
                   "<path d='M70 170 L128 70 L186 170 Z' fill='white'/></svg>\n"));
    step(writePdf(file(QStringLiteral("Documents/Plan.pdf")), QStringLiteral("Plan"), 3));
    step(writeFile(file(QStringLiteral("Photos/Sunset.png")), pngImage(QColor(250, 120, 60), QColor(90, 40, 120), 512)));
    step(writeFile(file(QStringLiteral("Photos/Lake.png")), pngImage(QColor(120, 200, 250), QColor(20, 80, 140), 512)));
    step(writeFile(file(QStringLiteral("Photos/2025/Mountains.png")), pngImage(QColor(200, 220, 240), QColor(60, 90, 60), 512)));
    QDir().mkpath(file(QStringLiteral("Projects/Archive")));
    step(writeFile(file(QStringLiteral("Shared/Team Notes.txt")), "Agenda\n- Budget review\n- Launch date\n"));
    FileAttributes::setSharedRole(file(QStringLiteral("Shared/Team Notes.txt")), QStringLiteral("participant"));
    for (const QString &relative : {QStringLiteral("Documents/Plan.pdf"), QStringLiteral("Photos/Sunset.png"),
                                    QStringLiteral("Photos/Lake.png"), QStringLiteral("Photos/2025/Mountains.png")}) {
        Thumbnailer::writeThumbnails(file(relative));
    }
    step(defineTags({{QStringLiteral("Red"), 6}, {QStringLiteral("Orange"), 7}, {QStringLiteral("Yellow"), 5},
                     {QStringLiteral("Green"), 2}, {QStringLiteral("Blue"), 4}, {QStringLiteral("Purple"), 3},
                     {QStringLiteral("Gray"), 1}, {QStringLiteral("Work"), 0}}));
    FileAttributes::setTags(file(QStringLiteral("Documents/Shopping List.txt")), {QStringLiteral("Red")});
    FileAttributes::setTags(file(QStringLiteral("Documents/Plan.pdf")), {QStringLiteral("Work"), QStringLiteral("Blue")});

    // promised items: a small one that downloads by itself on Wi-Fi, larger ones that wait for a tap
    step(writePdf(file(QStringLiteral("Projects/Brochure.pdf")), QStringLiteral("Brochure"), 2));
    step(writeFile(file(QStringLiteral("Photos/Beach.png")), pngImage(QColor(250, 220, 140), QColor(30, 140, 200), 1024)));
    step(writeFile(file(QStringLiteral("Projects/Site Survey.zip")), randomBytes(12 * 1000 * 1000)));
    step(writeFile(file(QStringLiteral("Projects/Archive/Backup 2024.zip")), randomBytes(40 * 1000 * 1000)));
    FileAttributes::setTags(file(QStringLiteral("Projects/Brochure.pdf")), {QStringLiteral("Green")});
    for (const QString &relative : {QStringLiteral("Projects/Brochure.pdf"), QStringLiteral("Photos/Beach.png"),
                                    QStringLiteral("Projects/Site Survey.zip"),
                                    QStringLiteral("Projects/Archive/Backup 2024.zip")}) {
        step(promise(file(relative)));
    }

    // app containers with folder rules
    step(addContainer(QStringLiteral("com.example.Writer"), QStringLiteral("Writer"), KDUbiquitousContainerSupportedFolderOne,
                      {QStringLiteral("text/plain"), QStringLiteral("text/markdown")}));
    const QString writer = DriveLayout::mobileDocumentsPath() + QStringLiteral("/com.example.Writer/Documents/");
    step(writeFile(writer + QStringLiteral("Draft.txt"), "Chapter one. It was a quiet morning on the lake.\n"));
    step(writeFile(writer + QStringLiteral("Novel/Outline.md"), "# Outline\n\n1. The lake\n2. The storm\n"));
    step(addContainer(QStringLiteral("com.example.Sketch"), QStringLiteral("Sketch"), KDUbiquitousContainerSupportedFolderNone,
                      {QStringLiteral("image/png")}));
    step(writeFile(DriveLayout::mobileDocumentsPath() + QStringLiteral("/com.example.Sketch/Documents/Doodle.png"),
                   pngImage(QColor(255, 255, 255), QColor(230, 230, 250), 256)));

    // storage nearly full, with an offer to upgrade
    step(setQuota(5000000000, 4820000000));
    step(setOffer(2, QStringLiteral("Aerova Drive storage is almost full")));
    return error;
}

std::optional<Error> DriveSetup::setOffer(qint64 level, const QString &title)
{
    return writeJson(DriveLayout::offerFile(),
                     QJsonObject{{QStringLiteral("level"), level}, {QStringLiteral("title"), title}});
}

std::optional<Error> DriveSetup::clearOffer()
{
    if (QFile::exists(DriveLayout::offerFile()) && !QFile::remove(DriveLayout::offerFile())) {
        return Error::fileError(FileWriteUnknownError,
                                {{QString::fromLatin1(ErrorKey::FilePath), DriveLayout::offerFile()}});
    }
    return std::nullopt;
}

void DriveSetup::printStatus(QTextStream &out)
{
    // a service file that cannot be used is said first: it explains what follows
    for (const QString &file : {DriveLayout::containersFile(), DriveLayout::accountFile(), DriveLayout::kvstoreFile(),
                                DriveLayout::quotaFile(), DriveLayout::offerFile()}) {
        std::optional<Error> error;
        ServiceFile::readObject(file, &error);
        if (error) {
            out << QStringLiteral("warning: ") << error->localizedDescription() << '\n';
        }
    }
    for (const QString &file : {DriveLayout::networkFile(), DriveLayout::storeRateFile()}) {
        std::optional<Error> error;
        ServiceFile::read(file, &error);
        if (error) {
            out << QStringLiteral("warning: ") << error->localizedDescription() << '\n';
        }
    }
    const auto token = DriveFileManager::ubiquityIdentityToken();
    const std::optional<QByteArray> network = ServiceFile::read(DriveLayout::networkFile());
    const QString networkState = network ? QString::fromUtf8(network->trimmed()) : QStringLiteral("wifi (no override)");
    out << QStringLiteral("Aerova Drive at ") << QDir::toNativeSeparators(DriveLayout::mobileDocumentsPath()) << '\n'
        << QStringLiteral("account: ") << (token ? QStringLiteral("signed in") : QStringLiteral("signed out"))
        << QStringLiteral(", network: ") << networkState << '\n';
    if (!QFileInfo(DriveLayout::mobileDocumentsPath()).isDir()) {
        out << QStringLiteral("(no drive here: run `aerovadrive-ctl init`)\n");
        return;
    }
    for (const auto &container : KDContainer::allContainers()) {
        out << container->identifier() << QStringLiteral("/  (") << container->localizedName();
        if (container->supportedFolderLevels().isValid()) {
            out << QStringLiteral(", folders: ") << container->supportedFolderLevels().toString();
        }
        out << QStringLiteral(")\n");
        printTree(out, container->containerURL().toLocalFile(), 1);
    }
}
