// The simulated device where it delivers without a network: shared memory and raw YUV files.

#include "picturecompare.h"

#include <echolayout.h>
#include <echopainter.h>
#include <shm_cap.h>
#include <tilestamp.h>
#include <yuvconversion_p.h>

#include <QDateTime>
#include <QFile>
#include <QProcess>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/mman.h>

#include <csignal>

using namespace Morvek::EchoVideo::Internal;
using namespace Morvek::Tools;

namespace {

constexpr int Patience = 60000; // ms
constexpr int FrameBytes = 1920 * 1080 * 3 / 2;
constexpr int Tiles = 9;

/** A device as a process; its output is complete once it has ended. */
class DeviceProcess
{
public:
    explicit DeviceProcess(const QStringList &arguments)
    {
        m_process.start(QStringLiteral(ECHODEVICE_PROGRAM),
                        arguments
                            + QStringList({QStringLiteral("--tiles"), QString::number(Tiles)}));
        while (!m_process.canReadLine() && m_process.waitForReadyRead(Patience)) {}
        m_strFirstLine = QString::fromLocal8Bit(m_process.readLine()).trimmed();
    }

    ~DeviceProcess()
    {
        m_process.terminate();
        if (!m_process.waitForFinished(Patience))
            m_process.kill();
    }

    QString firstLine() const { return m_strFirstLine; }

    /** Exit status, -1 if it crashed or does not end. */
    int end()
    {
        m_process.terminate();
        return waitForEnd();
    }

    int waitForEnd()
    {
        const bool hasEnded =
            m_process.state() == QProcess::NotRunning || m_process.waitForFinished(Patience);
        return hasEnded && m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode()
                                                                          : -1;
    }

    void kill()
    {
        m_process.kill();
        m_process.waitForFinished(Patience);
    }

    QString errors() { return QString::fromLocal8Bit(m_process.readAllStandardError()); }

private:
    QProcess m_process;
    QString m_strFirstLine;
};

/** The frame that the capture library delivers now; null if there is none. */
QImage capturedFrame()
{
    QImage frame(EchoPictureSize, QImage::Format_RGB888);
    const int nBytes = int(frame.sizeInBytes());
    return cap_get_framebuffer_data(frame.bits(), nBytes) == nBytes ? frame : QImage();
}

/** Numbers of the inputs that the stamps of all tiles tell; -1 for one that is not legible. */
QList<int> stampedInputs(const QImage &picture)
{
    QList<int> inputs;
    for (int i = 0; i < Tiles; ++i) {
        const auto stamp =
            readTileStamp(picture, QRectF(tileRect(Tiles, i)), QDateTime::currentMSecsSinceEpoch());
        inputs.append(stamp ? stamp->m_nInput : -1);
    }
    return inputs;
}

const QList<int> AllInputs = {0, 1, 2, 3, 4, 5, 6, 7, 8};

quint32 stampedFrame(const QImage &picture)
{
    const auto stamp =
        readTileStamp(picture, QRectF(tileRect(Tiles, 0)), QDateTime::currentMSecsSinceEpoch());
    return stamp ? stamp->m_nFrame : ~0u;
}

QImage fromYuv(const QByteArray &frame)
{
    QImage picture(EchoPictureSize, QImage::Format_RGB32);
    convertYUV420ToRGB({reinterpret_cast<const uchar *>(frame.constData()), 1920, 1080},
                       picture.bits(), picture.bytesPerLine(), eYuvForm::Plain);
    return picture;
}

} // namespace

class TestEchoDeviceLocal : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void captureDeliversEveryInput();
    void captureGoesOnToNewFrames();
    void captureIsRemovedAtTheEnd();
    void aSecondProducerOfTheSameNameIsRefused();
    void aKilledProducerIsReplaced();
    void captureRunsBesideTheStream();
    void captureEndsAfterItsFrames();

    void fileHoldsEveryFrameInOrder();
    void filePicturesAreThoseOfThePainter();
    void fileNeedsANumberOfFrames();
    void aFileThatCannotBeWrittenIsAFailure_data();
    void aFileThatCannotBeWrittenIsAFailure();
    void fileIsWrittenBesideTheStream();

private:
    QString m_strName; // of the shared memory
    QTemporaryDir m_folder;
};

void TestEchoDeviceLocal::init()
{
    m_strName = QStringLiteral("/morvek_test_%1").arg(QCoreApplication::applicationPid());
    qputenv("MORVEK_SHM_CAP_NAME", m_strName.toLocal8Bit());
}

void TestEchoDeviceLocal::captureDeliversEveryInput()
{
    QCOMPARE(cap_framebuffer_init(0), -1);
    DeviceProcess device({QStringLiteral("--shm"), QStringLiteral("--shm-name"), m_strName});
    QCOMPARE(device.firstLine(), QStringLiteral("writing to shared memory ") + m_strName);
    QTRY_COMPARE_WITH_TIMEOUT(cap_framebuffer_init(0), 0, Patience);
    QImage frame;
    QTRY_VERIFY_WITH_TIMEOUT(!(frame = capturedFrame()).isNull(), Patience);
    QCOMPARE(stampedInputs(frame), AllInputs);
}

void TestEchoDeviceLocal::captureGoesOnToNewFrames()
{
    DeviceProcess device({QStringLiteral("--shm")});
    QImage frame;
    QTRY_VERIFY_WITH_TIMEOUT(!(frame = capturedFrame()).isNull(), Patience);
    const quint32 nFirst = stampedFrame(frame);
    QTRY_VERIFY_WITH_TIMEOUT(stampedFrame(capturedFrame()) > nFirst + 2, Patience);
}

void TestEchoDeviceLocal::captureIsRemovedAtTheEnd()
{
    DeviceProcess device({QStringLiteral("--shm")});
    QTRY_COMPARE_WITH_TIMEOUT(cap_framebuffer_init(0), 0, Patience);
    QCOMPARE(device.end(), 0);
    QCOMPARE(cap_framebuffer_init(0), -1);
    QVERIFY(!QFile::exists(QStringLiteral("/dev/shm") + m_strName));
}

void TestEchoDeviceLocal::aSecondProducerOfTheSameNameIsRefused()
{
    DeviceProcess device({QStringLiteral("--shm")});
    QTRY_COMPARE_WITH_TIMEOUT(cap_framebuffer_init(0), 0, Patience);
    DeviceProcess second({QStringLiteral("--shm")});
    QCOMPARE(second.waitForEnd(), 1);
    QVERIFY(second.errors().contains(QStringLiteral("another producer writes to shared memory")));
    QTRY_VERIFY_WITH_TIMEOUT(!capturedFrame().isNull(), Patience);
}

void TestEchoDeviceLocal::aKilledProducerIsReplaced()
{
    {
        DeviceProcess device({QStringLiteral("--shm")});
        QTRY_VERIFY_WITH_TIMEOUT(!capturedFrame().isNull(), Patience);
        device.kill();
    }
    QVERIFY(QFile::exists(QStringLiteral("/dev/shm") + m_strName));
    QCOMPARE(cap_framebuffer_init(0), -1);
    DeviceProcess next({QStringLiteral("--shm")});
    QTRY_VERIFY_WITH_TIMEOUT(!capturedFrame().isNull(), Patience);
}

void TestEchoDeviceLocal::captureRunsBesideTheStream()
{
    DeviceProcess device({QStringLiteral("--shm"), QStringLiteral("--port"), QStringLiteral("0")});
    const QString strStart = QStringLiteral("listening on 127.0.0.1:");
    QVERIFY2(device.firstLine().startsWith(strStart), qPrintable(device.firstLine()));
    QTcpSocket client;
    client.connectToHost(QStringLiteral("127.0.0.1"),
                         device.firstLine().mid(strStart.size()).toUShort());
    QByteArray received;
    QTRY_VERIFY_WITH_TIMEOUT((received += client.readAll()).count("Content-Length: ") >= 2,
                             Patience);
    QTRY_VERIFY_WITH_TIMEOUT(!capturedFrame().isNull(), Patience);
}

void TestEchoDeviceLocal::captureEndsAfterItsFrames()
{
    DeviceProcess device(
        {QStringLiteral("--shm"), QStringLiteral("--frames"), QStringLiteral("3")});
    QCOMPARE(device.waitForEnd(), 0);
    QCOMPARE(cap_framebuffer_init(0), -1);
}

void TestEchoDeviceLocal::fileHoldsEveryFrameInOrder()
{
    const QString strFile = m_folder.filePath(QStringLiteral("frames.yuv"));
    DeviceProcess device(
        {QStringLiteral("--yuv"), strFile, QStringLiteral("--frames"), QStringLiteral("5")});
    QCOMPARE(device.firstLine(), QStringLiteral("writing to ") + strFile);
    QCOMPARE(device.waitForEnd(), 0);

    QFile file(strFile);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.size(), qint64(5) * FrameBytes);
    for (quint32 nFrame = 0; nFrame < 5; ++nFrame) {
        const QImage picture = fromYuv(file.read(FrameBytes));
        QCOMPARE(stampedInputs(picture), AllInputs);
        QCOMPARE(stampedFrame(picture), nFrame);
    }
}

void TestEchoDeviceLocal::filePicturesAreThoseOfThePainter()
{
    const QString strFile = m_folder.filePath(QStringLiteral("colours.yuv"));
    DeviceProcess device(
        {QStringLiteral("--yuv"), strFile, QStringLiteral("--frames"), QStringLiteral("1")});
    QCOMPARE(device.waitForEnd(), 0);
    QFile file(strFile);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QImage picture = fromYuv(file.readAll());

    const auto stamp =
        readTileStamp(picture, QRectF(tileRect(Tiles, 0)), QDateTime::currentMSecsSinceEpoch());
    QVERIFY(stamp);
    EchoPainter painter(Tiles);
    // Colour is kept at half the resolution, so edges differ; on average hardly anything does. With
    // the two planes of colour exchanged the mean is above 30.
    const double difference =
        Morvek::Tests::meanDifference(picture, painter.paint(0, stamp->m_nTimeMs));
    QVERIFY2(difference < 4, qPrintable(QString::number(difference)));
}

void TestEchoDeviceLocal::fileNeedsANumberOfFrames()
{
    DeviceProcess device({QStringLiteral("--yuv"), m_folder.filePath(QStringLiteral("x.yuv"))});
    QCOMPARE(device.waitForEnd(), 2);
    QVERIFY(device.errors().contains(QStringLiteral("--frames")));
}

void TestEchoDeviceLocal::aFileThatCannotBeWrittenIsAFailure_data()
{
    QTest::addColumn<QString>("strFile");
    QTest::newRow("folder that is not there") << QStringLiteral("/nonexistent/x.yuv");
    QTest::newRow("full device") << QStringLiteral("/dev/full");
}

void TestEchoDeviceLocal::aFileThatCannotBeWrittenIsAFailure()
{
    QFETCH(QString, strFile);
    DeviceProcess device(
        {QStringLiteral("--yuv"), strFile, QStringLiteral("--frames"), QStringLiteral("2")});
    QCOMPARE(device.waitForEnd(), 1);
    QVERIFY(device.errors().contains(strFile));
}

void TestEchoDeviceLocal::fileIsWrittenBesideTheStream()
{
    const QString strFile = m_folder.filePath(QStringLiteral("beside.yuv"));
    DeviceProcess device({QStringLiteral("--yuv"), strFile, QStringLiteral("--frames"),
                          QStringLiteral("4"), QStringLiteral("--port"), QStringLiteral("0")});
    const QString strStart = QStringLiteral("listening on 127.0.0.1:");
    QVERIFY(device.firstLine().startsWith(strStart));
    QTcpSocket client;
    client.connectToHost(QStringLiteral("127.0.0.1"),
                         device.firstLine().mid(strStart.size()).toUShort());
    QByteArray received;
    QTRY_VERIFY_WITH_TIMEOUT((received += client.readAll()).count("Content-Length: ") == 4,
                             Patience);
    QCOMPARE(device.waitForEnd(), 0);
    QCOMPARE(QFile(strFile).size(), qint64(4) * FrameBytes);
}

QTEST_GUILESS_MAIN(TestEchoDeviceLocal)
#include "tst_echodevice_local.moc"
