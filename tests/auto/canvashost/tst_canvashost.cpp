#include "mjpegserver.h"
#include "testpictures.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

using namespace Morvek::Tests;

namespace {

constexpr int RunMs = 6000; // long enough to come back after being offline

struct sRun
{
    int m_nExitStatus = -1; // -1: crashed, or did not end
    qint64 m_nMs = 0;
};

sRun run(quint16 nPort, const QString &strFile, int nRunMs)
{
    QProcess program;
    program.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    QElapsedTimer clock;
    clock.start();
    program.start(
        QStringLiteral(CANVAS_HOST_PROGRAM),
        {QStringLiteral("127.0.0.1"), QString::number(nPort), strFile, QString::number(nRunMs)});
    const bool hasEnded = program.waitForFinished(60000);
    sRun result;
    if (hasEnded && program.exitStatus() == QProcess::NormalExit)
        result.m_nExitStatus = program.exitCode();
    result.m_nMs = clock.elapsed();
    return result;
}

/** The picture scaled by three, as the library does it. */
QImage scaledTile(const QImage &picture, int nLeft, int nTop)
{
    return picture.copy(nLeft, nTop, 960, 540).scaled(320, 180);
}

int greatestDifference(const QImage &left, const QImage &right)
{
    int nGreatest = 0;
    for (int y = 0; y < left.height(); ++y) {
        for (int x = 0; x < left.width(); ++x) {
            const QRgb first = left.pixel(x, y);
            const QRgb other = right.pixel(x, y);
            nGreatest = qMax(nGreatest, qAbs(qRed(first) - qRed(other)));
            nGreatest = qMax(nGreatest, qAbs(qGreen(first) - qGreen(other)));
            nGreatest = qMax(nGreatest, qAbs(qBlue(first) - qBlue(other)));
        }
    }
    return nGreatest;
}

} // namespace

class TestCanvasHost : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void savesACanvasThatIsLiveAgainAfterBeingOffline();
    void endsAtOnceWithoutADevice();
};

void TestCanvasHost::savesACanvasThatIsLiveAgainAfterBeingOffline()
{
    const QTemporaryDir folder;
    const QString strFile = folder.filePath(QStringLiteral("canvas.png"));
    QImage picture(1920, 1080, QImage::Format_RGB32);
    picture.fill(QColor(200, 40, 40));
    for (int y = 0; y < 540; ++y) {
        for (int x = 0; x < 960; ++x)
            picture.setPixel(960 + x, 540 + y, x < 480 ? qRgb(255, 255, 255) : qRgb(0, 0, 0));
    }
    const QByteArray jpeg = jpegBytes(picture, 100);
    MjpegServer device;
    device.stream(mjpegPart(jpeg), 100);

    const sRun result = run(device.port(), strFile, RunMs);
    QCOMPARE(result.m_nExitStatus, 0);
    QVERIFY2(device.acceptedCount() >= 2, "it went offline, and connected again");
    const QImage canvas(strFile);
    QCOMPARE(canvas.size(), QSize(700, 220));
    const QImage sent = QImage::fromData(jpeg);
    QVERIFY(greatestDifference(canvas.copy(20, 20, 320, 180), scaledTile(sent, 0, 0)) <= 4);
    // The second layer is mirrored and without colour: what was white on the left is on the right.
    QCOMPARE(canvas.pixelColor(360 + 40, 110).lightness() < 20, true);
    QCOMPARE(canvas.pixelColor(360 + 280, 110).lightness() > 235, true);
}

void TestCanvasHost::endsAtOnceWithoutADevice()
{
    const QTemporaryDir folder;
    quint16 nPort = 0;
    {
        MjpegServer device;
        nPort = device.port();
    }
    const sRun result = run(nPort, folder.filePath(QStringLiteral("canvas.png")), 1000);
    QCOMPARE(result.m_nExitStatus, 0);
    QVERIFY2(result.m_nMs < 20000, "an end must not wait for a device that is away");
}

QTEST_GUILESS_MAIN(TestCanvasHost)
#include "tst_canvashost.moc"
