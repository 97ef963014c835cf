#include "builtinpictures.h"
#include "hostoptions.h"
#include "measuredrun.h"
#include "pictureoutput.h"
#include "reportwriter.h"
#include "scenereader.h"
#include "windowrun.h"

#include <QApplication>
#include <QFile>
#include <QJsonDocument>
#include <QLoggingCategory>
#include <QTimer>

#include <cstdio>
#include <cstdlib>
#include <memory>

#ifdef __GLIBC__
#    include <malloc.h>
#endif

using namespace Morvek::Tools;

namespace {

enum eExit { Success = 0, Failure = 1, WrongCommandLine = 2 };

void print(FILE *pStream, const QString &strText)
{
    std::fputs(strText.toLocal8Bit().constData(), pStream);
    std::fflush(pStream);
}

int fail(const QStringList &lines)
{
    for (const QString &strLine : lines)
        print(stderr, QStringLiteral("echocanvas: %1\n").arg(strLine));
    return lines.isEmpty() ? Success : Failure;
}

QString writeJson(const sRunReport &report, const QString &strFile)
{
    const QByteArray text = QJsonDocument(reportJson(report)).toJson();
    QFile file(strFile);
    const bool isOpen = strFile == QStringLiteral("-")
                          ? file.open(stdout, QIODevice::WriteOnly)
                          : file.open(QIODevice::WriteOnly | QIODevice::Truncate);
    if (isOpen && file.write(text) == text.size() && file.flush())
        return QString();
    return QStringLiteral("cannot write %1: %2").arg(strFile, file.errorString());
}

/** Writes all that was asked for. */
int deliver(MeasuredRun &run, const sScene &scene, const sHostOptions &options)
{
    if (!options.m_strOutFolder.isEmpty())
        writePictures(options.m_strOutFolder, scene, run.previews(), run.report());
    if (options.m_strJsonFile != QStringLiteral("-"))
        print(stdout, reportTable(run.report()));
    QStringList problems = failures(run.report());
    if (!options.m_strJsonFile.isEmpty()) {
        const QString strError = writeJson(run.report(), options.m_strJsonFile);
        if (!strError.isEmpty())
            problems.append(strError);
    }
    return fail(problems);
}

/** What the command line says about the devices goes before what the scene says. */
void replaceDevices(const sHostOptions &options, sScene &scene)
{
    sSceneDevice &device = scene.m_device;
    for (int nOther = 0; nOther < options.m_otherDevices.size(); ++nOther) {
        if (nOther == scene.m_otherDevices.size()) {
            scene.m_otherDevices.append(device);
            scene.m_otherDevices.last().m_strName.clear(); // which is that of the first one
        }
        scene.m_otherDevices[nOther].m_strAddress = options.m_otherDevices[nOther].m_strAddress;
        scene.m_otherDevices[nOther].m_nPort = options.m_otherDevices[nOther].m_nPort;
    }
    if (options.m_nPort != 0) {
        device.m_strAddress = options.m_strAddress;
        device.m_nPort = options.m_nPort;
    }
    if (const auto sourceType = sourceTypeNamed(options.m_strSource))
        device.m_eSourceType = *sourceType;
    if (!options.m_strYuvFile.isEmpty())
        device.m_strFile = options.m_strYuvFile;
}

int measure(sScene scene, const sHostOptions &options)
{
    BuiltInAlphaMaps alphaMaps;
    if (!alphaMaps.provide(scene))
        return fail({alphaMaps.errorText()});
    MeasuredRun run(scene);
    if (!run.start())
        return fail({QStringLiteral("the previews could not be started")});
    QTimer::singleShot(int(options.m_seconds * 1000), Qt::PreciseTimer,
                       QCoreApplication::instance(), &QCoreApplication::quit);
    QCoreApplication::exec();
    run.finish();
    return deliver(run, scene, options);
}

int runHost(const sHostOptions &options, bool isWindow)
{
    QStringList problems;
    std::optional<sScene> scene = readSceneFile(options.m_strSceneFile, problems);
    if (!scene)
        return fail(problems);
    replaceDevices(options, *scene);
    Morvek::EchoVideo::LayerVideoManager::m_frozenIcon = frozenIcon();
    if (isWindow)
        return fail(
            runWindow(*scene, options, [&](sScene &other) { replaceDevices(options, other); }));
    return measure(*scene, options);
}

int refuse(const QString &strError)
{
    print(stderr, QStringLiteral("echocanvas: %1\nTry --help.\n").arg(strError));
    return WrongCommandLine;
}

int act(const sHostOptions &options, bool isWindow)
{
    switch (options.m_action) {
    case sHostOptions::eAction::Run:
        if (isWindow && !options.m_strJsonFile.isEmpty())
            return refuse(QStringLiteral("--json: a window measures no figures; add --headless"));
        return runHost(options, isWindow);
    case sHostOptions::eAction::PrintScene:
        print(stdout, QString::fromUtf8(builtInSceneText()));
        return Success;
    case sHostOptions::eAction::PrintHelp:
        print(stdout, hostHelpText());
        return Success;
    case sHostOptions::eAction::PrintVersion:
        print(stdout,
              QStringLiteral("echocanvas %1\n").arg(QCoreApplication::applicationVersion()));
        return Success;
    case sHostOptions::eAction::Refuse:
        break;
    }
    return refuse(options.m_strError);
}

/** What needs no display must not fail for want of one; an empty name is none. */
bool needsDisplay(const sHostOptions &options)
{
    return options.m_action == sHostOptions::eAction::Run && !options.m_isHeadless
        && !(qEnvironmentVariableIsEmpty("DISPLAY")
             && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"));
}

QStringList commandLine(int argc, char *argv[])
{
    QStringList arguments;
    for (int nArgument = 0; nArgument < argc; ++nArgument)
        arguments.append(QString::fromLocal8Bit(argv[nArgument]));
    return arguments;
}

/** Qt aborts where the display cannot be opened; a reported failure says what to do instead. */
void explainFatal(QtMsgType eType, const QMessageLogContext &, const QString &strText)
{
    if (eType != QtFatalMsg) {
        print(stderr, strText + QLatin1Char('\n'));
        return;
    }
    fail({QStringLiteral("the window cannot be opened: %1")
              .arg(strText.section(QLatin1Char('\n'), 0, 0)),
          QStringLiteral("--headless runs without one")});
    std::_Exit(Failure);
}

/**
 * Each arena of glibc's allocator keeps what a few pictures took. With one for every thread that ever
 * ran at the same time, memory goes on growing for hours, until each of them has held pictures once.
 */
void limitArenas()
{
#ifdef __GLIBC__
    mallopt(M_ARENA_MAX, 2);
#endif
}

std::unique_ptr<QGuiApplication> makeApplication(int &argc, char *argv[], bool isWindow)
{
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    if (!isWindow) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        return std::make_unique<QGuiApplication>(argc, argv);
    }
    const QtMessageHandler previousHandler = qInstallMessageHandler(explainFatal);
    auto application = std::make_unique<QApplication>(argc, argv);
    qInstallMessageHandler(previousHandler);
    return application;
}

} // namespace

int main(int argc, char *argv[])
{
    limitArenas(); // before there are threads
    const sHostOptions options = readHostOptions(commandLine(argc, argv));
    const bool isWindow = needsDisplay(options);
    const auto application = makeApplication(argc, argv, isWindow);
    QCoreApplication::setOrganizationName(QStringLiteral("Morvek"));
    QCoreApplication::setApplicationName(QStringLiteral("echocanvas"));
    QCoreApplication::setApplicationVersion(QStringLiteral(MORVEK_VERSION));
    // The library tells of every start and end of a thread; a window shows that in its log, and
    // QT_LOGGING_RULES brings it back without one.
    if (!isWindow)
        QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false\ndefault.info=false"));
    return act(options, isWindow);
}
