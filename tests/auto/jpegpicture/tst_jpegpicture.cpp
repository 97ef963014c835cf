// Decoding JPEG pictures straight to their pixels, against Qt's decoder: sound pictures of every size
// and quality, damaged ones, and what is left to Qt.

#include <jpegpicture_p.h>
#include <pictureguard_p.h>

#include <testpictures.h>

#include <QBuffer>
#include <QColorSpace>
#include <QImageWriter>
#include <QtTest>

#include <algorithm>
#include <cstring>
#include <random>

using namespace Morvek::EchoVideo::Internal;
using namespace Morvek::Tests;

namespace {

// Of 32 bits a pixel every byte; of fewer, what a line's padding holds is anything.
bool hasSamePixels(const QImage &left, const QImage &right)
{
    if (left.depth() != 32)
        return left == right;
    return left.size() == right.size()
        && std::memcmp(left.constBits(), right.constBits(), std::size_t(left.sizeInBytes())) == 0;
}

bool isSame(const QImage &left, const QImage &right)
{
    return left.format() == right.format() && hasSamePixels(left, right)
        && left.dotsPerMeterX() == right.dotsPerMeterX()
        && left.dotsPerMeterY() == right.dotsPerMeterY() && left.text() == right.text()
        && left.colorSpace() == right.colorSpace() && left.offset() == right.offset();
}

bool isDecodedAsByQt(const QByteArray &bytes)
{
    return isSame(decodePicture(bytes), QImage::fromData(bytes));
}

QImage noise(const QSize &size, std::mt19937 &random)
{
    QImage picture(size, QImage::Format_RGB32);
    const unsigned nRange = 1u << (1 + random() % 8);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x)
            picture.setPixel(x, y,
                             qRgb(int(random() % nRange), (x * 9 + int(random() % nRange)) & 255,
                                  (y * 7 + int(random() % nRange)) & 255));
    }
    return picture;
}

QByteArray written(const QImage &picture, int nQuality, bool isProgressive = false,
                   bool isOptimized = false)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    QImageWriter writer(&buffer, "jpg");
    writer.setQuality(nQuality);
    writer.setProgressiveScanWrite(isProgressive);
    writer.setOptimizedWrite(isOptimized);
    writer.write(picture);
    return bytes;
}

QByteArray sample()
{
    std::mt19937 random(7);
    return written(noise(QSize(40, 24), random), 80);
}

QByteArray withSegment(QByteArray bytes, char marker, const QByteArray &content)
{
    const int nLength = content.size() + 2;
    const QByteArray segment =
        QByteArray("\xff") + marker + char(nLength >> 8) + char(nLength & 255) + content;
    return bytes.insert(2, segment);
}

bool isBuiltIn()
{
    return !decodeCommonJpeg(sample()).isNull();
}

} // namespace

class TestJpegPicture : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void soundPicturesEqualQts();
    void damagedPicturesEqualQts();
    void picturesCutShortEqualQts();
    void aBlockOfTwoPicturesIsTheFirst();
    void resolutionsEqualQts_data();
    void resolutionsEqualQts();
    void otherPicturesAreLeftToQt_data();
    void otherPicturesAreLeftToQt();
};

void TestJpegPicture::soundPicturesEqualQts()
{
    if (!isBuiltIn())
        QSKIP("built without libjpeg-turbo");
    std::mt19937 random(11);
    for (int i = 0; i < 6000; ++i) {
        const QSize size(1 + int(random() % 70), 1 + int(random() % 70));
        const QByteArray bytes = written(noise(size, random), int(random() % 101), false, i % 2);
        const QImage picture = decodeCommonJpeg(bytes);
        QVERIFY2(!picture.isNull() && isSame(picture, QImage::fromData(bytes)),
                 qPrintable(QStringLiteral("picture %1").arg(i)));
    }
}

// Each in some bytes, anywhere; what Qt makes of it is what is to be made of it.
void TestJpegPicture::damagedPicturesEqualQts()
{
    std::mt19937 random(13);
    QVector<QByteArray> pictures;
    for (int i = 0; i < 50; ++i)
        pictures.append(written(noise(QSize(1 + i, 20), random), 30 + i));
    int nStraight = 0;
    for (int i = 0; i < 100000; ++i) {
        QByteArray bytes = pictures[i % pictures.size()];
        for (int nDamages = 1 + i % 3; nDamages > 0; --nDamages)
            bytes[int(random() % unsigned(bytes.size()))] = char(random());
        const QImage picture = decodeCommonJpeg(bytes);
        nStraight += !picture.isNull();
        QVERIFY2(picture.isNull() || isSame(picture, QImage::fromData(bytes)),
                 qPrintable(QStringLiteral("picture %1").arg(i)));
    }
    if (isBuiltIn())
        QVERIFY2(nStraight > 1000, qPrintable(QString::number(nStraight)));
}

void TestJpegPicture::picturesCutShortEqualQts()
{
    const QByteArray bytes = sample();
    for (int nBytes = 0; nBytes < bytes.size(); ++nBytes) {
        const QByteArray part = bytes.left(nBytes);
        QVERIFY2(decodeCommonJpeg(part).isNull() && isDecodedAsByQt(part),
                 qPrintable(QString::number(nBytes)));
    }
}

void TestJpegPicture::aBlockOfTwoPicturesIsTheFirst()
{
    const QByteArray first = sample();
    QVERIFY(isDecodedAsByQt(first + written(solidPicture(QSize(9, 9), Qt::red), 50)));
    QVERIFY(isDecodedAsByQt(first + "bytes behind it"));
    QCOMPARE(decodePicture(first + first).size(), QSize(40, 24));
}

void TestJpegPicture::resolutionsEqualQts_data()
{
    QTest::addColumn<char>("unit");
    QTest::newRow("none") << '\0';
    QTest::newRow("inches") << '\1';
    QTest::newRow("centimetres") << '\2';
    QTest::newRow("unknown") << '\3';
}

void TestJpegPicture::resolutionsEqualQts()
{
    QFETCH(char, unit);
    QByteArray bytes = sample();
    const int nUnitAt = bytes.indexOf("JFIF") + 7;
    bytes[nUnitAt] = unit;
    for (const int nDots : {0, 1, 72, 300, 65535}) {
        bytes[nUnitAt + 1] = char(nDots >> 8);
        bytes[nUnitAt + 2] = char(nDots & 255);
        QVERIFY(isDecodedAsByQt(bytes));
    }
}

void TestJpegPicture::otherPicturesAreLeftToQt_data()
{
    QTest::addColumn<QByteArray>("bytes");

    std::mt19937 random(17);
    const QImage picture = noise(QSize(33, 17), random);
    QTest::newRow("progressive") << written(picture, 80, true);
    QTest::newRow("gray") << written(picture.convertToFormat(QImage::Format_Grayscale8), 80);
    QTest::newRow("comment") << withSegment(sample(), '\xfe', "a comment");
    QTest::newRow("orientation") << withSegment(sample(), '\xe1', "Exif");
    QTest::newRow("profile") << withSegment(sample(), '\xe2', "ICC_PROFILE");
    QTest::newRow("transform") << withSegment(sample(), '\xee', "Adobe");
    QTest::newRow("undefined marker") << withSegment(sample(), '\x02', "?");
    QByteArray unequal = sample();
    const int nFrameAt = unequal.indexOf("\xff\xc0");
    unequal[nFrameAt + 11] = '\x21';
    QTest::newRow("other sampling") << unequal;
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("no picture") << QByteArray("no picture at all");
    QByteArray png;
    QBuffer buffer(&png);
    picture.save(&buffer, "PNG");
    QTest::newRow("PNG") << png;
}

void TestJpegPicture::otherPicturesAreLeftToQt()
{
    QFETCH(QByteArray, bytes);
    QVERIFY(decodeCommonJpeg(bytes).isNull());
    QVERIFY(isDecodedAsByQt(bytes));
}

QTEST_GUILESS_MAIN(TestJpegPicture)
#include "tst_jpegpicture.moc"
