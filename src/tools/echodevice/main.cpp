#include "deviceoptions.h"
#include "devicerun.h"
#include "devicesummary.h"
#include "scenarioreader.h"
#include "signalwatcher.h"

#include <QCoreApplication>

#include <csignal>
#include <cstdio>
#include <optional>

using namespace Morvek::Tools;

namespace {

constexpr int ExitFailure = 1;
constexpr int ExitWrongCommandLine = 2;

void complain(const QString &strMessage)
{
    std::fprintf(stderr, "echodevice: %s\n", qUtf8Printable(strMessage));
}

int fail(const QString &strMessage, int nExitStatus)
{
    complain(strMessage);
    return nExitStatus;
}

int show(const QString &strText)
{
    std::fputs(qUtf8Printable(strText), stdout);
    return 0;
}

/** The scenario that is asked for; nothing, once that was told, where it is wrong. */
std::optional<sScenario> scenarioOf(const sDeviceOptions &options)
{
    sScenario scenario;
    QString strErrors;
    if (options.m_strScenarioFile.isEmpty()
        || readScenarioFile(options.m_strScenarioFile, &scenario, &strErrors))
        return scenario;
    const QStringList lines = strErrors.split(QLatin1Char('\n'));
    for (const QString &strLine : lines)
        complain(strLine);
    return std::nullopt;
}

int run(const sDeviceOptions &options)
{
    const std::optional<sScenario> scenario = scenarioOf(options);
    if (!scenario)
        return ExitFailure;
    const SignalWatcher watcher;
    DeviceRun device(options);
    device.setScenario(*scenario);
    if (!device.start()) {
        return fail(device.errorString(), ExitFailure);
    }
    SummaryWriter writer(options.m_strSummary);
    if (!writer.open()) {
        return fail(writer.errorString(), ExitFailure);
    }
    const QStringList places = device.places();
    for (const QString &strPlace : places)
        std::printf("%s\n", qUtf8Printable(strPlace));
    std::fflush(stdout);

    QObject::connect(&watcher, &SignalWatcher::endRequested, qApp, &QCoreApplication::quit);
    QObject::connect(&device, &DeviceRun::finished, qApp, &QCoreApplication::quit);
    QCoreApplication::exec();

    if (!writer.write(device.summary())) {
        return fail(writer.errorString(), ExitFailure);
    }
    return device.errorString().isEmpty() ? 0 : fail(device.errorString(), ExitFailure);
}

} // namespace

int main(int argc, char *argv[])
{
    // A reader of standard output that has gone is a failed write, not the end.
    std::signal(SIGPIPE, SIG_IGN);
    // Without a handler, some builds of Qt send messages to the system's log where standard error
    // is not a terminal.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &strMessage) {
        complain(strMessage);
    });
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("echodevice"));
    QCoreApplication::setApplicationVersion(QStringLiteral(MORVEK_VERSION));
    const sCommandLine commandLine = parsedCommandLine(QCoreApplication::arguments());
    switch (commandLine.m_eCommand) {
    case eCommand::ShowHelp:
    case eCommand::ShowVersion:
        return show(commandLine.m_strText);
    case eCommand::Refuse:
        return fail(commandLine.m_strText + QStringLiteral("\nTry 'echodevice --help'."),
                    ExitWrongCommandLine);
    case eCommand::Run:
        break;
    }
    return run(commandLine.m_options);
}
