// The effects of a layer's picture: mono, reverse, scaling and crop.

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

namespace {

// A source delivered at half its size: pixel (x, y) of the delivered picture covers 2 x 2.
constexpr QSize DeliveredSize(8, 6);
constexpr QSize SourceSize(16, 12);

sLayerVideoConfig croppedLayer(const QRect &crop)
{
    sLayerVideoConfig cfg = pictureLayer(crop.width(), crop.height());
    cfg.m_LayerSource.m_bLayerSourceIntercept = true;
    cfg.m_LayerSource.m_rectLayerSourceIntercept = crop;
    cfg.m_LayerSource.m_sizeLayerSource = SourceSize;
    return cfg;
}

// Draws a picture as a preview does, and hands out what became of it.
QImage processed(const sLayerVideoConfig &cfg, const QImage &picture)
{
    const LayerVideoManager manager({});
    QImage canvas = solidPicture(cfg.m_LayerItem.m_boundingRect.toRect().size(), Qt::white);
    QImage frame = picture;
    QPainter painter(&canvas);
    manager.drawPreviewVideo(&painter, frame, cfg);
    return frame;
}

} // namespace

class tst_LayerPrepareEffects : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void monoShowsTheWeightedGray_data();
    void monoShowsTheWeightedGray();
    void monoAndReverseLeaveAGrayPicture();
    void reverseInvertsTheColorsAndKeepsTheAlpha();
    void hostsPictureIsNotChanged();

    void wholePictureIsScaledIntoTheLayer();
    void translucentPictureLiesOverTheLayerColor();

    void cropIsInPixelsOfTheSourceAtFullSize_data();
    void cropIsInPixelsOfTheSourceAtFullSize();
    void cropOfALargerDeliveredPicture();
    void cropWithoutWidthOrHeightShowsTheWholeSource_data();
    void cropWithoutWidthOrHeightShowsTheWholeSource();
    void cropThatIsNotEnabledShowsTheWholeSource();
    void cropOfNegativeSizeShowsNothing_data();
    void cropOfNegativeSizeShowsNothing();
    void cropBeyondTheSourceIsEmpty_data();
    void cropBeyondTheSourceIsEmpty();
    void cropFarBeyondTheSourceIsEmpty_data();
    void cropFarBeyondTheSourceIsEmpty();
    void cropThatNoPictureCanHoldShowsNothing_data();
    void cropThatNoPictureCanHoldShowsNothing();
    void cropOfASourceWithoutSizeShowsNothing();
    void numbersBeyondAPalettesEndAreBlack_data();
    void numbersBeyondAPalettesEndAreBlack();
    void effectsOfANullPictureDrawNothingAndLogNothing();
};

void tst_LayerPrepareEffects::monoShowsTheWeightedGray_data()
{
    QTest::addColumn<QColor>("color");
    QTest::addColumn<int>("gray");

    // 11, 16 and 5 parts of 32
    QTest::newRow("red") << QColor(255, 0, 0) << 87;
    QTest::newRow("green") << QColor(0, 255, 0) << 127;
    QTest::newRow("blue") << QColor(0, 0, 255) << 39;
    QTest::newRow("white") << QColor(255, 255, 255) << 255;
    QTest::newRow("black") << QColor(0, 0, 0) << 0;
}

void tst_LayerPrepareEffects::monoShowsTheWeightedGray()
{
    QFETCH(QColor, color);
    QFETCH(int, gray);

    sLayerVideoConfig cfg = pictureLayer(4, 3);
    cfg.m_LayerItem.m_bMonoColorEnabled = true;
    const QImage picture = solidPicture(QSize(4, 3), color);
    COMPARE_PICTURES(preview(cfg, picture), solidPicture(QSize(4, 3), QColor(gray, gray, gray)));
    QCOMPARE(processed(cfg, picture).format(), QImage::Format_Grayscale8);

    cfg.m_LayerItem.m_bReverseColorEnabled = true;
    const int nInverted = 255 - gray;
    COMPARE_PICTURES(preview(cfg, picture),
                     solidPicture(QSize(4, 3), QColor(nInverted, nInverted, nInverted)));
}

void tst_LayerPrepareEffects::monoAndReverseLeaveAGrayPicture()
{
    sLayerVideoConfig cfg = pictureLayer(20, 10);
    cfg.m_LayerItem.m_bMonoColorEnabled = true;
    cfg.m_LayerItem.m_bReverseColorEnabled = true;
    const QImage picture = gradientPicture(QSize(20, 10));
    QImage expected(picture.size(), QImage::Format_ARGB32);
    for (int y = 0; y < 10; ++y) {
        for (int x = 0; x < 20; ++x) {
            const int nGray = 255 - qGray(picture.pixel(x, y));
            expected.setPixel(x, y, qRgb(nGray, nGray, nGray));
        }
    }
    COMPARE_PICTURES(preview(cfg, picture), expected);
    COMPARE_PICTURES(processed(cfg, picture), expected);
}

void tst_LayerPrepareEffects::reverseInvertsTheColorsAndKeepsTheAlpha()
{
    sLayerVideoConfig cfg = pictureLayer(4, 3);
    cfg.m_LayerItem.m_bReverseColorEnabled = true;
    COMPARE_PICTURES(preview(cfg, solidPicture(QSize(4, 3), QColor(10, 20, 30))),
                     solidPicture(QSize(4, 3), QColor(245, 235, 225)));

    const QImage frame = processed(cfg, solidPicture(QSize(4, 3), QColor(10, 20, 30, 40)));
    COMPARE_PICTURES(frame, solidPicture(QSize(4, 3), QColor(245, 235, 225, 40)));
    QCOMPARE(frame.format(), QImage::Format_ARGB32);
}

// The callback's answer shares its pixels with a picture that other layers show as well.
void tst_LayerPrepareEffects::hostsPictureIsNotChanged()
{
    sLayerVideoConfig cfg = croppedLayer(QRect(2, 2, 4, 4));
    cfg.m_LayerItem.m_bMonoColorEnabled = true;
    cfg.m_LayerItem.m_bReverseColorEnabled = true;
    const QImage picture = gradientPicture(DeliveredSize);
    const QImage before = picture.copy();
    QVERIFY(processed(cfg, picture) != before);
    COMPARE_PICTURES(picture, before);

    cfg.m_LayerItem.m_bMonoColorEnabled = false; // inverted in the picture's own format
    QVERIFY(preview(cfg, picture) != before);
    COMPARE_PICTURES(picture, before);
}

void tst_LayerPrepareEffects::wholePictureIsScaledIntoTheLayer()
{
    const QImage picture = gradientPicture(QSize(4, 3));
    QImage expected(12, 6, QImage::Format_ARGB32); // three times as wide, twice as high
    for (int y = 0; y < 6; ++y) {
        for (int x = 0; x < 12; ++x)
            expected.setPixel(x, y, picture.pixel(x / 3, y / 2));
    }
    COMPARE_PICTURES(preview(pictureLayer(12, 6), picture), expected);
    COMPARE_PICTURES(processed(pictureLayer(12, 6), picture), picture);
}

void tst_LayerPrepareEffects::translucentPictureLiesOverTheLayerColor()
{
    sLayerVideoConfig cfg = pictureLayer(4, 3);
    cfg.m_LayerItem.m_layerColor = QColor(0, 0, 255);
    // 51 of 255 is a fifth.
    COMPARE_PICTURES(preview(cfg, solidPicture(QSize(4, 3), QColor(255, 0, 0, 51))),
                     solidPicture(QSize(4, 3), QColor(51, 0, 204)));
}

void tst_LayerPrepareEffects::cropIsInPixelsOfTheSourceAtFullSize_data()
{
    QTest::addColumn<QSize>("scale");

    QTest::newRow("delivered at full size") << QSize(1, 1);
    QTest::newRow("delivered at half size") << QSize(2, 2);
    QTest::newRow("delivered in other proportions") << QSize(4, 2);
}

void tst_LayerPrepareEffects::cropIsInPixelsOfTheSourceAtFullSize()
{
    QFETCH(QSize, scale);

    const QImage picture = gradientPicture(QSize(24, 18));
    const QRect crop(5, 2, 9, 7);
    sLayerVideoConfig cfg = croppedLayer(crop);
    cfg.m_LayerSource.m_sizeLayerSource = QSize(24 * scale.width(), 18 * scale.height());
    QImage expected(crop.size(), QImage::Format_ARGB32);
    for (int y = 0; y < crop.height(); ++y) {
        for (int x = 0; x < crop.width(); ++x)
            expected.setPixel(
                x, y,
                picture.pixel((x + crop.x()) / scale.width(), (y + crop.y()) / scale.height()));
    }
    COMPARE_PICTURES(preview(cfg, picture), expected);
    COMPARE_PICTURES(processed(cfg, picture), expected);
}

void tst_LayerPrepareEffects::cropOfALargerDeliveredPicture()
{
    // Four equal pixels for each of the source's, so that it does not matter which one is taken.
    const QImage source = gradientPicture(SourceSize);
    QImage delivered(SourceSize * 2, QImage::Format_RGB32);
    for (int y = 0; y < delivered.height(); ++y) {
        for (int x = 0; x < delivered.width(); ++x)
            delivered.setPixel(x, y, source.pixel(x / 2, y / 2));
    }
    const QRect crop(3, 4, 10, 6);
    QImage expected(crop.size(), QImage::Format_ARGB32);
    for (int y = 0; y < crop.height(); ++y) {
        for (int x = 0; x < crop.width(); ++x)
            expected.setPixel(x, y, source.pixel(x + crop.x(), y + crop.y()));
    }
    COMPARE_PICTURES(preview(croppedLayer(crop), delivered), expected);
}

void tst_LayerPrepareEffects::cropWithoutWidthOrHeightShowsTheWholeSource_data()
{
    QTest::addColumn<QRect>("crop");

    QTest::newRow("null rectangle") << QRect();
    QTest::newRow("no width") << QRect(2, 2, 0, 4);
    QTest::newRow("no height") << QRect(2, 2, 4, 0);
    QTest::newRow("no width, negative height") << QRect(2, 2, 0, -4);
}

void tst_LayerPrepareEffects::cropWithoutWidthOrHeightShowsTheWholeSource()
{
    QFETCH(QRect, crop);

    sLayerVideoConfig cfg = croppedLayer(crop);
    cfg.m_LayerItem.m_boundingRect = QRectF(QPointF(0, 0), DeliveredSize);
    const QImage picture = gradientPicture(DeliveredSize);
    COMPARE_PICTURES(preview(cfg, picture), picture);
    COMPARE_PICTURES(processed(cfg, picture), picture);
}

void tst_LayerPrepareEffects::cropThatIsNotEnabledShowsTheWholeSource()
{
    sLayerVideoConfig cfg = croppedLayer(QRect(2, 2, 4, 4));
    cfg.m_LayerItem.m_boundingRect = QRectF(QPointF(0, 0), DeliveredSize);
    cfg.m_LayerSource.m_bLayerSourceIntercept = false;
    COMPARE_PICTURES(preview(cfg, gradientPicture(DeliveredSize)), gradientPicture(DeliveredSize));
}

void tst_LayerPrepareEffects::cropOfNegativeSizeShowsNothing_data()
{
    QTest::addColumn<QRect>("crop");

    QTest::newRow("negative width") << QRect(6, 2, -4, 4);
    QTest::newRow("negative height") << QRect(2, 6, 4, -4);
    QTest::newRow("both negative") << QRect(6, 6, -4, -4);
}

void tst_LayerPrepareEffects::cropOfNegativeSizeShowsNothing()
{
    QFETCH(QRect, crop);

    sLayerVideoConfig cfg = croppedLayer(crop);
    cfg.m_LayerItem.m_boundingRect = QRectF(0, 0, 4, 4);
    cfg.m_LayerItem.m_layerColor = Qt::blue;
    const QImage picture = gradientPicture(DeliveredSize);
    LogCapture log;
    COMPARE_PICTURES(preview(cfg, picture), solidPicture(QSize(4, 4), Qt::blue));
    QVERIFY(processed(cfg, picture).isNull());
    QCOMPARE(log.lines().size(), 0);
}

void tst_LayerPrepareEffects::cropBeyondTheSourceIsEmpty_data()
{
    QTest::addColumn<QImage::Format>("format");
    QTest::addColumn<QColor>("outside");

    QTest::newRow("no alpha: black") << QImage::Format_RGB32 << QColor(Qt::black);
    QTest::newRow("alpha: the layer's colour") << QImage::Format_ARGB32 << QColor(Qt::blue);
}

void tst_LayerPrepareEffects::cropBeyondTheSourceIsEmpty()
{
    QFETCH(QImage::Format, format);
    QFETCH(QColor, outside);

    sLayerVideoConfig cfg = croppedLayer(QRect(12, -2, 8, 6)); // the source's are 4 x 4 of them
    cfg.m_LayerItem.m_layerColor = Qt::blue;
    QImage expected = solidPicture(QSize(8, 6), outside);
    for (int y = 2; y < 6; ++y) {
        for (int x = 0; x < 4; ++x)
            expected.setPixelColor(x, y, Qt::red);
    }
    COMPARE_PICTURES(preview(cfg, solidPicture(DeliveredSize, Qt::red).convertToFormat(format)),
                     expected);
}

void tst_LayerPrepareEffects::cropFarBeyondTheSourceIsEmpty_data()
{
    QTest::addColumn<QPoint>("corner");

    constexpr int Smallest = std::numeric_limits<int>::min();
    constexpr int Largest = std::numeric_limits<int>::max() - 8; // 8 x 6 pixels still fit
    QTest::newRow("to the left") << QPoint(Smallest, 0);
    QTest::newRow("to the right") << QPoint(Largest, 0);
    QTest::newRow("above") << QPoint(0, Smallest);
    QTest::newRow("below") << QPoint(0, Largest);
}

void tst_LayerPrepareEffects::cropFarBeyondTheSourceIsEmpty()
{
    QFETCH(QPoint, corner);

    sLayerVideoConfig cfg = croppedLayer(QRect(0, 0, 8, 6));
    cfg.m_LayerSource.m_rectLayerSourceIntercept.moveTo(corner);
    COMPARE_PICTURES(preview(cfg, gradientPicture(DeliveredSize)),
                     solidPicture(QSize(8, 6), Qt::black));
}

void tst_LayerPrepareEffects::cropThatNoPictureCanHoldShowsNothing_data()
{
    QTest::addColumn<QPoint>("first");
    QTest::addColumn<QPoint>("last");

    constexpr int Smallest = std::numeric_limits<int>::min();
    constexpr int Largest = std::numeric_limits<int>::max();
    QTest::newRow("width") << QPoint(Smallest, 0) << QPoint(Largest, 3);
    QTest::newRow("height") << QPoint(0, Smallest) << QPoint(3, Largest);
    QTest::newRow("width below zero") << QPoint(Largest, 0) << QPoint(Smallest, 3);
    QTest::newRow("height below zero") << QPoint(0, Largest) << QPoint(3, Smallest);
}

void tst_LayerPrepareEffects::cropThatNoPictureCanHoldShowsNothing()
{
    QFETCH(QPoint, first);
    QFETCH(QPoint, last);

    sLayerVideoConfig cfg = croppedLayer(QRect(2, 2, 4, 4));
    cfg.m_LayerItem.m_layerColor = Qt::blue;
    cfg.m_LayerSource.m_rectLayerSourceIntercept = QRect(first, last);
    COMPARE_PICTURES(preview(cfg, gradientPicture(DeliveredSize)),
                     solidPicture(QSize(4, 4), Qt::blue));
}

void tst_LayerPrepareEffects::cropOfASourceWithoutSizeShowsNothing()
{
    sLayerVideoConfig cfg = croppedLayer(QRect(2, 2, 4, 4));
    cfg.m_LayerItem.m_layerColor = Qt::blue;
    cfg.m_LayerSource.m_sizeLayerSource = QSize(0, 0);
    COMPARE_PICTURES(preview(cfg, gradientPicture(DeliveredSize)),
                     solidPicture(QSize(4, 4), Qt::blue));
}

void tst_LayerPrepareEffects::numbersBeyondAPalettesEndAreBlack_data()
{
    QTest::addColumn<QVector<QRgb>>("palette");
    QTest::addColumn<bool>("isMono");

    QTest::newRow("short palette") << QVector<QRgb>{qRgb(255, 0, 0)} << false;
    QTest::newRow("short palette, mono") << QVector<QRgb>{qRgb(255, 0, 0)} << true;
    QTest::newRow("all but the last") << QVector<QRgb>(255, qRgb(255, 0, 0)) << false;
}

// Read from behind the palette, they would show what is none of a host's business, or crash it.
void tst_LayerPrepareEffects::numbersBeyondAPalettesEndAreBlack()
{
    QFETCH(QVector<QRgb>, palette);
    QFETCH(bool, isMono);

    QImage picture(4, 4, QImage::Format_Indexed8);
    picture.setColorTable(palette);
    memset(picture.bits(), 255, size_t(picture.sizeInBytes()));
    sLayerVideoConfig cfg = pictureLayer(8, 6);
    cfg.m_LayerItem.m_bMonoColorEnabled = isMono;
    COMPARE_PICTURES(preview(cfg, picture), solidPicture(QSize(8, 6), Qt::black));
}

void tst_LayerPrepareEffects::effectsOfANullPictureDrawNothingAndLogNothing()
{
    sLayerVideoConfig cfg = croppedLayer(QRect(2, 2, 4, 4));
    cfg.m_LayerItem.m_layerColor = Qt::blue;
    cfg.m_LayerItem.m_bMonoColorEnabled = true;
    cfg.m_LayerItem.m_bReverseColorEnabled = true;
    LogCapture log;
    COMPARE_PICTURES(preview(cfg, QImage()), solidPicture(QSize(4, 4), Qt::blue));
    QVERIFY(processed(cfg, QImage()).isNull());
    QCOMPARE(log.lines().size(), 0);
}

QTEST_GUILESS_MAIN(tst_LayerPrepareEffects)
#include "tst_layerprepare_effects.moc"
