#ifndef MORVEK_TOOLS_DEVICEOPTIONS_H
#define MORVEK_TOOLS_DEVICEOPTIONS_H

#include <QHostAddress>
#include <QSet>
#include <QString>
#include <QStringList>

namespace Morvek::Tools {

/** How the simulated device is to behave. */
struct sDeviceOptions
{
    QHostAddress m_address{QHostAddress::LocalHost};
    quint16 m_nPort = 0;       ///< 0: any free one
    int m_nFps = 12;           ///< pictures a second, 1 to 60
    int m_nTiles = 16;         ///< one of supportedTileCounts()
    QSet<int> m_dark;          ///< inputs without signal, which are black
    QSet<int> m_still;         ///< inputs that hang: they show their first picture for ever
    int m_nQuality = 80;       ///< of the JPEG pictures, 1 to 100
    int m_nFrames = 0;         ///< pictures to make before the end; 0: without end
    bool m_isStreaming = true; ///< pictures are sent over TCP
    bool m_isCapture = false;  ///< pictures are left in shared memory
    QString m_strCaptureName;  ///< of the shared memory; empty: of the environment, or the default
    QString m_strYuvFile;      ///< file to write as raw YUV; empty: none
    QString m_strScenarioFile; ///< what goes wrong, and when; empty: nothing
    QString m_strSummary;      ///< file for the summary as JSON; empty: none; "-": standard output
};

/** What a command line asks for. */
enum class eCommand {
    Run,         ///< m_options hold
    ShowHelp,    ///< m_strText is the help
    ShowVersion, ///< m_strText is the version
    Refuse       ///< m_strText says what is wrong
};

struct sCommandLine
{
    eCommand m_eCommand = eCommand::Run;
    sDeviceOptions m_options;
    QString m_strText;
};

/**
 * Reads and checks the command line. Needs the application object, with its name and version.
 *
 * @param arguments  as QCoreApplication::arguments() gives them
 * @thread main
 */
sCommandLine parsedCommandLine(const QStringList &arguments);

} // namespace Morvek::Tools

#endif // MORVEK_TOOLS_DEVICEOPTIONS_H
