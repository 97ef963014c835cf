// Frozen mark and opacity, each drawn alone; what every drawing leaves of its painter.

#include "logcapture.h"
#include "picturecompare.h"
#include "testlayers.h"
#include "testpictures.h"

#include <layervideomanager.h>

#include <QObject>
#include <QtTest>

#include <limits>
#include <optional>
#include <type_traits>

using namespace Morvek::EchoVideo;
using namespace Morvek::Tests;
using Morvek::BizModel::Enum::Layer::BorderType;

// Constructed while the library is loaded, a pixmap would end a host that has no application yet.
static_assert(std::is_same_v<decltype(LayerVideoManager::m_frozenIcon), std::optional<QPixmap>>);

namespace {

QImage withAlpha(const QImage &picture, const QRect &rect, int nAlpha)
{
    QImage result = picture;
    for (int y = rect.top(); y <= rect.bottom(); ++y) {
        for (int x = rect.left(); x <= rect.right(); ++x)
            result.setPixel(x, y, (picture.pixel(x, y) & RGB_MASK) | uint(nAlpha) << 24);
    }
    return result;
}

sLayerVideoConfig frozenLayer(const QRectF &rect)
{
    sLayerVideoConfig cfg = pictureLayer(rect);
    cfg.m_LayerItem.m_isFrozen = true;
    return cfg;
}

} // namespace

class tst_LayerDecorate : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void frozenMarkSitsTwoPixelsInFromTheCorner_data();
    void frozenMarkSitsTwoPixelsInFromTheCorner();
    void frozenMarkIsScaled_data();
    void frozenMarkIsScaled();
    void frozenMarkLiesOverThePicture();
    void layerThatIsNotFrozenHasNoMark();
    void emptyOrNullMarkDrawsNothing();

    void opacityScalesTheAlpha_data();
    void opacityScalesTheAlpha();
    void halfOpacityHalvesEveryAlpha();
    void opacityAppliesInTheLayersRectangleOnly();

    void layerThatNoNumberHoldsShowsItsColor_data();
    void layerThatNoNumberHoldsShowsItsColor();

    void drawingLeavesThePainterAsItWas_data();
    void drawingLeavesThePainterAsItWas();
};

void tst_LayerDecorate::initTestCase()
{
    QVERIFY(!LayerVideoManager::m_frozenIcon.has_value()); // nothing is assigned at load
}

void tst_LayerDecorate::cleanup()
{
    LayerVideoManager::m_frozenIcon.reset(); // before the application goes
}

void tst_LayerDecorate::frozenMarkSitsTwoPixelsInFromTheCorner_data()
{
    QTest::addColumn<QRectF>("rect");
    QTest::addColumn<QSize>("canvasSize");
    QTest::addColumn<QPoint>("place");

    QTest::newRow("plain") << QRectF(0, 0, 60, 50) << QSize(60, 50) << QPoint(34, 24);
    QTest::newRow("just fits") << QRectF(0, 0, 26, 26) << QSize(26, 26) << QPoint(0, 0);
    QTest::newRow("off the origin") << QRectF(3, 4, 50, 40) << QSize(60, 50) << QPoint(27, 18);
    QTest::newRow("rounded, halves upward")
        << QRectF(0.5, 0.4, 50, 40) << QSize(60, 50) << QPoint(25, 14);
    QTest::newRow("small layer: clipped")
        << QRectF(0, 0, 20, 10) << QSize(20, 10) << QPoint(-6, -16);
    QTest::newRow("too small to be seen") << QRectF(0, 0, 2, 2) << QSize(2, 2) << QPoint(-24, -24);
}

void tst_LayerDecorate::frozenMarkSitsTwoPixelsInFromTheCorner()
{
    QFETCH(QRectF, rect);
    QFETCH(QSize, canvasSize);
    QFETCH(QPoint, place);

    const QImage mark = gradientPicture(QSize(24, 24));
    LayerVideoManager::m_frozenIcon = QPixmap::fromImage(mark);
    const QImage picture = brightPicture(canvasSize);
    QImage expected = picture;
    for (int y = 0; y < 24; ++y) {
        for (int x = 0; x < 24; ++x) {
            if (expected.rect().contains(place + QPoint(x, y)))
                expected.setPixel(place + QPoint(x, y), mark.pixel(x, y));
        }
    }
    COMPARE_PICTURES(drawn(&LayerVideoManager::drawFrozenIcon, picture, frozenLayer(rect)),
                     expected);
}

void tst_LayerDecorate::frozenMarkIsScaled_data()
{
    QTest::addColumn<QSize>("markSize");

    QTest::newRow("larger") << QSize(48, 48);
    QTest::newRow("smaller") << QSize(2, 2);
    QTest::newRow("other proportions") << QSize(96, 12);
}

void tst_LayerDecorate::frozenMarkIsScaled()
{
    QFETCH(QSize, markSize);

    QImage mark = solidPicture(markSize, Qt::green);
    for (int y = 0; y < markSize.height(); ++y) {
        for (int x = 0; x < markSize.width() / 2; ++x)
            mark.setPixelColor(x, y, Qt::blue);
    }
    LayerVideoManager::m_frozenIcon = QPixmap::fromImage(mark);
    QImage expected = solidPicture(QSize(40, 30), Qt::red);
    for (int y = 4; y < 4 + 24; ++y) {
        for (int x = 14; x < 14 + 24; ++x)
            expected.setPixelColor(x, y, x < 14 + 12 ? Qt::blue : Qt::green);
    }
    COMPARE_PICTURES(drawn(&LayerVideoManager::drawFrozenIcon, solidPicture(QSize(40, 30), Qt::red),
                           frozenLayer(QRectF(0, 0, 40, 30))),
                     expected);
}

void tst_LayerDecorate::frozenMarkLiesOverThePicture()
{
    LayerVideoManager::m_frozenIcon =
        QPixmap::fromImage(solidPicture(QSize(24, 24), QColor(0, 0, 255, 51))); // a fifth
    const QImage canvas = drawn(&LayerVideoManager::drawFrozenIcon,
                                solidPicture(QSize(26, 26), Qt::red), frozenLayer({0, 0, 26, 26}));
    QCOMPARE(canvas.pixelColor(12, 12), QColor(204, 0, 51));
    QCOMPARE(canvas.pixelColor(24, 24), QColor(Qt::red));
}

void tst_LayerDecorate::layerThatIsNotFrozenHasNoMark()
{
    LayerVideoManager::m_frozenIcon = QPixmap::fromImage(solidPicture(QSize(24, 24), Qt::blue));
    const QImage picture = brightPicture(QSize(40, 30));
    COMPARE_PICTURES(drawn(&LayerVideoManager::drawFrozenIcon, picture, pictureLayer(40, 30)),
                     picture);
}

void tst_LayerDecorate::emptyOrNullMarkDrawsNothing()
{
    const QImage picture = brightPicture(QSize(40, 30));
    const sLayerVideoConfig cfg = frozenLayer(QRectF(0, 0, 40, 30));
    LogCapture log;
    COMPARE_PICTURES(drawn(&LayerVideoManager::drawFrozenIcon, picture, cfg), picture);
    LayerVideoManager::m_frozenIcon = QPixmap();
    COMPARE_PICTURES(drawn(&LayerVideoManager::drawFrozenIcon, picture, cfg), picture);
    QCOMPARE(log.lines().size(), 0);
}

void tst_LayerDecorate::opacityScalesTheAlpha_data()
{
    QTest::addColumn<int>("opacity");
    QTest::addColumn<int>("alpha");

    QTest::newRow("0") << 0 << 0;
    QTest::newRow("20") << 20 << 51;
    QTest::newRow("40") << 40 << 102;
    QTest::newRow("80") << 80 << 204;
    QTest::newRow("100") << 100 << 255;
    QTest::newRow("below the range") << -30 << 0;
    QTest::newRow("above the range") << 250 << 255;
}

void tst_LayerDecorate::opacityScalesTheAlpha()
{
    QFETCH(int, opacity);
    QFETCH(int, alpha);

    sLayerVideoConfig cfg = pictureLayer(20, 16);
    cfg.m_LayerItem.m_opacity = opacity;
    const QImage picture = brightPicture(QSize(20, 16));
    const QImage expected = alpha == 0 ? solidPicture(QSize(20, 16), Qt::transparent)
                                       : withAlpha(picture, picture.rect(), alpha);
    LogCapture log;
    COMPARE_PICTURES(drawn(&LayerVideoManager::drawOpacity, picture, cfg), expected);
    QCOMPARE(log.lines().size(), 0);
}

void tst_LayerDecorate::halfOpacityHalvesEveryAlpha()
{
    QImage picture(256, 1, QImage::Format_ARGB32);
    for (int x = 0; x < 256; ++x)
        picture.setPixel(x, 0, qRgba(255, 0, 255, x));
    sLayerVideoConfig cfg = pictureLayer(256, 1);
    cfg.m_LayerItem.m_opacity = 50;
    const QImage canvas = drawn(&LayerVideoManager::drawOpacity, picture, cfg);
    for (int x = 0; x < 256; ++x) {
        const int nTwice = qAlpha(canvas.pixel(x, 0)) * 2;
        QVERIFY2(qAbs(nTwice - x) <= 1, qPrintable(QStringLiteral("%1: %2").arg(x).arg(nTwice)));
    }
}

void tst_LayerDecorate::opacityAppliesInTheLayersRectangleOnly()
{
    sLayerVideoConfig cfg = pictureLayer(QRectF(6, 4, 20, 16));
    cfg.m_LayerItem.m_opacity = 20;
    const QImage picture = brightPicture(QSize(20, 16));
    COMPARE_PICTURES(drawn(&LayerVideoManager::drawOpacity, picture, cfg),
                     withAlpha(picture, QRect(6, 4, 14, 12), 51));
}

void tst_LayerDecorate::layerThatNoNumberHoldsShowsItsColor_data()
{
    QTest::addColumn<QRectF>("rect");

    constexpr qreal Infinite = std::numeric_limits<qreal>::infinity();
    QTest::newRow("place") << QRectF(1e20, 0, 8, 6);
    QTest::newRow("size") << QRectF(0, 0, 8, 1e300);
    QTest::newRow("infinite") << QRectF(-Infinite, 0, Infinite, 6);
    QTest::newRow("not a number") << QRectF(std::numeric_limits<qreal>::quiet_NaN(), 0, 8, 6);
}

// With every decoration, each of which would be placed by these numbers.
void tst_LayerDecorate::layerThatNoNumberHoldsShowsItsColor()
{
    QFETCH(QRectF, rect);

    const LayerVideoManager manager(answering(solidPicture(QSize(8, 6), Qt::red)));
    LayerVideoManager::m_frozenIcon = QPixmap::fromImage(solidPicture(QSize(24, 24), Qt::green));
    sLayerVideoConfig cfg = pictureLayer(rect);
    cfg.m_LayerItem.m_layerColor = QColor(10, 20, 30);
    cfg.m_LayerItem.m_isFrozen = true;
    cfg.m_LayerItem.m_opacity = 50;
    cfg.m_LayerMask.m_bMaskEnable = true;
    QImage canvas;
    QImage frame;
    LogCapture log;
    for (const auto type : {BorderType::Hard_in, BorderType::Soft, BorderType::Halo_in}) {
        cfg.m_LayerBorder.m_borderType = type;
        manager.videoPrerender(cfg, canvas, frame);
        COMPARE_PICTURES(canvas, solidPicture(QSize(2, 2), QColor(10, 20, 30)));
    }
    QCOMPARE(log.lines().size(), 3);
}

void tst_LayerDecorate::drawingLeavesThePainterAsItWas_data()
{
    QTest::addColumn<Drawing>("drawing");

    QTest::newRow("mask") << Drawing(&LayerVideoManager::drawMask);
    QTest::newRow("frozen mark") << Drawing(&LayerVideoManager::drawFrozenIcon);
    QTest::newRow("opacity") << Drawing(&LayerVideoManager::drawOpacity);
}

void tst_LayerDecorate::drawingLeavesThePainterAsItWas()
{
    QFETCH(Drawing, drawing);

    LayerVideoManager::m_frozenIcon = QPixmap::fromImage(solidPicture(QSize(24, 24), Qt::blue));
    const LayerVideoManager manager({});
    sLayerVideoConfig cfg = pictureLayer(40, 30);
    cfg.m_LayerMask.m_bMaskEnable = true;
    cfg.m_LayerMask.m_maskSize = {2, 2, 2, 2};
    cfg.m_LayerItem.m_isFrozen = true;
    cfg.m_LayerItem.m_opacity = 50;
    const QImage picture = brightPicture(QSize(40, 30));
    for (const auto mode : {QPainter::CompositionMode_SourceOver, QPainter::CompositionMode_Plus}) {
        QImage canvas = picture;
        QPainter painter(&canvas);
        painter.setCompositionMode(mode);
        painter.setBrush(Qt::green);
        (manager.*drawing)(&painter, cfg);
        QCOMPARE(painter.compositionMode(), mode);
        QCOMPARE(painter.brush(), QBrush(Qt::green));
        QCOMPARE(painter.opacity(), 1.0);
        QVERIFY(painter.transform().isIdentity());
        painter.end();
        QVERIFY(canvas != picture);
    }
}

QTEST_MAIN(tst_LayerDecorate)
#include "tst_layerdecorate.moc"
