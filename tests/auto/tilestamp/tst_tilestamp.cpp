// The machine-readable stamp of a tile: what survives, what is refused, how the blocks lie.

#include <echolayout.h>
#include <echopainter.h>
#include <tilestamp.h>

#include "testpictures.h"

#include <QPainter>
#include <QRandomGenerator>
#include <QtTest>

#include <cmath>
#include <limits>

using namespace Morvek::Tools;
using Morvek::Tests::jpegBytes;

namespace {

constexpr qint64 Now = 1700049600123;
constexpr qint64 Hour = 60 * 60 * 1000;
constexpr int DataBlocks = 64;

QImage stampedTile(const sTileStamp &stamp, const QSize &size = QSize(480, 270))
{
    QImage picture(size, QImage::Format_RGB32);
    picture.fill(QColor(40, 90, 160));
    drawTileStamp(picture, picture.rect(), stamp);
    return picture;
}

std::optional<sTileStamp> read(const QImage &tile, qint64 nNowMs = Now)
{
    return readTileStamp(tile, tile.rect(), nNowMs);
}

bool isSame(const std::optional<sTileStamp> &actual, const sTileStamp &expected)
{
    return actual && actual->m_nInput == expected.m_nInput && actual->m_nFrame == expected.m_nFrame
        && actual->m_nTimeMs == expected.m_nTimeMs;
}

QPoint blockCentre(const QImage &tile, int row, int column)
{
    return stampBlockRect(tile.rect(), row, column).center().toPoint();
}

void flipBlock(QImage &tile, int row, int column)
{
    const bool isWhite = qGray(tile.pixel(blockCentre(tile, row, column))) > 127;
    QPainter painter(&tile);
    painter.fillRect(stampBlockRect(tile.rect(), row, column).toAlignedRect(),
                     isWhite ? Qt::black : Qt::white);
}

} // namespace

class tst_TileStamp : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void stampSurvivesJpegAndScaling_data();
    void stampSurvivesJpegAndScaling();
    void everyFieldComesBack_data();
    void everyFieldComesBack();
    void timeIsCompletedToTheNearest_data();
    void timeIsCompletedToTheNearest();
    void blocksLieAsDocumented();

    void stampSurvivesTreatment_data();
    void stampSurvivesTreatment();
    void brightnessMayChangeAlongTheRow();
    void partOfATileIsEnough();
    void tileWithoutItsStampIsRefused_data();
    void tileWithoutItsStampIsRefused();

    void anyFlippedBlockIsRefused();
    void anyTwoFlippedDataBlocksAreRefused();
    void plainPicturesAreRefused_data();
    void plainPicturesAreRefused();
    void noiseIsRefused();
    void impossibleRectanglesAreRefused_data();
    void impossibleRectanglesAreRefused();
    void drawingWhereNothingCanBeDrawnDoesNothing();
};

void tst_TileStamp::stampSurvivesJpegAndScaling_data()
{
    QTest::addColumn<int>("tiles");
    QTest::addColumn<int>("quality");
    QTest::addColumn<QSize>("size");
    const QSize sizes[] = {{}, {320, 180}, {240, 135}, {160, 90}, {333, 155}, {200, 200}};
    for (const int tiles : {4, 9, 16, 25}) {
        for (const int quality : {60, 80, 95}) {
            for (const QSize &size : sizes) {
                QTest::addRow("%d tiles, quality %d, %d x %d", tiles, quality, size.width(),
                              size.height())
                    << tiles << quality << size;
            }
        }
    }
}

void tst_TileStamp::stampSurvivesJpegAndScaling()
{
    QFETCH(int, tiles);
    QFETCH(int, quality);
    QFETCH(QSize, size);
    EchoPainter painter(tiles);
    const QByteArray jpeg = jpegBytes(painter.paint(43981, Now - 250), quality);
    const QImage picture = QImage::fromData(jpeg);
    for (int index = 0; index < tiles; ++index) {
        const QImage tile = picture.copy(tileRect(tiles, index));
        const QSize wanted = size.isEmpty() ? tile.size() : size;
        for (const auto mode : {Qt::FastTransformation, Qt::SmoothTransformation}) {
            const QImage scaled = tile.scaled(wanted, Qt::IgnoreAspectRatio, mode);
            QVERIFY2(isSame(read(scaled), {quint8(index), 43981, Now - 250}),
                     qPrintable(QStringLiteral("tile %1, mode %2").arg(index).arg(mode)));
        }
    }
}

void tst_TileStamp::everyFieldComesBack_data()
{
    QTest::addColumn<int>("input");
    QTest::addColumn<quint32>("frame");
    QTest::addColumn<qint64>("time");
    QTest::newRow("nothing but zeros") << 0 << 0u << qint64(0);
    QTest::newRow("last input") << 24 << 1u << Now;
    QTest::newRow("all bits of the input") << 255 << 0u << Now;
    QTest::newRow("all bits of the frame") << 3 << 65535u << Now;
    QTest::newRow("all bits of the time") << 3 << 7u << qint64(0xffffff);
    QTest::newRow("frame beyond its modulo") << 3 << 65536u + 12 << Now;
    QTest::newRow("alternating bits") << 0xaa << 0x5555u << qint64(0xaaaaaa);
}

void tst_TileStamp::everyFieldComesBack()
{
    QFETCH(int, input);
    QFETCH(quint32, frame);
    QFETCH(qint64, time);
    const QImage tile = stampedTile({quint8(input), frame, time});
    QVERIFY(isSame(read(tile, time), {quint8(input), frame % 65536, time}));
}

void tst_TileStamp::timeIsCompletedToTheNearest_data()
{
    QTest::addColumn<qint64>("now");
    QTest::addColumn<qint64>("time");
    const qint64 wrap = (Now / 0x1000000 + 1) * 0x1000000; // the stamp's time is 0 there
    QTest::newRow("same moment") << Now << Now;
    QTest::newRow("a moment ago") << Now << Now - 80;
    QTest::newRow("clocks disagree") << Now << Now + 500;
    QTest::newRow("two hours ago") << Now << Now - 2 * Hour;
    QTest::newRow("two hours ahead") << Now << Now + 2 * Hour;
    QTest::newRow("wrapped between") << wrap + 40 << wrap - 40;
    QTest::newRow("wraps next") << wrap - 1 << wrap;
    QTest::newRow("around the epoch") << qint64(30) << qint64(-30);
}

void tst_TileStamp::timeIsCompletedToTheNearest()
{
    QFETCH(qint64, now);
    QFETCH(qint64, time);
    QVERIFY(isSame(read(stampedTile({5, 9, time}), now), {5, 9, time}));
}

void tst_TileStamp::blocksLieAsDocumented()
{
    const QImage tile = stampedTile({0x13, 0xbeef, 0x123456}, QSize(800, 400));
    QByteArray bytes("\x13\xbe\xef\x12\x34\x56", 6);
    const quint16 sum = qChecksum(bytes.constData(), 6);
    bytes.append(char(sum >> 8)).append(char(sum & 0xff));
    QString bits;
    for (const char byte : qAsConst(bytes)) {
        bits += QString::number(quint8(byte), 2).rightJustified(8, '0');
    }
    const QString rows[] = {"10" + bits.left(32) + "01", "01" + bits.mid(32) + "10"};
    for (int row = 0; row < 2; ++row) {
        QString seen;
        for (int column = 0; column < 36; ++column) {
            // 1/40 of 800 and 9/200 of 400 pixels; the first block begins at 40, 28.
            const QRgb pixel = tile.pixel(40 + column * 20 + 10, 28 + row * 18 + 9);
            seen += pixel == qRgb(255, 255, 255) ? '1' : pixel == qRgb(0, 0, 0) ? '0' : '?';
        }
        QCOMPARE(seen, rows[row]);
    }
}

void tst_TileStamp::stampSurvivesTreatment_data()
{
    QTest::addColumn<QImage>("tile");
    const QImage tile = stampedTile({24, 4711, Now}, QSize(320, 180));
    QImage inverted = tile;
    inverted.invertPixels();
    QImage grey = tile.convertToFormat(QImage::Format_Grayscale8);
    QTest::newRow("inverted") << inverted;
    QTest::newRow("without colour") << grey;
    grey.invertPixels();
    QTest::newRow("inverted without colour") << grey;
    for (const auto format :
         {QImage::Format_RGB888, QImage::Format_RGB16, QImage::Format_ARGB32,
          QImage::Format_ARGB32_Premultiplied, QImage::Format_Indexed8, QImage::Format_Mono}) {
        QTest::addRow("format %d", format) << tile.convertToFormat(format);
    }
    QImage dim(tile.size(), QImage::Format_RGB32);
    dim.fill(QColor(90, 60, 120));
    QPainter painter(&dim);
    painter.setOpacity(0.3);
    painter.drawImage(0, 0, tile);
    painter.end();
    QTest::newRow("little contrast") << dim;
    QImage sheer = tile.convertToFormat(QImage::Format_ARGB32);
    painter.begin(&sheer);
    painter.setCompositionMode(QPainter::CompositionMode_DestinationIn);
    painter.fillRect(sheer.rect(), QColor(0, 0, 0, 100));
    painter.end();
    QTest::newRow("translucent") << sheer;
}

void tst_TileStamp::stampSurvivesTreatment()
{
    QFETCH(QImage, tile);
    QVERIFY(isSame(read(tile), {24, 4711, Now}));
}

void tst_TileStamp::brightnessMayChangeAlongTheRow()
{
    QImage tile = stampedTile({12, 4711, Now}, QSize(320, 180));
    QLinearGradient light(0, 0, 320, 0);
    light.setColorAt(0, QColor(255, 255, 255, 200));
    light.setColorAt(1, QColor(0, 0, 0, 200));
    QPainter painter(&tile);
    painter.fillRect(tile.rect(), light);
    painter.end();
    // Black at the left is now brighter than white at the right.
    QVERIFY(qGray(tile.pixel(blockCentre(tile, 0, 1))) > 160);
    QVERIFY(qGray(tile.pixel(blockCentre(tile, 0, 35))) < 90);
    QVERIFY(isSame(read(tile), {12, 4711, Now}));
}

void tst_TileStamp::partOfATileIsEnough()
{
    const QImage tile = stampedTile({8, 15, Now});
    const QImage upperHalf = tile.copy(15, 10, 450, 100);
    QVERIFY(isSame(readTileStamp(upperHalf, QRectF(-15, -10, 480, 270), Now), {8, 15, Now}));
    const QImage shrunk = upperHalf.scaled(225, 50);
    QVERIFY(isSame(readTileStamp(shrunk, QRectF(-7.5, -5, 240, 135), Now), {8, 15, Now}));
}

void tst_TileStamp::tileWithoutItsStampIsRefused_data()
{
    QTest::addColumn<QRect>("cut");
    QTest::newRow("left end cut off") << QRect(30, 0, 450, 270);
    QTest::newRow("right end cut off") << QRect(0, 0, 450, 270);
    QTest::newRow("upper row cut off") << QRect(0, 25, 480, 245);
    QTest::newRow("lower row cut off") << QRect(0, 0, 480, 35);
    QTest::newRow("lower half") << QRect(0, 135, 480, 135);
}

void tst_TileStamp::tileWithoutItsStampIsRefused()
{
    QFETCH(QRect, cut);
    const QImage tile = stampedTile({8, 15, Now});
    QVERIFY(read(tile).has_value());
    const QRectF wholeTile(-cut.left(), -cut.top(), 480, 270);
    QVERIFY(!readTileStamp(tile.copy(cut), wholeTile, Now));
}

void tst_TileStamp::anyFlippedBlockIsRefused()
{
    const QImage tile = stampedTile({17, 4711, Now});
    QVERIFY(read(tile).has_value());
    for (int row = 0; row < StampRows; ++row) {
        for (int column = 0; column < StampColumns; ++column) {
            QImage flipped = tile;
            flipBlock(flipped, row, column);
            QVERIFY2(!read(flipped),
                     qPrintable(QStringLiteral("row %1, column %2").arg(row).arg(column)));
        }
    }
}

void tst_TileStamp::anyTwoFlippedDataBlocksAreRefused()
{
    const QImage tile = stampedTile({17, 4711, Now}, QSize(160, 90));
    for (int first = 0; first < DataBlocks; ++first) {
        QImage once = tile;
        flipBlock(once, first / 32, 2 + first % 32);
        for (int second = first + 1; second < DataBlocks; ++second) {
            QImage twice = once;
            flipBlock(twice, second / 32, 2 + second % 32);
            QVERIFY2(!read(twice),
                     qPrintable(QStringLiteral("blocks %1 and %2").arg(first).arg(second)));
        }
    }
    QVERIFY(read(tile).has_value());
}

void tst_TileStamp::plainPicturesAreRefused_data()
{
    QTest::addColumn<QImage>("picture");
    QTest::newRow("null") << QImage();
    QTest::newRow("one pixel") << Morvek::Tests::solidPicture(QSize(1, 1), Qt::white);
    for (const auto color : {Qt::black, Qt::white, Qt::red, Qt::transparent}) {
        QTest::addRow("colour %d", color) << Morvek::Tests::solidPicture(QSize(320, 180), color);
    }
    QTest::newRow("gradient") << Morvek::Tests::gradientPicture(QSize(320, 180));
    const QImage tile = stampedTile({1, 2, Now});
    QTest::newRow("mirrored") << tile.mirrored(true, false);
    QTest::newRow("upside down") << tile.mirrored(false, true);
    QTest::newRow("too small") << tile.scaled(70, 40);
}

void tst_TileStamp::plainPicturesAreRefused()
{
    QFETCH(QImage, picture);
    QVERIFY(!read(picture));
}

void tst_TileStamp::noiseIsRefused()
{
    QRandomGenerator random(20231115);
    QImage noise(320, 180, QImage::Format_RGB32);
    QImage randomData = stampedTile({1, 2, Now}, noise.size());
    for (int round = 0; round < 300; ++round) {
        for (int y = 0; y < noise.height(); ++y) {
            auto *line = reinterpret_cast<quint32 *>(noise.scanLine(y));
            random.fillRange(line, noise.width());
        }
        for (int bit = 0; bit < DataBlocks; ++bit) {
            if (random.bounded(2) == 0) {
                flipBlock(randomData, bit / 32, 2 + bit % 32);
            }
        }
        QVERIFY2(!read(noise), qPrintable(QString::number(round)));
        QVERIFY2(!read(randomData), qPrintable(QString::number(round)));
    }
}

void tst_TileStamp::impossibleRectanglesAreRefused_data()
{
    constexpr qreal Infinity = std::numeric_limits<qreal>::infinity();
    constexpr qreal Largest = std::numeric_limits<qreal>::max();
    QTest::addColumn<QRectF>("tile");
    QTest::newRow("null") << QRectF();
    QTest::newRow("no width") << QRectF(0, 0, 0, 270);
    QTest::newRow("negative size") << QRectF(480, 270, -480, -270);
    QTest::newRow("beside the picture") << QRectF(480, 0, 480, 270);
    QTest::newRow("far away") << QRectF(1e9, -1e9, 480, 270);
    QTest::newRow("too large") << QRectF(0, 0, 4800, 2700);
    QTest::newRow("huge") << QRectF(-Largest / 2, 0, Largest, Largest);
    QTest::newRow("infinite") << QRectF(0, 0, Infinity, Infinity);
    QTest::newRow("from infinity") << QRectF(-Infinity, -Infinity, Infinity, Infinity);
    QTest::newRow("not a number") << QRectF(std::nan(""), 0, 480, std::nan(""));
    QTest::newRow("shifted by a row") << QRectF(0, -270 * 0.045, 480, 270);
    QTest::newRow("shifted by a block") << QRectF(12, 0, 480, 270);
}

void tst_TileStamp::impossibleRectanglesAreRefused()
{
    QFETCH(QRectF, tile);
    const QImage picture = stampedTile({1, 2, Now});
    QVERIFY(read(picture).has_value());
    QVERIFY(!readTileStamp(picture, tile, Now));
}

void tst_TileStamp::drawingWhereNothingCanBeDrawnDoesNothing()
{
    QImage null;
    drawTileStamp(null, QRect(0, 0, 480, 270), {});
    QVERIFY(null.isNull());
    for (const auto format : {QImage::Format_Indexed8, QImage::Format_Mono}) {
        const QImage before = stampedTile({1, 2, Now}).convertToFormat(format);
        QImage picture = before;
        drawTileStamp(picture, picture.rect(), {3, 4, Now});
        QCOMPARE(picture, before);
    }
    QImage picture = stampedTile({1, 2, Now});
    const QImage before = picture.copy();
    drawTileStamp(picture, QRect(), {3, 4, Now});
    drawTileStamp(picture, QRect(1000, 1000, 480, 270), {3, 4, Now});
    QCOMPARE(picture, before);
}

QTEST_GUILESS_MAIN(tst_TileStamp)

#include "tst_tilestamp.moc"
