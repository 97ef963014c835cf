// What pictures cost that claim far more than they hold, and the most that a picture may hold.

#include <readerprobe.h>

#include <bombpictures.h>
#include <boundtable.h>
#include <enduranceoptions.h>
#include <processfigures.h>
#include <sanitized.h>

#include <QBuffer>
#include <QCoreApplication>
#include <QFile>
#include <QImageWriter>

#include <malloc.h>
#include <sys/resource.h>

#include <cstdio>
#include <optional>
#include <random>

using namespace Morvek::Tests;
using Morvek::Tools::dimensionBomb;
using Morvek::Tools::scanBomb;
using Morvek::Tools::textBomb;

namespace {

constexpr double MiB = 1024 * 1024;
constexpr double MostMs = 500;
constexpr double MostMiB = 300;
constexpr rlim_t AddressSpace = 2048UL * 1024 * 1024;
constexpr int GivenUpAfter = 60000; // ms

struct sBomb
{
    QString m_strName;
    QByteArray m_picture;
    bool m_isBomb = true; // false: holds what it claims
};

struct sCost
{
    double m_ms = 0;  // from the bomb to the next picture that is shown
    double m_mib = 0; // the most that it added to the process
};

QString nameOf(const char *pKind, const QSize &size)
{
    return QStringLiteral("%1-%2x%3")
        .arg(QLatin1String(pKind))
        .arg(size.width())
        .arg(size.height());
}

// Nothing to compress in it.
QByteArray noisePicture(const QSize &size, bool isProgressive)
{
    QImage picture(size, QImage::Format_RGB32);
    std::mt19937 dice(1);
    for (int y = 0; y < size.height(); ++y) {
        auto *pPixel = reinterpret_cast<QRgb *>(picture.scanLine(y));
        for (int x = 0; x < size.width(); ++x)
            pPixel[x] = dice() | 0xff000000;
    }
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, "jpeg");
    writer.setProgressiveScanWrite(isProgressive);
    writer.setQuality(90);
    writer.write(picture);
    return bytes;
}

QByteArray savedPng(const QImage &picture)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    picture.save(&buffer, "png");
    return bytes;
}

// The most bytes to a pixel that there are, in almost none.
QByteArray emptyPng(const QSize &size)
{
    QImage picture(size, QImage::Format_RGBA64);
    picture.fill(Qt::transparent);
    return savedPng(picture);
}

QList<sBomb> allBombs()
{
    QList<sBomb> bombs;
    for (const QSize &size : {QSize(65500, 65500), QSize(30000, 30000), QSize(4096, 4097)}) {
        for (const char *pFormat : {"jpeg", "png", "bmp", "gif", "ppm"})
            bombs.append({nameOf(pFormat, size), dimensionBomb(pFormat, size)});
    }
    for (const QSize &size : {QSize(4096, 4096), QSize(65500, 256), QSize(256, 65500)}) {
        for (const char *pFormat : {"jpeg", "png", "bmp", "gif", "ppm"})
            bombs.append({nameOf(pFormat, size), dimensionBomb(pFormat, size)});
    }
    bombs.append({QStringLiteral("scans-5000"), scanBomb(5000, QSize(4000, 4000))});
    bombs.append({QStringLiteral("scans-17-of-4096x4096"), scanBomb(17, QSize(4096, 4096))});
    bombs.append({QStringLiteral("scans-16-of-4096x4096"), scanBomb(16, QSize(4096, 4096))});
    bombs.append({QStringLiteral("scans-129-of-1920x1080"), scanBomb(129, QSize(1920, 1080))});
    bombs.append({QStringLiteral("scans-20000-of-64x48"), scanBomb(20000, QSize(64, 48))});
    bombs.append({QStringLiteral("texts-900-of-a-png"), textBomb(900)});
    for (const QSize &size : {QSize(4096, 4096), QSize(4096, 2048)})
        bombs.append({nameOf("png-of-16-bits", size), emptyPng(size)});
    bombs.append(
        {QStringLiteral("noise-4096x4096"), noisePicture(QSize(4096, 4096), false), false});
    bombs.append(
        {QStringLiteral("noise-in-scans-4096x4096"), noisePicture(QSize(4096, 4096), true), false});
    return bombs;
}

QStringList namesOf(const QList<sBomb> &bombs)
{
    QStringList names;
    for (const sBomb &bomb : bombs)
        names.append(bomb.m_strName);
    return names;
}

// From now on peakMemory() tells the most since now.
void forgetPeak()
{
    malloc_trim(0);
    QFile file(QStringLiteral("/proc/self/clear_refs"));
    if (!file.open(QIODevice::WriteOnly) || file.write("5") != 1)
        std::fprintf(stderr, "the peak of the memory cannot be reset\n");
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

// Nothing if the bomb was not taken, or no picture is shown afterwards.
std::optional<sCost> costOf(const sBomb &bomb)
{
    MjpegServer server;
    ReaderProbe probe(server.port());
    if (!probe.connectTo(server))
        return std::nullopt;
    server.send(colorPart(Qt::red));
    if (!waitFor([&] { return probe.isShowing(Qt::red); }) || !ReaderProbe::waitForGate())
        return std::nullopt;
    const QByteArray good = colorPart(Qt::green);
    const QByteArray part = mjpegPart(bomb.m_picture);
    forgetPeak();
    const qint64 nMemoryBefore = residentMemory();
    QElapsedTimer timer;
    timer.start();
    server.send(part);
    if (!waitFor([&] { return probe.isFrameNull() || !probe.isShowing(Qt::red); }))
        return std::nullopt;
    server.stream(good, 5);
    if (!waitFor([&] { return probe.isShowing(Qt::green); }))
        return std::nullopt;
    return sCost{double(timer.nsecsElapsed()) / 1e6, double(peakMemory() - nMemoryBefore) / MiB};
}

bool limitAddressSpace()
{
    const rlimit limit{AddressSpace, AddressSpace};
    return setrlimit(RLIMIT_AS, &limit) == 0;
}

// False where the bomb was not taken, or no picture shown afterwards.
bool measure(const sBomb &bomb, const sEnduranceOptions &options, BoundTable &table)
{
    QList<double> times;
    QList<double> sizes;
    for (int i = 0; i < options.m_nCount; ++i) {
        const std::optional<sCost> cost = costOf(bomb);
        if (!cost)
            return false;
        times.append(cost->m_ms);
        sizes.append(cost->m_mib);
    }
    const QString strNote = QStringLiteral("median %1, adds at most %2 MiB; %3 bytes")
                                .arg(percentileOf(times, 50), 0, 'f', 0)
                                .arg(worstOf(sizes), 0, 'f', 0)
                                .arg(bomb.m_picture.size());
    if (!bomb.m_isBomb) {
        table.tell(bomb.m_strName, worstOf(times), QStringLiteral("ms"), strNote);
        return true;
    }
    table.add(
        {bomb.m_strName, worstOf(times), MostMs * options.m_slack, QStringLiteral("ms"), strNote});
    if (worstOf(sizes) > MostMiB && !IsSanitized)
        table.add({bomb.m_strName, worstOf(sizes), MostMiB, QStringLiteral("MiB"), QString()});
    return true;
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication app(argc, argv);
    const QList<sBomb> bombs = allBombs();
    const QCommandLineOption limited(QStringLiteral("limited"),
                                     QStringLiteral("Give the process 2 GiB of addresses only."));
    const sEnduranceOptions options = readEnduranceOptions(
        QStringLiteral(
            "Measures how long it takes from a picture that claims more than it holds to "
            "the next one that is shown, 80 ms at least, and what memory that takes."),
        QStringLiteral("Times that each is sent"), 10, namesOf(bombs), {limited});
    if (!options.m_flags.isEmpty() && !limitAddressSpace()) {
        std::perror("the address space cannot be limited");
        return 1;
    }
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});

    BoundTable table;
    for (const sBomb &bomb : bombs) {
        if (!options.m_selected.isEmpty() && !options.m_selected.contains(bomb.m_strName))
            continue;
        if (!measure(bomb, options, table)) {
            std::fprintf(stderr, "%s: no picture is shown after it\n", qPrintable(bomb.m_strName));
            return 1;
        }
    }
    table.print();
    return table.exitStatus();
}
