// The alpha map: a picture whose alpha shapes the layer's video.

#include "logcapture.h"
#include "picturecompare.h"
#include "testlayers.h"
#include "testpictures.h"

#include <layervideomanager.h>

#include <QFile>
#include <QObject>
#include <QTemporaryDir>
#include <QtTest>

using namespace Morvek::EchoVideo;
using namespace Morvek::Tests;
using Morvek::BizModel::Enum::Layer::BorderType;

namespace {

// Opaque in the left half, of this alpha in the right one.
QImage alphaMap(const QSize &size, int nRightAlpha)
{
    QImage map = solidPicture(size, Qt::black);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = size.width() / 2; x < size.width(); ++x)
            map.setPixelColor(x, y, QColor(0, 0, 0, nRightAlpha));
    }
    return map;
}

QImage leftAndRight(const QSize &size, const QColor &left, const QColor &right)
{
    QImage picture = solidPicture(size, left);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = size.width() / 2; x < size.width(); ++x)
            picture.setPixelColor(x, y, right);
    }
    return picture;
}

} // namespace

class tst_LayerPrepareAlphaMap : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void alphaMapShapesTheVideo_data();
    void alphaMapShapesTheVideo();
    void alphaMapReplacesTheLayerColorByTheVideo();
    void alphaMapIsLoadedAnewForEveryFrame();
    void alphaMapFormatIsTakenFromTheContents();
    void missingAlphaMapLeavesTheVideoUnshaped();
    void layerWithAnAlphaMapHasNoBorder();

    void drawingRestoresThePainter_data();
    void drawingRestoresThePainter();

private:
    QTemporaryDir m_folder;
};

void tst_LayerPrepareAlphaMap::alphaMapShapesTheVideo_data()
{
    QTest::addColumn<QSize>("mapSize");
    QTest::addColumn<int>("rightAlpha");

    QTest::newRow("of the layer's size") << QSize(8, 6) << 0;
    QTest::newRow("scaled up") << QSize(2, 1) << 0;
    QTest::newRow("scaled down") << QSize(80, 60) << 0;
    QTest::newRow("translucent") << QSize(8, 6) << 100;
    QTest::newRow("opaque") << QSize(8, 6) << 255;
}

void tst_LayerPrepareAlphaMap::alphaMapShapesTheVideo()
{
    QFETCH(QSize, mapSize);
    QFETCH(int, rightAlpha);

    sLayerVideoConfig cfg = pictureLayer(8, 6);
    cfg.m_LayerAlphaMap.m_strAlphaMapFile = m_folder.filePath(QStringLiteral("map.png"));
    QVERIFY(alphaMap(mapSize, rightAlpha).save(cfg.m_LayerAlphaMap.m_strAlphaMapFile));
    const QColor right = rightAlpha == 0 ? QColor(0, 0, 0, 0) : QColor(255, 0, 0, rightAlpha);
    COMPARE_PICTURES(preview(cfg, solidPicture(QSize(8, 6), Qt::red)),
                     leftAndRight(QSize(8, 6), Qt::red, right));
}

// Without the map the layer colour would show through.
void tst_LayerPrepareAlphaMap::alphaMapReplacesTheLayerColorByTheVideo()
{
    sLayerVideoConfig cfg = pictureLayer(8, 6);
    cfg.m_LayerItem.m_layerColor = Qt::blue;
    const QImage picture = solidPicture(QSize(8, 6), QColor(255, 0, 0, 51));
    COMPARE_PICTURES(preview(cfg, picture), solidPicture(QSize(8, 6), QColor(51, 0, 204)));

    cfg.m_LayerAlphaMap.m_strAlphaMapFile = m_folder.filePath(QStringLiteral("opaque.png"));
    QVERIFY(alphaMap(QSize(8, 6), 255).save(cfg.m_LayerAlphaMap.m_strAlphaMapFile));
    COMPARE_PICTURES(preview(cfg, picture), picture);
}

void tst_LayerPrepareAlphaMap::alphaMapIsLoadedAnewForEveryFrame()
{
    const LayerVideoManager manager(answering(solidPicture(QSize(8, 6), Qt::red)));
    const QString strFile = m_folder.filePath(QStringLiteral("changing.png"));
    sLayerVideoConfig cfg = pictureLayer(8, 6);
    cfg.m_LayerAlphaMap.m_strAlphaMapFile = strFile;
    QImage canvas;
    QImage frame;

    QVERIFY(alphaMap(QSize(8, 6), 0).save(strFile));
    manager.videoPrerender(cfg, canvas, frame);
    COMPARE_PICTURES(canvas, leftAndRight(QSize(8, 6), Qt::red, QColor(0, 0, 0, 0)));

    QVERIFY(solidPicture(QSize(8, 6), Qt::transparent).save(strFile));
    manager.videoPrerender(cfg, canvas, frame);
    COMPARE_PICTURES(canvas, solidPicture(QSize(8, 6), Qt::transparent));

    QVERIFY(QFile::remove(strFile));
    manager.videoPrerender(cfg, canvas, frame);
    COMPARE_PICTURES(canvas, solidPicture(QSize(8, 6), Qt::red));
}

void tst_LayerPrepareAlphaMap::alphaMapFormatIsTakenFromTheContents()
{
    sLayerVideoConfig cfg = pictureLayer(8, 6);
    cfg.m_LayerAlphaMap.m_strAlphaMapFile = m_folder.filePath(QStringLiteral("really-a-png.jpg"));
    QVERIFY(alphaMap(QSize(8, 6), 0).save(cfg.m_LayerAlphaMap.m_strAlphaMapFile, "PNG"));
    COMPARE_PICTURES(preview(cfg, solidPicture(QSize(8, 6), Qt::red)),
                     leftAndRight(QSize(8, 6), Qt::red, QColor(0, 0, 0, 0)));
}

void tst_LayerPrepareAlphaMap::missingAlphaMapLeavesTheVideoUnshaped()
{
    sLayerVideoConfig cfg = pictureLayer(8, 6);
    cfg.m_LayerAlphaMap.m_strAlphaMapFile = m_folder.filePath(QStringLiteral("nowhere.png"));
    const QImage picture = solidPicture(QSize(8, 6), QColor(255, 0, 0, 51));
    LogCapture log;
    COMPARE_PICTURES(preview(cfg, picture), picture);
    QCOMPARE(log.lines().size(), 0);
}

void tst_LayerPrepareAlphaMap::layerWithAnAlphaMapHasNoBorder()
{
    sLayerVideoConfig cfg = pictureLayer(8, 6);
    cfg.m_LayerBorder.m_borderType = BorderType::Hard_in;
    cfg.m_LayerBorder.m_borderSize = QSize(2, 2);
    const QImage red = solidPicture(QSize(8, 6), Qt::red);
    QVERIFY(preview(cfg, red) != red);

    cfg.m_LayerAlphaMap.m_strAlphaMapFile = m_folder.filePath(QStringLiteral("nowhere.png"));
    COMPARE_PICTURES(preview(cfg, red), red);
}

void tst_LayerPrepareAlphaMap::drawingRestoresThePainter_data()
{
    QTest::addColumn<QString>("alphaMap");

    QTest::newRow("plain") << QString();
    QTest::newRow("with an alpha map") << m_folder.filePath(QStringLiteral("nowhere.png"));
}

void tst_LayerPrepareAlphaMap::drawingRestoresThePainter()
{
    QFETCH(QString, alphaMap);

    const LayerVideoManager manager({});
    sLayerVideoConfig cfg = pictureLayer(8, 6);
    cfg.m_LayerAlphaMap.m_strAlphaMapFile = alphaMap;
    QImage canvas = solidPicture(QSize(8, 6), Qt::white);
    QImage frame = gradientPicture(QSize(8, 6));
    QPainter painter(&canvas);
    for (const auto mode : {QPainter::CompositionMode_SourceOver, QPainter::CompositionMode_Plus}) {
        painter.setCompositionMode(mode);
        manager.drawPreviewVideo(&painter, frame, cfg);
        QCOMPARE(painter.compositionMode(), mode);
    }
}

QTEST_GUILESS_MAIN(tst_LayerPrepareAlphaMap)
#include "tst_layerprepare_alphamap.moc"
