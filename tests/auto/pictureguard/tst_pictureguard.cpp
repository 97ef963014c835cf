// What a received picture may cost before it is decoded: pictures made here to claim more than they
// hold, on both sides of each limit.

#include <pictureguard_p.h>

#include <picturecompare.h>
#include <processfigures.h>
#include <testpictures.h>

#include <QBuffer>
#include <QElapsedTimer>
#include <QImageWriter>
#include <QtTest>

#include <limits>

using namespace Morvek::EchoVideo::Internal;
using namespace Morvek::Tests;

namespace {

constexpr sPictureLimits NoLimits{std::numeric_limits<qint64>::max(),
                                  std::numeric_limits<qint64>::max()};

QByteArray bytesOf(const QImage &picture, const char *pFormat, bool isProgressive = false)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, pFormat);
    writer.setProgressiveScanWrite(isProgressive);
    writer.write(picture);
    return bytes;
}

// A JPEG whose frame header claims another size than was compressed.
QByteArray claimingSize(QByteArray jpeg, int nWidth, int nHeight)
{
    int iFrame = jpeg.indexOf("\xff\xc0");
    if (iFrame == -1)
        iFrame = jpeg.indexOf("\xff\xc2");
    jpeg[iFrame + 5] = char(nHeight >> 8);
    jpeg[iFrame + 6] = char(nHeight);
    jpeg[iFrame + 7] = char(nWidth >> 8);
    jpeg[iFrame + 8] = char(nWidth);
    return jpeg;
}

// A JPEG whose last scan is repeated until there are so many.
QByteArray withScans(const QByteArray &jpeg, int nScans)
{
    const int iLastScan = jpeg.lastIndexOf("\xff\xda");
    const int iEnd = jpeg.lastIndexOf("\xff\xd9");
    const QByteArray lastScan = jpeg.mid(iLastScan, iEnd - iLastScan);
    return jpeg.left(iEnd) + lastScan.repeated(nScans - jpeg.count("\xff\xda")) + jpeg.mid(iEnd);
}

// An icon of one picture, which is 16 x 16 pixels large by its directory.
QByteArray iconOf(const QByteArray &png)
{
    QByteArray icon("\0\0\1\0\1\0\x10\x10\0\0\1\0\x20\0\0\0\0\0\x16\0\0\0", 22);
    icon[14] = char(png.size());
    icon[15] = char(png.size() >> 8);
    return icon + png;
}

// A GIF picture of one pixel, so many pixels from the upper edge of a larger area.
QByteArray gifOf(int nWidth, int nHeight, int nTop)
{
    QByteArray gif("GIF89a\0\0\0\0\x80\0\0\0\0\0\xff\xff\xff"
                   ",\0\0\0\0\1\0\1\0\0\2\2D\1\0;",
                   35);
    gif[6] = char(nWidth);
    gif[7] = char(nWidth >> 8);
    gif[8] = char(nHeight);
    gif[9] = char(nHeight >> 8);
    gif[22] = char(nTop);
    return gif;
}

QByteArray smallJpeg()
{
    return jpegBytes(solidPicture(QSize(64, 48), Qt::darkCyan));
}

} // namespace

class TestPictureGuard : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void ordinaryPictureEqualsItsPlainDecoding_data();
    void ordinaryPictureEqualsItsPlainDecoding();
    void losslessPictureIsWhatWasSaved_data();
    void losslessPictureIsWhatWasSaved();
    void shortPaletteOfAFileIsMadeWhole();
    void numbersBeyondThePaletteAreBlack_data();
    void numbersBeyondThePaletteAreBlack();
    void wholePalettesAreLeftAlone_data();
    void wholePalettesAreLeftAlone();
    void unreadableBytesGiveANullPicture_data();
    void unreadableBytesGiveANullPicture();
    void truncatedPictureEqualsItsPlainDecoding();
    void pixelLimitIsExact_data();
    void pixelLimitIsExact();
    void pixelScanLimitIsExact_data();
    void pixelScanLimitIsExact();
    void defaultLimitsAreExact_data();
    void defaultLimitsAreExact();
    void dimensionBombIsRefusedBeforeItIsDecoded();
    void scanBombIsRefusedBeforeItIsDecoded();
    void hiddenScansAreRefused_data();
    void hiddenScansAreRefused();
    void countsScans_data();
    void countsScans();
};

void TestPictureGuard::ordinaryPictureEqualsItsPlainDecoding_data()
{
    QTest::addColumn<QByteArray>("bytes");

    const QImage picture = gradientPicture(QSize(160, 90), 3);
    QTest::newRow("baseline JPEG") << bytesOf(picture, "jpg");
    QTest::newRow("progressive JPEG") << bytesOf(picture, "jpg", true);
    QTest::newRow("grey JPEG") << bytesOf(picture.convertToFormat(QImage::Format_Grayscale8),
                                          "jpg");
    QTest::newRow("JPEG with bytes behind its end") << bytesOf(picture, "jpg") + "\r\nmore";
    QTest::newRow("two JPEG pictures in one block")
        << bytesOf(picture, "jpg") + bytesOf(solidPicture(QSize(8, 8), Qt::red), "jpg");
    QTest::newRow("echo picture") << jpegBytes(gridPicture(4));
}

void TestPictureGuard::ordinaryPictureEqualsItsPlainDecoding()
{
    QFETCH(QByteArray, bytes);

    const QImage decoded = decodePicture(bytes);
    const QImage plain = QImage::fromData(bytes);
    QVERIFY(!decoded.isNull());
    QCOMPARE(decoded.format(), plain.format());
    COMPARE_PICTURES(decoded, plain);
}

// As a file can be: 256 numbers, and a palette of two colours.
void TestPictureGuard::shortPaletteOfAFileIsMadeWhole()
{
    QImage picture(8, 8, QImage::Format_Indexed8);
    picture.setColorTable(QVector<QRgb>(256, qRgb(0, 0, 255)));
    picture.fill(200);
    const QByteArray saved = bytesOf(picture, "bmp");
    constexpr int HeaderBytes = 54;
    constexpr int PaletteBytes = 256 * 4;
    QByteArray bytes = saved.left(HeaderBytes + 8) + saved.mid(HeaderBytes + PaletteBytes);
    bytes[10] = char(HeaderBytes + 8); // where the pixels begin
    bytes[11] = 0;
    bytes[46] = 2; // colours
    bytes[47] = 0;
    const QImage decoded = decodePicture(bytes);
    QCOMPARE(decoded.colorCount(), 256);
    COMPARE_PICTURES(decoded, solidPicture(QSize(8, 8), Qt::black));
}

void TestPictureGuard::losslessPictureIsWhatWasSaved_data()
{
    QTest::addColumn<QByteArray>("format");

    QTest::newRow("PNG") << QByteArray("png");
    QTest::newRow("BMP") << QByteArray("bmp");
    QTest::newRow("PPM") << QByteArray("ppm");
}

void TestPictureGuard::losslessPictureIsWhatWasSaved()
{
    QFETCH(QByteArray, format);

    const QImage picture = gradientPicture(QSize(33, 21), 5);
    const QByteArray bytes = bytesOf(picture, format.constData());
    COMPARE_PICTURES(decodePicture(bytes), picture);
    QVERIFY(decodePicture(bytes, {33 * 21 - 1, NoLimits.m_nPixelScans}).isNull());
}

// A pixel beyond the palette would otherwise be drawn from memory that belongs to somebody else.
void TestPictureGuard::numbersBeyondThePaletteAreBlack_data()
{
    QTest::addColumn<QRgb>("second");

    QTest::newRow("opaque") << qRgb(10, 20, 30);
    QTest::newRow("translucent") << qRgba(10, 20, 30, 40);
}

void TestPictureGuard::numbersBeyondThePaletteAreBlack()
{
    QFETCH(QRgb, second);

    QImage picture(4, 1, QImage::Format_Indexed8);
    picture.setColorTable({qRgb(1, 2, 3), second});
    const uchar numbers[] = {0, 1, 2, 255};
    std::copy_n(numbers, 4, picture.scanLine(0));
    const QImage whole = withWholePalette(picture);
    QCOMPARE(whole.format(), QImage::Format_Indexed8); // drawn as it was where it is right
    QCOMPARE(whole.colorCount(), 256);
    QCOMPARE(whole.pixel(0, 0), qRgb(1, 2, 3));
    QCOMPARE(whole.pixel(1, 0), second);
    QCOMPARE(whole.pixel(2, 0), qRgb(0, 0, 0));
    QCOMPARE(whole.pixel(3, 0), qRgb(0, 0, 0));
}

void TestPictureGuard::wholePalettesAreLeftAlone_data()
{
    QTest::addColumn<QImage::Format>("format");
    QTest::addColumn<int>("colors");

    QTest::newRow("256 colours") << QImage::Format_Indexed8 << 256;
    QTest::newRow("two colours for one bit") << QImage::Format_Mono << 2;
    QTest::newRow("no palette") << QImage::Format_RGB32 << 0;
    QTest::newRow("grey") << QImage::Format_Grayscale8 << 0;
}

void TestPictureGuard::wholePalettesAreLeftAlone()
{
    QFETCH(QImage::Format, format);
    QFETCH(int, colors);

    QImage picture(4, 3, format);
    picture.fill(0);
    picture.setColorCount(colors);
    const QImage same = withWholePalette(picture);
    QCOMPARE(same.cacheKey(), picture.cacheKey());
    QVERIFY(withWholePalette(QImage()).isNull());
}

void TestPictureGuard::unreadableBytesGiveANullPicture_data()
{
    QTest::addColumn<QByteArray>("bytes");

    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("one byte") << QByteArray("x");
    QTest::newRow("text") << QByteArray("this is no picture at all, in any format");
    QTest::newRow("zeros") << QByteArray(5000, '\0');
    QTest::newRow("start marker alone") << QByteArray("\xff\xd8");
    QTest::newRow("start marker and text") << QByteArray("\xff\xd8\xff this is no picture");
    QTest::newRow("JPEG behind two stray bytes") << "\r\n" + smallJpeg();
    QTest::newRow("JPEG cut within its headers") << smallJpeg().left(100);
    QTest::newRow("JPEG of size 0 x 0") << claimingSize(smallJpeg(), 0, 0);
    // Neither tells a size to rely on.
    QTest::newRow("GIF") << gifOf(1, 1, 0);
    QTest::newRow("GIF that is larger than it tells") << gifOf(2561, 10, 254);
    QTest::newRow("icon") << bytesOf(gradientPicture(QSize(16, 16)), "ico");
    QTest::newRow("icon whose picture is larger than it tells")
        << iconOf(bytesOf(gradientPicture(QSize(300, 200)), "png"));
}

void TestPictureGuard::unreadableBytesGiveANullPicture()
{
    QFETCH(QByteArray, bytes);

    QVERIFY(decodePicture(bytes).isNull());
    QVERIFY(!isWithinLimits(bytes));
}

void TestPictureGuard::truncatedPictureEqualsItsPlainDecoding()
{
    const QByteArray whole = bytesOf(gradientPicture(QSize(160, 90)), "jpg");
    const QByteArray half = whole.left(whole.lastIndexOf("\xff\xda") + 300);
    const QImage plain = QImage::fromData(half);
    QVERIFY(!plain.isNull());
    COMPARE_PICTURES(decodePicture(half), plain);
}

void TestPictureGuard::pixelLimitIsExact_data()
{
    QTest::addColumn<qint64>("limit");
    QTest::addColumn<bool>("isDecoded");

    QTest::newRow("one pixel above the picture") << qint64(64 * 48 + 1) << true;
    QTest::newRow("as many as the picture") << qint64(64 * 48) << true;
    QTest::newRow("one pixel below the picture") << qint64(64 * 48 - 1) << false;
}

void TestPictureGuard::pixelLimitIsExact()
{
    QFETCH(qint64, limit);
    QFETCH(bool, isDecoded);

    const sPictureLimits limits{limit, NoLimits.m_nPixelScans};
    QCOMPARE(isWithinLimits(smallJpeg(), limits), isDecoded);
    QCOMPARE(decodePicture(smallJpeg(), limits).isNull(), !isDecoded);
}

void TestPictureGuard::pixelScanLimitIsExact_data()
{
    QTest::addColumn<qint64>("limit");
    QTest::addColumn<int>("scans");
    QTest::addColumn<bool>("isDecoded");

    constexpr qint64 Pixels = 64 * 48;
    QTest::newRow("as many as twenty scans") << 20 * Pixels << 20 << true;
    QTest::newRow("one less than twenty scans") << 20 * Pixels - 1 << 20 << false;
    QTest::newRow("one more than twenty scans") << 20 * Pixels + 1 << 20 << true;
    QTest::newRow("one scan too many") << 20 * Pixels << 21 << false;
    QTest::newRow("a thousand scans, allowed") << 1000 * Pixels << 1000 << true;
}

void TestPictureGuard::pixelScanLimitIsExact()
{
    QFETCH(qint64, limit);
    QFETCH(int, scans);
    QFETCH(bool, isDecoded);

    const QByteArray progressive = bytesOf(solidPicture(QSize(64, 48), Qt::darkCyan), "jpg", true);
    const QByteArray bytes = withScans(progressive, scans);
    const sPictureLimits limits{NoLimits.m_nPixels, limit};
    QCOMPARE(isWithinLimits(bytes, limits), isDecoded);
    QCOMPARE(decodePicture(bytes, limits).isNull(), !isDecoded);
}

void TestPictureGuard::defaultLimitsAreExact_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("isWithin");

    const QByteArray largest = claimingSize(smallJpeg(), 4096, 4096);
    QTest::newRow("16,777,216 pixels") << largest << true;
    QTest::newRow("one row more") << claimingSize(smallJpeg(), 4096, 4097) << false;
    QTest::newRow("one pixel more") << claimingSize(smallJpeg(), 257, 65281) << false;
    QTest::newRow("one line of pixels, as wide as can be")
        << claimingSize(smallJpeg(), 65500, 256) << true;
    QTest::newRow("268,435,456 pixels in all scans") << withScans(largest, 16) << true;
    QTest::newRow("one scan more") << withScans(largest, 17) << false;
}

void TestPictureGuard::defaultLimitsAreExact()
{
    QFETCH(QByteArray, bytes);
    QFETCH(bool, isWithin);

    QCOMPARE(isWithinLimits(bytes), isWithin);
}

void TestPictureGuard::dimensionBombIsRefusedBeforeItIsDecoded()
{
    const QByteArray bomb = claimingSize(smallJpeg(), 65500, 65500);
    QVERIFY(bomb.size() < 4000);
    const qint64 nMemoryBefore = peakMemory();
    QElapsedTimer timer;
    timer.start();
    QVERIFY(decodePicture(bomb).isNull());
    QVERIFY2(timer.elapsed() < 5000, qPrintable(QString::number(timer.elapsed())));
    QVERIFY(peakMemory() - nMemoryBefore < 256 * 1024 * 1024);
}

void TestPictureGuard::scanBombIsRefusedBeforeItIsDecoded()
{
    const QByteArray progressive = bytesOf(solidPicture(QSize(64, 48), Qt::gray), "jpg", true);
    const QByteArray bomb = claimingSize(withScans(progressive, 5000), 4000, 4000);
    QVERIFY(bomb.size() < 1024 * 1024);
    QElapsedTimer timer;
    timer.start();
    QVERIFY(decodePicture(bomb).isNull());
    QVERIFY2(timer.elapsed() < 5000, qPrintable(QString::number(timer.elapsed())));
}

void TestPictureGuard::hiddenScansAreRefused_data()
{
    QTest::addColumn<QByteArray>("hiding");

    // Between restarts, the decoder passes over these markers without reading a length.
    QTest::newRow("behind an undefined marker") << QByteArray("\xff\x02");
    QTest::newRow("behind an undefined marker with a length") << QByteArray("\xff\x02\xff\xff");
    QTest::newRow("behind the last undefined marker") << QByteArray("\xff\xbf\xff\xff");
}

void TestPictureGuard::hiddenScansAreRefused()
{
    QFETCH(QByteArray, hiding);

    // The data of the first scan is replaced by the marker; what follows are the other scans.
    const QByteArray jpeg = bytesOf(solidPicture(QSize(64, 48), Qt::gray), "jpg", true);
    const int iFirstScan = jpeg.indexOf("\xff\xda");
    const int iFirstData = iFirstScan + 2 + jpeg.at(iFirstScan + 3);
    const int iOtherTables = jpeg.indexOf("\xff\xc4", iFirstData);
    const QByteArray restartAtEachBlock("\xff\xdd\0\4\0\1", 6);
    const QByteArray bomb = withScans(jpeg.left(iFirstScan) + restartAtEachBlock
                                          + jpeg.mid(iFirstScan, iFirstData - iFirstScan) + hiding
                                          + jpeg.mid(iOtherTables),
                                      500);
    QVERIFY(!QImage::fromData(bomb).isNull());
    QVERIFY(isWithinLimits(bomb, {NoLimits.m_nPixels, 64 * 48 * 500}));
    QVERIFY(!isWithinLimits(bomb, {NoLimits.m_nPixels, 64 * 48 * 499}));
}

void TestPictureGuard::countsScans_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("count");

    const QByteArray start("\xff\xd8");
    const QByteArray scan("\xff\xda\0\2data", 8);
    const QByteArray end("\xff\xd9");
    QTest::newRow("nothing") << QByteArray() << 0;
    QTest::newRow("one byte") << QByteArray("\xff") << 0;
    QTest::newRow("start marker alone") << start << 0;
    QTest::newRow("another format") << "\x89PNG" + scan << 0;
    QTest::newRow("start marker not at the start") << " " + start + scan << 0;
    QTest::newRow("one scan") << start + scan + end << 1;
    QTest::newRow("three scans") << start + scan.repeated(3) + end << 3;
    QTest::newRow("no end marker") << start + scan << 1;
    QTest::newRow("scan without a length") << start + scan + "\xff\xda" << 2;
    QTest::newRow("marker cut after its first byte") << start + scan + "\xff" << 1;
    QTest::newRow("behind the end marker") << start + scan + end + scan << 1;
    QTest::newRow("behind the end marker and a length")
        << start + scan + end + QByteArray("\0\2", 2) + scan << 1;
    QTest::newRow("fill bytes before the marker") << start + "\xff\xff" + scan << 1;
    QTest::newRow("stuffed zeros in the data")
        << start + scan + QByteArray("\xff\0\xda\xff\0", 5) + scan << 2;
    QTest::newRow("restart markers in the data") << start + scan + "\xff\xd0\xff\xd7" + scan << 2;
    QTest::newRow("temporary marker in the data") << start + scan + "\xff\x01" + scan << 2;
    QTest::newRow("marker within a segment")
        << start + QByteArray("\xff\xe1\0\xa", 4) + scan + scan << 1;
    QTest::newRow("segment of length 0") << start + QByteArray("\xff\xe1\0\0", 4) + scan << 1;
    QTest::newRow("segment longer than the picture") << start + "\xff\xe1\xff\xff" + scan << 0;
    QTest::newRow("baseline JPEG") << bytesOf(solidPicture(QSize(64, 48), Qt::red), "jpg") << 1;
    QTest::newRow("progressive JPEG")
        << bytesOf(solidPicture(QSize(64, 48), Qt::red), "jpg", true) << 10;
}

void TestPictureGuard::countsScans()
{
    QFETCH(QByteArray, bytes);
    QFETCH(int, count);

    QCOMPARE(jpegScanCount(bytes), count);
}

QTEST_GUILESS_MAIN(TestPictureGuard)
#include "tst_pictureguard.moc"
