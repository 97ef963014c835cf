// Layers drawn at one go against the same layers drawn step by step: every pixel must be the same.

#include "layerdice.h"
#include "picturecompare.h"
#include "previewmemory_p.h"
#include "quickdrawing/alphamaps_p.h"
#include "quickdrawing/layerpainter_p.h"
#include "quickdrawing/plaindrawing_p.h"
#include "sanitized.h"
#include "testlayers.h"
#include "testpictures.h"

#include <layervideomanager.h>

#include <QObject>
#include <QTemporaryDir>
#include <QtTest>

using namespace Morvek::EchoVideo;
using namespace Morvek::Tests;
using Morvek::BizModel::Enum::Layer::BorderType;

namespace {

constexpr int Rows = 60; // 109,200 layers
constexpr int LayersPerRow = IsSanitized ? rounds(400) : 2000;
constexpr int MaxLength = 8192; // of a picture or canvas that is drawn at one go

void ignoreMessage(QtMsgType, const QMessageLogContext &, const QString &) {}

QImage noise(const QSize &size, QImage::Format format, quint32 nSeed = 1)
{
    QRandomGenerator random(nSeed);
    QImage picture(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y)
        random.fillRange(reinterpret_cast<quint32 *>(picture.scanLine(y)), size.width());
    return picture.convertToFormat(format);
}

} // namespace

class tst_QuickDrawing : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();
    void cleanupTestCase();
    void randomLayers_data();
    void randomLayers();
    void mostLayersAreDrawnAtOneGo();
    void everyWidth_data();
    void everyWidth();
    void sizesAtTheLimits_data();
    void sizesAtTheLimits();
    void picturesOfEveryFormat_data();
    void picturesOfEveryFormat();
    void layersThatThePainterDraws_data();
    void layersThatThePainterDraws();
    void canvasThatSomebodyElseHoldsIsLeftAlone();
    void frozenMarkAndSolidBorder_data();
    void frozenMarkAndSolidBorder();
    void pictureThatIsKeptIsProcessed();

private:
    QString difference(const sLayerVideoConfig &cfg, const QImage &picture) const;
    bool isDrawnAtOnce(const sLayerVideoConfig &cfg, const QImage &picture) const;

    QTemporaryDir m_folder;
    QStringList m_alphaMaps;
    QPixmap m_mark;
};

void tst_QuickDrawing::initTestCase()
{
    QImage map(24, 18, QImage::Format_ARGB32);
    for (int y = 0; y < map.height(); ++y) {
        for (int x = 0; x < map.width(); ++x)
            map.setPixel(x, y, qRgba(0, 0, 0, y < 6 ? 255 : y < 12 ? 0 : x * 255 / 23));
    }
    const QString strShaped = m_folder.filePath(QStringLiteral("shaped.png"));
    const QString strOpaque = m_folder.filePath(QStringLiteral("opaque.png"));
    const QString strDeep = m_folder.filePath(QStringLiteral("deep.png"));
    QVERIFY(map.save(strShaped));
    QVERIFY(
        solidPicture(QSize(3, 3), Qt::green).convertToFormat(QImage::Format_RGB32).save(strOpaque));
    QVERIFY(map.convertToFormat(QImage::Format_RGBA64).save(strDeep)); // 16 bits a channel
    m_alphaMaps = QStringList{strShaped, strOpaque, strDeep,
                              m_folder.filePath(QStringLiteral("missing.png"))};
    // Only then are they drawn at one go.
    QTRY_VERIFY(Internal::fileIdentity(strDeep));

    QImage mark = solidPicture(QSize(30, 24), QColor(200, 100, 0, 150));
    mark.setPixelColor(3, 3, Qt::blue);
    m_mark = QPixmap::fromImage(mark);
    qInstallMessageHandler(ignoreMessage); // layers without a size warn
}

void tst_QuickDrawing::cleanup()
{
    Internal::setPlainDrawing(false);
    LayerVideoManager::m_frozenIcon.reset();
}

void tst_QuickDrawing::cleanupTestCase()
{
    qInstallMessageHandler(nullptr);
}

// Empty when a preview is the same both ways, whether or not the picture is kept.
QString tst_QuickDrawing::difference(const sLayerVideoConfig &cfg, const QImage &picture) const
{
    const LayerVideoManager manager(answering(picture));
    QImage plainCanvas;
    QImage plainFrame;
    Internal::setPlainDrawing(true);
    manager.videoPrerender(cfg, plainCanvas, plainFrame);
    Internal::setPlainDrawing(false);

    QImage canvas;
    QImage frame;
    manager.videoPrerender(cfg, canvas, frame);
    QString strDifference = pictureDifference(canvas, plainCanvas);
    if (strDifference.isEmpty() && frame != plainFrame)
        strDifference =
            QStringLiteral("processed picture: ") + pictureDifference(frame, plainFrame);
    if (strDifference.isEmpty()) {
        Internal::PreviewMemory memory;
        manager.videoPrerender(cfg, canvas, frame, &memory);
        strDifference = pictureDifference(canvas, plainCanvas);
    }
    if (strDifference.isEmpty())
        return QString();
    return QStringLiteral("%1; format %2, size %3 x %4: %5")
        .arg(strDifference)
        .arg(picture.format())
        .arg(picture.width())
        .arg(picture.height())
        .arg(asText(cfg));
}

bool tst_QuickDrawing::isDrawnAtOnce(const sLayerVideoConfig &cfg, const QImage &picture) const
{
    Internal::LayerPainter painter;
    QImage canvas(cfg.m_LayerItem.m_boundingRect.toRect().size(), QImage::Format_ARGB32);
    const auto load = [](const QString &strFile) { return QImage(strFile); };
    return painter.draw(cfg, false, canvas, picture, Internal::ePictureState::Raw, load)
        .m_isPictureDrawn;
}

void tst_QuickDrawing::randomLayers_data()
{
    QTest::addColumn<int>("row");

    for (int nRow = 0; nRow < Rows; ++nRow)
        QTest::addRow("layers %d to %d", nRow * LayersPerRow, (nRow + 1) * LayersPerRow - 1)
            << nRow;
}

void tst_QuickDrawing::randomLayers()
{
    QFETCH(int, row);

    LayerVideoManager::m_frozenIcon = m_mark;
    // Every tenth row has large layers, of which there are fewer.
    const bool isLarge = row % 10 == 9;
    LayerDice layers(quint32(5000 + row), m_alphaMaps, isLarge ? QSize(400, 300) : QSize(60, 45));
    for (int i = 0; i < (isLarge ? LayersPerRow / 10 : LayersPerRow); ++i) {
        const sLayerVideoConfig cfg = layers.nextLayer();
        const QString strDifference = difference(cfg, layers.nextPicture(cfg));
        QVERIFY2(strDifference.isEmpty(), qPrintable(strDifference));
    }
}

// Otherwise equal previews would not mean much.
void tst_QuickDrawing::mostLayersAreDrawnAtOneGo()
{
    LayerDice layers(1, m_alphaMaps);
    constexpr int Layers = 1000;
    int nDrawn = 0;
    for (int i = 0; i < Layers; ++i) {
        const sLayerVideoConfig cfg = layers.nextLayer();
        const QImage picture = layers.nextPicture(cfg);
        if (cfg.m_LayerSource.m_eLayerSourceType != sLayerSource::NoSource)
            nDrawn += int(isDrawnAtOnce(cfg, picture));
    }
    QVERIFY2(nDrawn > Layers / 12, qPrintable(QString::number(nDrawn)));
}

void tst_QuickDrawing::everyWidth_data()
{
    QTest::addColumn<int>("mirroring");

    QTest::newRow("plain") << int(sLayerItem::NoMirroring);
    QTest::newRow("mirrored") << int(sLayerItem::Both);
}

// The raster engine takes pixels in groups, and treats what is left of a row in another way.
void tst_QuickDrawing::everyWidth()
{
    QFETCH(int, mirroring);

    const QImage picture = noise(QSize(97, 5), QImage::Format_RGB32);
    for (int nWidth = 1; nWidth <= 100; ++nWidth) {
        sLayerVideoConfig cfg = pictureLayer(nWidth, 7);
        cfg.m_LayerItem.m_mirroringType = sLayerItem::Mirroring(mirroring);
        cfg.m_LayerItem.m_opacity = 37;
        for (const BorderType type : {BorderType::Invalid, BorderType::Soft, BorderType::Halo_in}) {
            cfg.m_LayerBorder.m_borderType = type;
            cfg.m_LayerBorder.m_borderSize = QSize(9, 3);
            for (const int nAlpha : {255, 90}) {
                cfg.m_LayerItem.m_layerColor.setAlpha(nAlpha);
                const QString strDifference = difference(cfg, picture);
                QVERIFY2(strDifference.isEmpty(), qPrintable(strDifference));
            }
        }
    }
}

void tst_QuickDrawing::sizesAtTheLimits_data()
{
    QTest::addColumn<QSize>("layerSize");
    QTest::addColumn<QSize>("pictureSize");
    QTest::addColumn<bool>("isDrawn");

    // The engine works on 2048 pixels of a row at a time.
    QTest::newRow("shorter than a span") << QSize(2047, 3) << QSize(480, 270) << true;
    QTest::newRow("a span") << QSize(2048, 3) << QSize(480, 270) << true;
    QTest::newRow("longer than a span") << QSize(2049, 3) << QSize(480, 270) << true;
    QTest::newRow("two spans and a bit") << QSize(4099, 3) << QSize(13, 1) << true;
    QTest::newRow("largest canvas") << QSize(MaxLength, 2) << QSize(3, 3) << true;
    QTest::newRow("larger canvas") << QSize(MaxLength + 1, 2) << QSize(3, 3) << false;
    QTest::newRow("high canvas") << QSize(16, MaxLength) << QSize(3, 3) << true;
    QTest::newRow("higher canvas") << QSize(16, MaxLength + 1) << QSize(3, 3) << false;
    QTest::newRow("largest picture") << QSize(20, 20) << QSize(MaxLength, 2) << true;
    QTest::newRow("larger picture") << QSize(20, 20) << QSize(MaxLength + 1, 2) << false;
    QTest::newRow("higher picture") << QSize(20, 20) << QSize(2, MaxLength + 1) << false;
    QTest::newRow("smallest picture") << QSize(20, 20) << QSize(1, 1) << true;
    QTest::newRow("one row") << QSize(20, 1) << QSize(20, 20) << true;
    QTest::newRow("fifteen columns") << QSize(15, 20) << QSize(20, 20) << false;
}

void tst_QuickDrawing::sizesAtTheLimits()
{
    QFETCH(QSize, layerSize);
    QFETCH(QSize, pictureSize);
    QFETCH(bool, isDrawn);

    for (const QImage::Format format :
         {QImage::Format_RGB32, QImage::Format_RGB888, QImage::Format_Grayscale8}) {
        const QImage picture = noise(pictureSize, format);
        for (const BorderType type : {BorderType::Invalid, BorderType::Soft, BorderType::Halo_in}) {
            sLayerVideoConfig cfg = pictureLayer(layerSize.width(), layerSize.height());
            cfg.m_LayerBorder.m_borderType = type;
            cfg.m_LayerItem.m_opacity = 61;
            cfg.m_LayerMask = {type != BorderType::Halo_in, {0, 1, 2, 3}};
            const QString strDifference = difference(cfg, picture);
            QVERIFY2(strDifference.isEmpty(), qPrintable(strDifference));
            QCOMPARE(isDrawnAtOnce(cfg, picture), isDrawn);
        }
    }
}

void tst_QuickDrawing::picturesOfEveryFormat_data()
{
    QTest::addColumn<int>("format");

    for (int nFormat = QImage::Format_Mono; nFormat < QImage::NImageFormats; ++nFormat)
        QTest::addRow("format %d", nFormat) << nFormat;
}

void tst_QuickDrawing::picturesOfEveryFormat()
{
    QFETCH(int, format);

    QImage picture = noise(QSize(50, 40), QImage::Format(format));
    for (const bool isTranslucent : {false, true}) {
        if (isTranslucent) {
            if (!picture.hasAlphaChannel())
                break;
            picture.setPixelColor(7, 7, QColor(10, 20, 30, 128));
        }
        for (const int nEffects : {0, 1, 2, 3}) {
            sLayerVideoConfig cfg = pictureLayer(64, 30);
            cfg.m_LayerItem.m_bMonoColorEnabled = (nEffects & 1) != 0;
            cfg.m_LayerItem.m_bReverseColorEnabled = (nEffects & 2) != 0;
            for (const bool isCropped : {false, true}) {
                cfg.m_LayerSource.m_bLayerSourceIntercept = isCropped;
                cfg.m_LayerSource.m_sizeLayerSource = QSize(70, 33);
                cfg.m_LayerSource.m_rectLayerSourceIntercept = QRect(3, 4, 40, 20);
                const QString strDifference = difference(cfg, picture);
                QVERIFY2(strDifference.isEmpty(), qPrintable(strDifference));
            }
        }
    }
}

void tst_QuickDrawing::layersThatThePainterDraws_data()
{
    QTest::addColumn<QRectF>("boundingRect");
    QTest::addColumn<QRect>("crop");
    QTest::addColumn<double>("inset");
    QTest::addColumn<QSize>("borderSize");
    QTest::addColumn<bool>("isDrawnAtOnce");

    const QRectF rect(0, 0, 64, 36);
    const QRect crop(10, 10, 50, 50);
    const QSize border(5, 5);
    QTest::newRow("none of these") << rect << crop << 2.0 << border << true;
    QTest::newRow("off the origin") << rect.translated(1, 0) << crop << 2.0 << border << false;
    QTest::newRow("half pixels") << QRectF(0, 0, 64.5, 36) << crop << 2.0 << border << false;
    QTest::newRow("crop beyond the source")
        << rect << QRect(60, 60, 41, 40) << 2.0 << border << false;
    QTest::newRow("crop up to the edge") << rect << QRect(60, 60, 40, 40) << 2.0 << border << true;
    QTest::newRow("crop from outside") << rect << QRect(-1, 0, 40, 40) << 2.0 << border << false;
    QTest::newRow("negative crop") << rect << QRect(10, 10, -5, 20) << 2.0 << border << false;
    QTest::newRow("extreme crop") << rect << QRect(QPoint(INT_MIN, 0), QPoint(INT_MAX, 5)) << 2.0
                                  << border << false;
    QTest::newRow("insets that meet") << rect << crop << 18.0 << border << true;
    QTest::newRow("negative insets") << rect << crop << -3.0 << border << true;
    QTest::newRow("fraction of an inset") << rect << crop << 2.5 << border << true;
    QTest::newRow("endless insets") << rect << crop << 1e300 << border << false;
    QTest::newRow("insets that are no numbers") << rect << crop << qQNaN() << border << false;
    QTest::newRow("no border size") << rect << crop << 2.0 << QSize(0, 0) << true;
    QTest::newRow("negative border size") << rect << crop << 2.0 << QSize(-7, -1) << true;
    QTest::newRow("thick border") << rect << crop << 2.0 << QSize(1000, 1000) << true;
    QTest::newRow("extreme border") << rect << crop << 2.0 << QSize(INT_MAX, INT_MIN) << true;
}

void tst_QuickDrawing::layersThatThePainterDraws()
{
    QFETCH(QRectF, boundingRect);
    QFETCH(QRect, crop);
    QFETCH(double, inset);
    QFETCH(QSize, borderSize);
    QFETCH(bool, isDrawnAtOnce);

    const QImage picture = noise(QSize(48, 27), QImage::Format_RGB32);
    for (const BorderType type : {BorderType::Soft, BorderType::Halo_in}) {
        sLayerVideoConfig cfg =
            borderedLayer(boundingRect, type, borderSize, QColor(9, 99, 199, 77));
        cfg.m_LayerSource.m_bLayerSourceIntercept = true;
        cfg.m_LayerSource.m_sizeLayerSource = QSize(100, 100);
        cfg.m_LayerSource.m_rectLayerSourceIntercept = crop;
        cfg.m_LayerMask = {true, {inset, inset, inset, inset}};
        const bool isUneven = type == BorderType::Halo_in && inset > 0;
        const QString strDifference = difference(cfg, picture);
        QVERIFY2(strDifference.isEmpty(), qPrintable(strDifference));
        QCOMPARE(this->isDrawnAtOnce(cfg, picture), isDrawnAtOnce && !isUneven);
    }
}

void tst_QuickDrawing::canvasThatSomebodyElseHoldsIsLeftAlone()
{
    const LayerVideoManager manager(answering(noise(QSize(20, 20), QImage::Format_RGB32)));
    QImage canvas = solidPicture(QSize(32, 20), Qt::red);
    const QImage held = canvas;
    QImage frame;
    manager.videoPrerender(pictureLayer(32, 20), canvas, frame);
    COMPARE_PICTURES(held, solidPicture(QSize(32, 20), Qt::red));
    QVERIFY(canvas != held);

    // Nobody else holds it: drawn into the same pixels.
    const uchar *const pPixels = canvas.constBits();
    manager.videoPrerender(pictureLayer(32, 20), canvas, frame);
    QCOMPARE(canvas.constBits(), pPixels);
}

void tst_QuickDrawing::frozenMarkAndSolidBorder_data()
{
    QTest::addColumn<bool>("isFrozen");
    QTest::addColumn<int>("borderType");

    QTest::newRow("frozen") << true << int(BorderType::Invalid);
    QTest::newRow("frozen, solid border") << true << int(BorderType::Hard_in);
    QTest::newRow("frozen, soft border") << true << int(BorderType::Soft);
    QTest::newRow("frozen, halo") << true << int(BorderType::Halo_in);
    QTest::newRow("solid border") << false << int(BorderType::Hard_in);
}

// The painter draws them onto what was drawn at one go.
void tst_QuickDrawing::frozenMarkAndSolidBorder()
{
    QFETCH(bool, isFrozen);
    QFETCH(int, borderType);

    const QImage picture = noise(QSize(48, 27), QImage::Format_RGB32);
    for (const bool isMarkThere : {true, false}) {
        LayerVideoManager::m_frozenIcon = isMarkThere ? m_mark : QPixmap();
        for (const int nOpacity : {100, 99, 40, 0, -5, 200}) {
            for (const int nAlpha : {255, 128, 0}) {
                for (const bool isMasked : {false, true}) {
                    sLayerVideoConfig cfg =
                        borderedLayer(QRectF(0, 0, 70, 50), BorderType(borderType), QSize(6, 4),
                                      QColor(200, 10, 30, nAlpha));
                    cfg.m_LayerItem.m_isFrozen = isFrozen;
                    cfg.m_LayerItem.m_opacity = nOpacity;
                    cfg.m_LayerItem.m_layerColor.setAlpha(255 - nAlpha / 2);
                    cfg.m_LayerMask = {isMasked, {3, 3, 3, 30}};
                    const QString strDifference = difference(cfg, picture);
                    QVERIFY2(strDifference.isEmpty(), qPrintable(strDifference));
                }
            }
        }
    }
}

void tst_QuickDrawing::pictureThatIsKeptIsProcessed()
{
    const QImage picture = noise(QSize(48, 27), QImage::Format_RGB32);
    const LayerVideoManager manager(answering(picture));
    sLayerVideoConfig cfg = pictureLayer(64, 36);
    cfg.m_LayerItem.m_bReverseColorEnabled = true;
    QImage canvas;
    QImage frame;
    manager.videoPrerender(cfg, canvas, frame);
    QCOMPARE(frame.pixel(5, 5), picture.pixel(5, 5) ^ 0xffffffU);
}

QTEST_MAIN(tst_QuickDrawing)
#include "tst_quickdrawing.moc"
