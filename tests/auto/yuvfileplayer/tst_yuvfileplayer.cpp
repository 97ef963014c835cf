// The pieces of the YUV reader, each by itself: the file's position, the stripes, the rate message.

#include <pixmapreaderlocalyuv_p.h>

#include "localreaderprobe.h"
#include "logcapture.h"
#include "picturecompare.h"
#include "testpictures.h"
#include "yuvpictures.h"

#include <QDateTime>
#include <QFile>
#include <QSet>
#include <QTemporaryDir>
#include <QtTest>

#include <array>
#include <numeric>

using namespace Morvek::Tests;
using Morvek::EchoVideo::Internal::drawRandomStripes;
using Morvek::EchoVideo::Internal::drawStripes;
using Morvek::EchoVideo::Internal::PassRateLog;
using Morvek::EchoVideo::Internal::YuvFilePlayer;

namespace {

constexpr int Passes = 1000;

QImage grayPicture()
{
    QImage picture(1920, 1080, QImage::Format_RGB32);
    picture.fill(Qt::gray);
    return picture;
}

void countPasses(PassRateLog &rateLog, int nPasses)
{
    for (int i = 0; i < nPasses; ++i)
        rateLog.countPass();
}

} // namespace

class TestYuvFilePlayer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void theTestFramesDiffer();
    void playbackStartsAgainAtTheEnd_data();
    void playbackStartsAgainAtTheEnd();
    void aPictureThatIsSharedIsNotWrittenInto();
    void aPictureKeepsItsOtherCopiesIntactWhenTheFileIsCut();

    void theRateIsLoggedAfterAThousandPasses_data();
    void theRateIsLoggedAfterAThousandPasses();
    void noRateIsLoggedForLessThanASecond();
    void theCountOfPassesStartsAgain();

    void stripesAreDrawnColumnByColumn_data();
    void stripesAreDrawnColumnByColumn();
    void coloursAreDrawnInOrder();
    void randomStripesUseEveryComponent_data();
    void randomStripesUseEveryComponent();
    void aNullPictureStaysNull();

private:
    QString filePath() const { return m_folder.filePath(QStringLiteral("echo.yuv")); }

    QTemporaryDir m_folder;
};

void TestYuvFilePlayer::initTestCase()
{
    QVERIFY(m_folder.isValid());
}

void TestYuvFilePlayer::cleanup()
{
    QFile::remove(filePath());
}

// What the tests of the file tell frames apart by.
void TestYuvFilePlayer::theTestFramesDiffer()
{
    QSet<QRgb> pixels{yuvPixel({0, 0, 0}), qRgb(0, 0, 0)};
    for (int i = 0; i < 256; ++i)
        pixels.insert(yuvPixel(yuvColor(i)));
    QCOMPARE(pixels.size(), 258);
}

void TestYuvFilePlayer::playbackStartsAgainAtTheEnd_data()
{
    QTest::addColumn<int>("nFrames");
    QTest::addColumn<int>("nLastFrame");
    QTest::newRow("300 frames") << 300 << 299;
    QTest::newRow("as many as fit a 32-bit position") << 691 << 690;
    QTest::newRow("one more than fits") << 692 << 690;
    QTest::newRow("far more than fit") << 900 << 690;
}

void TestYuvFilePlayer::playbackStartsAgainAtTheEnd()
{
    QFETCH(int, nFrames);
    QFETCH(int, nLastFrame);
    const QList<int> frames{0, 1, nLastFrame - 1, nLastFrame};
    QVERIFY(writeSparseYuvFile(filePath(), nFrames, frames + QList<int>{nFrames - 1}));
    YuvFilePlayer player(filePath());
    QVERIFY(player.isValid());
    QCOMPARE(player.m_nFrames, nFrames);
    QImage picture = grayPicture();
    const QList<int> expected{0, 1, nLastFrame - 1, nLastFrame, 0, 1};
    for (int i = 0; i < expected.size(); ++i) {
        if (i == 2)
            player.m_nFrameIndex = nLastFrame - 1; // all between would take long
        QVERIFY(player.readFrame(picture));
        QVERIFY(isUniform(picture));
        QCOMPARE(picture.pixel(0, 0), yuvPixel(yuvColor(expected[i] % 256)));
    }
}

void TestYuvFilePlayer::aPictureThatIsSharedIsNotWrittenInto()
{
    QVERIFY(writeYuvFile(filePath(), 2));
    YuvFilePlayer player(filePath());
    QImage picture = grayPicture();
    QVERIFY(player.readFrame(picture));
    const QImage held = picture;
    QVERIFY(player.readFrame(picture));
    QCOMPARE(held.pixel(0, 0), yuvPixel(yuvColor(0)));
    QCOMPARE(picture.pixel(0, 0), yuvPixel(yuvColor(1)));
    QVERIFY(isUniform(held));
    QVERIFY(isUniform(picture));
}

void TestYuvFilePlayer::aPictureKeepsItsOtherCopiesIntactWhenTheFileIsCut()
{
    QVERIFY(writeYuvFile(filePath(), 2));
    YuvFilePlayer player(filePath());
    QVERIFY(QFile::resize(filePath(), 0));
    QImage picture = grayPicture();
    QVERIFY(player.readFrame(picture));
    QVERIFY(player.readFrame(picture));
    COMPARE_PICTURES(picture, grayPicture());
    QVERIFY(writeYuvFile(filePath(), 2)); // the file is whole again
    QVERIFY(player.readFrame(picture));
    QCOMPARE(picture.pixel(0, 0), yuvPixel(yuvColor(0)));
}

void TestYuvFilePlayer::theRateIsLoggedAfterAThousandPasses_data()
{
    QTest::addColumn<int>("nTenths");
    QTest::addColumn<QString>("strRate");
    QTest::newRow("40 seconds") << 405 << QStringLiteral("25");
    QTest::newRow("a second and a half") << 15 << QStringLiteral("1000");
    QTest::newRow("three seconds: no fraction") << 35 << QStringLiteral("333");
    QTest::newRow("less than a pass a second") << 11005 << QStringLiteral("0");
}

void TestYuvFilePlayer::theRateIsLoggedAfterAThousandPasses()
{
    QFETCH(int, nTenths);
    QFETCH(QString, strRate);
    const LogCapture log;
    PassRateLog rateLog;
    countPasses(rateLog, Passes - 1);
    QCOMPARE(log.lines().size(), 0);
    rateLog.m_dtStartTime = QDateTime::currentDateTime().addMSecs(-100 * qint64(nTenths));
    rateLog.countPass();
    QCOMPARE(log.lines().size(), 1);
    QCOMPARE(log.lines()[0].m_eType, QtDebugMsg);
    QCOMPARE(log.lines()[0].m_strText, QStringLiteral("read local yuv file fps ") + strRate);
}

void TestYuvFilePlayer::noRateIsLoggedForLessThanASecond()
{
    const LogCapture log;
    PassRateLog rateLog;
    countPasses(rateLog, Passes - 1);
    rateLog.m_dtStartTime = QDateTime::currentDateTime().addMSecs(500);
    rateLog.countPass();
    QCOMPARE(log.lines().size(), 0);
    QCOMPARE(rateLog.m_nPasses, 0);
}

void TestYuvFilePlayer::theCountOfPassesStartsAgain()
{
    const LogCapture log;
    PassRateLog rateLog;
    for (int i = 1; i <= 3; ++i) {
        const QDateTime dtBefore = QDateTime::currentDateTime();
        rateLog.countPass();
        QVERIFY(rateLog.m_dtStartTime >= dtBefore); // measured anew
        rateLog.m_dtStartTime = rateLog.m_dtStartTime.addSecs(-100);
        countPasses(rateLog, Passes - 2);
        QCOMPARE(log.lines().size(), i - 1);
        rateLog.countPass();
        QCOMPARE(log.lines().size(), i);
    }
}

void TestYuvFilePlayer::stripesAreDrawnColumnByColumn_data()
{
    QTest::addColumn<QImage::Format>("eFormat");
    QTest::newRow("RGB32") << QImage::Format_RGB32;
    QTest::newRow("ARGB32") << QImage::Format_ARGB32;
    QTest::newRow("ARGB32, premultiplied") << QImage::Format_ARGB32_Premultiplied;
}

void TestYuvFilePlayer::stripesAreDrawnColumnByColumn()
{
    QFETCH(QImage::Format, eFormat);
    const QSize size(40, 5);
    // Another number at each call, so that a swapped or left out one shows.
    const auto component = [](int nCall) { return (nCall * 37 + nCall / 256) % 256; };
    int nCalls = 0;
    QImage picture(size, eFormat);
    drawStripes(picture, [&] { return component(nCalls++); });
    QCOMPARE(nCalls, 4 * size.width());

    QImage expected(size, eFormat);
    for (int x = 0; x < size.width(); ++x) {
        const QColor color(component(4 * x), component(4 * x + 1), component(4 * x + 2),
                           component(4 * x + 3));
        for (int y = 0; y < size.height(); ++y)
            expected.setPixelColor(x, y, color);
    }
    QCOMPARE(picture.format(), eFormat);
    QVERIFY(picture == expected);
}

void TestYuvFilePlayer::coloursAreDrawnInOrder()
{
    QImage picture(2, 2, QImage::Format_ARGB32);
    int nNext = 0;
    drawStripes(picture, [&] { return nNext += 10; });
    for (int y = 0; y < 2; ++y) {
        QCOMPARE(picture.pixel(0, y), qRgba(10, 20, 30, 40));
        QCOMPARE(picture.pixel(1, y), qRgba(50, 60, 70, 80));
    }
}

void TestYuvFilePlayer::randomStripesUseEveryComponent_data()
{
    QTest::addColumn<QImage::Format>("eFormat");
    QTest::newRow("RGB32: opaque") << QImage::Format_RGB32;
    QTest::newRow("ARGB32: translucent") << QImage::Format_ARGB32;
}

// 1920 draws of each component: each value is expected 7.5 times. A value far from its share means
// that the draws are not uniform over 0 to 255.
void TestYuvFilePlayer::randomStripesUseEveryComponent()
{
    QFETCH(QImage::Format, eFormat);
    constexpr int Columns = 1920;
    QImage picture(Columns, 2, eFormat);
    drawRandomStripes(picture);
    std::array<std::array<int, 256>, 4> counts{};
    for (int x = 0; x < Columns; ++x) {
        const QRgb pixel = picture.pixel(x, 0);
        QCOMPARE(picture.pixel(x, 1), pixel);
        ++counts[0][size_t(qRed(pixel))];
        ++counts[1][size_t(qGreen(pixel))];
        ++counts[2][size_t(qBlue(pixel))];
        ++counts[3][size_t(qAlpha(pixel))];
    }
    const bool hasAlpha = eFormat == QImage::Format_ARGB32;
    if (!hasAlpha)
        QCOMPARE(counts[3][255], Columns);
    for (size_t i = 0; i < (hasAlpha ? 4 : 3); ++i) {
        int nMissing = 0;
        for (const int nCount : counts[i]) {
            nMissing += nCount == 0;
            QVERIFY(nCount < 50);
        }
        QVERIFY(nMissing < 20);
        QVERIFY(std::accumulate(counts[i].begin(), counts[i].begin() + 128, 0) > Columns / 3);
        QVERIFY(std::accumulate(counts[i].begin(), counts[i].begin() + 128, 0) < Columns * 2 / 3);
    }
}

void TestYuvFilePlayer::aNullPictureStaysNull()
{
    QImage picture;
    drawRandomStripes(picture);
    QVERIFY(picture.isNull());
}

QTEST_GUILESS_MAIN(TestYuvFilePlayer)
#include "tst_yuvfileplayer.moc"
