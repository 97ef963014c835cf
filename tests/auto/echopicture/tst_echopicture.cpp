// The simulated device's pictures: layout, glyphs, painter. No GUI application is made on purpose.

#include <blockglyphs.h>
#include <echolayout.h>
#include <echopainter.h>
#include <tilestamp.h>

#include "picturecompare.h"

#include <QElapsedTimer>
#include <QPainter>
#include <QSet>
#include <QtTest>

using namespace Morvek::Tools;

namespace {

constexpr qint64 Noon = 1700049600000; // 2023-11-15 12:00:00 UTC

bool isClearlyDifferent(QRgb left, QRgb right)
{
    return qAbs(qRed(left) - qRed(right)) > 24 || qAbs(qGreen(left) - qGreen(right)) > 24
        || qAbs(qBlue(left) - qBlue(right)) > 24;
}

int clearlyDifferentPixels(const QImage &left, const QImage &right)
{
    int count = 0;
    for (int y = 0; y < left.height(); ++y) {
        for (int x = 0; x < left.width(); ++x) {
            count += isClearlyDifferent(left.pixel(x, y), right.pixel(x, y)) ? 1 : 0;
        }
    }
    return count;
}

/** A tile without the rows of blocks: what people see. */
QImage peoplesPart(const QImage &picture, const QRect &tile)
{
    const int below = tile.height() / 5; // the stamp ends above it
    return picture.copy(tile.adjusted(0, below, 0, 0));
}

QImage writtenText(const QByteArray &text)
{
    QImage image(200, 30, QImage::Format_RGB32);
    image.fill(Qt::black);
    QPainter painter(&image);
    painter.fillPath(textPath(text, QPointF(0, 0), 4), Qt::white);
    return image;
}

QRect whiteBounds(const QImage &image)
{
    QRegion region;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (qGray(image.pixel(x, y)) > 230) {
                region |= QRect(x, y, 1, 1);
            }
        }
    }
    return region.boundingRect();
}

void addTileCounts()
{
    QTest::addColumn<int>("tiles");
    for (const int tiles : {4, 9, 16, 25}) {
        QTest::addRow("%d tiles", tiles) << tiles;
    }
}

} // namespace

class tst_EchoPicture : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void tilesLieInSquareGrids_data();
    void tilesLieInSquareGrids();
    void tilesCoverThePictureOnce_data() { addTileCounts(); }
    void tilesCoverThePictureOnce();

    void glyphsAreDifferent();
    void textIsAsWideAsItSays();
    void unknownCharactersAreBlank();
    void stripCopiesWhatThePathDraws();

    void everyTileIsDifferent_data() { addTileCounts(); }
    void everyTileIsDifferent();
    void everyTileMovesFromPictureToPicture_data() { addTileCounts(); }
    void everyTileMovesFromPictureToPicture();
    void everyTileIsStamped_data() { addTileCounts(); }
    void everyTileIsStamped();
    void numberOfTheInputIsLarge();
    void timeCodeShowsTheTimeOfDay();
    void pictureDoesNotDependOnTheOnesBefore();
    void keptPictureStaysAsItWas();
    void faultyInputsAreBlackOrStayAndTheOthersGoOn();
    void unknownNumberOfTilesIsBlack();
    void paintingIsFasterThanTheStream();
};

void tst_EchoPicture::tilesLieInSquareGrids_data()
{
    QTest::addColumn<int>("tiles");
    QTest::addColumn<int>("index");
    QTest::addColumn<QRect>("expected");
    QTest::newRow("4, first") << 4 << 0 << QRect(0, 0, 960, 540);
    QTest::newRow("4, second") << 4 << 1 << QRect(960, 0, 960, 540);
    QTest::newRow("4, last") << 4 << 3 << QRect(960, 540, 960, 540);
    QTest::newRow("9, second row begins") << 9 << 3 << QRect(0, 360, 640, 360);
    QTest::newRow("9, last") << 9 << 8 << QRect(1280, 720, 640, 360);
    QTest::newRow("16, first row ends") << 16 << 3 << QRect(1440, 0, 480, 270);
    QTest::newRow("16, last") << 16 << 15 << QRect(1440, 810, 480, 270);
    QTest::newRow("25, middle") << 25 << 12 << QRect(768, 432, 384, 216);
    QTest::newRow("25, last") << 25 << 24 << QRect(1536, 864, 384, 216);
    QTest::newRow("index below the first") << 9 << -1 << QRect();
    QTest::newRow("index behind the last") << 9 << 9 << QRect();
    QTest::newRow("no tiles") << 0 << 0 << QRect();
    QTest::newRow("one tile") << 1 << 0 << QRect();
    QTest::newRow("not a square") << 8 << 0 << QRect();
    QTest::newRow("too large a square") << 36 << 0 << QRect();
    QTest::newRow("negative") << -4 << 0 << QRect();
}

void tst_EchoPicture::tilesLieInSquareGrids()
{
    QFETCH(int, tiles);
    QFETCH(int, index);
    QTEST(tileRect(tiles, index), "expected");
}

void tst_EchoPicture::tilesCoverThePictureOnce()
{
    QFETCH(int, tiles);
    QVERIFY(supportedTileCounts().contains(tiles));
    QRegion covered;
    for (int index = 0; index < tiles; ++index) {
        const QRect tile = tileRect(tiles, index);
        QVERIFY2(!covered.intersects(tile), qPrintable(QString::number(index)));
        covered |= tile;
    }
    QCOMPARE(covered, QRegion(0, 0, 1920, 1080));
}

void tst_EchoPicture::glyphsAreDifferent()
{
    const QByteArray characters = "0123456789:. FRAMEIN";
    QSet<char> seen;
    for (const char left : characters) {
        for (const char right : seen) {
            const bool isSame =
                writtenText(QByteArray(1, left)) == writtenText(QByteArray(1, right));
            QVERIFY2(isSame == (left == right), qPrintable(QString("%1 %2").arg(left).arg(right)));
        }
        seen.insert(left);
    }
    QVERIFY(seen.size() >= 18);
}

void tst_EchoPicture::textIsAsWideAsItSays()
{
    QCOMPARE(textColumns(1), 5);
    QCOMPARE(textColumns(6), 35);
    // Zeros fill their cells from edge to edge.
    QCOMPARE(whiteBounds(writtenText("000000")), QRect(0, 0, 35 * 4, 7 * 4));
}

void tst_EchoPicture::unknownCharactersAreBlank()
{
    QVERIFY(textPath("#~", QPointF(), 4).isEmpty());
    QCOMPARE(whiteBounds(writtenText("~0")), QRect(6 * 4, 0, 5 * 4, 7 * 4));
}

void tst_EchoPicture::stripCopiesWhatThePathDraws()
{
    const GlyphStrip strip(4, Qt::white, Qt::black);
    QImage copied(200, 30, QImage::Format_RGB32);
    copied.fill(Qt::black);
    strip.write(copied, QPoint(0, 0), "12:0.#");
    QImage expected(copied.size(), QImage::Format_RGB32);
    expected.fill(Qt::black);
    QPainter painter(&expected);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(textPath("12:0.", QPointF(0, 0), 4), Qt::white);
    painter.end();
    COMPARE_PICTURES(copied, expected);
}

void tst_EchoPicture::everyTileIsDifferent()
{
    QFETCH(int, tiles);
    EchoPainter painter(tiles);
    const QImage picture = painter.paint(7, Noon);
    QCOMPARE(picture.size(), QSize(1920, 1080));
    QCOMPARE(picture.format(), QImage::Format_RGB32);
    QVector<QImage> seen;
    for (int index = 0; index < tiles; ++index) {
        const QImage tile = peoplesPart(picture, tileRect(tiles, index)).scaled(160, 72);
        for (const QImage &other : qAsConst(seen)) {
            QVERIFY2(clearlyDifferentPixels(tile, other) > 160 * 72 / 5,
                     qPrintable(QString::number(index)));
        }
        seen.append(tile);
    }
}

void tst_EchoPicture::everyTileMovesFromPictureToPicture()
{
    QFETCH(int, tiles);
    EchoPainter painter(tiles);
    QImage before = painter.paint(0, Noon);
    // The time stands still and the millionth picture shows the number of the first one: what then
    // differs is what moves.
    for (const quint32 number : {1u, 2u, 24u, 60u, 120u, 1000120u}) {
        const QImage now = painter.paint(number, Noon);
        for (int index = 0; index < tiles; ++index) {
            const QImage tile = peoplesPart(now, tileRect(tiles, index));
            const int moved =
                clearlyDifferentPixels(tile, peoplesPart(before, tileRect(tiles, index)));
            QVERIFY2(moved > tile.width() * tile.height() / 1000,
                     qPrintable(QStringLiteral("picture %1, tile %2: %3 pixels moved")
                                    .arg(number)
                                    .arg(index)
                                    .arg(moved)));
        }
        before = now;
    }
}

void tst_EchoPicture::everyTileIsStamped()
{
    QFETCH(int, tiles);
    EchoPainter painter(tiles);
    for (const quint32 number : {0u, 1u, 65535u, 65536u}) {
        const QImage &picture = painter.paint(number, Noon + number);
        for (int index = 0; index < tiles; ++index) {
            const auto stamp = readTileStamp(picture, tileRect(tiles, index), Noon);
            QVERIFY(stamp.has_value());
            QCOMPARE(int(stamp->m_nInput), index);
            QCOMPARE(stamp->m_nFrame, number % 65536);
            QCOMPARE(stamp->m_nTimeMs, Noon + number);
        }
    }
}

void tst_EchoPicture::numberOfTheInputIsLarge()
{
    EchoPainter painter(25);
    const QImage picture = painter.paint(0, Noon);
    for (int index = 0; index < 25; ++index) {
        const QImage preview =
            picture.copy(tileRect(25, index))
                .scaled(160, 90, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        // Left of the dial, between the stamp and the colour bars.
        const QRect bounds = whiteBounds(preview.copy(0, 18, 104, 44));
        QVERIFY2(bounds.height() >= 36, qPrintable(QString::number(index)));
        QVERIFY2(bounds.width() >= 36, qPrintable(QString::number(index)));
    }
}

void tst_EchoPicture::timeCodeShowsTheTimeOfDay()
{
    constexpr qint64 Day = 24 * 60 * 60 * 1000;
    EchoPainter painter(4);
    const QRect tile = tileRect(4, 2);
    const QImage noon = peoplesPart(painter.paint(3, Noon), tile);
    COMPARE_PICTURES(peoplesPart(painter.paint(3, Noon + Day), tile), noon);
    COMPARE_PICTURES(peoplesPart(painter.paint(3, Noon % Day - Day), tile), noon);
    for (const qint64 later : {1, 1000, 60 * 1000, 60 * 60 * 1000}) {
        QVERIFY(peoplesPart(painter.paint(3, Noon + later), tile) != noon);
    }
}

void tst_EchoPicture::pictureDoesNotDependOnTheOnesBefore()
{
    EchoPainter used(9);
    for (quint32 number = 0; number < 130; ++number) {
        used.paint(number, Noon + number * 977);
    }
    EchoPainter fresh(9);
    COMPARE_PICTURES(used.paint(5, Noon), fresh.paint(5, Noon));
}

void tst_EchoPicture::keptPictureStaysAsItWas()
{
    EchoPainter painter(16);
    const QImage kept = painter.paint(0, Noon);
    const QImage copy = kept.copy();
    QVERIFY(painter.paint(1, Noon + 40) != kept);
    COMPARE_PICTURES(kept, copy);
}

void tst_EchoPicture::faultyInputsAreBlackOrStayAndTheOthersGoOn()
{
    EchoPainter painter(9);
    EchoPainter whole(9);
    painter.setStill({6});
    const QImage first = painter.paint(0, Noon).copy();
    COMPARE_PICTURES(first, whole.paint(0, Noon));
    painter.setDark({3});
    QImage black = first.copy(tileRect(9, 3));
    black.fill(Qt::black);
    const QImage later = painter.paint(1, Noon + 40).copy();
    const QImage wholeLater = whole.paint(1, Noon + 40).copy();
    for (int nInput = 0; nInput < 9; ++nInput) {
        const QRect tile = tileRect(9, nInput);
        const QImage expected = nInput == 3 ? black
                              : nInput == 6 ? first.copy(tile)
                                            : wholeLater.copy(tile);
        COMPARE_PICTURES(later.copy(tile), expected);
    }
    painter.setDark({});
    painter.setStill({});
    COMPARE_PICTURES(painter.paint(2, Noon + 80), whole.paint(2, Noon + 80));
}

void tst_EchoPicture::unknownNumberOfTilesIsBlack()
{
    for (const int tiles : {-1, 0, 1, 5, 36}) {
        const QImage picture = EchoPainter(tiles).paint(0, Noon);
        QImage black(1920, 1080, QImage::Format_RGB32);
        black.fill(Qt::black);
        COMPARE_PICTURES(picture, black);
    }
}

void tst_EchoPicture::paintingIsFasterThanTheStream()
{
    EchoPainter painter(25);
    constexpr int Pictures = 50;
    QElapsedTimer clock;
    clock.start();
    for (quint32 number = 0; number < Pictures; ++number) {
        painter.paint(number, Noon + number);
    }
    QVERIFY2(clock.elapsed() < Pictures * 1000 / 25, qPrintable(QString::number(clock.elapsed())));
}

QTEST_GUILESS_MAIN(tst_EchoPicture)

#include "tst_echopicture.moc"
