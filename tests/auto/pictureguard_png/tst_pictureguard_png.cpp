// What PNG pictures may bring, most of it packed to a thousandth: texts, which a decoder unpacks and
// keeps, and pixels of twice the ordinary depth.

#include <pictureguard_p.h>
#include <pngtext_p.h>

#include <picturecompare.h>
#include <processfigures.h>
#include <testpictures.h>

#include <QBuffer>
#include <QElapsedTimer>
#include <QtEndian>
#include <QtTest>

using namespace Morvek::EchoVideo::Internal;
using namespace Morvek::Tests;

namespace {

constexpr int FirstChunkEnd = 33; // signature and header

QImage smallPicture()
{
    return gradientPicture(QSize(64, 48), 2);
}

QByteArray pngBytes(const QImage &picture = smallPicture())
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    picture.save(&buffer, "png");
    return bytes;
}

QByteArray bigEndian(quint32 nNumber)
{
    QByteArray bytes(4, '\0');
    qToBigEndian(nNumber, bytes.data());
    return bytes;
}

// The checksum of PNG, bit by bit.
quint32 checksum(const QByteArray &bytes)
{
    quint32 nSum = ~0u;
    for (const char byte : bytes) {
        nSum ^= uchar(byte);
        for (int nBit = 0; nBit < 8; ++nBit)
            nSum = nSum % 2 == 1 ? (nSum / 2) ^ 0xedb88320u : nSum / 2;
    }
    return ~nSum;
}

QByteArray chunk(const QByteArray &name, const QByteArray &data)
{
    return bigEndian(quint32(data.size())) + name + data + bigEndian(checksum(name + data));
}

// A text of so many characters, as PNG compresses it.
QByteArray packedText(const QByteArray &keyword, int nLength)
{
    return chunk("zTXt",
                 keyword + QByteArray(2, '\0') + qCompress(QByteArray(nLength, 'x'), 9).mid(4));
}

QByteArray pngWith(const QByteArray &chunks)
{
    return pngBytes().insert(FirstChunkEnd, chunks);
}

} // namespace

class TestPictureGuardPng : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void countsTexts_data();
    void countsTexts();
    void limitIsExact_data();
    void limitIsExact();
    void pictureWithAShortTextIsDecoded();
    void textBombIsRefusedBeforeItIsUnpacked();
    void deepPixelsCountTwice_data();
    void deepPixelsCountTwice();
};

void TestPictureGuardPng::countsTexts_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<qint64>("count");

    const QByteArray png = pngBytes();
    const QByteArray data(100, 'a');
    QTest::newRow("nothing") << QByteArray() << qint64(0);
    QTest::newRow("signature alone") << png.left(8) << qint64(0);
    QTest::newRow("no text") << png << qint64(0);
    QTest::newRow("another format") << jpegBytes(smallPicture()) + chunk("zTXt", data) << qint64(0);
    for (const char *pName : {"tEXt", "zTXt", "iTXt", "iCCP"})
        QTest::newRow(pName) << pngWith(chunk(pName, data)) << qint64(100);
    for (const char *pName : {"pHYs", "text", "ZTXT", "sRGB"})
        QTest::newRow(pName) << pngWith(chunk(pName, data)) << qint64(0);
    QTest::newRow("three texts") << pngWith(chunk("tEXt", data).repeated(3)) << qint64(300);
    QTest::newRow("text behind the picture")
        << QByteArray(png).insert(png.size() - 12, chunk("iTXt", data)) << qint64(100);
    QTest::newRow("name of a text in a text") << pngWith(chunk("tEXt", "zTXtzTXt")) << qint64(8);
    QTest::newRow("text that is cut off") << pngWith(chunk("tEXt", data)).left(60) << qint64(100);
    QTest::newRow("name that is cut off") << pngWith(chunk("tEXt", data)).left(40) << qint64(0);
    QTest::newRow("length that reaches behind the end")
        << png.left(FirstChunkEnd) + bigEndian(0xffffffff) + "zTXtabc" + chunk("zTXt", data)
        << qint64(0xffffffff);
}

void TestPictureGuardPng::countsTexts()
{
    QFETCH(QByteArray, bytes);
    QFETCH(qint64, count);

    QCOMPARE(pngTextBytes(bytes), count);
}

void TestPictureGuardPng::limitIsExact_data()
{
    QTest::addColumn<int>("length");
    QTest::addColumn<bool>("isWithin");

    QTest::newRow("as much as the limit") << 4096 << true;
    QTest::newRow("one more") << 4097 << false;
}

void TestPictureGuardPng::limitIsExact()
{
    QFETCH(int, length);
    QFETCH(bool, isWithin);

    const QByteArray png =
        pngWith(chunk("tEXt", QByteArray("k\0", 2) + QByteArray(length - 2, 'a')));
    QCOMPARE(pngTextBytes(png), qint64(length));
    QCOMPARE(isWithinLimits(png), isWithin);
    QCOMPARE(decodePicture(png).isNull(), !isWithin);
}

void TestPictureGuardPng::pictureWithAShortTextIsDecoded()
{
    const QByteArray png = pngWith(packedText("Comment", 5000));
    COMPARE_PICTURES(decodePicture(png), smallPicture());
}

void TestPictureGuardPng::textBombIsRefusedBeforeItIsUnpacked()
{
    constexpr int Texts = 50;
    constexpr int MostOfOne = 7'900'000; // what the decoder allows
    const QByteArray texts = packedText("text", MostOfOne).repeated(Texts);
    const QByteArray bomb = pngWith(texts);
    QVERIFY(bomb.size() < 500'000);
    const qint64 nMemoryBefore = peakMemory();
    QElapsedTimer timer;
    timer.start();
    QVERIFY(decodePicture(bomb).isNull());
    QVERIFY2(timer.elapsed() < 5000, qPrintable(QString::number(timer.elapsed())));
    QVERIFY(peakMemory() - nMemoryBefore < 64 * 1024 * 1024);
}

void TestPictureGuardPng::deepPixelsCountTwice_data()
{
    QTest::addColumn<int>("format");
    QTest::addColumn<qint64>("pixels");

    QTest::newRow("8 bits a channel") << int(QImage::Format_RGB32) << qint64(64 * 48);
    QTest::newRow("8 bits a channel, with alpha") << int(QImage::Format_ARGB32) << qint64(64 * 48);
    QTest::newRow("16 bits a channel") << int(QImage::Format_RGBX64) << qint64(2 * 64 * 48);
    QTest::newRow("16 bits a channel, with alpha")
        << int(QImage::Format_RGBA64) << qint64(2 * 64 * 48);
    QTest::newRow("16 bits of grey") << int(QImage::Format_Grayscale16) << qint64(64 * 48);
}

void TestPictureGuardPng::deepPixelsCountTwice()
{
    QFETCH(int, format);
    QFETCH(qint64, pixels);

    QImage picture(64, 48, QImage::Format(format));
    picture.fill(QColor(10, 20, 30, format == QImage::Format_RGBA64 ? 40 : 255));
    const QByteArray png = pngBytes(picture);
    sPictureLimits limits;
    limits.m_nPixels = pixels;
    QVERIFY(isWithinLimits(png, limits));
    limits.m_nPixels = pixels - 1;
    QVERIFY(!isWithinLimits(png, limits));
}

QTEST_GUILESS_MAIN(TestPictureGuardPng)
#include "tst_pictureguard_png.moc"
