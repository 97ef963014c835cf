#include "scenarioreader.h"

#include <jsonchecker.h>

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <limits>

namespace Morvek::Tools {

namespace {

constexpr int MaxFaults = 1000;
constexpr int LongestMs = 86'400'000; // a day
constexpr int MostPictures = std::numeric_limits<int>::max();
constexpr int MaxBytes = 64 * 1024 * 1024;
constexpr int MaxExtent = 4096;         // of a picture that is made
constexpr int MaxClaimedExtent = 65535; // of one that only says so

const QList<QPair<QString, eFault>> &faultNames()
{
    static const QList<QPair<QString, eFault>> names = {
        {QStringLiteral("split"), eFault::Split},
        {QStringLiteral("one_byte_writes"), eFault::OneByteWrites},
        {QStringLiteral("trailing_header"), eFault::TrailingHeader},
        {QStringLiteral("wrong_length"), eFault::WrongLength},
        {QStringLiteral("negative_length"), eFault::NegativeLength},
        {QStringLiteral("huge_length"), eFault::HugeLength},
        {QStringLiteral("missing_length"), eFault::MissingLength},
        {QStringLiteral("lower_case_header"), eFault::LowerCaseHeader},
        {QStringLiteral("missing_line_end"), eFault::MissingLineEnd},
        {QStringLiteral("boundary_in_picture"), eFault::BoundaryInPicture},
        {QStringLiteral("truncated_picture"), eFault::TruncatedPicture},
        {QStringLiteral("truncated_jpeg"), eFault::TruncatedJpeg},
        {QStringLiteral("other_picture"), eFault::OtherPicture},
        {QStringLiteral("dimension_bomb"), eFault::DimensionBomb},
        {QStringLiteral("scan_bomb"), eFault::ScanBomb},
        {QStringLiteral("text_bomb"), eFault::TextBomb},
        {QStringLiteral("empty_picture"), eFault::EmptyPicture},
        {QStringLiteral("random_bytes"), eFault::RandomBytes},
        {QStringLiteral("silence"), eFault::Silence},
        {QStringLiteral("mute"), eFault::Mute},
        {QStringLiteral("close"), eFault::Close},
        {QStringLiteral("reset"), eFault::Reset},
        {QStringLiteral("refuse"), eFault::Refuse},
        {QStringLiteral("flap"), eFault::Flap},
        {QStringLiteral("flood"), eFault::Flood}};
    return names;
}

/** Reads one scenario; keeps what its parts share. */
class ScenarioReader
{
public:
    explicit ScenarioReader(JsonProblems *pProblems)
        : m_pProblems(pProblems)
    {}

    sScenario read(const QJsonObject &root);

private:
    sPlannedFault readPlannedFault(JsonChecker json);
    void readTime(JsonChecker &json, sPlannedFault &planned);
    void readRandom(JsonChecker json, sScenario &scenario);
    sFault readRandomFault(JsonChecker json);
    bool readFault(JsonChecker &json, sFault &fault);
    void readParameters(JsonChecker &json, sFault &fault);
    static void readPictureParameters(JsonChecker &json, sFault &fault);

    JsonProblems *m_pProblems;
};

std::optional<int> optionalInteger(JsonChecker &json, const char *pKey, int nMin, int nMax)
{
    const QString strKey = QString::fromLatin1(pKey);
    return json.has(strKey) ? std::optional<int>(json.integer(strKey, nMin, nMax)) : std::nullopt;
}

std::optional<QSize> optionalSize(JsonChecker &json, int nMax)
{
    const QString strKey = QStringLiteral("size");
    return json.has(strKey) ? std::optional<QSize>(json.size(strKey, 1, nMax)) : std::nullopt;
}

QByteArray optionalFormat(JsonChecker &json, const QList<QByteArray> &formats)
{
    QList<QPair<QString, QByteArray>> choices;
    for (const QByteArray &baFormat : formats)
        choices.append({QString::fromLatin1(baFormat), baFormat});
    return json.choice<QByteArray>(QStringLiteral("format"), choices, QByteArray());
}

std::optional<eLine> optionalLine(JsonChecker &json)
{
    const QString strKey = QStringLiteral("line");
    if (!json.has(strKey))
        return std::nullopt;
    return json.choice<eLine>(strKey, {{QStringLiteral("boundary"), eLine::Boundary},
                                       {QStringLiteral("type"), eLine::Type},
                                       {QStringLiteral("length"), eLine::Length},
                                       {QStringLiteral("picture"), eLine::Picture}});
}

sScenario ScenarioReader::read(const QJsonObject &root)
{
    JsonChecker json(root, QString(), m_pProblems);
    sScenario scenario;
    scenario.m_nSeed =
        quint32(json.integer(QStringLiteral("seed"), 0, std::numeric_limits<int>::max(), 1));
    if (json.has(QStringLiteral("faults"))) {
        const QList<JsonChecker> faults = json.objects(QStringLiteral("faults"), 1, MaxFaults);
        for (const JsonChecker &fault : faults)
            scenario.m_faults.append(readPlannedFault(fault));
    }
    if (json.has(QStringLiteral("random")))
        readRandom(json.object(QStringLiteral("random")), scenario);
    json.finish();
    return scenario;
}

sPlannedFault ScenarioReader::readPlannedFault(JsonChecker json)
{
    sPlannedFault planned;
    const bool isKnown = readFault(json, planned.m_fault);
    readTime(json, planned);
    // Which keys belong to a fault of no kind is not known.
    if (isKnown)
        json.finish();
    return planned;
}

void ScenarioReader::readTime(JsonChecker &json, sPlannedFault &planned)
{
    planned.m_eClock = json.choice<eClock>(QStringLiteral("clock"),
                                           {{QStringLiteral("picture"), eClock::Picture},
                                            {QStringLiteral("connection"), eClock::Connection},
                                            {QStringLiteral("start"), eClock::Start}},
                                           eClock::Picture);
    const bool isPicture = planned.m_eClock == eClock::Picture;
    const int nMost = isPicture ? MostPictures : LongestMs;
    planned.m_nAt = json.integer(QStringLiteral("at"), isPicture ? 1 : 0, nMost);
    planned.m_nEvery = optionalInteger(json, "every", 1, nMost).value_or(0);
    // What is counted from the start happens to all connections alike.
    if (planned.m_eClock != eClock::Start)
        planned.m_nConnection = optionalInteger(json, "connection", 1, MostPictures).value_or(0);
}

void ScenarioReader::readRandom(JsonChecker json, sScenario &scenario)
{
    scenario.m_nPercent = json.integer(QStringLiteral("percent"), 1, 100);
    const QList<JsonChecker> faults = json.objects(QStringLiteral("faults"), 1, MaxFaults);
    for (const JsonChecker &fault : faults)
        scenario.m_randomFaults.append(readRandomFault(fault));
    json.finish();
}

sFault ScenarioReader::readRandomFault(JsonChecker json)
{
    sFault fault;
    if (readFault(json, fault))
        json.finish();
    return fault;
}

// Returns false for a fault of no kind, of which nothing else is read.
bool ScenarioReader::readFault(JsonChecker &json, sFault &fault)
{
    const int nProblems = m_pProblems->count();
    fault.m_eFault = json.choice<eFault>(QStringLiteral("fault"), faultNames());
    if (m_pProblems->count() > nProblems)
        return false;
    readParameters(json, fault);
    return true;
}

void ScenarioReader::readParameters(JsonChecker &json, sFault &fault)
{
    switch (fault.m_eFault) {
    case eFault::Split:
        fault.m_nByte = optionalInteger(json, "byte", 0, MaxBytes);
        fault.m_nMs = optionalInteger(json, "ms", 1, LongestMs);
        break;
    case eFault::OneByteWrites:
    case eFault::RandomBytes:
    case eFault::Flap:
        fault.m_nBytes = optionalInteger(json, "bytes", 1, MaxBytes);
        break;
    case eFault::Silence:
    case eFault::Refuse:
        fault.m_nMs = optionalInteger(json, "ms", 1, LongestMs);
        break;
    case eFault::Flood:
        fault.m_nMs = optionalInteger(json, "ms", 1, LongestMs);
        fault.m_nFps = optionalInteger(json, "fps", 1, 1000);
        fault.m_nBytes = optionalInteger(json, "bytes", 1, MaxBytes);
        break;
    default:
        readPictureParameters(json, fault);
        break;
    }
}

void ScenarioReader::readPictureParameters(JsonChecker &json, sFault &fault)
{
    switch (fault.m_eFault) {
    case eFault::WrongLength:
        fault.m_nBy = optionalInteger(json, "by", -MaxBytes, MaxBytes);
        break;
    case eFault::HugeLength:
        fault.m_nLength = optionalInteger(json, "length", 1, std::numeric_limits<int>::max());
        break;
    case eFault::MissingLineEnd:
        fault.m_eLine = optionalLine(json);
        break;
    case eFault::BoundaryInPicture:
        fault.m_isWithHeader = json.flag(QStringLiteral("header"), true);
        break;
    case eFault::TruncatedPicture:
    case eFault::TruncatedJpeg:
        fault.m_nBytes = optionalInteger(json, "bytes", 0, MaxBytes);
        break;
    case eFault::OtherPicture:
        fault.m_baFormat = optionalFormat(json, {"png", "bmp", "ppm", "jpeg"});
        fault.m_size = optionalSize(json, MaxExtent);
        break;
    case eFault::DimensionBomb:
        fault.m_baFormat = optionalFormat(json, {"jpeg", "png", "bmp", "gif", "ppm"});
        fault.m_size = optionalSize(json, MaxClaimedExtent);
        break;
    case eFault::ScanBomb:
        fault.m_nScans = optionalInteger(json, "scans", 1, 20'000);
        fault.m_size = optionalSize(json, MaxClaimedExtent);
        break;
    case eFault::TextBomb:
        fault.m_nTexts = optionalInteger(json, "texts", 1, 1000);
        break;
    default:
        break;
    }
}

QString lineOf(const QByteArray &text, int nOffset)
{
    return QStringLiteral("line %1").arg(text.left(nOffset).count('\n') + 1);
}

} // namespace

bool readScenario(const QByteArray &json, sScenario *pScenario, QString *pError,
                  const QString &strFileName)
{
    JsonProblems found(strFileName);
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError)
        found.add(lineOf(json, error.offset),
                  QStringLiteral("expected JSON, found an error: %1").arg(error.errorString()));
    else if (!document.isObject())
        found.add(QString(), QStringLiteral("an object"), document.array());
    else
        *pScenario = ScenarioReader(&found).read(document.object());
    *pError = found.lines().join(QLatin1Char('\n'));
    return found.count() == 0;
}

bool readScenarioFile(const QString &strFileName, sScenario *pScenario, QString *pError)
{
    QFile file(strFileName);
    if (!file.open(QIODevice::ReadOnly)) {
        *pError = QStringLiteral("%1: expected a file that can be read: %2")
                      .arg(strFileName, file.errorString());
        return false;
    }
    return readScenario(file.readAll(), pScenario, pError, strFileName);
}

} // namespace Morvek::Tools
