// The order of what is drawn: the video first, mirrored, then every decoration, unmirrored.

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

// The corners' colours in reading order.
QVector<QColor> corners(const QImage &picture)
{
    const int nRight = picture.width() - 1;
    const int nBottom = picture.height() - 1;
    return {picture.pixelColor(0, 0), picture.pixelColor(nRight, 0), picture.pixelColor(0, nBottom),
            picture.pixelColor(nRight, nBottom)};
}

} // namespace

class tst_LayerPrepareOrder : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();

    void mirroringTurnsTheVideo_data();
    void mirroringTurnsTheVideo();
    void mirroringTurnsAnOddCanvas();
    void unknownMirroringLeavesTheVideo();
    void decorationsAreNotMirrored_data();
    void decorationsAreNotMirrored();

    void borderIsDrawnOverTheMaskedPart();
    void frozenMarkIsDrawnOverTheBorder();
    void opacityScalesVideoBorderAndMark();
    void effectsOfTheVideoSpareTheDecorations();
    void backgroundFlagAndDefaultColorHaveNoEffect();
};

void tst_LayerPrepareOrder::cleanup()
{
    LayerVideoManager::m_frozenIcon.reset(); // before the application goes
}

void tst_LayerPrepareOrder::mirroringTurnsTheVideo_data()
{
    QTest::addColumn<int>("mirroring");
    QTest::addColumn<QVector<QColor>>("expected");

    const QColor red(Qt::red);
    const QColor green(Qt::green);
    const QColor blue(Qt::blue);
    const QColor yellow(Qt::yellow);
    QTest::newRow("none") << int(sLayerItem::NoMirroring)
                          << QVector<QColor>{red, green, blue, yellow};
    QTest::newRow("left and right")
        << int(sLayerItem::Hori) << QVector<QColor>{green, red, yellow, blue};
    QTest::newRow("top and bottom")
        << int(sLayerItem::Vert) << QVector<QColor>{blue, yellow, red, green};
    QTest::newRow("both") << int(sLayerItem::Both) << QVector<QColor>{yellow, blue, green, red};
}

void tst_LayerPrepareOrder::mirroringTurnsTheVideo()
{
    QFETCH(int, mirroring);
    QFETCH(QVector<QColor>, expected);

    sLayerVideoConfig cfg = pictureLayer(8, 6);
    cfg.m_LayerItem.m_mirroringType = sLayerItem::Mirroring(mirroring);
    QCOMPARE(corners(preview(cfg, quartersPicture(QSize(8, 6)))), expected);
}

void tst_LayerPrepareOrder::mirroringTurnsAnOddCanvas()
{
    const QImage picture = gradientPicture(QSize(7, 5));
    sLayerVideoConfig cfg = pictureLayer(7, 5);
    cfg.m_LayerItem.m_mirroringType = sLayerItem::Both;
    QImage expected(7, 5, QImage::Format_ARGB32);
    for (int y = 0; y < 5; ++y) {
        for (int x = 0; x < 7; ++x)
            expected.setPixel(x, y, picture.pixel(6 - x, 4 - y));
    }
    COMPARE_PICTURES(preview(cfg, picture), expected);
}

void tst_LayerPrepareOrder::unknownMirroringLeavesTheVideo()
{
    sLayerVideoConfig cfg = pictureLayer(8, 6);
    cfg.m_LayerItem.m_mirroringType = sLayerItem::Mirroring(7);
    COMPARE_PICTURES(preview(cfg, quartersPicture(QSize(8, 6))), quartersPicture(QSize(8, 6)));
}

void tst_LayerPrepareOrder::decorationsAreNotMirrored_data()
{
    QTest::addColumn<int>("mirroring");

    QTest::newRow("left and right") << int(sLayerItem::Hori);
    QTest::newRow("top and bottom") << int(sLayerItem::Vert);
    QTest::newRow("both") << int(sLayerItem::Both);
}

// A mirrored red picture is still red: whatever differs would be a decoration.
void tst_LayerPrepareOrder::decorationsAreNotMirrored()
{
    QFETCH(int, mirroring);

    LayerVideoManager::m_frozenIcon = QPixmap::fromImage(quartersPicture(QSize(24, 24)));
    sLayerVideoConfig cfg = pictureLayer(61, 47); // odd: a soft border is not symmetric
    cfg.m_LayerItem.m_isFrozen = true;
    cfg.m_LayerItem.m_opacity = 60;
    cfg.m_LayerMask.m_bMaskEnable = true;
    cfg.m_LayerMask.m_maskSize = {3, 0, 7, 0}; // top and left
    cfg.m_LayerBorder.m_borderType = BorderType::Soft;
    cfg.m_LayerBorder.m_borderSize = QSize(9, 5);
    const QImage red = solidPicture(QSize(61, 47), Qt::red);
    const QImage unmirrored = preview(cfg, red);
    QCOMPARE(unmirrored.pixelColor(2, 20).alpha(), 0);
    QCOMPARE(unmirrored.pixelColor(61 - 26, 47 - 26).rgb(), QColor(Qt::red).rgb());
    QCOMPARE(unmirrored.pixelColor(61 - 14, 47 - 26).rgb(), QColor(Qt::green).rgb());

    cfg.m_LayerItem.m_mirroringType = sLayerItem::Mirroring(mirroring);
    COMPARE_PICTURES(preview(cfg, red), unmirrored);
}

void tst_LayerPrepareOrder::borderIsDrawnOverTheMaskedPart()
{
    sLayerVideoConfig cfg = pictureLayer(20, 16);
    cfg.m_LayerMask.m_bMaskEnable = true;
    cfg.m_LayerMask.m_maskSize = {5, 5, 5, 5};
    cfg.m_LayerBorder.m_borderType = BorderType::Hard_in;
    cfg.m_LayerBorder.m_borderSize = QSize(2, 2);
    cfg.m_LayerBorder.m_borderColor = Qt::green;
    const QImage canvas = preview(cfg, solidPicture(QSize(20, 16), Qt::red));
    QCOMPARE(canvas.pixelColor(1, 8), QColor(Qt::green));
    QCOMPARE(canvas.pixelColor(3, 8).alpha(), 0);
    QCOMPARE(canvas.pixelColor(10, 8), QColor(Qt::red));
}

void tst_LayerPrepareOrder::frozenMarkIsDrawnOverTheBorder()
{
    LayerVideoManager::m_frozenIcon = QPixmap::fromImage(solidPicture(QSize(24, 24), Qt::blue));
    sLayerVideoConfig cfg = pictureLayer(40, 40);
    cfg.m_LayerItem.m_isFrozen = true;
    cfg.m_LayerBorder.m_borderType = BorderType::Hard_in;
    cfg.m_LayerBorder.m_borderSize = QSize(6, 6);
    cfg.m_LayerBorder.m_borderColor = Qt::green;
    const QImage canvas = preview(cfg, solidPicture(QSize(40, 40), Qt::red));
    QCOMPARE(canvas.pixelColor(37, 37), QColor(Qt::blue)); // the mark's last pixel
    QCOMPARE(canvas.pixelColor(38, 38), QColor(Qt::green));
    QCOMPARE(canvas.pixelColor(13, 30), QColor(Qt::red));
}

void tst_LayerPrepareOrder::opacityScalesVideoBorderAndMark()
{
    LayerVideoManager::m_frozenIcon = QPixmap::fromImage(solidPicture(QSize(24, 24), Qt::blue));
    sLayerVideoConfig cfg = pictureLayer(40, 40);
    cfg.m_LayerItem.m_isFrozen = true;
    cfg.m_LayerItem.m_opacity = 20; // 51 of 255
    cfg.m_LayerBorder.m_borderType = BorderType::Hard_in;
    cfg.m_LayerBorder.m_borderSize = QSize(2, 2);
    cfg.m_LayerBorder.m_borderColor = Qt::green;
    const QImage canvas = preview(cfg, solidPicture(QSize(40, 40), Qt::red));
    QCOMPARE(canvas.pixelColor(39, 39), QColor(0, 255, 0, 51));
    QCOMPARE(canvas.pixelColor(30, 30), QColor(0, 0, 255, 51));
    QCOMPARE(canvas.pixelColor(5, 5), QColor(255, 0, 0, 51));
}

void tst_LayerPrepareOrder::effectsOfTheVideoSpareTheDecorations()
{
    LayerVideoManager::m_frozenIcon = QPixmap::fromImage(solidPicture(QSize(24, 24), Qt::blue));
    sLayerVideoConfig cfg = pictureLayer(40, 40);
    cfg.m_LayerItem.m_isFrozen = true;
    cfg.m_LayerItem.m_bMonoColorEnabled = true;
    cfg.m_LayerItem.m_bReverseColorEnabled = true;
    cfg.m_LayerBorder.m_borderType = BorderType::Hard_in;
    cfg.m_LayerBorder.m_borderSize = QSize(2, 2);
    cfg.m_LayerBorder.m_borderColor = Qt::green;
    const QImage canvas = preview(cfg, solidPicture(QSize(40, 40), Qt::white));
    QCOMPARE(canvas.pixelColor(5, 5), QColor(Qt::black));
    QCOMPARE(canvas.pixelColor(39, 39), QColor(Qt::green));
    QCOMPARE(canvas.pixelColor(30, 30), QColor(Qt::blue));
}

void tst_LayerPrepareOrder::backgroundFlagAndDefaultColorHaveNoEffect()
{
    sLayerVideoConfig cfg = pictureLayer(8, 6);
    cfg.m_LayerItem.m_bBackgroundEnable = true;
    cfg.m_LayerItem.m_defaultColor = Qt::green;
    cfg.m_isAllowRender = false;
    COMPARE_PICTURES(preview(cfg, quartersPicture(QSize(8, 6))), quartersPicture(QSize(8, 6)));
}

QTEST_MAIN(tst_LayerPrepareOrder)
#include "tst_layerprepare_order.moc"
