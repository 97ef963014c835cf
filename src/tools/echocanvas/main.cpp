#include "builtinpictures.h"
#include "hostoptions.h"
#include "measuredrun.h"
#include "pictureoutput.h"
#include "reportwriter.h"
#include "scenereader.h"

#include <QFile>
#include <QGuiApplication>
#include <QJsonDocument>
#include <QLoggingCategory>
#include <QTimer>

#include <cstdio>

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

/** What the command line says about the device goes before what the scene says. */
void replaceDevice(const sHostOptions &options, sSceneDevice &device)
{
    if (options.m_nPort != 0) {
        device.m_strAddress = options.m_strAddress;
        device.m_nPort = options.m_nPort;
    }
    if (const auto sourceType = sourceTypeNamed(options.m_strSource))
        device.m_eSourceType = *sourceType;
    if (!options.m_strYuvFile.isEmpty())
        device.m_strFile = options.m_strYuvFile;
}

int runHost(const sHostOptions &options)
{
    QStringList problems;
    std::optional<sScene> scene = readSceneFile(options.m_strSceneFile, problems);
    if (!scene)
        return fail(problems);
    replaceDevice(options, scene->m_device);
    BuiltInAlphaMaps alphaMaps;
    if (!alphaMaps.provide(*scene))
        return fail({alphaMaps.errorText()});
    Morvek::EchoVideo::LayerVideoManager::m_frozenIcon = frozenIcon();

    MeasuredRun run(*scene);
    if (!run.start())
        return fail({QStringLiteral("the previews could not be started")});
    QTimer::singleShot(int(options.m_seconds * 1000), Qt::PreciseTimer, qApp,
                       &QCoreApplication::quit);
    QCoreApplication::exec();
    run.finish();
    return deliver(run, *scene, options);
}

int act(const sHostOptions &options)
{
    switch (options.m_action) {
    case sHostOptions::eAction::Run:
        return runHost(options);
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
    print(stderr, QStringLiteral("echocanvas: %1\nTry --help.\n").arg(options.m_strError));
    return WrongCommandLine;
}

/** What needs no display must not fail for want of one. */
bool needsDisplay(const sHostOptions &options)
{
    return options.m_action == sHostOptions::eAction::Run && !options.m_isHeadless
        && (qEnvironmentVariableIsSet("DISPLAY") || qEnvironmentVariableIsSet("WAYLAND_DISPLAY"));
}

QStringList commandLine(int argc, char *argv[])
{
    QStringList arguments;
    for (int nArgument = 0; nArgument < argc; ++nArgument)
        arguments.append(QString::fromLocal8Bit(argv[nArgument]));
    return arguments;
}

} // namespace

int main(int argc, char *argv[])
{
    const sHostOptions options = readHostOptions(commandLine(argc, argv));
    if (!needsDisplay(options))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("echocanvas"));
    QCoreApplication::setApplicationVersion(QStringLiteral(MORVEK_VERSION));
    // The library tells of every start and end of a thread; QT_LOGGING_RULES brings that back.
    QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false\ndefault.info=false"));
    return act(options);
}
