// From a layer's record to its canvas: its size, its fill, and where the video is drawn.

#include "logcapture.h"
#include "picturecompare.h"
#include "testlayers.h"
#include "testpictures.h"

#include <layervideomanager.h>

#include <QObject>
#include <QtTest>

#include <limits>

using namespace Morvek::EchoVideo;
using namespace Morvek::Tests;
using Morvek::BizModel::Enum::Layer::BorderType;

class tst_LayerPrepare : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void canvasHasTheSizeBetweenTheRoundedEdges_data();
    void canvasHasTheSizeBetweenTheRoundedEdges();
    void canvasIsReusedWhileItsSizeHolds();
    void canvasIsReplacedWhenItsSizeChanges();
    void layerWithoutSizeWarnsOncePerFrameAndKeepsTwoByTwo_data();
    void layerWithoutSizeWarnsOncePerFrameAndKeepsTwoByTwo();
    void layerWithoutSizeShowsItsColor();
    void layerWithSizeLogsNothing();

    void canvasIsFilledWithTheLayerColor();
    void translucentLayerColorScalesTheWholeLayer();
    void translucentLayerWithoutSourceIsFilledDrawnAndScaled();
    void transparentLayerColorHidesTheVideo();
    void layerOffItsOriginIsDrawnWhereItsRectangleLies();
    void videoIsScaledIntoTheRectangleAsItIs();
};

void tst_LayerPrepare::canvasHasTheSizeBetweenTheRoundedEdges_data()
{
    QTest::addColumn<QRectF>("rect");
    QTest::addColumn<QSize>("size");

    QTest::newRow("whole") << QRectF(0, 0, 16, 9) << QSize(16, 9);
    QTest::newRow("off the origin") << QRectF(3, -4, 16, 9) << QSize(16, 9);
    QTest::newRow("one wider than its width: 0 to 10.6") << QRectF(0.4, 0, 10.2, 5) << QSize(11, 5);
    QTest::newRow("one narrower: 1 to 10.4") << QRectF(0.6, 0, 9.8, 5) << QSize(9, 5);
    QTest::newRow("one higher") << QRectF(0, 0.4, 5, 10.2) << QSize(5, 11);
    QTest::newRow("one lower") << QRectF(0, 0.6, 5, 9.8) << QSize(5, 9);
    QTest::newRow("both halves upward: 1 to 11") << QRectF(0.5, 0.5, 10, 10) << QSize(10, 10);
    QTest::newRow("negative halves upward: 0 to 10") << QRectF(-0.5, -0.5, 10, 10) << QSize(10, 10);
}

void tst_LayerPrepare::canvasHasTheSizeBetweenTheRoundedEdges()
{
    QFETCH(QRectF, rect);
    QFETCH(QSize, size);

    const QImage canvas = preview(pictureLayer(rect), solidPicture(QSize(4, 4), Qt::red));
    QCOMPARE(canvas.size(), size);
    QCOMPARE(canvas.format(), QImage::Format_ARGB32);
}

void tst_LayerPrepare::canvasIsReusedWhileItsSizeHolds()
{
    const LayerVideoManager manager(answering(solidPicture(QSize(8, 6), Qt::red)));
    sLayerVideoConfig cfg = pictureLayer(8, 6);
    QImage canvas;
    QImage frame;
    manager.videoPrerender(cfg, canvas, frame);
    const uchar *const pPixels = canvas.constBits();

    cfg.m_LayerItem.m_boundingRect.translate(3, 0); // the canvas is drawn anew, not made anew
    manager.videoPrerender(cfg, canvas, frame);
    QCOMPARE(canvas.constBits(), pPixels);
    QCOMPARE(canvas.pixelColor(0, 0), QColor(Qt::white));
    QCOMPARE(canvas.pixelColor(3, 0), QColor(Qt::red));
}

void tst_LayerPrepare::canvasIsReplacedWhenItsSizeChanges()
{
    const LayerVideoManager manager(answering(solidPicture(QSize(8, 6), Qt::red)));
    QImage canvas(8, 5, QImage::Format_RGB32);
    QImage frame;
    manager.videoPrerender(pictureLayer(8, 6), canvas, frame);
    COMPARE_PICTURES(canvas, solidPicture(QSize(8, 6), Qt::red));
    QCOMPARE(canvas.format(), QImage::Format_ARGB32);
    manager.videoPrerender(pictureLayer(7, 6), canvas, frame);
    COMPARE_PICTURES(canvas, solidPicture(QSize(7, 6), Qt::red));
}

void tst_LayerPrepare::layerWithoutSizeWarnsOncePerFrameAndKeepsTwoByTwo_data()
{
    QTest::addColumn<QRectF>("rect");

    QTest::newRow("0 x 0") << QRectF(0, 0, 0, 0);
    QTest::newRow("no width") << QRectF(0, 0, 0, 10);
    QTest::newRow("no height") << QRectF(0, 0, 10, 0);
    QTest::newRow("rounded away") << QRectF(0.1, 0, 0.2, 10);
    QTest::newRow("negative") << QRectF(0, 0, -10, -10);
    QTest::newRow("wider than a picture can be") << QRectF(0, 0, 2e8, 10);
    QTest::newRow("wider than a number can be") << QRectF(0, 0, 1e20, 10);
    QTest::newRow("not a number") << QRectF(0, 0, std::numeric_limits<qreal>::quiet_NaN(), 10);
}

void tst_LayerPrepare::layerWithoutSizeWarnsOncePerFrameAndKeepsTwoByTwo()
{
    QFETCH(QRectF, rect);

    const LayerVideoManager manager(answering(solidPicture(QSize(8, 6), Qt::red)));
    const sLayerVideoConfig cfg = pictureLayer(rect);
    QImage canvas;
    QImage frame;
    LogCapture log;
    for (int nFrames = 1; nFrames <= 3; ++nFrames) {
        manager.videoPrerender(cfg, canvas, frame);
        QCOMPARE(log.lines().size(), nFrames);
        QCOMPARE(canvas.size(), QSize(2, 2));
        QCOMPARE(canvas.format(), QImage::Format_ARGB32);
    }
    const sLogLine line = log.lines().constLast();
    QCOMPARE(line.m_strText, QStringLiteral("The layer  7  size is invalid. reset (2x2)"));
    QCOMPARE(line.m_eType, QtWarningMsg);
    QCOMPARE(line.m_strCategory, QStringLiteral("default"));
    QVERIFY2(line.m_strFile.endsWith(QStringLiteral("layervideomanager_prepare.cpp")),
             qPrintable(line.m_strFile));
    QVERIFY2(line.m_strFunction.contains(QStringLiteral("videoPrerender")),
             qPrintable(line.m_strFunction));
    QVERIFY(line.m_nLine > 0);
}

void tst_LayerPrepare::layerWithoutSizeShowsItsColor()
{
    sLayerVideoConfig cfg = pictureLayer(0, 0);
    cfg.m_LayerItem.m_layerColor = Qt::blue;
    cfg.m_LayerBorder.m_borderType = BorderType::Soft;
    LogCapture log;
    COMPARE_PICTURES(preview(cfg, solidPicture(QSize(8, 6), Qt::red)),
                     solidPicture(QSize(2, 2), Qt::blue));
}

void tst_LayerPrepare::layerWithSizeLogsNothing()
{
    LogCapture log;
    COMPARE_PICTURES(preview(pictureLayer(1, 1), solidPicture(QSize(8, 6), Qt::red)),
                     solidPicture(QSize(1, 1), Qt::red));
    QCOMPARE(log.lines().size(), 0);
}

void tst_LayerPrepare::canvasIsFilledWithTheLayerColor()
{
    const LayerVideoManager manager(answering(QImage()));
    sLayerVideoConfig cfg = pictureLayer(6, 4);
    cfg.m_LayerItem.m_layerColor = QColor(10, 20, 30);
    QImage canvas = solidPicture(QSize(6, 4), Qt::magenta);
    QImage frame = solidPicture(QSize(6, 4), Qt::magenta);
    LogCapture log;
    manager.videoPrerender(cfg, canvas, frame);
    COMPARE_PICTURES(canvas, solidPicture(QSize(6, 4), QColor(10, 20, 30)));
    QCOMPARE(log.lines().size(), 0); // a source without a picture is not worth a line
}

void tst_LayerPrepare::translucentLayerColorScalesTheWholeLayer()
{
    sLayerVideoConfig cfg = pictureLayer(6, 4);
    cfg.m_LayerItem.m_layerColor = QColor(0, 0, 255, 100);
    COMPARE_PICTURES(preview(cfg, solidPicture(QSize(6, 4), Qt::red)),
                     solidPicture(QSize(6, 4), QColor(255, 0, 0, 100)));
}

// Filled with 128, covered by another 128: 128 + 127 / 255 x 128 = 191.7; scaled by 128: 96.2.
void tst_LayerPrepare::translucentLayerWithoutSourceIsFilledDrawnAndScaled()
{
    sLayerVideoConfig cfg = pictureLayer(6, 4);
    cfg.m_LayerSource.m_eLayerSourceType = sLayerSource::NoSource;
    cfg.m_LayerItem.m_layerColor = QColor(0, 0, 255, 128);
    COMPARE_PICTURES(preview(cfg, QImage()), solidPicture(QSize(6, 4), QColor(0, 0, 255, 96)));
}

void tst_LayerPrepare::transparentLayerColorHidesTheVideo()
{
    sLayerVideoConfig cfg = pictureLayer(6, 4);
    cfg.m_LayerItem.m_layerColor = QColor(255, 255, 255, 0);
    COMPARE_PICTURES(preview(cfg, solidPicture(QSize(6, 4), Qt::red)),
                     solidPicture(QSize(6, 4), Qt::transparent));
}

void tst_LayerPrepare::layerOffItsOriginIsDrawnWhereItsRectangleLies()
{
    sLayerVideoConfig cfg = pictureLayer(QRectF(4, 2, 8, 6));
    cfg.m_LayerItem.m_layerColor = QColor(0, 0, 255, 100);
    const QImage picture = quartersPicture(QSize(8, 6));
    // The canvas has the layer's size: a part of the video lies outside, a part is not covered.
    QImage expected = solidPicture(QSize(8, 6), QColor(0, 0, 255, 100));
    for (int y = 2; y < 6; ++y) {
        for (int x = 4; x < 8; ++x) {
            QColor color = picture.pixelColor(x - 4, y - 2);
            color.setAlpha(100);
            expected.setPixelColor(x, y, color);
        }
    }
    COMPARE_PICTURES(preview(cfg, picture), expected);
}

// Three quarters of the way from 0.41 to 12.51 lie at 9.485; from 0 to 13 they would at 9.75, beyond
// the middle of the tenth pixel.
void tst_LayerPrepare::videoIsScaledIntoTheRectangleAsItIs()
{
    QImage picture = solidPicture(QSize(4, 1), Qt::red);
    picture.setPixelColor(3, 0, Qt::green);
    QImage expected = solidPicture(QSize(13, 4), Qt::red);
    for (int y = 0; y < 4; ++y) {
        for (int x = 9; x < 13; ++x)
            expected.setPixelColor(x, y, Qt::green);
    }
    COMPARE_PICTURES(preview(pictureLayer(QRectF(0.41, 0, 12.1, 4)), picture), expected);
}

QTEST_GUILESS_MAIN(tst_LayerPrepare)
#include "tst_layerprepare.moc"
