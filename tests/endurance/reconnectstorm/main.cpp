// A device that breaks off every connection after a few pictures and some bytes without meaning. The
// reader's wait of a minute is ended by a pause and a resume, each time.

#include <pixmapreaderremotemjpeg_p.h>

#include <boundtable.h>
#include <enduranceoptions.h>
#include <restfigures.h>
#include <sanitized.h>
#include <scenariodevice.h>
#include <testdevice.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QThread>

#include <atomic>
#include <cstdio>

using namespace Morvek::Tests;
using Morvek::EchoVideo::Internal::RemoteMJPEGReader;

namespace {

constexpr int PictureInterval = 8;  // ms; several come before the hand-over's 80 ms are over
constexpr int GivenUpAfter = 30000; // ms
constexpr double MostMs = 1000;     // from the resume to a new picture
constexpr double MostGrowth = 1024; // KiB

std::atomic_int readWarnings{0};

void countWarnings(QtMsgType eType, const QMessageLogContext &, const QString &strText)
{
    if (eType == QtWarningMsg && strText.startsWith(QLatin1String("Read echo video from")))
        ++readWarnings;
}

template <typename Condition>
bool waitFor(Condition condition)
{
    const QDeadlineTimer deadline(GivenUpAfter);
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        QThread::msleep(1);
    }
    return true;
}

/** A reader at a device whose connections all break; stops it at the end. */
class Storm
{
public:
    Storm()
        : m_device(scenarioNamed(QStringLiteral("reconnect_storm")), PictureInterval)
        , m_pDevice(makeMjpegDevice(m_device.port()))
        , m_reader(m_image)
    {
        m_pDevice->setOnlineFlag(true);
        m_pDevice->deviceConfig().EchoVideoCfg.FPS = 100;
        m_reader.setInputVideoReadFinishedCallback([this] { note(numberOf(m_image)); });
        m_reader.restartRead(m_pDevice);
    }
    ~Storm() { m_reader.stopRead(); }

    /** Waits for the next break; nothing happens if there was one since the last wait. */
    bool waitForBreak()
    {
        const bool isBroken = waitFor([this] { return m_device.faultCount() > m_nBreaks; });
        m_nBreaks = m_device.faultCount();
        return isBroken;
    }

    /** Ends the wait after a break; tells how long it took to show a picture made since then. */
    bool resume(double &ms)
    {
        const int nAccepted = m_device.acceptedCount();
        m_nOldest = m_device.pictureCount() + 1;
        QElapsedTimer timer;
        timer.start();
        const bool isConnected = waitFor([&] {
            // Again and again: a wake-up before the wait has begun is lost by design.
            m_reader.pauseRead();
            m_reader.restartRead(m_pDevice);
            return m_device.acceptedCount() > nAccepted;
        });
        const bool isShown = isConnected && waitFor([this] { return m_nNewest >= m_nOldest; });
        ms = double(timer.nsecsElapsed()) / 1e6;
        return isShown;
    }

    /** Pictures that were shown after newer ones. */
    int staleCount() const { return m_nStale; }

private:
    // On the notifier's thread.
    void note(int nNumber)
    {
        if (nNumber < m_nNewest)
            ++m_nStale;
        m_nNewest = nNumber;
    }

    ScenarioDevice m_device;
    const std::shared_ptr<Morvek::BizModel::Device> m_pDevice;
    QImage m_image;
    std::atomic_int m_nNewest{0};
    std::atomic_int m_nStale{0};
    int m_nOldest = 0;
    int m_nBreaks = 0;
    RemoteMJPEGReader m_reader; // last: it uses the others
};

/** Lets so many connections break; times of the resumes, or nothing where one failed. */
QList<double> runStorm(int nBreaks, int &nStale)
{
    Storm storm;
    QList<double> times;
    for (int i = 0; i < nBreaks; ++i) {
        double ms = 0;
        if (!storm.waitForBreak() || !storm.resume(ms))
            return {};
        times.append(ms);
    }
    nStale = storm.staleCount();
    return times;
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication app(argc, argv);
    const sEnduranceOptions options = readEnduranceOptions(
        QStringLiteral("Breaks off every connection after some random bytes, and resumes."),
        QStringLiteral("Connections"), 10000);
    qInstallMessageHandler(countWarnings);
    keepNoFreeMemory();

    constexpr int FirstBreaks = 20; // until everything that is kept for ever has been made
    int nStale = 0;
    if (runStorm(FirstBreaks, nStale).isEmpty())
        return 1;
    const sRestFigures before = measureRest();
    readWarnings = 0;
    const QList<double> times = runStorm(options.m_nCount, nStale);
    const sRestFigures after = measureRest(before);
    if (times.isEmpty()) {
        std::fprintf(stderr, "no new picture is shown after a break\n");
        return 1;
    }

    BoundTable table;
    table.tell(QStringLiteral("connections broken off"), times.size(), QString());
    table.tell(QStringLiteral("warnings of them"), readWarnings, QString());
    table.add({QStringLiteral("stale pictures"), double(nStale), 0, QString(), QString()});
    table.add({QStringLiteral("resume to a new picture"), worstOf(times), MostMs * options.m_slack,
               QStringLiteral("ms"),
               QStringLiteral("median %1").arg(percentileOf(times, 50), 0, 'f', 0)});
    const double growth = double(after.m_nMemory - before.m_nMemory) / 1024;
    if (IsSanitized)
        table.tell(QStringLiteral("memory gained"), growth, QStringLiteral("KiB"));
    else
        table.add({QStringLiteral("memory gained"), growth, MostGrowth, QStringLiteral("KiB"),
                   QString()});
    table.add({QStringLiteral("threads gained"), double(after.m_nThreads - before.m_nThreads), 0,
               QString(), QString()});
    table.add({QStringLiteral("descriptors gained"), double(after.m_nFiles - before.m_nFiles), 0,
               QString(), QString()});
    table.print();
    return table.exitStatus();
}
