// The borders that fade, soft and halo, pixel by pixel.

#include "picturecompare.h"
#include "testlayers.h"
#include "testpictures.h"

#include <layervideomanager.h>

#include <QObject>
#include <QtTest>

using namespace Morvek::EchoVideo;
using namespace Morvek::Tests;
using Morvek::BizModel::Enum::Layer::BorderType;

namespace {

using Alphas = QVector<QVector<int>>; // rows of columns

// A canvas of one full-bright colour with these alphas; where they are 0, of none.
QImage shaped(const QColor &color, const Alphas &alphas)
{
    QImage picture(alphas.constFirst().size(), alphas.size(), QImage::Format_ARGB32);
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const int nAlpha = alphas[y][x];
            picture.setPixel(
                x, y, nAlpha == 0 ? 0 : qRgba(color.red(), color.green(), color.blue(), nAlpha));
        }
    }
    return picture;
}

} // namespace

class tst_LayerDecorateFade : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void softBorderFadesTowardsEveryEdge();
    void softBorderOfAnOddLayerReachesPastTheFarEdges();
    void softBorderWithoutThicknessClearsTheOutermostPixels();
    void softBorderScalesTheCanvasAlpha();
    void softBorderStartsAtTheCanvasOrigin();

    void haloBorderFadesInward();
    void haloBorderOfATransparentColorCoversTheCanvas();
    void haloBorderOfAFaintColorCoversTheInterior_data();
    void haloBorderOfAFaintColorCoversTheInterior();
    void haloBorderOfAnOddLayerReachesPastTheFarEdges();
    void haloBorderStartsAtTheCanvasOrigin();
};

// Thickness 4 x 2: the ramp is 0, 1/16, 1/2, 15/16 along a row and 0, 1/2, 1, 1 down a column.
void tst_LayerDecorateFade::softBorderFadesTowardsEveryEdge()
{
    const QVector<int> edge = {0, 0, 0, 0, 0, 0, 0, 0};
    const QVector<int> half = {0, 7, 63, 119, 119, 63, 7, 0};
    const QVector<int> full = {0, 15, 127, 239, 239, 127, 15, 0};
    COMPARE_PICTURES(drawn(&LayerVideoManager::drawSoftBorder, solidPicture(QSize(8, 8), Qt::red),
                           borderedLayer({0, 0, 8, 8}, BorderType::Soft, QSize(4, 2))),
                     shaped(Qt::red, {edge, half, full, full, full, full, half, edge}));
}

// Quarters of 4 x 3 on a canvas of 7 x 5: their last column and row are not seen.
void tst_LayerDecorateFade::softBorderOfAnOddLayerReachesPastTheFarEdges()
{
    const QVector<int> edge = {0, 0, 0, 0, 0, 0, 0};
    const QVector<int> half = {0, 7, 63, 119, 119, 63, 7};
    const QVector<int> full = {0, 15, 127, 239, 239, 127, 15};
    COMPARE_PICTURES(drawn(&LayerVideoManager::drawSoftBorder, solidPicture(QSize(7, 5), Qt::red),
                           borderedLayer({0, 0, 7, 5}, BorderType::Soft, QSize(4, 2))),
                     shaped(Qt::red, {edge, half, full, full, half}));
}

void tst_LayerDecorateFade::softBorderWithoutThicknessClearsTheOutermostPixels()
{
    const QVector<int> edge = {0, 0, 0, 0, 0, 0};
    const QVector<int> full = {0, 255, 255, 255, 255, 0};
    COMPARE_PICTURES(drawn(&LayerVideoManager::drawSoftBorder, solidPicture(QSize(6, 4), Qt::red),
                           borderedLayer({0, 0, 6, 4}, BorderType::Soft, QSize(0, 0))),
                     shaped(Qt::red, {edge, full, full, edge}));
}

void tst_LayerDecorateFade::softBorderScalesTheCanvasAlpha()
{
    // A fifth of 0, 15, 127, 239 and 255, in the third of the rows that are not at an edge
    const QImage canvas =
        drawn(&LayerVideoManager::drawSoftBorder, solidPicture(QSize(10, 6), QColor(255, 0, 0, 51)),
              borderedLayer({0, 0, 10, 6}, BorderType::Soft, QSize(4, 2)));
    const QVector<int> expected = {0, 3, 25, 48, 51};
    for (int x = 0; x < 5; ++x)
        QCOMPARE(qAlpha(canvas.pixel(x, 2)), expected[x]);
}

void tst_LayerDecorateFade::softBorderStartsAtTheCanvasOrigin()
{
    const QImage picture = solidPicture(QSize(8, 8), Qt::red);
    const QImage atOrigin = drawn(&LayerVideoManager::drawSoftBorder, picture,
                                  borderedLayer({0, 0, 8, 8}, BorderType::Soft, QSize(4, 2)));
    const QImage offOrigin = drawn(&LayerVideoManager::drawSoftBorder, picture,
                                   borderedLayer({5, -3, 8, 8}, BorderType::Soft, QSize(4, 2)));
    COMPARE_PICTURES(offOrigin, atOrigin);
}

// White over black shows the border's alpha: 255 less the soft border's.
void tst_LayerDecorateFade::haloBorderFadesInward()
{
    const QVector<int> edge = {255, 255, 255, 255, 255, 255, 255, 255};
    const QVector<int> half = {255, 247, 191, 135, 135, 191, 247, 255};
    const QVector<int> full = {255, 239, 127, 15, 15, 127, 239, 255};
    const QVector<QVector<int>> grays = {edge, half, full, full, full, full, half, edge};
    QImage expected(8, 8, QImage::Format_ARGB32);
    for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 8; ++x)
            expected.setPixel(x, y, qRgb(grays[y][x], grays[y][x], grays[y][x]));
    }
    COMPARE_PICTURES(
        drawn(&LayerVideoManager::drawHaloInBorder, solidPicture(QSize(8, 8), Qt::black),
              borderedLayer({0, 0, 8, 8}, BorderType::Halo_in, QSize(4, 2), Qt::white)),
        expected);
}

void tst_LayerDecorateFade::haloBorderOfATransparentColorCoversTheCanvas()
{
    COMPARE_PICTURES(
        drawn(&LayerVideoManager::drawHaloInBorder, gradientPicture(QSize(8, 8)),
              borderedLayer({0, 0, 8, 8}, BorderType::Halo_in, QSize(2, 2), QColor(10, 200, 30, 0)))
            .convertToFormat(QImage::Format_ARGB32),
        solidPicture(QSize(8, 8), QColor(10, 200, 30)));
}

void tst_LayerDecorateFade::haloBorderOfAFaintColorCoversTheInterior_data()
{
    QTest::addColumn<int>("alpha");
    QTest::addColumn<int>("interior");

    // 255 x (1 - a x a), without its fraction; white over black shows it as gray
    QTest::newRow("opaque: clear") << 255 << 0;
    QTest::newRow("204, a = 0.8: 91.8") << 204 << 91;
    QTest::newRow("128, a = 0.502: 190.7") << 128 << 190;
    QTest::newRow("51, a = 0.2: 244.8") << 51 << 244;
    QTest::newRow("transparent: opaque") << 0 << 255;
}

void tst_LayerDecorateFade::haloBorderOfAFaintColorCoversTheInterior()
{
    QFETCH(int, alpha);
    QFETCH(int, interior);

    const QImage canvas =
        drawn(&LayerVideoManager::drawHaloInBorder, solidPicture(QSize(12, 12), Qt::black),
              borderedLayer({0, 0, 12, 12}, BorderType::Halo_in, QSize(3, 3),
                            QColor(255, 255, 255, alpha)));
    QCOMPARE(canvas.pixelColor(0, 6), QColor(Qt::white)); // solid at the edge, whatever its alpha
    QCOMPARE(canvas.pixelColor(6, 11), QColor(Qt::white));
    QCOMPARE(canvas.pixelColor(6, 6), QColor(interior, interior, interior));
    QCOMPARE(canvas.pixelColor(3, 8), QColor(interior, interior, interior));
}

void tst_LayerDecorateFade::haloBorderOfAnOddLayerReachesPastTheFarEdges()
{
    const QImage canvas =
        drawn(&LayerVideoManager::drawHaloInBorder, solidPicture(QSize(7, 5), Qt::black),
              borderedLayer({0, 0, 7, 5}, BorderType::Halo_in, QSize(4, 2), Qt::white));
    const QVector<int> expected = {255, 239, 127, 15, 15, 127, 239};
    for (int x = 0; x < 7; ++x)
        QCOMPARE(qRed(canvas.pixel(x, 2)), expected[x]);
    QCOMPARE(qRed(canvas.pixel(3, 4)), 135); // half way down its ramp, not at its edge
}

void tst_LayerDecorateFade::haloBorderStartsAtTheCanvasOrigin()
{
    const QImage picture = solidPicture(QSize(8, 8), Qt::red);
    const QImage atOrigin = drawn(&LayerVideoManager::drawHaloInBorder, picture,
                                  borderedLayer({0, 0, 8, 8}, BorderType::Halo_in, QSize(4, 2)));
    const QImage offOrigin = drawn(&LayerVideoManager::drawHaloInBorder, picture,
                                   borderedLayer({5, -3, 8, 8}, BorderType::Halo_in, QSize(4, 2)));
    COMPARE_PICTURES(offOrigin, atOrigin);
    QVERIFY(atOrigin != picture);
}

QTEST_GUILESS_MAIN(tst_LayerDecorateFade)
#include "tst_layerdecorate_fade.moc"
