#include "app/AppDelegate.h"
#include "app/FirstFrameProbe.h"
#include "app/Tour.h"
#include "core/DRLogging.h"
#include "model/FileUtils.h"
#include "platform/drive/PromiseStore.h"
#include "platform/foundation/DispatchQueue.h"
#include "platform/lists/DocumentPickerUnavailableViewController.h"
#include "platform/types/ThemeIconEngine.h"
#include "platform/ui/Application.h"
#include "platform/ui/Device.h"
#include "platform/ui/InstanceChannel.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QIcon>
#include <QTextStream>

namespace {
void openURL(const QUrl &url, const QString &sourceApplication)
{
    if (url.isEmpty()) {
        return;
    }
    QVariantMap options;
    if (!sourceApplication.isEmpty()) {
        options.insert(Application::OpenURLOptionsSourceApplicationKey, sourceApplication);
    }
    Application::shared()->openURL(url, options);
}

/// The program's options, as --help lists them.
void describeOptions(QCommandLineParser *parser)
{
    parser->setApplicationDescription(QStringLiteral("Aerova Drive: browse the cloud drive kept on this device."));
    parser->addHelpOption();
    parser->addVersionOption();
    parser->addOptions({
        {QStringLiteral("idiom"), QStringLiteral("Force the phone or tablet layout."), QStringLiteral("phone|pad")},
        {QStringLiteral("tour"), QStringLiteral("Write screenshots of the main screens into DIR and exit."), QStringLiteral("DIR")},
        {QStringLiteral("source-app"), QStringLiteral("The application that sends the URL."), QStringLiteral("ID")},
    });
    parser->addPositionalArgument(QStringLiteral("URL"), QStringLiteral("An aerovadriveapp: URL naming an item to open."),
                                  QStringLiteral("[URL]"));
}

/// Whether the command line only asks for the help or the version.
bool asksForHelpOrVersion(int argc, char *argv[])
{
    for (int i = 1; i < argc; ++i) {
        const QByteArray argument(argv[i]);
        if (argument == "--help" || argument == "-h" || argument == "-?" || argument == "--help-all"
            || argument == "--version" || argument == "-v") {
            return true;
        }
    }
    return false;
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication::setApplicationName(QStringLiteral("aerovadrive"));
    QApplication::setApplicationVersion(QStringLiteral(AEROVA_VERSION));
    if (asksForHelpOrVersion(argc, argv)) {
        // answered without a screen: a terminal with no display can read them too
        QCoreApplication app(argc, argv);
        QCommandLineParser parser;
        describeOptions(&parser);
        parser.process(app);
        return 0;
    }
    QApplication app(argc, argv);
    // whichever way the program ends, its last log lines are written first
    struct FlushLogAtExit {
        ~FlushLogAtExit() { DRLogFlush(); }
    } flushLogAtExit;
    QApplication::setDesktopFileName(QStringLiteral("com.quillmere.AerovaDriveApp"));

    DRLog(LOG_INFO, "Running %s", argv[0]);
    // the build's date and time, fixed when this file is compiled: "Built (main) on Feb 19 2016 @ 17:21:14"
    DRLog(LOG_INFO, "Built (main) on %s @ %s", __DATE__, __TIME__);
    // the program file itself: argv[0] is a bare name when the launcher found it on PATH
    FileUtils::logFileAttributes(QCoreApplication::applicationFilePath());

    QCommandLineParser parser;
    describeOptions(&parser);
    parser.process(app);

    if (parser.isSet(QStringLiteral("idiom"))) {
        const std::optional<Device::Idiom> idiom = Device::idiomFromString(parser.value(QStringLiteral("idiom")));
        if (!idiom) {
            QTextStream(stderr) << "aerovadrive: --idiom takes phone or pad\n";
            return 2;
        }
        Device::setForcedIdiom(idiom);
    }
    // the installed icon (a theme may restyle it), else the one the program carries
    QApplication::setWindowIcon(ThemeIconEngine::icon({QStringLiteral("com.quillmere.AerovaDriveApp")}, QColor(),
                                                      QStringLiteral(":/icons/com.quillmere.AerovaDriveApp.svg")));
    DocumentPickerUnavailableViewController::registerClass();
    if (parser.isSet(QStringLiteral("tour"))) {
        return Tour::run(parser.value(QStringLiteral("tour")));
    }

    const QUrl url = parser.positionalArguments().isEmpty()
        ? QUrl()
        : AppDelegate::launchURLFromText(parser.positionalArguments().constFirst());
    const QString sourceApplication = parser.value(QStringLiteral("source-app"));
    // one app per drive: a later invocation hands its URL over and leaves
    if (InstanceChannel::sendToRunningInstance(url, sourceApplication)) {
        return 0;
    }
    InstanceChannel channel;
    channel.listen([](const QUrl &received, const QString &source) { openURL(received, source); });
    // deletions and writes a killed process left half done are finished, away from the screen
    DispatchQueue::globalAsync([] { PromiseStore::finishInterruptedWork(); });

    if (qEnvironmentVariableIsSet("AEROVA_QUIT_AFTER_FIRST_FRAME")) {
        FirstFrameProbe::install(); // the start-up benchmark's mark
    }
    AppDelegate delegate;
    Application *application = Application::shared();
    application->launchWithDelegate(&delegate);
    application->setActive(QGuiApplication::applicationState() == Qt::ApplicationActive
                           || QGuiApplication::platformName() == QLatin1String("offscreen"));
    openURL(url, sourceApplication);
    return QApplication::exec();
}
