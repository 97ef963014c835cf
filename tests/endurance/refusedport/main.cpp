// What a device costs that refuses every connection: nothing but one attempt and one warning a second,
// and the ticks at the device's rate, which go on splitting the last picture.

#include <pixmapreader.h>

#include <boundtable.h>
#include <enduranceoptions.h>
#include <sanitized.h>
#include <testdevice.h>

#include <QCoreApplication>
#include <QTcpServer>
#include <QTimer>

#include <sys/resource.h>

#include <atomic>
#include <cmath>
#include <ctime>

using namespace Morvek::Tests;
using Morvek::EchoVideo::PixmapReader;

namespace {

constexpr int InputColumns = 4;
constexpr double MostPercent = 5; // of a core
constexpr double MostOff = 1;     // warnings, one second being cut off at either end

std::atomic_int connectWarnings{0};
std::atomic_int ticks{0};

void countWarnings(QtMsgType eType, const QMessageLogContext &, const QString &strText)
{
    if (eType == QtWarningMsg && strText.startsWith(QLatin1String("Connect to")))
        ++connectWarnings;
}

// A port that was free a moment ago.
quint16 refusedPort()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return server.serverPort();
}

double processorSeconds()
{
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return double(time.tv_sec) + double(time.tv_nsec) / 1e9;
}

void wait(int nSeconds)
{
    QTimer::singleShot(nSeconds * 1000, Qt::PreciseTimer, qApp, &QCoreApplication::quit);
    QCoreApplication::exec();
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication app(argc, argv);
    const sEnduranceOptions options =
        readEnduranceOptions(QStringLiteral("Measures what a device costs that refuses."),
                             QStringLiteral("Seconds"), 60);
    qInstallMessageHandler(countWarnings);
    const auto pDevice = makeMjpegDevice(refusedPort(), InputColumns);
    const ActiveDevice active(pDevice);
    PixmapReader *const pService = PixmapReader::instance();
    QObject::connect(
        pService, &PixmapReader::inputVideoImageCopyFinished, pService, [] { ++ticks; },
        Qt::DirectConnection);
    pService->restartRead();
    wait(1);

    const int nWarningsBefore = connectWarnings;
    const int nTicksBefore = ticks;
    const double processorBefore = processorSeconds();
    wait(options.m_nCount);
    const double percent = 100 * (processorSeconds() - processorBefore) / options.m_nCount;
    const int nWarnings = connectWarnings - nWarningsBefore;
    const int nTicks = ticks - nTicksBefore;
    pService->stopRead();

    BoundTable table;
    table.add({QStringLiteral("warnings more or less than seconds"),
               std::abs(double(nWarnings) - options.m_nCount), MostOff * options.m_slack, QString(),
               QStringLiteral("%1 in %2 s").arg(nWarnings).arg(options.m_nCount)});
    const QString strNote = QStringLiteral("%1 splits of the picture").arg(nTicks);
    if (IsSanitized)
        table.tell(QStringLiteral("processor time"), percent, QStringLiteral("% of core"), strNote);
    else
        table.add({QStringLiteral("processor time"), percent, MostPercent * options.m_slack,
                   QStringLiteral("% of core"), strNote});
    table.print();
    return nTicks > 0 ? table.exitStatus() : 1;
}
