// A device that sends far more and far larger pictures than anybody can show, from another process.

#include "framingspy.h"

#include <pixmapreader.h>

#include <boundtable.h>
#include <deviceprocess.h>
#include <enduranceoptions.h>
#include <processfigures.h>
#include <testdevice.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QTimer>

#include <cstdio>

using namespace Morvek::Tests;
using Morvek::EchoVideo::PixmapReader;

namespace {

constexpr double MB = 1e6;
constexpr double PictureBytes = 8e6; // as the scenario has it
constexpr double MostHandOvers = 12.5;
constexpr int TimerPeriod = 10;       // ms
constexpr double MostLate = 20;       // ms
constexpr int ConnectionTime = 20000; // ms

/** A timer in the main thread, as a host has many: how late it fires. */
class LateTimer
{
public:
    LateTimer()
    {
        m_timer.setTimerType(Qt::PreciseTimer);
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] {
            const double ms = double(m_clock.nsecsElapsed()) / 1e6;
            m_late.append(qMax(0.0, ms - TimerPeriod));
            m_clock.start();
        });
        m_clock.start();
        m_timer.start(TimerPeriod);
    }

    const QList<double> &late() const { return m_late; }

private:
    QTimer m_timer;
    QElapsedTimer m_clock; // since it last fired
    QList<double> m_late;
};

void wait(int nMs)
{
    QTimer::singleShot(nMs, Qt::PreciseTimer, qApp, &QCoreApplication::quit);
    QCoreApplication::exec();
}

bool waitForPictures(int nPictures)
{
    const QDeadlineTimer deadline(ConnectionTime);
    while (framingFigures().m_nPictures < nPictures) {
        if (deadline.hasExpired())
            return false;
        wait(TimerPeriod);
    }
    return true;
}

struct sRates
{
    double m_pictures = 0;  // a second, of those received
    double m_megabytes = 0; // a second
    double m_handOvers = 0; // a second
};

sRates ratesOf(const sFramingFigures &before, const sFramingFigures &after, double seconds)
{
    return {double(after.m_nReceived - before.m_nReceived) / PictureBytes / seconds,
            double(after.m_nReceived - before.m_nReceived) / MB / seconds,
            double(after.m_nDecoded - before.m_nDecoded) / seconds};
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication app(argc, argv);
    const sEnduranceOptions options = readEnduranceOptions(
        QStringLiteral("Measures what a flood of large pictures does to the process."),
        QStringLiteral("Seconds"), 60);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    DeviceProcess device({QStringLiteral("--scenario"), QStringLiteral(SCENARIO_FILE)});
    if (!device.waitForListening()) {
        std::fprintf(stderr, "the device does not start\n");
        return 1;
    }
    const ActiveDevice active(makeMjpegDevice(device.port(), 4));
    PixmapReader *const pService = PixmapReader::instance();
    pService->restartRead();
    if (!waitForPictures(10)) {
        std::fprintf(stderr, "no pictures arrive\n");
        return 1;
    }

    const sFramingFigures before = framingFigures();
    const LateTimer timer;
    QElapsedTimer clock;
    clock.start();
    wait(options.m_nCount * 1000);
    const double seconds = double(clock.nsecsElapsed()) / 1e9;
    const sFramingFigures after = framingFigures();
    const sRates rates = ratesOf(before, after, seconds);
    const double memory = double(residentMemory()) / MB;
    pService->stopRead();

    BoundTable table;
    table.tell(QStringLiteral("received"), rates.m_pictures, QStringLiteral("pictures/s"),
               QStringLiteral("%1 MB/s for %2 s")
                   .arg(rates.m_megabytes, 0, 'f', 0)
                   .arg(seconds, 0, 'f', 0));
    table.add({QStringLiteral("buffer before a read"), double(after.m_nMostHeld) / MB,
               2 * PictureBytes / MB, QStringLiteral("MB"),
               QStringLiteral("after it %1, largest read %2")
                   .arg(double(after.m_nLargestBuffer) / MB, 0, 'f', 1)
                   .arg(double(after.m_nLargestRead) / MB, 0, 'f', 1)});
    table.add({QStringLiteral("hand-overs"), rates.m_handOvers, MostHandOvers,
               QStringLiteral("a second"), QString()});
    table.add({QStringLiteral("timer late, 99 %"), percentileOf(timer.late(), 99),
               MostLate * options.m_slack, QStringLiteral("ms"),
               QStringLiteral("worst %1 of %2")
                   .arg(worstOf(timer.late()), 0, 'f', 1)
                   .arg(timer.late().size())});
    table.tell(QStringLiteral("process"), memory, QStringLiteral("MB"));
    table.print();
    return table.exitStatus();
}
