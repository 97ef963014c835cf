#include "deviceoptions.h"

#include "echolayout.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <algorithm>
#include <limits>
#include <optional>

namespace Morvek::Tools {

namespace {

constexpr char AddressOption[] = "address";
constexpr char PortOption[] = "port";
constexpr char FpsOption[] = "fps";
constexpr char TilesOption[] = "tiles";
constexpr char NoSignalOption[] = "no-signal";
constexpr char StillOption[] = "still";
constexpr char QualityOption[] = "quality";
constexpr char FramesOption[] = "frames";
constexpr char ShmOption[] = "shm";
constexpr char ShmNameOption[] = "shm-name";
constexpr char YuvOption[] = "yuv";
constexpr char ScenarioOption[] = "scenario";
constexpr char JsonOption[] = "json";
constexpr char HelpOption[] = "help";
constexpr char VersionOption[] = "version";

void addOptions(QCommandLineParser &parser)
{
    parser.setApplicationDescription(
        "Simulates a device: pushes its echo video as JPEG pictures over TCP to every client, "
        "leaves "
        "it in shared memory for the capture library, or writes it as a raw YUV file.\n"
        "With --shm or --yuv it streams as well if --port is given.");
    parser.addOptions({
        {AddressOption, "Listen on this IPv4 or IPv6 address (default 127.0.0.1).", "A"},
        {PortOption, "Listen on this port (default 0: any free one).", "N"},
        {FpsOption, "Pictures a second, 1 to 60 (default 12).", "N"},
        {TilesOption, "Inputs in the picture: 4, 9, 16 or 25 (default 16).", "N"},
        {NoSignalOption, "Inputs, such as 3,9, that have no signal: they are black.", "LIST"},
        {StillOption, "Inputs, such as 6, that hang: they stay as they are at first.", "LIST"},
        {QualityOption, "Quality of the JPEG pictures, 1 to 100 (default 80).", "Q"},
        {FramesOption,
         "End after this many pictures; the first is made when the first client connects, or at "
         "once without a stream (default 0: without end).",
         "N"},
        {ShmOption, "Leave the pictures in shared memory, at their rate."},
        {ShmNameOption,
         "Name of the shared memory (default: MORVEK_SHM_CAP_NAME, or "
         "/morvek_shm_cap); implies --shm.",
         "NAME"},
        {YuvOption,
         "Write the pictures to this file, as fast as possible unless they go elsewhere "
         "too; needs --frames.",
         "FILE"},
        {ScenarioOption, "Play the faults of this scenario (JSON) on the stream.", "FILE"},
        {JsonOption, "Write the summary as JSON to this file; - for standard output.", "FILE"},
        {{"h", HelpOption}, "Show this help."},
        {{"v", VersionOption}, "Show the version."},
    });
}

/** A whole number written in plain digits. */
std::optional<int> wholeNumber(const QString &text)
{
    const bool isPlain = std::all_of(text.cbegin(), text.cend(), [](QChar character) {
        return character >= QLatin1Char('0') && character <= QLatin1Char('9');
    });
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
    return isPlain && isNumber ? std::optional<int>(number) : std::nullopt;
}

/** Reads option by option; the first wrong value is the one that is told. */
class OptionReader
{
public:
    explicit OptionReader(const QCommandLineParser &parser)
        : m_parser(parser)
    {}

    const QString &error() const { return m_strError; }

    int number(const char *option, int lowest, int highest, int valueIfAbsent)
    {
        if (!m_parser.isSet(option)) {
            return valueIfAbsent;
        }
        const std::optional<int> number = wholeNumber(m_parser.value(option));
        if (!number || *number < lowest || *number > highest) {
            refuse(option, QStringLiteral("a whole number from %1 to %2").arg(lowest).arg(highest));
        }
        return number.value_or(valueIfAbsent);
    }

    int tiles(int valueIfAbsent)
    {
        const QString value = m_parser.value(TilesOption);
        if (!m_parser.isSet(TilesOption)) {
            return valueIfAbsent;
        }
        const std::optional<int> number = wholeNumber(value);
        if (!number || !supportedTileCounts().contains(*number)) {
            refuse(TilesOption, QStringLiteral("4, 9, 16 or 25"));
        }
        return number.value_or(valueIfAbsent);
    }

    QSet<int> inputs(const char *option, int nTiles)
    {
        QSet<int> inputs;
        if (!m_parser.isSet(option)) {
            return inputs;
        }
        const QStringList words = m_parser.value(option).split(QLatin1Char(','));
        for (const QString &word : words) {
            const std::optional<int> number = wholeNumber(word);
            if (!number || *number >= nTiles) {
                refuse(option, QStringLiteral("inputs from 0 to %1, with commas between them")
                                   .arg(nTiles - 1));
            }
            inputs.insert(number.value_or(0));
        }
        return inputs;
    }

    QHostAddress address(const QHostAddress &valueIfAbsent)
    {
        if (!m_parser.isSet(AddressOption)) {
            return valueIfAbsent;
        }
        const QHostAddress address(m_parser.value(AddressOption));
        if (address.isNull()) {
            refuse(AddressOption, QStringLiteral("an IPv4 or IPv6 address"));
        }
        return address;
    }

    QString name(const char *option, const QString &strExpected)
    {
        QString value = m_parser.value(option);
        if (m_parser.isSet(option) && value.isEmpty()) {
            refuse(option, strExpected);
        }
        return value;
    }

    bool isSet(const char *option) const { return m_parser.isSet(option); }

    void refuse(const char *option, const QString &strExpected)
    {
        if (m_strError.isEmpty()) {
            m_strError = QStringLiteral("--%1 '%2': expected %3")
                             .arg(QLatin1String(option), m_parser.value(option), strExpected);
        }
    }

private:
    const QCommandLineParser &m_parser;
    QString m_strError; // of the first wrong value
};

void readDestinations(OptionReader &reader, sDeviceOptions &options)
{
    options.m_strCaptureName = reader.name(ShmNameOption, QStringLiteral("a name"));
    options.m_strYuvFile = reader.name(YuvOption, QStringLiteral("a file name"));
    options.m_isCapture = reader.isSet(ShmOption) || reader.isSet(ShmNameOption);
    const bool isElsewhere = options.m_isCapture || reader.isSet(YuvOption);
    options.m_isStreaming = !isElsewhere || reader.isSet(PortOption);
    options.m_strScenarioFile = reader.name(ScenarioOption, QStringLiteral("a file name"));
    if (reader.isSet(ScenarioOption) && !options.m_isStreaming) {
        reader.refuse(ScenarioOption, QStringLiteral("a stream to play it on, by --port"));
    }
    if (reader.isSet(YuvOption) && options.m_nFrames == 0) {
        reader.refuse(FramesOption, QStringLiteral("the number of pictures for --yuv, from 1"));
    }
}

sCommandLine withText(eCommand command, const QString &strText)
{
    return {command, {}, strText};
}

} // namespace

sCommandLine parsedCommandLine(const QStringList &arguments)
{
    QCommandLineParser parser;
    addOptions(parser);
    if (!parser.parse(arguments)) {
        return withText(eCommand::Refuse, parser.errorText());
    }
    if (parser.isSet(HelpOption)) {
        return withText(eCommand::ShowHelp, parser.helpText());
    }
    if (parser.isSet(VersionOption)) {
        return withText(eCommand::ShowVersion,
                        QCoreApplication::applicationName() + QLatin1Char(' ')
                            + QCoreApplication::applicationVersion() + QLatin1Char('\n'));
    }
    if (!parser.positionalArguments().isEmpty()) {
        return withText(eCommand::Refuse, QStringLiteral("'%1': expected nothing but options")
                                              .arg(parser.positionalArguments().constFirst()));
    }
    OptionReader reader(parser);
    sDeviceOptions options;
    options.m_address = reader.address(options.m_address);
    options.m_nPort = quint16(reader.number(PortOption, 0, 65535, options.m_nPort));
    options.m_nFps = reader.number(FpsOption, 1, 60, options.m_nFps);
    options.m_nTiles = reader.tiles(options.m_nTiles);
    options.m_dark = reader.inputs(NoSignalOption, options.m_nTiles);
    options.m_still = reader.inputs(StillOption, options.m_nTiles);
    options.m_nQuality = reader.number(QualityOption, 1, 100, options.m_nQuality);
    options.m_nFrames =
        reader.number(FramesOption, 0, std::numeric_limits<int>::max(), options.m_nFrames);
    options.m_strSummary =
        reader.name(JsonOption, QStringLiteral("a file name, or - for standard output"));
    readDestinations(reader, options);
    if (!reader.error().isEmpty()) {
        return withText(eCommand::Refuse, reader.error());
    }
    return {eCommand::Run, options, {}};
}

} // namespace Morvek::Tools
