// The mask: what lies outside its insets is cleared.

#include "logcapture.h"
#include "picturecompare.h"
#include "testlayers.h"
#include "testpictures.h"

#include <layervideomanager.h>

#include <QObject>
#include <QtTest>

#include <array>

using namespace Morvek::EchoVideo;
using namespace Morvek::Tests;

namespace {

using Insets = std::array<double, 4>; // top, bottom, left, right

// Keeps the picture inside a rectangle and nothing outside.
QImage keptInside(const QImage &picture, const QRect &rect)
{
    QImage result = picture;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            if (!rect.contains(x, y))
                result.setPixel(x, y, 0);
        }
    }
    return result;
}

sLayerVideoConfig maskedLayer(const QRectF &rect, const Insets &insets)
{
    sLayerVideoConfig cfg = pictureLayer(rect);
    cfg.m_LayerMask.m_bMaskEnable = true;
    cfg.m_LayerMask.m_maskSize = insets;
    return cfg;
}

} // namespace

Q_DECLARE_METATYPE(Insets)

class tst_LayerDecorateMask : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void maskKeepsWhatLiesInsideItsInsets_data();
    void maskKeepsWhatLiesInsideItsInsets();
    void maskWhoseInsetsMeetClearsTheCanvas_data();
    void maskWhoseInsetsMeetClearsTheCanvas();
    void maskThatIsNotEnabledKeepsEverything();
    void maskLiesInTheLayersRectangle();
    void maskThatCannotBeMadeIsTwoByTwoAfterAWarning_data();
    void maskThatCannotBeMadeIsTwoByTwoAfterAWarning();
};

void tst_LayerDecorateMask::maskKeepsWhatLiesInsideItsInsets_data()
{
    QTest::addColumn<Insets>("insets");
    QTest::addColumn<QRect>("kept");

    // On a layer of 20 x 16
    QTest::newRow("none") << Insets{0, 0, 0, 0} << QRect(0, 0, 20, 16);
    QTest::newRow("all different") << Insets{1, 2, 3, 4} << QRect(3, 1, 13, 13);
    QTest::newRow("top") << Insets{5, 0, 0, 0} << QRect(0, 5, 20, 11);
    QTest::newRow("bottom") << Insets{0, 5, 0, 0} << QRect(0, 0, 20, 11);
    QTest::newRow("left") << Insets{0, 0, 5, 0} << QRect(5, 0, 15, 16);
    QTest::newRow("right") << Insets{0, 0, 0, 5} << QRect(0, 0, 15, 16);
    QTest::newRow("all but one pixel") << Insets{7, 8, 9, 10} << QRect(9, 7, 1, 1);
    QTest::newRow("rounded, halves upward") << Insets{2.4, 0, 2.5, 0} << QRect(3, 2, 17, 14);
    QTest::newRow("far edges rounded") << Insets{0, 2.4, 0, 2.6} << QRect(0, 0, 17, 14);
    QTest::newRow("negative: beyond the layer") << Insets{-3, -3, -3, -3} << QRect(0, 0, 20, 16);
    QTest::newRow("negative on one side") << Insets{0, 0, -3, 5} << QRect(0, 0, 15, 16);
}

void tst_LayerDecorateMask::maskKeepsWhatLiesInsideItsInsets()
{
    QFETCH(Insets, insets);
    QFETCH(QRect, kept);

    const QImage picture = brightPicture(QSize(20, 16));
    const sLayerVideoConfig cfg = maskedLayer(QRectF(0, 0, 20, 16), insets);
    LogCapture log;
    COMPARE_PICTURES(drawn(&LayerVideoManager::drawMask, picture, cfg), keptInside(picture, kept));
    QCOMPARE(log.lines().size(), 0);
}

void tst_LayerDecorateMask::maskWhoseInsetsMeetClearsTheCanvas_data()
{
    QTest::addColumn<Insets>("insets");

    QTest::newRow("left and right meet") << Insets{0, 0, 12, 8};
    QTest::newRow("left and right pass each other") << Insets{0, 0, 15, 15};
    QTest::newRow("top and bottom meet") << Insets{8, 8, 0, 0};
    QTest::newRow("top and bottom pass each other") << Insets{12, 12, 0, 0};
    QTest::newRow("both pass each other") << Insets{12, 12, 15, 15};
    QTest::newRow("one beyond the other side") << Insets{0, 0, 100, 0};
}

void tst_LayerDecorateMask::maskWhoseInsetsMeetClearsTheCanvas()
{
    QFETCH(Insets, insets);

    const sLayerVideoConfig cfg = maskedLayer(QRectF(0, 0, 20, 16), insets);
    COMPARE_PICTURES(drawn(&LayerVideoManager::drawMask, brightPicture(QSize(20, 16)), cfg),
                     solidPicture(QSize(20, 16), Qt::transparent));
}

void tst_LayerDecorateMask::maskThatIsNotEnabledKeepsEverything()
{
    sLayerVideoConfig cfg = maskedLayer(QRectF(0, 0, 20, 16), {5, 5, 5, 5});
    cfg.m_LayerMask.m_bMaskEnable = false;
    const QImage picture = brightPicture(QSize(20, 16));
    COMPARE_PICTURES(drawn(&LayerVideoManager::drawMask, picture, cfg), picture);
}

void tst_LayerDecorateMask::maskLiesInTheLayersRectangle()
{
    const QImage picture = brightPicture(QSize(20, 16));
    const sLayerVideoConfig cfg = maskedLayer(QRectF(6, 4, 20, 16), {1, 0, 2, 0});
    QImage expected = picture; // outside the rectangle nothing is cut
    for (int y = 4; y < 16; ++y) {
        for (int x = 6; x < 20; ++x) {
            if (x < 6 + 2 || y < 4 + 1)
                expected.setPixel(x, y, 0);
        }
    }
    COMPARE_PICTURES(drawn(&LayerVideoManager::drawMask, picture, cfg), expected);
}

void tst_LayerDecorateMask::maskThatCannotBeMadeIsTwoByTwoAfterAWarning_data()
{
    QTest::addColumn<QRectF>("rect");
    QTest::addColumn<Insets>("insets");
    QTest::addColumn<bool>("isKept");

    QTest::newRow("empty layer: drawn nowhere") << QRectF(0, 0, 0, 0) << Insets{0, 0, 0, 0} << true;
    // Wider than a picture can be: the 2 x 2 mask is stretched, its left half over the canvas.
    QTest::newRow("kept half") << QRectF(0, 0, 2e8, 16) << Insets{0, 0, 0, 0} << true;
    QTest::newRow("cleared half") << QRectF(0, 0, 2e8, 16) << Insets{0, 0, 1, 0} << false;
}

void tst_LayerDecorateMask::maskThatCannotBeMadeIsTwoByTwoAfterAWarning()
{
    QFETCH(QRectF, rect);
    QFETCH(Insets, insets);
    QFETCH(bool, isKept);

    const QImage picture = brightPicture(QSize(20, 16));
    LogCapture log;
    const QImage canvas = drawn(&LayerVideoManager::drawMask, picture, maskedLayer(rect, insets));
    COMPARE_PICTURES(canvas, isKept ? picture : solidPicture(QSize(20, 16), Qt::transparent));
    QCOMPARE(log.lines().size(), 1);
    const sLogLine line = log.lines().constFirst();
    QCOMPARE(line.m_strText, QStringLiteral("The layer  7  size is invalid. reset (2x2)"));
    QCOMPARE(line.m_eType, QtWarningMsg);
}

QTEST_GUILESS_MAIN(tst_LayerDecorateMask)
#include "tst_layerdecorate_mask.moc"
