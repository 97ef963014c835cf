#ifndef MORVEK_ECHOCANVAS_HOSTOPTIONS_H
#define MORVEK_ECHOCANVAS_HOSTOPTIONS_H

#include <QList>
#include <QString>
#include <QStringList>

namespace Morvek::Tools {

/** Where a device can be reached. */
struct sDevicePlace
{
    QString m_strAddress; ///< IPv6 without brackets
    quint16 m_nPort = 0;
};

/** What the command line asks for. */
struct sHostOptions
{
    enum class eAction {
        Run,
        PrintScene,
        PrintHelp,
        PrintVersion,
        Refuse ///< the command line is wrong; m_strError says why
    };

    eAction m_action = eAction::Run;
    QString m_strError; ///< what is wrong
    bool m_isHeadless = false;
    QString m_strAddress; ///< of the device, IPv6 without brackets; empty for the scene's
    quint16 m_nPort = 0;  ///< of the device; 0 for the scene's
    QList<sDevicePlace> m_otherDevices; ///< in the place of the scene's other ones, or beside them
    QString m_strSource;                ///< mjpeg, shm or yuv; empty for the scene's
    QString m_strYuvFile;               ///< file to play; empty for the scene's
    QString m_strSceneFile;             ///< empty for the built-in scene
    double m_seconds = 5;               ///< to run
    bool m_hasSeconds = false;          ///< m_seconds was asked for; a window otherwise stays
    QString m_strOutFolder;             ///< for the pictures; empty for none
    QString m_strJsonFile;              ///< "-" for standard output; empty for none
};

/**
 * Reads the command line; works before there is an application object.
 *
 * @param arguments  the program's name first
 */
sHostOptions readHostOptions(const QStringList &arguments);

/** The text for --help; wants an application object. */
QString hostHelpText();

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_HOSTOPTIONS_H
