// The hand-over from the reader thread to the decoder, step by step and on the test's own thread.

#include <pixmapreaderremotemjpeg_p.h>

#include <picturecompare.h>
#include <testpictures.h>

#include <QSemaphore>
#include <QTime>
#include <QtTest>

#include <future>
#include <mutex>

using namespace Morvek::EchoVideo::Internal;
using namespace Morvek::Tests;

namespace {

const QByteArray Part = "Content-Length: 4\r\n\r\nABCD";

// Hands a picture over so long after the last one, to the millisecond; false if the clock has gone
// on meanwhile, and nothing can be said.
bool handOverAfter(RemoteMJPEGReader &reader, int nMs)
{
    ReceiveBuffer buffer = Part;
    reader.m_MJPEGBuffer.clear();
    const QTime now = QTime::currentTime();
    reader.m_time = now.addMSecs(-nMs);
    reader.getVideoData(buffer, buffer.size());
    return QTime::currentTime() == now;
}

// Holds a mutex on another thread while it lives.
class ElsewhereLocked
{
public:
    explicit ElsewhereLocked(std::mutex &mutex)
        : m_end(std::async(std::launch::async, [this, &mutex] {
            std::lock_guard<std::mutex> lck(mutex);
            m_isLocked.release();
            m_isOver.acquire();
        }))
    {
        m_isLocked.acquire();
    }
    ~ElsewhereLocked() { m_isOver.release(); }

private:
    QSemaphore m_isLocked;
    QSemaphore m_isOver;
    std::future<void> m_end;
};

bool isLongAgo(const QTime &time)
{
    constexpr int SecondsPerDay = 24 * 60 * 60;
    return (time.secsTo(QTime::currentTime()) + SecondsPerDay) % SecondsPerDay > 1800;
}

} // namespace

class TestMjpegReaderHandOver : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void gateOpensAbove79Ms_data();
    void gateOpensAbove79Ms();
    void clockThatWasSetBackDoesNotCloseTheGate();
    void handOverRestartsTheTime();
    void pictureTooSoonIsRemovedWithoutRestartingTheTime();
    void busyDecoderIsNotWaitedFor();
    void incompletePictureIsNotHandedOver();
    void emptyPictureRestartsTheTime();
    void secondHandOverIsAppended();
    void decoderIsGivenBothHandOversAsOneBlock();
    void decoderPublishesItsLastPictureAtEveryWakeUp();
    void failedDecodingLeavesANullPicture();
    void decoderEndsWhenAsked();
};

void TestMjpegReaderHandOver::gateOpensAbove79Ms_data()
{
    QTest::addColumn<int>("elapsed");
    QTest::addColumn<QByteArray>("handedOver");

    QTest::newRow("0 ms") << 0 << QByteArray();
    QTest::newRow("79 ms") << 79 << QByteArray();
    QTest::newRow("80 ms") << 80 << QByteArray("ABCD");
    QTest::newRow("an hour") << 3600000 << QByteArray("ABCD");
}

void TestMjpegReaderHandOver::gateOpensAbove79Ms()
{
    QFETCH(int, elapsed);
    QFETCH(QByteArray, handedOver);

    QImage image;
    RemoteMJPEGReader reader(image);
    QVERIFY(QTest::qWaitFor([&] { return handOverAfter(reader, elapsed); }));
    QCOMPARE(reader.m_MJPEGBuffer, handedOver);
}

void TestMjpegReaderHandOver::clockThatWasSetBackDoesNotCloseTheGate()
{
    QImage image;
    RemoteMJPEGReader reader(image);
    QVERIFY(QTest::qWaitFor([&] { return handOverAfter(reader, -3600000); }));
    QCOMPARE(reader.m_MJPEGBuffer, QByteArray("ABCD"));
}

void TestMjpegReaderHandOver::handOverRestartsTheTime()
{
    QImage image;
    RemoteMJPEGReader reader(image);
    reader.m_time = QTime::currentTime().addSecs(-3600);
    ReceiveBuffer buffer = Part + "rest";
    QCOMPARE(reader.getVideoData(buffer, buffer.size()), -1);
    QCOMPARE(reader.m_MJPEGBuffer, QByteArray("ABCD"));
    QCOMPARE(buffer.toByteArray(), QByteArray("rest"));
    QVERIFY(!isLongAgo(reader.m_time));
}

void TestMjpegReaderHandOver::pictureTooSoonIsRemovedWithoutRestartingTheTime()
{
    QImage image;
    RemoteMJPEGReader reader(image);
    ReceiveBuffer buffer;
    QTime lastHandOver;
    const auto dropInTime = [&] {
        buffer = Part + "rest";
        lastHandOver = QTime::currentTime();
        reader.m_time = lastHandOver;
        reader.m_MJPEGBuffer.clear();
        reader.getVideoData(buffer, buffer.size());
        return lastHandOver.msecsTo(QTime::currentTime()) < 80;
    };
    QVERIFY(QTest::qWaitFor(dropInTime));
    QVERIFY(reader.m_MJPEGBuffer.isEmpty());
    QCOMPARE(buffer.toByteArray(), QByteArray("rest"));
    QCOMPARE(reader.m_time, lastHandOver);
}

void TestMjpegReaderHandOver::busyDecoderIsNotWaitedFor()
{
    QImage image;
    RemoteMJPEGReader reader(image);
    const QTime lastHandOver = QTime::currentTime().addSecs(-3600);
    reader.m_time = lastHandOver;
    ReceiveBuffer buffer = Part + "rest";
    {
        const ElsewhereLocked decoder(reader.m_mtxQueueMJPEG);
        QCOMPARE(reader.getVideoData(buffer, buffer.size()), -1);
    }
    QVERIFY(reader.m_MJPEGBuffer.isEmpty());
    QCOMPARE(buffer.toByteArray(), QByteArray("rest"));
    QCOMPARE(reader.m_time, lastHandOver);

    buffer = Part;
    reader.getVideoData(buffer, buffer.size());
    QCOMPARE(reader.m_MJPEGBuffer, QByteArray("ABCD"));
}

void TestMjpegReaderHandOver::incompletePictureIsNotHandedOver()
{
    QImage image;
    RemoteMJPEGReader reader(image);
    const QTime lastHandOver = QTime::currentTime().addSecs(-3600);
    reader.m_time = lastHandOver;
    QByteArray before = "-" + Part;
    before.chop(1);
    ReceiveBuffer buffer = before;
    QCOMPARE(reader.getVideoData(buffer, buffer.size()), 1);
    QCOMPARE(buffer.toByteArray(), before);
    QVERIFY(reader.m_MJPEGBuffer.isEmpty());
    QCOMPARE(reader.m_time, lastHandOver);
}

void TestMjpegReaderHandOver::emptyPictureRestartsTheTime()
{
    QImage image;
    RemoteMJPEGReader reader(image);
    reader.m_time = QTime::currentTime().addSecs(-3600);
    ReceiveBuffer buffer = QByteArray("Content-Length: none\r\n\r\nrest");
    QCOMPARE(reader.getVideoData(buffer, buffer.size()), -1);
    QVERIFY(reader.m_MJPEGBuffer.isEmpty());
    QCOMPARE(buffer.toByteArray(), QByteArray("rest"));
    QVERIFY(!isLongAgo(reader.m_time));
}

void TestMjpegReaderHandOver::secondHandOverIsAppended()
{
    QImage image;
    RemoteMJPEGReader reader(image);
    for (const char *pPart : {"Content-Length: 3\r\n\r\nabc", "Content-Length: 2\r\n\r\nde"}) {
        ReceiveBuffer buffer = QByteArray(pPart);
        reader.m_time = QTime::currentTime().addSecs(-3600);
        reader.getVideoData(buffer, buffer.size());
    }
    QCOMPARE(reader.m_MJPEGBuffer, QByteArray("abcde"));
}

void TestMjpegReaderHandOver::decoderIsGivenBothHandOversAsOneBlock()
{
    QImage image;
    RemoteMJPEGReader reader(image);
    const QImage first = solidPicture(QSize(64, 48), Qt::darkRed);
    const QImage second = solidPicture(QSize(32, 24), Qt::darkBlue);
    reader.m_MJPEGBuffer = jpegBytes(first) + jpegBytes(second);
    QVERIFY(reader.startProcessMJPEGTask());
    const auto isDecoded = [&] {
        std::lock_guard<std::mutex> lck(reader.m_mtxQueueMJPEG);
        return reader.m_MJPEGBuffer.isEmpty();
    };
    QTRY_VERIFY(isDecoded());
    reader.stopProcessMJPEGTask();
    // The decoder reads the first picture of the block and passes over what lies behind it.
    const QString strDifference = pictureDifference(image, first, 4);
    QVERIFY2(strDifference.isEmpty(), qPrintable(strDifference));
}

void TestMjpegReaderHandOver::decoderPublishesItsLastPictureAtEveryWakeUp()
{
    QImage image = solidPicture(QSize(8, 8), Qt::yellow);
    RemoteMJPEGReader reader(image);
    reader.m_imagePrivate = solidPicture(QSize(4, 4), Qt::cyan);
    QVERIFY(reader.startProcessMJPEGTask());
    const auto isPublished = [&] {
        reader.m_cvQueueMJEPG.notify_all();
        std::lock_guard<std::mutex> lck(reader.m_mtxMapInputVideo);
        return image.size() == QSize(4, 4);
    };
    QTRY_VERIFY(isPublished());
    reader.stopProcessMJPEGTask();
    COMPARE_PICTURES(image, solidPicture(QSize(4, 4), Qt::cyan));
}

void TestMjpegReaderHandOver::failedDecodingLeavesANullPicture()
{
    QImage image = solidPicture(QSize(8, 8), Qt::yellow);
    RemoteMJPEGReader reader(image);
    reader.m_MJPEGBuffer = "no picture";
    QVERIFY(reader.startProcessMJPEGTask());
    const auto isPublished = [&] {
        std::lock_guard<std::mutex> lck(reader.m_mtxMapInputVideo);
        return image.isNull();
    };
    QTRY_VERIFY(isPublished());
    reader.stopProcessMJPEGTask();
    QVERIFY(reader.m_imagePrivate.isNull());
    QVERIFY(reader.m_MJPEGBuffer.isEmpty());
}

void TestMjpegReaderHandOver::decoderEndsWhenAsked()
{
    QImage image;
    RemoteMJPEGReader reader(image);
    QVERIFY(reader.startProcessMJPEGTask());
    QVERIFY(reader.m_processerIsRunning);
    QVERIFY(!reader.m_isStopProcesser);
    reader.stopProcessMJPEGTask();
    QVERIFY(!reader.m_processerIsRunning);
    QVERIFY(reader.m_isStopProcesser);
}

QTEST_GUILESS_MAIN(TestMjpegReaderHandOver)
#include "tst_mjpegreader_handover.moc"
