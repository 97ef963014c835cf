// Whole processes at the same work: 16 inputs in one stream of JPEG pictures, each layer cropped,
// scaled and faded at 25 a second. Measures CPU, memory, allocations and how old the pictures are.
//
// Each way runs in a process of its own, which this program starts, one after the other and in
// rounds; the simulated device is another one, whose time is not counted.

#include "allocations.h"
#include "way.h"

#include <tilestamp.h>

#include <QCommandLineParser>
#include <QDateTime>
#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTextStream>

#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <mutex>
#include <vector>

using namespace Morvek::Benchmarks;

namespace {

const std::map<QString, Way> &ways()
{
    static const std::map<QString, Way> all{
        {QStringLiteral("ours"), renderWithLibrary},
        {QStringLiteral("plain"), renderPlainly},
#ifdef MORVEK_HAS_GSTREAMER
        {QStringLiteral("gstreamer"), renderWithGStreamer},
#endif
#ifdef MORVEK_HAS_OPENCV
        {QStringLiteral("opencv"), renderWithOpenCv},
#endif
    };
    return all;
}

double cpuSeconds()
{
    rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval &time) {
        return double(time.tv_sec) + time.tv_usec / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

double peakMegabytes()
{
    rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_maxrss) * 1024 / 1e6;
}

/** Takes previews, on any thread, and notes how old their pictures are. */
class Figures
{
public:
    explicit Figures(const sWork &work)
        : m_work(work)
    {}

    void take(int nLayer, const QImage &preview)
    {
        const qint64 nNow = QDateTime::currentMSecsSinceEpoch();
        const int nTaken = m_nTaken++;
        // Reading a stamp takes time, which is not to count; but of a layer alone, each one is read.
        constexpr int LooksForOneRead = 8;
        if (nLayer != 0
            || (m_work.m_nLayers > 1 && nTaken / m_work.m_nLayers % LooksForOneRead != 0))
            return;
        const auto stamp = Morvek::Tools::readTileStamp(preview, wholeTile(), nNow);
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!stamp || stamp->m_nFrame == m_nLastFrame)
            return;
        m_nLastFrame = stamp->m_nFrame;
        m_ages.push_back(double(nNow - stamp->m_nTimeMs));
    }
    int taken() const { return m_nTaken; }
    void forgetAges()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_ages.clear();
    }
    double age(double share)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_ages.empty())
            return -1;
        std::sort(m_ages.begin(), m_ages.end());
        return m_ages[std::min(m_ages.size() - 1, std::size_t(share * double(m_ages.size())))];
    }

private:
    // Where the whole tile would lie in a preview that shows a part of it.
    QRectF wholeTile() const
    {
        const QRect part = m_work.shownPart();
        const double x = double(LayerSize.width()) / part.width();
        const double y = double(LayerSize.height()) / part.height();
        return QRectF(-part.x() * x, -part.y() * y, TileSize.width() * x, TileSize.height() * y);
    }

    const sWork m_work;
    std::atomic_int m_nTaken{0};
    std::mutex m_mutex;
    std::vector<double> m_ages; // ms; guarded by m_mutex
    quint32 m_nLastFrame = ~0u; // guarded by m_mutex
};

/** Does the work for so long after a start that is not counted, and writes the figures. */
int runWay(Way way, const sWork &work, int nSeconds)
{
    constexpr qint64 StartMs = 2000;
    Figures figures(work);
    QElapsedTimer timer;
    timer.start();
    bool isCounting = false;
    double cpuAtStart = 0;
    int nTakenAtStart = 0;
    sAllocations atStart;
    qint64 nStartedMs = 0;
    QJsonObject result;
    way(
        work, [&](int nLayer, const QImage &preview) { figures.take(nLayer, preview); },
        [&] {
            if (!isCounting && timer.elapsed() >= StartMs && figures.taken() > 0) {
                isCounting = true;
                cpuAtStart = cpuSeconds();
                nTakenAtStart = figures.taken();
                atStart = allocations();
                nStartedMs = timer.elapsed();
                figures.forgetAges();
            }
            const qint64 nCountedMs = timer.elapsed() - nStartedMs;
            if (!isCounting || nCountedMs < nSeconds * 1000)
                return timer.elapsed() > StartMs + 20000 && !isCounting;
            const double delivered = figures.taken() - nTakenAtStart;
            const double cpu = cpuSeconds() - cpuAtStart;
            const sAllocations atEnd = allocations();
            result = {{"delivered_a_second", delivered * 1000 / double(nCountedMs)},
                      {"cpu_share", cpu * 1000 / double(nCountedMs)},
                      {"cpu_us_per_layer", cpu * 1e6 / std::max(delivered, 1.0)},
                      {"allocations_per_layer",
                       double(atEnd.m_nAll - atStart.m_nAll) / std::max(delivered, 1.0)},
                      {"large_allocations_per_layer",
                       double(atEnd.m_nLarge - atStart.m_nLarge) / std::max(delivered, 1.0)},
                      {"peak_mb", peakMegabytes()},
                      {"age_median_ms", figures.age(0.5)},
                      {"age_p95_ms", figures.age(0.95)}};
            return true;
        });
    QTextStream(stdout) << QJsonDocument(result).toJson(QJsonDocument::Compact) << "\n";
    return result.isEmpty() ? 1 : 0;
}

/** The simulated device, in a process of its own. */
class DeviceProcess
{
public:
    DeviceProcess()
    {
        m_process.setStandardErrorFile(QProcess::nullDevice());
        m_process.start(QStringLiteral(ECHODEVICE_PROGRAM), {"--fps", "12", "--tiles", "16"});
        if (m_process.waitForReadyRead(10000))
            m_nPort = m_process.readLine().trimmed().split(':').last().toInt();
    }
    ~DeviceProcess()
    {
        m_process.terminate();
        m_process.waitForFinished();
    }
    int port() const { return m_nPort; }

private:
    QProcess m_process;
    int m_nPort = 0;
};

QJsonObject measure(const QString &strWay, int nLayers, bool isWhole, int nSeconds, int nPort)
{
    QProcess process;
    process.setStandardErrorFile(QProcess::nullDevice()); // the log of the library
    QStringList arguments{"--way",     strWay,
                          "--layers",  QString::number(nLayers),
                          "--seconds", QString::number(nSeconds),
                          "--port",    QString::number(nPort)};
    if (isWhole)
        arguments << "--whole";
    const bool isOurs = strWay == "ours" || strWay == "plain";
    process.start(isOurs ? QStringLiteral(OURS_PROGRAM) : QCoreApplication::applicationFilePath(),
                  arguments);
    process.waitForFinished((nSeconds + 60) * 1000);
    return QJsonDocument::fromJson(process.readAllStandardOutput()).object();
}

struct sCase
{
    QString m_strName;
    int m_nLayers;
    bool m_isWhole;
    QStringList m_ways;
};

QStringList availableWays(const QStringList &wanted)
{
    QStringList available;
    for (const QString &strWay : wanted) {
        if (ways().count(strWay) != 0)
            available << strWay;
    }
    return available;
}

double medianOf(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values.empty() ? -1 : values[values.size() / 2];
}

/** One row for each way: medians of the rounds, and the ratio of its CPU to ours in each round. */
void printCase(const sCase &runs, const std::map<QString, std::vector<QJsonObject>> &results)
{
    QTextStream out(stdout);
    const auto &ours = results.at(QStringLiteral("ours"));
    for (const QString &strWay : runs.m_ways) {
        const auto &rounds = results.at(strWay);
        out << "| " << runs.m_strName << " | " << strWay;
        for (const char *pFigure :
             {"delivered_a_second", "cpu_share", "cpu_us_per_layer", "peak_mb", "age_median_ms",
              "age_p95_ms", "allocations_per_layer", "large_allocations_per_layer"}) {
            std::vector<double> values;
            for (const QJsonObject &round : rounds)
                values.push_back(round[QLatin1String(pFigure)].toDouble(-1));
            out << " | " << QString::number(medianOf(values), 'g', 3);
        }
        std::vector<double> ratios;
        for (std::size_t i = 0; i < rounds.size(); ++i)
            ratios.push_back(ours[i]["cpu_us_per_layer"].toDouble()
                             / rounds[i]["cpu_us_per_layer"].toDouble());
        out << " | " << QString::number(medianOf(ratios), 'f', 2) << " ("
            << QString::number(*std::min_element(ratios.begin(), ratios.end()), 'f', 2) << " to "
            << QString::number(*std::max_element(ratios.begin(), ratios.end()), 'f', 2) << ") |\n";
    }
}

// Only the cases of so many layers, where that is not 0.
int runAll(int nSeconds, int nRounds, int nOnlyLayers)
{
    const DeviceProcess device;
    if (device.port() == 0) {
        QTextStream(stderr) << "the simulated device does not start\n";
        return 1;
    }
    const QStringList all = availableWays({"ours", "plain", "gstreamer", "opencv"});
    const std::vector<sCase> cases{
        {QStringLiteral("16 layers"), 16, false, all},
        {QStringLiteral("64 layers"), 64, false, all},
        {QStringLiteral("255 layers"), 255, false, all},
        {QStringLiteral("1 layer, whole"), 1, true, {QStringLiteral("ours")}},
    };
    QTextStream(stdout)
        << "| work | way | layers a second | CPU, cores | CPU per layer, us | peak MB | age of "
           "picture, ms | p95 | allocations per layer | large ones | ours / this, CPU per layer "
           "|\n|---|---|---|---|---|---|---|---|---|---|---|\n";
    for (const sCase &runs : cases) {
        if (nOnlyLayers != 0 && runs.m_nLayers != nOnlyLayers)
            continue;
        std::map<QString, std::vector<QJsonObject>> results;
        for (int nRound = 0; nRound < nRounds; ++nRound) {
            for (const QString &strWay : runs.m_ways)
                results[strWay].push_back(
                    measure(strWay, runs.m_nLayers, runs.m_isWhole, nSeconds, device.port()));
        }
        printCase(runs, results);
    }
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication app(argc, argv);
    QCommandLineParser parser;
    parser.addHelpOption();
    parser.addOption({"seconds", "Measure each way for so long.", "N", "5"});
    parser.addOption({"rounds", "Measure each way so often.", "N", "3"});
    parser.addOption({"way", "Only this way, in this process, with its figures as JSON.", "WAY"});
    parser.addOption({"layers", "Only with so many layers.", "N", "0"});
    parser.addOption({"whole", "With --way: whole tiles, without crop and opacity."});
    parser.addOption({"port", "With --way: of the device on this machine.", "N", "0"});
    parser.process(app);

    const int nSeconds = parser.value("seconds").toInt();
    if (!parser.isSet("way"))
        return runAll(nSeconds, parser.value("rounds").toInt(), parser.value("layers").toInt());
    const auto itWay = ways().find(parser.value("way"));
    if (itWay == ways().end()) {
        QTextStream(stderr) << "no such way: " << parser.value("way") << "\n";
        return 2;
    }
    const sWork work{quint16(parser.value("port").toUInt()),
                     std::max(1, parser.value("layers").toInt()), parser.isSet("whole")};
    return runWay(itWay->second, work, nSeconds);
}
