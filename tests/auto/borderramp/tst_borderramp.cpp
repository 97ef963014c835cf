// The eased ramp and the quarter tiles of soft and halo borders, against values worked out by hand.

#include <borderramp_p.h>

#include <QImage>
#include <QObject>
#include <QVector>
#include <QtTest>

using namespace Morvek::EchoVideo::Internal;

namespace {

using Alphas = QVector<QVector<int>>; // rows of columns

Alphas alphasOf(const QImage &tile)
{
    Alphas alphas;
    for (int y = 0; y < tile.height(); ++y) {
        QVector<int> row;
        for (int x = 0; x < tile.width(); ++x)
            row.append(qAlpha(tile.pixel(x, y)));
        alphas.append(row);
    }
    return alphas;
}

// Compares without the opacity: every pixel has the same colour.
bool isAllOfColor(const QImage &tile, const QColor &color)
{
    for (int y = 0; y < tile.height(); ++y) {
        for (int x = 0; x < tile.width(); ++x) {
            if ((tile.pixel(x, y) & RGB_MASK) != (color.rgb() & RGB_MASK))
                return false;
        }
    }
    return !tile.isNull();
}

} // namespace

class tst_BorderRamp : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void rampRisesFromTheEdgeToTheOpacity_data();
    void rampRisesFromTheEdgeToTheOpacity();
    void rampNeverFalls();

    void softTileMultipliesBothRamps();
    void softTileWithoutThicknessIsClearOnTheOutermostPixelsOnly();
    void softTileInsideItsThicknessNeverBecomesOpaque();
    void softTileIsStraightArgbInOneGray();
    void softTileOfNegativeThicknessIsClear();

    void haloTileFadesInward();
    void haloTileInteriorKeepsTheColorsShare_data();
    void haloTileInteriorKeepsTheColorsShare();
    void haloTileKeepsTheBorderColor_data();
    void haloTileKeepsTheBorderColor();
    void haloTileFadesLessForAFainterColor();

    void tileThatCannotBeMadeIsNull_data();
    void tileThatCannotBeMadeIsNull();
};

void tst_BorderRamp::rampRisesFromTheEdgeToTheOpacity_data()
{
    QTest::addColumn<int>("value");
    QTest::addColumn<int>("total");
    QTest::addColumn<double>("opacity");
    QTest::addColumn<double>("expected");

    QTest::newRow("edge") << 0 << 50 << 1.0 << 0.0;
    QTest::newRow("a quarter: 4 / 64") << 5 << 20 << 1.0 << 0.0625;
    QTest::newRow("a tenth: 4 / 1000") << 2 << 20 << 1.0 << 0.004;
    QTest::newRow("middle") << 25 << 50 << 1.0 << 0.5;
    QTest::newRow("three quarters: 1 - 1 / 16") << 15 << 20 << 1.0 << 0.9375;
    QTest::newRow("full thickness") << 50 << 50 << 1.0 << 1.0;
    QTest::newRow("one beyond") << 51 << 50 << 1.0 << 1.0;
    QTest::newRow("far beyond") << 100000 << 50 << 1.0 << 1.0;
    QTest::newRow("opacity scales the middle") << 10 << 20 << 0.3 << 0.15;
    QTest::newRow("opacity scales the end") << 20 << 20 << 0.3 << 0.3;
    QTest::newRow("no opacity") << 20 << 20 << 0.0 << 0.0;
    QTest::newRow("0 / 0 is the edge") << 0 << 0 << 1.0 << 0.0;
    QTest::newRow("1 / 0 is beyond") << 1 << 0 << 1.0 << 1.0;
    QTest::newRow("-1 / 0 is outside") << -1 << 0 << 1.0 << 0.0;
    QTest::newRow("negative distance") << -5 << 10 << 1.0 << 0.0;
    QTest::newRow("negative thickness") << 5 << -10 << 1.0 << 0.0;
    QTest::newRow("edge of a negative thickness") << 0 << -10 << 1.0 << 0.0;
    QTest::newRow("both negative") << -5 << -10 << 1.0 << 0.5;
}

void tst_BorderRamp::rampRisesFromTheEdgeToTheOpacity()
{
    QFETCH(int, value);
    QFETCH(int, total);
    QFETCH(double, opacity);
    QFETCH(double, expected);

    QCOMPARE(getOpcity(value, total, opacity), expected);
}

void tst_BorderRamp::rampNeverFalls()
{
    for (int i = 1; i <= 60; ++i)
        QVERIFY2(getOpcity(i, 50, 1.0) >= getOpcity(i - 1, 50, 1.0),
                 qPrintable(QString::number(i)));
}

// Thickness 4 x 2: the ramp is 0, 1/16, 1/2, 15/16 along a row and 0, 1/2, 1, 1 down a column.
void tst_BorderRamp::softTileMultipliesBothRamps()
{
    const Alphas expected = {
        {0, 0, 0, 0, 0},
        {0, 7, 63, 119, 127},   // 7.97, 63.75, 119.53, 127.5 without their fractions
        {0, 15, 127, 239, 255}, // 15.94, 127.5, 239.06
        {0, 15, 127, 239, 255},
    };
    QCOMPARE(alphasOf(softBorderTile(QSize(5, 4), QSize(4, 2))), expected);
}

void tst_BorderRamp::softTileWithoutThicknessIsClearOnTheOutermostPixelsOnly()
{
    const Alphas expected = {{0, 0, 0}, {0, 255, 255}, {0, 255, 255}};
    QCOMPARE(alphasOf(softBorderTile(QSize(3, 3), QSize(0, 0))), expected);
}

// 3 of 8: 4 x 27 / 512 = 0.2109; its square x 255 = 11.35.
void tst_BorderRamp::softTileInsideItsThicknessNeverBecomesOpaque()
{
    const QImage tile = softBorderTile(QSize(4, 4), QSize(8, 8));
    QCOMPARE(qAlpha(tile.pixel(3, 3)), 11);
}

void tst_BorderRamp::softTileIsStraightArgbInOneGray()
{
    const QImage tile = softBorderTile(QSize(6, 5), QSize(3, 3));
    QCOMPARE(tile.format(), QImage::Format_ARGB32);
    QCOMPARE(tile.size(), QSize(6, 5));
    QVERIFY(isAllOfColor(tile, QColor(50, 50, 50)));
}

void tst_BorderRamp::softTileOfNegativeThicknessIsClear()
{
    const Alphas expected = {{0, 0, 0}, {0, 0, 0}};
    QCOMPARE(alphasOf(softBorderTile(QSize(3, 2), QSize(-1, -1))), expected);
}

// The soft tile's ramps, turned round: 255 x (1 - column x row).
void tst_BorderRamp::haloTileFadesInward()
{
    const Alphas expected = {
        {255, 255, 255, 255, 255},
        {255, 247, 191, 135, 127}, // 247.03, 191.25, 135.47, 127.5
        {255, 239, 127, 15, 0},    // 239.06, 127.5, 15.94
        {255, 239, 127, 15, 0},
    };
    QCOMPARE(alphasOf(haloBorderTile(QSize(5, 4), QSize(4, 2), Qt::red)), expected);
}

void tst_BorderRamp::haloTileInteriorKeepsTheColorsShare_data()
{
    QTest::addColumn<int>("alpha");
    QTest::addColumn<int>("interior");

    // 255 x (1 - a x a), without its fraction
    QTest::newRow("opaque: clear") << 255 << 0;
    QTest::newRow("204, a = 0.8: 91.8") << 204 << 91;
    QTest::newRow("128, a = 0.502: 190.7") << 128 << 190;
    QTest::newRow("51, a = 0.2: 244.8") << 51 << 244;
    QTest::newRow("transparent: opaque") << 0 << 255;
}

void tst_BorderRamp::haloTileInteriorKeepsTheColorsShare()
{
    QFETCH(int, alpha);
    QFETCH(int, interior);

    const QImage tile = haloBorderTile(QSize(3, 3), QSize(1, 1), QColor(10, 20, 30, alpha));
    const Alphas expected = {{255, 255, 255}, {255, interior, interior}, {255, interior, interior}};
    QCOMPARE(alphasOf(tile), expected);
}

void tst_BorderRamp::haloTileKeepsTheBorderColor_data()
{
    QTest::addColumn<QColor>("color");

    QTest::newRow("opaque") << QColor(10, 20, 30);
    QTest::newRow("translucent") << QColor(10, 200, 30, 128);
    QTest::newRow("transparent") << QColor(250, 20, 30, 0);
}

void tst_BorderRamp::haloTileKeepsTheBorderColor()
{
    QFETCH(QColor, color);

    const QImage tile = haloBorderTile(QSize(6, 5), QSize(3, 3), color);
    QCOMPARE(tile.format(), QImage::Format_ARGB32);
    QCOMPARE(tile.size(), QSize(6, 5));
    QVERIFY(isAllOfColor(tile, color));
}

// Half way along both ramps, with a = 0.2: 255 x (1 - 0.1 x 0.1) = 252.45.
void tst_BorderRamp::haloTileFadesLessForAFainterColor()
{
    const QImage tile = haloBorderTile(QSize(3, 3), QSize(2, 2), QColor(0, 0, 0, 51));
    QCOMPARE(qAlpha(tile.pixel(1, 1)), 252);
}

void tst_BorderRamp::tileThatCannotBeMadeIsNull_data()
{
    QTest::addColumn<QSize>("size");

    QTest::newRow("empty") << QSize(0, 0);
    QTest::newRow("no width") << QSize(0, 5);
    QTest::newRow("no height") << QSize(5, 0);
    QTest::newRow("negative") << QSize(-3, -4);
    QTest::newRow("wider than a picture can be") << QSize(1 << 28, 4);
}

void tst_BorderRamp::tileThatCannotBeMadeIsNull()
{
    QFETCH(QSize, size);

    QVERIFY(softBorderTile(size, QSize(2, 2)).isNull());
    QVERIFY(haloBorderTile(size, QSize(2, 2), Qt::red).isNull());
}

QTEST_APPLESS_MAIN(tst_BorderRamp)
#include "tst_borderramp.moc"
