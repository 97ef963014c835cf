#include "hostoptions.h"

#include "scenereader.h"

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QRegularExpression>

#include <optional>

namespace Morvek::Tools {

namespace {

constexpr double LongestRun = 86400; // seconds
constexpr int MaxDevices = 16;       // as many as a scene may have

const char *const Description =
    "Shows the layers of a scene with live video from a device's echo video stream, and reports "
    "what arrived.\n"
    "Opens a window where there is a display: docs/window.md explains it.\n"
    "Exits with 0 if every layer was rendered and shows its input, with 1 if not, with 2 if the "
    "command line is wrong.";

void addOptions(QCommandLineParser &parser)
{
    const auto text = [](const char *pText) { return QString::fromLatin1(pText); };
    parser.addOptions({
        {text("headless"), text("Run without a window (the default where there is no display).")},
        {text("device"),
         text("Read from this device instead of the scene's; an IPv6 address stands in brackets, "
              "as in [::1]:8554. Given again, replaces the scene's other devices, which a window "
              "can switch to."),
         text("HOST:PORT")},
        {text("source"),
         text("Take the echo video from there instead of where the scene says: mjpeg, shm (the "
              "capture library's shared memory) or yuv (a raw file)."),
         text("KIND")},
        {text("yuv"), text("Play this raw YUV file; implies --source yuv."), text("FILE")},
        {text("scene"), text("Show this scene (JSON) instead of the built-in one."), text("FILE")},
        {text("seconds"),
         text("Run for this time (default: 5; a window stays until it is closed)."), text("N")},
        {text("out"),
         text("Write every layer's preview and every screen's canvas to this folder, as PNG; of a "
              "window, the snapshots that are asked for."),
         text("DIR")},
        {text("json"),
         text("Write the figures to this file; - for standard output, where they replace the "
              "table. Not with a window."),
         text("FILE")},
        {text("print-scene"), text("Print the built-in scene and exit.")},
        {{text("h"), text("help")}, text("Print this help and exit.")},
        {{text("v"), text("version")}, text("Print the version and exit.")},
    });
}

bool readDevice(const QString &strDevice, sDevicePlace &place)
{
    static const QRegularExpression pattern(
        QStringLiteral("^(?:\\[([^\\[\\]]+)\\]|([^:\\[\\]]+)):([0-9]{1,5})$"));
    const QRegularExpressionMatch match = pattern.match(strDevice);
    const uint nPort = match.captured(3).toUInt();
    if (!match.hasMatch() || nPort < 1 || nPort > 65535)
        return false;
    place.m_strAddress = match.captured(1) + match.captured(2);
    place.m_nPort = quint16(nPort);
    return true;
}

/** The first replaces the scene's device, the others its other ones. @return what is wrong, if any */
QString readDevices(const QStringList &devices, sHostOptions &options)
{
    for (const QString &strDevice : devices) {
        sDevicePlace place;
        if (!readDevice(strDevice, place))
            return strDevice;
        if (options.m_nPort != 0) {
            options.m_otherDevices.append(place);
            continue;
        }
        options.m_strAddress = place.m_strAddress;
        options.m_nPort = place.m_nPort;
    }
    return QString();
}

bool readSeconds(const QString &strSeconds, sHostOptions &options)
{
    bool isNumber = false;
    options.m_seconds = strSeconds.toDouble(&isNumber);
    return isNumber && options.m_seconds > 0 && options.m_seconds <= LongestRun;
}

QString wrongValue(const char *pOption, const QString &strExpected, const QString &strFound)
{
    return QStringLiteral("--%1: expected %2, found \"%3\"")
        .arg(QString::fromLatin1(pOption), strExpected, strFound);
}

/** The value of an option that names a file; a value that is given must not be empty. */
QString readName(const QCommandLineParser &parser, const char *pOption, sHostOptions &options)
{
    const QString strOption = QString::fromLatin1(pOption);
    QString strName = parser.value(strOption);
    if (parser.isSet(strOption) && strName.isEmpty())
        options.m_strError = wrongValue(pOption, QStringLiteral("a name"), strName);
    return strName;
}

void readSource(const QCommandLineParser &parser, sHostOptions &options)
{
    options.m_strYuvFile = readName(parser, "yuv", options);
    const QString strSource = parser.value(QStringLiteral("source"));
    const bool isSet = parser.isSet(QStringLiteral("source"));
    if (isSet && !sourceTypeNamed(strSource))
        options.m_strError = wrongValue("source", QStringLiteral("mjpeg, shm or yuv"), strSource);
    const bool isFile = !options.m_strYuvFile.isEmpty();
    if (isSet && isFile && strSource != QStringLiteral("yuv"))
        options.m_strError = wrongValue("source", QStringLiteral("yuv with --yuv"), strSource);
    options.m_strSource = isFile ? QStringLiteral("yuv") : strSource;
}

void readValues(const QCommandLineParser &parser, sHostOptions &options)
{
    options.m_isHeadless = parser.isSet(QStringLiteral("headless"));
    options.m_strSceneFile = readName(parser, "scene", options);
    options.m_strOutFolder = readName(parser, "out", options);
    options.m_strJsonFile = readName(parser, "json", options);
    readSource(parser, options);
    const QString strWrong = readDevices(parser.values(QStringLiteral("device")), options);
    if (!strWrong.isNull())
        options.m_strError = wrongValue("device", QStringLiteral("HOST:PORT"), strWrong);
    if (options.m_otherDevices.size() >= MaxDevices)
        options.m_strError =
            wrongValue("device", QStringLiteral("%1 devices at most").arg(MaxDevices),
                       QString::number(options.m_otherDevices.size() + 1));
    options.m_hasSeconds = parser.isSet(QStringLiteral("seconds"));
    const QString strSeconds = parser.value(QStringLiteral("seconds"));
    if (parser.isSet(QStringLiteral("seconds")) && !readSeconds(strSeconds, options))
        options.m_strError = wrongValue(
            "seconds", QStringLiteral("a number above 0 and up to %1").arg(LongestRun), strSeconds);
}

sHostOptions::eAction chosenAction(const QCommandLineParser &parser, const QString &strError)
{
    if (!strError.isEmpty())
        return sHostOptions::eAction::Refuse;
    if (parser.isSet(QStringLiteral("help")))
        return sHostOptions::eAction::PrintHelp;
    if (parser.isSet(QStringLiteral("version")))
        return sHostOptions::eAction::PrintVersion;
    if (parser.isSet(QStringLiteral("print-scene")))
        return sHostOptions::eAction::PrintScene;
    return sHostOptions::eAction::Run;
}

} // namespace

sHostOptions readHostOptions(const QStringList &arguments)
{
    sHostOptions options;
    QCommandLineParser parser;
    addOptions(parser);
    if (!parser.parse(arguments))
        options.m_strError = parser.errorText();
    else if (!parser.positionalArguments().isEmpty())
        options.m_strError = QStringLiteral("Unexpected argument \"%1\".")
                                 .arg(parser.positionalArguments().constFirst());
    else
        readValues(parser, options);
    options.m_action = chosenAction(parser, options.m_strError);
    return options;
}

QString hostHelpText()
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QString::fromLatin1(Description));
    addOptions(parser);
    return parser.helpText();
}

} // namespace Morvek::Tools
