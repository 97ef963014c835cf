#include <previewcheck.h>
#include <referencepreviews.h>
#include <scenereader.h>

#include <builtinpictures.h>
#include <echolayout.h>

#include <QPainter>
#include <QtTest>

#include <functional>

using namespace Morvek::Tools;
using Morvek::EchoVideo::sLayerItem;
using Morvek::EchoVideo::sLayerSource;
using Morvek::EchoVideo::sLayerVideoConfig;
namespace LayerEnum = Morvek::BizModel::Enum::Layer;

using tChange = std::function<void(sLayerVideoConfig &)>;
Q_DECLARE_METATYPE(tChange)
Q_DECLARE_METATYPE(sLayerItem::Mirroring)

namespace {

constexpr QSize TileSize(480, 270);
constexpr qint64 Now = 1700000000000; // ms since the epoch

sLayerVideoConfig inputLayer(const QSize &size = TileSize)
{
    sLayerVideoConfig layer;
    layer.m_LayerItem.m_boundingRect = QRectF(QPointF(0, 0), QSizeF(size));
    layer.m_LayerSource.m_eLayerSourceType = sLayerSource::Input;
    layer.m_LayerSource.m_sizeLayerSource = EchoPictureSize;
    return layer;
}

/** An input's picture: a plain colour of its own, a diagonal, and its stamp. */
QImage inputPicture(int nInput, quint32 nFrame = 77, qint64 nTimeMs = Now - 40)
{
    QImage picture(TileSize, QImage::Format_RGB32);
    picture.fill(QColor::fromHsv(nInput * 37 % 360, 200, 160));
    QPainter painter(&picture);
    painter.setPen(QPen(Qt::black, 6));
    painter.drawLine(0, 0, picture.width(), picture.height());
    painter.end();
    drawTileStamp(picture, picture.rect(), {quint8(nInput), nFrame, nTimeMs});
    return picture;
}

void crop(sLayerVideoConfig &layer, const QRect &rect)
{
    layer.m_LayerSource.m_bLayerSourceIntercept = true;
    layer.m_LayerSource.m_rectLayerSourceIntercept = rect;
}

void border(sLayerVideoConfig &layer, LayerEnum::BorderType eType, int nSize,
            const QColor &color = Qt::red)
{
    layer.m_LayerBorder.m_borderType = eType;
    layer.m_LayerBorder.m_borderSize = QSize(nSize, nSize);
    layer.m_LayerBorder.m_borderColor = color;
}

void mask(sLayerVideoConfig &layer, double top, double bottom)
{
    layer.m_LayerMask.m_bMaskEnable = true;
    layer.m_LayerMask.m_maskSize = {top, bottom, 0, 0};
}

} // namespace

class tst_PreviewCheck : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void legibilityFollowsFromTheConfiguration_data();
    void legibilityFollowsFromTheConfiguration();
    void readsPreviewsMadeByHand_data();
    void readsPreviewsMadeByHand();
    void readsNothingWhereThereIsNoStamp();
    void whatIsCalledLegibleIsReadFromRealPreviews();
    void meanDifferenceIsWhatItSays();
    void mostAlikeFindsTheInputOfLayersWithoutStamp();
    void mostAlikeFindsNothingInAnEmptyPreview();
    void mostAlikeMustStandOut();
    void placeholdersDifferFromPictures();
};

void tst_PreviewCheck::legibilityFollowsFromTheConfiguration_data()
{
    QTest::addColumn<tChange>("change");
    QTest::addColumn<bool>("isLegible");
    const auto row = [](const char *pName, bool isLegible, tChange change) {
        QTest::newRow(pName) << change << isLegible;
    };
    const auto size = [](int nWidth, int nHeight) {
        return [=](sLayerVideoConfig &layer) {
            layer.m_LayerItem.m_boundingRect = QRectF(0, 0, nWidth, nHeight);
        };
    };
    const auto item = [](auto member, auto value) {
        return [=](sLayerVideoConfig &layer) { layer.m_LayerItem.*member = value; };
    };
    row("as it comes", true, [](sLayerVideoConfig &) {});
    row("no source", false, [](sLayerVideoConfig &layer) {
        layer.m_LayerSource.m_eLayerSourceType = sLayerSource::NoSource;
    });
    row("program, not an input", false, [](sLayerVideoConfig &layer) {
        layer.m_LayerSource.m_eLayerSourceType = sLayerSource::PGM;
    });
    row("alpha map", false, [](sLayerVideoConfig &layer) {
        layer.m_LayerAlphaMap.m_strAlphaMapFile = QStringLiteral("map.png");
    });
    row("smallest legible", true, size(160, 90));
    row("too narrow", false, size(159, 90));
    row("too low", false, size(160, 88));
    row("mirrored both ways", true, item(&sLayerItem::m_mirroringType, sLayerItem::Both));
    row("mono", true, item(&sLayerItem::m_bMonoColorEnabled, true));
    row("reverse", true, item(&sLayerItem::m_bReverseColorEnabled, true));
    row("frozen, mark at the bottom", true, item(&sLayerItem::m_isFrozen, true));
    row("frozen, stamp at the bottom", false, [](sLayerVideoConfig &layer) {
        layer.m_LayerItem.m_isFrozen = true;
        layer.m_LayerItem.m_mirroringType = sLayerItem::Vert;
    });
    row("opacity 10", true, item(&sLayerItem::m_opacity, 10));
    row("opacity 9", false, item(&sLayerItem::m_opacity, 9));
    row("layer colour all transparent", false,
        item(&sLayerItem::m_layerColor, QColor(Qt::transparent)));
    row("both a little transparent", false, [](sLayerVideoConfig &layer) {
        layer.m_LayerItem.m_opacity = 30;
        layer.m_LayerItem.m_layerColor.setAlphaF(0.3);
    });
    // The stamp lies from 7 to 16 % of the tile's height and from 5 to 95 % of its width.
    row("crop above the stamp", true, [](sLayerVideoConfig &layer) {
        crop(layer, {0, 0, 1920, 200});
    });
    row("crop through the stamp", false, [](sLayerVideoConfig &layer) {
        crop(layer, {0, 100, 1920, 900});
    });
    row("crop below the stamp", false, [](sLayerVideoConfig &layer) {
        crop(layer, {0, 400, 1920, 600});
    });
    row("crop of no width is none", true, [](sLayerVideoConfig &layer) {
        crop(layer, {0, 400, 0, 600});
    });
    row("thin hard border", true,
        [](sLayerVideoConfig &layer) { border(layer, LayerEnum::Hard_in, 10); });
    row("thick hard border", false,
        [](sLayerVideoConfig &layer) { border(layer, LayerEnum::Hard_in, 25); });
    row("thick soft border", false,
        [](sLayerVideoConfig &layer) { border(layer, LayerEnum::Soft, 25); });
    row("thick border that is not drawn", true,
        [](sLayerVideoConfig &layer) { border(layer, LayerEnum::Halo_out, 25); });
    row("thin halo, opaque", true,
        [](sLayerVideoConfig &layer) { border(layer, LayerEnum::Halo_in, 10); });
    row("thin halo, translucent", false, [](sLayerVideoConfig &layer) {
        border(layer, LayerEnum::Halo_in, 10, QColor(255, 0, 0, 200));
    });
    row("mask above the stamp", true, [](sLayerVideoConfig &layer) { mask(layer, 15, 0); });
    row("mask over the stamp", false, [](sLayerVideoConfig &layer) { mask(layer, 30, 0); });
    row("mask at the other end", true, [](sLayerVideoConfig &layer) { mask(layer, 0, 150); });
    row("mask over the mirrored stamp", false, [](sLayerVideoConfig &layer) {
        mask(layer, 0, 150);
        layer.m_LayerItem.m_mirroringType = sLayerItem::Vert;
    });
}

void tst_PreviewCheck::legibilityFollowsFromTheConfiguration()
{
    QFETCH(tChange, change);
    QFETCH(bool, isLegible);
    sLayerVideoConfig layer = inputLayer();
    change(layer);
    QCOMPARE(isStampLegible(layer), isLegible);
}

void tst_PreviewCheck::readsPreviewsMadeByHand_data()
{
    QTest::addColumn<sLayerItem::Mirroring>("mirroring");
    QTest::addColumn<QImage>("preview");
    QTest::addColumn<QRect>("cropped");
    const QImage tile = inputPicture(11);
    QImage inverted = tile;
    inverted.invertPixels();
    QImage faint = tile.convertToFormat(QImage::Format_ARGB32);
    for (int nRow = 0; nRow < faint.height(); ++nRow) {
        for (int nColumn = 0; nColumn < faint.width(); ++nColumn)
            faint.setPixel(nColumn, nRow, tile.pixel(nColumn, nRow) & 0x28ffffff);
    }
    QTest::newRow("upright") << sLayerItem::NoMirroring << tile << QRect();
    QTest::newRow("left to right") << sLayerItem::Hori << tile.mirrored(true, false) << QRect();
    QTest::newRow("top to bottom") << sLayerItem::Vert << tile.mirrored(false, true) << QRect();
    QTest::newRow("both ways") << sLayerItem::Both << tile.mirrored(true, true) << QRect();
    QTest::newRow("inverted") << sLayerItem::NoMirroring << inverted << QRect();
    QTest::newRow("gray") << sLayerItem::NoMirroring
                          << tile.convertToFormat(QImage::Format_Grayscale8) << QRect();
    QTest::newRow("faint") << sLayerItem::NoMirroring << faint << QRect();
    QTest::newRow("small") << sLayerItem::NoMirroring << tile.scaled(239, 137) << QRect();
    // The upper half of a tile, and the same in the preview's size.
    QTest::newRow("cropped") << sLayerItem::NoMirroring
                             << tile.copy(0, 0, 480, 135).scaled(TileSize)
                             << QRect(0, 0, 1920, 540);
    QTest::newRow("cropped and mirrored")
        << sLayerItem::Both << tile.copy(0, 0, 480, 135).scaled(TileSize).mirrored(true, true)
        << QRect(0, 0, 1920, 540);
}

void tst_PreviewCheck::readsPreviewsMadeByHand()
{
    QFETCH(sLayerItem::Mirroring, mirroring);
    QFETCH(QImage, preview);
    QFETCH(QRect, cropped);
    sLayerVideoConfig layer = inputLayer(preview.size());
    layer.m_LayerItem.m_mirroringType = mirroring;
    if (!cropped.isNull())
        crop(layer, cropped);
    const auto stamp = readPreviewStamp(layer, preview, Now);
    QVERIFY(stamp);
    QCOMPARE(int(stamp->m_nInput), 11);
    QCOMPARE(stamp->m_nFrame, 77u);
    QCOMPARE(stamp->m_nTimeMs, Now - 40);
}

void tst_PreviewCheck::readsNothingWhereThereIsNoStamp()
{
    QImage plain(TileSize, QImage::Format_ARGB32);
    plain.fill(QColor(23, 24, 26));
    QVERIFY(!readPreviewStamp(inputLayer(), plain, Now));
    QVERIFY(!readPreviewStamp(inputLayer(), QImage(), Now));
    // Mirrored, but read as if it were not.
    QVERIFY(!readPreviewStamp(inputLayer(), inputPicture(3).mirrored(true, false), Now));
}

void tst_PreviewCheck::whatIsCalledLegibleIsReadFromRealPreviews()
{
    QStringList problems;
    auto scene = readSceneFile(QString(), problems);
    QVERIFY(scene);
    BuiltInAlphaMaps maps;
    QVERIFY(maps.provide(*scene));
    ReferencePreviews references;
    int nLayers = 0;
    int nLegible = 0;
    for (const sSceneScreen &screen : std::as_const(scene->m_screens)) {
        for (const sSceneLayer &layer : screen.m_layers) {
            ++nLayers;
            if (!isStampLegible(layer.m_config))
                continue;
            ++nLegible;
            const QImage preview = references.render(layer.m_config, inputPicture(layer.input()));
            const auto stamp = readPreviewStamp(layer.m_config, preview, Now);
            QVERIFY2(stamp, qPrintable(layer.m_strName));
            QCOMPARE(int(stamp->m_nInput), layer.input());
        }
    }
    QVERIFY2(nLegible * 2 >= nLayers, "half of the built-in layers must show who they are");
}

void tst_PreviewCheck::meanDifferenceIsWhatItSays()
{
    QImage black(10, 10, QImage::Format_RGB32);
    black.fill(Qt::black);
    QImage other = black;
    QCOMPARE(meanDifference(black, other), 0.0);
    // 10 of 100 pixels, 3 of 4 channels, 200 of difference.
    for (int nColumn = 0; nColumn < 10; ++nColumn)
        other.setPixelColor(nColumn, 4, QColor(200, 200, 200));
    QCOMPARE(meanDifference(black, other), 15.0);
    QCOMPARE(meanDifference(black, QImage(9, 10, QImage::Format_RGB32)), 255.0);
    QCOMPARE(meanDifference(QImage(), QImage()), 255.0);
    // The colour of what is transparent does not count.
    QImage clear(10, 10, QImage::Format_ARGB32);
    clear.fill(QColor(255, 255, 255, 0));
    QImage alsoClear = clear;
    alsoClear.fill(QColor(10, 20, 30, 0));
    QCOMPARE(meanDifference(clear, alsoClear), 0.0);
}

void tst_PreviewCheck::mostAlikeFindsTheInputOfLayersWithoutStamp()
{
    QVector<QImage> inputs;
    for (int nInput = 0; nInput < 9; ++nInput)
        inputs.append(inputPicture(nInput));
    sLayerVideoConfig layer = inputLayer();
    crop(layer, {400, 400, 960, 540});
    border(layer, LayerEnum::Soft, 40);
    ReferencePreviews references;
    for (int nInput = 0; nInput < inputs.size(); ++nInput) {
        // A later picture: the frame number and the line differ from those in the list.
        QImage later = inputPicture(nInput, 78);
        QPainter(&later).fillRect(200, 200, 20, 20, Qt::white);
        const QImage preview = references.render(layer, later);
        QCOMPARE(references.mostAlike(layer, preview, inputs), std::optional<int>(nInput));
    }
}

void tst_PreviewCheck::mostAlikeFindsNothingInAnEmptyPreview()
{
    const QVector<QImage> inputs{inputPicture(0), inputPicture(1), inputPicture(2)};
    sLayerVideoConfig layer = inputLayer();
    layer.m_LayerItem.m_opacity = 0;
    ReferencePreviews references;
    const QImage preview = references.render(layer, inputs[1]);
    QCOMPARE(references.mostAlike(layer, preview, inputs), std::optional<int>());
    QCOMPARE(references.mostAlike(layer, preview, {}), std::optional<int>());
}

void tst_PreviewCheck::mostAlikeMustStandOut()
{
    const auto gray = [](int nLevel) {
        QImage picture(TileSize, QImage::Format_RGB32);
        picture.fill(QColor(nLevel, nLevel, nLevel));
        return picture;
    };
    ReferencePreviews references;
    const sLayerVideoConfig layer = inputLayer();
    const QImage preview = references.render(layer, gray(100));
    QCOMPARE(references.mostAlike(layer, preview, {gray(200), gray(90), gray(112)}),
             std::optional<int>());
    QCOMPARE(references.mostAlike(layer, preview, {gray(200), gray(90), gray(120)}),
             std::optional<int>(1));
    QCOMPARE(references.mostAlike(layer, preview, {gray(120), gray(200), gray(90)}),
             std::optional<int>(2));
}

void tst_PreviewCheck::placeholdersDifferFromPictures()
{
    ReferencePreviews references;
    const sLayerVideoConfig layer = inputLayer();
    const QList<QImage> placeholders = references.placeholders(layer);
    QImage gray(TileSize, QImage::Format_ARGB32);
    gray.fill(QColor(23, 24, 26));
    QImage black(TileSize, QImage::Format_ARGB32);
    black.fill(Qt::black);
    QCOMPARE(placeholders.size(), 2);
    QVERIFY(placeholders.contains(gray));
    QVERIFY(placeholders.contains(black));
    QVERIFY(!placeholders.contains(references.render(layer, inputPicture(1))));
    // A picture without signal in full size looks like the small one.
    QVERIFY(placeholders.contains(references.render(layer, black)));
}

QTEST_MAIN(tst_PreviewCheck)
#include "tst_previewcheck.moc"
