#include "mjpegserver.h"
#include "picturecompare.h"
#include "testpictures.h"

#include <QGuiApplication>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

using namespace Morvek::Tests;

class TestFirstPreview : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void savesThePictureOfTheFirstInput();
    void failsWhereItCannotWrite();

private:
    static int run(quint16 nPort, const QString &strFile);
};

// Returns the program's exit status, -1 if it crashed or did not end.
int TestFirstPreview::run(quint16 nPort, const QString &strFile)
{
    QProcess program;
    program.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    program.start(QStringLiteral(FIRST_PREVIEW_PROGRAM),
                  {QStringLiteral("127.0.0.1"), QString::number(nPort), strFile});
    const bool hasEnded = program.waitForFinished(60000);
    return hasEnded && program.exitStatus() == QProcess::NormalExit ? program.exitCode() : -1;
}

void TestFirstPreview::savesThePictureOfTheFirstInput()
{
    const QTemporaryDir folder;
    const QString strFile = folder.filePath(QStringLiteral("preview.png"));
    const QByteArray jpeg = jpegBytes(gradientPicture(QSize(1920, 1080)));
    MjpegServer device;
    device.stream(mjpegPart(jpeg), 100);

    QCOMPARE(run(device.port(), strFile), 0);

    // The layer shows the top-left 480 x 270 pixels, each third pixel of two dropped.
    const QImage picture = QImage::fromData(jpeg).copy(0, 0, 480, 270);
    QImage expected(320, 180, QImage::Format_ARGB32);
    for (int y = 0; y < 180; ++y) {
        for (int x = 0; x < 320; ++x)
            expected.setPixel(x, y, picture.pixel((2 * x + 1) * 3 / 4, (2 * y + 1) * 3 / 4));
    }
    COMPARE_PICTURES(QImage(strFile), expected);
}

void TestFirstPreview::failsWhereItCannotWrite()
{
    MjpegServer device;
    device.stream(mjpegPart(jpegBytes(gradientPicture(QSize(1920, 1080)))), 100);

    QCOMPARE(run(device.port(), QStringLiteral("/nonexistent/preview.png")), 1);
}

QTEST_GUILESS_MAIN(TestFirstPreview)
#include "tst_firstpreview.moc"
