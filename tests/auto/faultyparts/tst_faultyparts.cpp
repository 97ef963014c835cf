// The bytes that each fault sends in the place of a picture.

#include <bombpictures.h>
#include <faultyparts.h>
#include <streampart.h>

#include <picturecompare.h>
#include <testpictures.h>

#include <QBuffer>
#include <QImageReader>
#include <QtTest>

using namespace Morvek::Tools;
using namespace Morvek::Tests;

namespace {

const QByteArray Boundary = "--morvek-echo-picture\r\n";
const QByteArray Type = "Content-Type: image/jpeg\r\n";

QByteArray jpeg()
{
    return jpegBytes(gradientPicture(QSize(64, 48)));
}

QByteArray lengthLine(int nLength)
{
    return "Content-Length: " + QByteArray::number(nLength) + "\r\n";
}

QByteArray goodPart(const QByteArray &picture)
{
    return Boundary + Type + lengthLine(picture.size()) + "\r\n" + picture + "\r\n";
}

sFault fault(eFault kind)
{
    sFault result;
    result.m_eFault = kind;
    return result;
}

QByteArray partOf(const sFault &spoilt, const QByteArray &picture = jpeg(), quint32 nSeed = 1)
{
    QRandomGenerator random(nSeed);
    return faultyPart(spoilt, picture, random);
}

// Of a part whose header is as it should be.
QByteArray pictureOf(const QByteArray &part)
{
    const int iPicture = part.indexOf("\r\n\r\n") + 4;
    const int iLength = part.indexOf("Content-Length: ") + 16;
    const int nLength = part.mid(iLength, part.indexOf("\r\n", iLength) - iLength).toInt();
    const QByteArray picture = part.mid(iPicture, nLength);
    return part == goodPart(picture) ? picture : QByteArray();
}

QSize claimedSize(const QByteArray &picture)
{
    QBuffer buffer;
    buffer.setData(picture);
    buffer.open(QIODevice::ReadOnly);
    return QImageReader(&buffer).size();
}

} // namespace

class tst_FaultyParts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void faultsOfSendingLeaveThePart_data();
    void faultsOfSendingLeaveThePart();
    void faultsOfTheHeaderLeaveThePicture_data();
    void faultsOfTheHeaderLeaveThePicture();
    void wrongLengthIsDrawnAndNeverRight();
    void anyLineEndMayBeMissing();
    void boundaryInThePictureLeavesItAPicture_data();
    void boundaryInThePictureLeavesItAPicture();
    void truncatedPictureAnnouncesTheWhole();
    void truncatedJpegAnnouncesWhatIsLeft();
    void truncatedJpegEndsAtAMarker();
    void otherPictureHasFormatAndSize_data();
    void otherPictureHasFormatAndSize();
    void dimensionBombClaimsItsSize_data();
    void dimensionBombClaimsItsSize();
    void scanBombHasItsScans();
    void textBombIsPackedTight();
    void emptyPictureIsAnnouncedAsSuch();
    void randomBytesAreAsManyAsAsked();
    void paddedPartIsStillThePicture();
    void sameSeedGivesTheSameBytes();
};

void tst_FaultyParts::faultsOfSendingLeaveThePart_data()
{
    QTest::addColumn<int>("kind");

    QTest::newRow("split") << int(eFault::Split);
    QTest::newRow("one byte writes") << int(eFault::OneByteWrites);
}

void tst_FaultyParts::faultsOfSendingLeaveThePart()
{
    QFETCH(int, kind);

    QCOMPARE(partOf(fault(eFault(kind))), goodPart(jpeg()));
}

void tst_FaultyParts::faultsOfTheHeaderLeaveThePicture_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<QByteArray>("header");

    const int nSize = jpeg().size();
    QTest::newRow("trailing header")
        << int(eFault::TrailingHeader)
        << Boundary + Type + lengthLine(nSize) + "X-Timestamp: 12.5\r\n\r\n";
    QTest::newRow("negative length")
        << int(eFault::NegativeLength) << Boundary + Type + lengthLine(-nSize) + "\r\n";
    QTest::newRow("huge length") << int(
        eFault::HugeLength) << Boundary + Type + "Content-Length: 99999999999999999999\r\n\r\n";
    QTest::newRow("missing length") << int(eFault::MissingLength) << Boundary + Type + "\r\n";
    QTest::newRow("lower case header")
        << int(eFault::LowerCaseHeader) << (Boundary + Type + lengthLine(nSize)).toLower() + "\r\n";
}

void tst_FaultyParts::faultsOfTheHeaderLeaveThePicture()
{
    QFETCH(int, kind);
    QFETCH(QByteArray, header);

    QCOMPARE(partOf(fault(eFault(kind))), header + jpeg() + "\r\n");
}

void tst_FaultyParts::wrongLengthIsDrawnAndNeverRight()
{
    sFault wrong = fault(eFault::WrongLength);
    wrong.m_nBy = 12;
    const QByteArray rest = "\r\n" + jpeg() + "\r\n";
    QCOMPARE(partOf(wrong), Boundary + Type + lengthLine(jpeg().size() + 12) + rest);
    wrong.m_nBy = -2 * jpeg().size();
    QCOMPARE(partOf(wrong), Boundary + Type + lengthLine(0) + rest);

    int nLonger = 0;
    for (quint32 nSeed = 0; nSeed < 100; ++nSeed) {
        const QByteArray part = partOf(fault(eFault::WrongLength), jpeg(), nSeed);
        QVERIFY(part.endsWith(rest));
        const int iLength = part.indexOf("Content-Length: ") + 16;
        const int nBy =
            part.mid(iLength, part.indexOf('\r', iLength) - iLength).toInt() - jpeg().size();
        QVERIFY2(nBy != 0 && qAbs(nBy) <= 1000, qPrintable(QString::number(nBy)));
        nLonger += nBy > 0 ? 1 : 0;
    }
    QVERIFY2(nLonger > 20 && nLonger < 80, qPrintable(QString::number(nLonger)));
}

void tst_FaultyParts::anyLineEndMayBeMissing()
{
    const QByteArray length = lengthLine(jpeg().size());
    const QList<QByteArray> expected{
        "--morvek-echo-picture" + Type + length + "\r\n" + jpeg() + "\r\n",
        Boundary + "Content-Type: image/jpeg" + length + "\r\n" + jpeg() + "\r\n",
        Boundary + Type + length + jpeg() + "\r\n",
        Boundary + Type + length + "\r\n" + jpeg(),
    };
    sFault missing = fault(eFault::MissingLineEnd);
    for (int i = 0; i < expected.size(); ++i) {
        missing.m_eLine = eLine(i);
        QCOMPARE(partOf(missing), expected[i]);
    }
    missing.m_eLine.reset();
    QSet<QByteArray> drawn;
    for (quint32 nSeed = 0; nSeed < 50; ++nSeed)
        drawn.insert(partOf(missing, jpeg(), nSeed));
    QCOMPARE(drawn, QSet<QByteArray>(expected.cbegin(), expected.cend()));
}

void tst_FaultyParts::boundaryInThePictureLeavesItAPicture_data()
{
    QTest::addColumn<bool>("isWithHeader");

    QTest::newRow("with a header") << true;
    QTest::newRow("boundary alone") << false;
}

void tst_FaultyParts::boundaryInThePictureLeavesItAPicture()
{
    QFETCH(bool, isWithHeader);

    sFault inside = fault(eFault::BoundaryInPicture);
    inside.m_isWithHeader = isWithHeader;
    const QByteArray part = partOf(inside);
    QCOMPARE(part.count("--morvek-echo-picture\r\n"), 2);
    QCOMPARE(part.count("Content-Length: "), isWithHeader ? 2 : 1);
    COMPARE_PICTURES(QImage::fromData(pictureOf(part)), QImage::fromData(jpeg()));
}

void tst_FaultyParts::truncatedPictureAnnouncesTheWhole()
{
    const QByteArray header = Boundary + Type + lengthLine(jpeg().size()) + "\r\n";
    sFault truncated = fault(eFault::TruncatedPicture);
    truncated.m_nBytes = 100;
    QCOMPARE(partOf(truncated), header + jpeg().left(100));
    truncated.m_nBytes.reset();
    for (quint32 nSeed = 0; nSeed < 20; ++nSeed) {
        const QByteArray part = partOf(truncated, jpeg(), nSeed);
        QVERIFY(part.startsWith(header) && part.size() < header.size() + jpeg().size());
        QVERIFY(jpeg().startsWith(part.mid(header.size())));
    }
}

void tst_FaultyParts::truncatedJpegAnnouncesWhatIsLeft()
{
    sFault truncated = fault(eFault::TruncatedJpeg);
    truncated.m_nBytes = 100;
    QCOMPARE(partOf(truncated), goodPart(jpeg().left(100)));
}

void tst_FaultyParts::truncatedJpegEndsAtAMarker()
{
    QSet<int> sizes;
    for (quint32 nSeed = 0; nSeed < 50; ++nSeed) {
        const QByteArray left = pictureOf(partOf(fault(eFault::TruncatedJpeg), jpeg(), nSeed));
        QVERIFY(!left.isEmpty() && jpeg().startsWith(left));
        QVERIFY(left.right(3).contains('\xff'));
        sizes.insert(left.size());
    }
    QVERIFY(sizes.size() > 5);
}

void tst_FaultyParts::otherPictureHasFormatAndSize_data()
{
    QTest::addColumn<QByteArray>("format");
    QTest::addColumn<QByteArray>("start");

    QTest::newRow("png") << QByteArray("png") << QByteArray("\x89PNG");
    QTest::newRow("bmp") << QByteArray("bmp") << QByteArray("BM");
    QTest::newRow("ppm") << QByteArray("ppm") << QByteArray("P6");
    QTest::newRow("jpeg") << QByteArray("jpeg") << QByteArray("\xff\xd8");
    QTest::newRow("default") << QByteArray() << QByteArray("\x89PNG");
}

void tst_FaultyParts::otherPictureHasFormatAndSize()
{
    QFETCH(QByteArray, format);
    QFETCH(QByteArray, start);

    sFault other = fault(eFault::OtherPicture);
    other.m_baFormat = format;
    QCOMPARE(claimedSize(pictureOf(partOf(other))), QSize(320, 240));
    other.m_size = QSize(31, 17);
    const QByteArray picture = pictureOf(partOf(other, jpegBytes(solidPicture({9, 9}, Qt::red))));
    QVERIFY(picture.startsWith(start));
    const QImage decoded = QImage::fromData(picture);
    QCOMPARE(decoded.size(), QSize(31, 17));
    QVERIFY(decoded.pixelColor(15, 8).red() > 240 && decoded.pixelColor(15, 8).green() < 15);
}

void tst_FaultyParts::dimensionBombClaimsItsSize_data()
{
    QTest::addColumn<QByteArray>("format");
    QTest::addColumn<QByteArray>("start");

    QTest::newRow("jpeg") << QByteArray("jpeg") << QByteArray("\xff\xd8");
    QTest::newRow("png") << QByteArray("png") << QByteArray("\x89PNG");
    QTest::newRow("bmp") << QByteArray("bmp") << QByteArray("BM");
    QTest::newRow("gif") << QByteArray("gif") << QByteArray("GIF");
    QTest::newRow("ppm") << QByteArray("ppm") << QByteArray("P6");
    QTest::newRow("default") << QByteArray() << QByteArray("\xff\xd8");
}

void tst_FaultyParts::dimensionBombClaimsItsSize()
{
    QFETCH(QByteArray, format);
    QFETCH(QByteArray, start);

    sFault bomb = fault(eFault::DimensionBomb);
    bomb.m_baFormat = format;
    if (format.isEmpty())
        QCOMPARE(claimedSize(pictureOf(partOf(bomb))), QSize(65500, 65500));
    bomb.m_size = QSize(5000, 3000);
    const QByteArray picture = pictureOf(partOf(bomb));
    QVERIFY(picture.startsWith(start));
    QVERIFY(picture.size() < 10'000);
    QCOMPARE(claimedSize(picture), QSize(5000, 3000));
}

void tst_FaultyParts::scanBombHasItsScans()
{
    sFault bomb = fault(eFault::ScanBomb);
    const QByteArray byDefault = pictureOf(partOf(bomb));
    QCOMPARE(byDefault.count("\xff\xda"), 5000);
    QCOMPARE(claimedSize(byDefault), QSize(4000, 4000));
    bomb.m_nScans = 25;
    bomb.m_size = QSize(64, 48);
    const QByteArray small = pictureOf(partOf(bomb));
    QCOMPARE(small.count("\xff\xda"), 25);
    QCOMPARE(QImage::fromData(small).size(), QSize(64, 48));
}

void tst_FaultyParts::textBombIsPackedTight()
{
    sFault bomb = fault(eFault::TextBomb);
    bomb.m_nTexts = 2;
    const QByteArray picture = pictureOf(partOf(bomb));
    QVERIFY(picture.size() < 20'000);
    const QImage decoded = QImage::fromData(picture);
    QCOMPARE(decoded.size(), QSize(64, 48));
    QVERIFY(decoded.text(QStringLiteral("text")).size() > 7'000'000);
    QCOMPARE(picture.count("zTXt"), 2);
    bomb.m_nTexts.reset();
    QCOMPARE(pictureOf(partOf(bomb)).count("zTXt"), 900);
}

void tst_FaultyParts::emptyPictureIsAnnouncedAsSuch()
{
    QCOMPARE(partOf(fault(eFault::EmptyPicture)),
             Boundary + Type + "Content-Length: 0\r\n\r\n\r\n");
}

void tst_FaultyParts::randomBytesAreAsManyAsAsked()
{
    QRandomGenerator random(5);
    sFault some = fault(eFault::RandomBytes);
    for (int i = 0; i < 50; ++i) {
        const int nBytes = randomBytes(some, random, 10).size();
        QVERIFY(nBytes >= 1 && nBytes <= 10);
    }
    some.m_nBytes = 10'000;
    const QByteArray bytes = randomBytes(some, random);
    QCOMPARE(bytes.size(), 10'000);
    QCOMPARE(QSet<char>(bytes.cbegin(), bytes.cend()).size(), 256);
}

void tst_FaultyParts::paddedPartIsStillThePicture()
{
    const QByteArray picture = pictureOf(paddedPart(jpeg(), 100'000));
    QCOMPARE(picture.size(), 100'000);
    QVERIFY(picture.startsWith(jpeg()));
    COMPARE_PICTURES(QImage::fromData(picture), QImage::fromData(jpeg()));
    QCOMPARE(paddedPart(jpeg(), 10), goodPart(jpeg()));
}

void tst_FaultyParts::sameSeedGivesTheSameBytes()
{
    for (int i = 0; i <= int(eFault::EmptyPicture); ++i)
        QCOMPARE(partOf(fault(eFault(i)), jpeg(), 9), partOf(fault(eFault(i)), jpeg(), 9));
    QVERIFY(partOf(fault(eFault::TruncatedPicture), jpeg(), 9)
            != partOf(fault(eFault::TruncatedPicture), jpeg(), 10));
}

QTEST_GUILESS_MAIN(tst_FaultyParts)
#include "tst_faultyparts.moc"
