// The records that a host fills for each layer: what a fresh one holds, and that copies are values.

#include <layervideoconfig.h>

#include <QtTest>

#include <algorithm>
#include <array>
#include <iterator>
#include <type_traits>

using namespace Morvek::EchoVideo;
namespace LayerEnum = Morvek::BizModel::Enum::Layer;

static_assert(std::is_same_v<sLayerUniqueIdentifies, Morvek::ProtoModel::s_ScreenLayerId>);

static_assert(sizeof(sLayerItem::Mirroring) == 4);
static_assert(sLayerItem::NoMirroring == 0 && sLayerItem::Mirroring::Hori == 1);
static_assert(sLayerItem::Vert == 2 && sLayerItem::Both == 3);
static_assert(sizeof(sLayerSource::eLayerSourceType) == 4);
static_assert(sLayerSource::NoSource == 0 && sLayerSource::eLayerSourceType::Input == 1);
static_assert(sLayerSource::PVW == 2 && sLayerSource::PGM == 3);
static_assert(sizeof(LayerEnum::BorderType) == 4 && LayerEnum::Invalid == 7);

static_assert(std::is_same_v<decltype(sLayerItem::m_boundingRect), QRectF>);
static_assert(std::is_same_v<decltype(sLayerItem::m_opacity), int>);
static_assert(std::is_same_v<decltype(sLayerBorder::m_borderType), LayerEnum::BorderType>);
static_assert(std::is_same_v<decltype(sLayerSource::m_rectLayerSourceIntercept), QRect>);
static_assert(std::is_same_v<decltype(sLayerSource::m_nLayerSourceKeyNo), quint32>);
static_assert(std::is_same_v<decltype(sLayerMask::m_maskSize), std::array<double, 4>>);
static_assert(std::is_same_v<decltype(sLayerVideoConfig::m_lastUpdateDateTime), QDateTime>);

template <typename Record>
constexpr bool isPlainValue = std::is_default_constructible_v<Record>
    &&std::is_copy_constructible_v<Record> &&std::is_copy_assignable_v<Record>;
static_assert(isPlainValue<sLayerItem> && isPlainValue<sLayerBorder> && isPlainValue<sLayerSource>);
static_assert(isPlainValue<sLayerMask> && isPlainValue<sLayerAlphaMap>);
static_assert(isPlainValue<sLayerVideoConfig> && isPlainValue<sLayerVideo>);

namespace {

// A record in which no field has its default.
sLayerVideoConfig filledConfig()
{
    sLayerVideoConfig cfg;
    cfg.m_isRendering = true;
    cfg.m_isFirstRendered = true;
    cfg.m_lastUpdateDateTime = QDateTime(QDate(2001, 2, 3), QTime(4, 5, 6, 7));
    cfg.m_LayerIdentifies.screenId = 1;
    cfg.m_LayerIdentifies.screenType = 2;
    cfg.m_LayerIdentifies.layerId = 3;
    cfg.m_LayerIdentifies.layerType = 4;
    cfg.m_LayerIdentifies.sceneType = 5;
    cfg.m_LayerItem = {QRectF(1, 2, 3, 4),
                       Qt::cyan,
                       Qt::blue,
                       QStringLiteral("4K"),
                       QStringLiteral("mix"),
                       sLayerItem::Both,
                       true,
                       true,
                       true,
                       true,
                       42};
    cfg.m_LayerBorder = {Qt::green, QSize(6, 7), LayerEnum::Soft};
    cfg.m_LayerSource = {sLayerSource::PGM,         true, QRect(1, 2, 3, 4),
                         QStringLiteral("input 9"), 9,    QSize(1920, 1080)};
    cfg.m_LayerMask = {true, {1.5, 2.5, 3.5, 4.5}};
    cfg.m_LayerAlphaMap = {QStringLiteral("map.png")};
    cfg.m_LayerVideoCanvas = QImage(2, 3, QImage::Format_ARGB32);
    cfg.m_LayerVideoCanvas.fill(Qt::yellow);
    cfg.m_isHasVideoSignal = true;
    cfg.m_isAllowRender = false;
    return cfg;
}

} // namespace

class tst_LayerRecords : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void keyIsAllZero();
    void itemShowsWhiteOpaqueAndUnmirrored();
    void borderIsTranslucentGrayAndInvalid();
    void sourceIsNoSource();
    void maskIsOffAndAlphaMapEmpty();
    void configIsDueAndMayRender();
    void configIsDatedAtItsConstruction();
    void configFieldsStandInOrder();
    void finishedPreviewIsEmpty();
    void copyHoldsEveryField();
    void copyIsIndependent();
    void assignmentReplacesEveryField();
};

void tst_LayerRecords::keyIsAllZero()
{
    const sLayerUniqueIdentifies key = sLayerVideoConfig().m_LayerIdentifies;
    QCOMPARE(int(key.screenId), 0);
    QCOMPARE(key.screenType, 0);
    QCOMPARE(int(key.layerId), 0);
    QCOMPARE(key.layerType, 0);
    QCOMPARE(key.sceneType, 0);
}

void tst_LayerRecords::itemShowsWhiteOpaqueAndUnmirrored()
{
    const sLayerItem item = sLayerVideoConfig().m_LayerItem;
    QCOMPARE(item.m_boundingRect, QRectF(0, 0, 0, 0));
    QVERIFY(!item.m_defaultColor.isValid());
    QCOMPARE(item.m_layerColor, QColor(Qt::white));
    QVERIFY(item.m_strLayerCapacity.isEmpty());
    QVERIFY(item.m_strLayerType.isEmpty());
    QCOMPARE(item.m_mirroringType, sLayerItem::NoMirroring);
    QVERIFY(!item.m_bMonoColorEnabled);
    QVERIFY(!item.m_bReverseColorEnabled);
    QVERIFY(!item.m_bBackgroundEnable);
    QVERIFY(!item.m_isFrozen);
    QCOMPARE(item.m_opacity, 100);
}

void tst_LayerRecords::borderIsTranslucentGrayAndInvalid()
{
    const sLayerBorder border = sLayerVideoConfig().m_LayerBorder;
    QCOMPARE(border.m_borderColor.spec(), QColor::Rgb);
    QCOMPARE(border.m_borderColor.rgba(), qRgba(50, 50, 50, 100));
    QCOMPARE(border.m_borderSize, QSize(50, 50));
    QCOMPARE(border.m_borderType, LayerEnum::Invalid);
}

void tst_LayerRecords::sourceIsNoSource()
{
    const sLayerSource source = sLayerVideoConfig().m_LayerSource;
    QCOMPARE(source.m_eLayerSourceType, sLayerSource::NoSource);
    QVERIFY(!source.m_bLayerSourceIntercept);
    QCOMPARE(source.m_rectLayerSourceIntercept, QRect());
    QVERIFY(source.m_rectLayerSourceIntercept.isNull());
    QVERIFY(source.m_strLayerSourceName.isEmpty());
    QCOMPARE(source.m_nLayerSourceKeyNo, 255U);
    QCOMPARE(source.m_sizeLayerSource, QSize(0, 0));
}

void tst_LayerRecords::maskIsOffAndAlphaMapEmpty()
{
    const sLayerVideoConfig cfg;
    QVERIFY(!cfg.m_LayerMask.m_bMaskEnable);
    for (const double inset : cfg.m_LayerMask.m_maskSize)
        QCOMPARE(inset, 0.0);
    QVERIFY(cfg.m_LayerAlphaMap.m_strAlphaMapFile.isEmpty());
}

void tst_LayerRecords::configIsDueAndMayRender()
{
    const sLayerVideoConfig cfg;
    QVERIFY(!cfg.m_isRendering);
    QVERIFY(!cfg.m_isFirstRendered);
    QVERIFY(cfg.m_LayerVideoCanvas.isNull());
    QVERIFY(!cfg.m_isHasVideoSignal);
    QVERIFY(cfg.m_isAllowRender);
}

void tst_LayerRecords::configIsDatedAtItsConstruction()
{
    const QDateTime before = QDateTime::currentDateTime();
    const sLayerVideoConfig cfg;
    const QDateTime after = QDateTime::currentDateTime();
    QVERIFY(cfg.m_lastUpdateDateTime >= before);
    QVERIFY(cfg.m_lastUpdateDateTime <= after);
}

void tst_LayerRecords::configFieldsStandInOrder()
{
    const sLayerVideoConfig cfg;
    const void *const fields[] = {
        &cfg.m_isRendering,      &cfg.m_isFirstRendered,  &cfg.m_lastUpdateDateTime,
        &cfg.m_LayerIdentifies,  &cfg.m_LayerItem,        &cfg.m_LayerBorder,
        &cfg.m_LayerSource,      &cfg.m_LayerMask,        &cfg.m_LayerAlphaMap,
        &cfg.m_LayerVideoCanvas, &cfg.m_isHasVideoSignal, &cfg.m_isAllowRender,
    };
    QCOMPARE(static_cast<const void *>(&cfg), fields[0]);
    QVERIFY(std::is_sorted(std::begin(fields), std::end(fields)));
}

void tst_LayerRecords::finishedPreviewIsEmpty()
{
    const sLayerVideo video;
    QCOMPARE(video.m_LayerIdentifies, sLayerUniqueIdentifies());
    QVERIFY(video.m_imgCanvas.isNull());
}

void tst_LayerRecords::copyHoldsEveryField()
{
    const sLayerVideoConfig original = filledConfig();
    const sLayerVideoConfig copy(original);
    QVERIFY(copy.m_isRendering && copy.m_isFirstRendered);
    QCOMPARE(copy.m_lastUpdateDateTime, original.m_lastUpdateDateTime);
    QCOMPARE(copy.m_LayerIdentifies, original.m_LayerIdentifies);
    QCOMPARE(copy.m_LayerItem.m_boundingRect, QRectF(1, 2, 3, 4));
    QCOMPARE(copy.m_LayerItem.m_defaultColor, QColor(Qt::cyan));
    QCOMPARE(copy.m_LayerItem.m_layerColor, QColor(Qt::blue));
    QCOMPARE(copy.m_LayerItem.m_strLayerCapacity, QStringLiteral("4K"));
    QCOMPARE(copy.m_LayerItem.m_strLayerType, QStringLiteral("mix"));
    QCOMPARE(copy.m_LayerItem.m_mirroringType, sLayerItem::Both);
    QVERIFY(copy.m_LayerItem.m_bMonoColorEnabled && copy.m_LayerItem.m_bReverseColorEnabled);
    QVERIFY(copy.m_LayerItem.m_bBackgroundEnable && copy.m_LayerItem.m_isFrozen);
    QCOMPARE(copy.m_LayerItem.m_opacity, 42);
    QCOMPARE(copy.m_LayerBorder.m_borderColor, QColor(Qt::green));
    QCOMPARE(copy.m_LayerBorder.m_borderSize, QSize(6, 7));
    QCOMPARE(copy.m_LayerBorder.m_borderType, LayerEnum::Soft);
    QCOMPARE(copy.m_LayerSource.m_eLayerSourceType, sLayerSource::PGM);
    QVERIFY(copy.m_LayerSource.m_bLayerSourceIntercept);
    QCOMPARE(copy.m_LayerSource.m_rectLayerSourceIntercept, QRect(1, 2, 3, 4));
    QCOMPARE(copy.m_LayerSource.m_strLayerSourceName, QStringLiteral("input 9"));
    QCOMPARE(copy.m_LayerSource.m_nLayerSourceKeyNo, 9U);
    QCOMPARE(copy.m_LayerSource.m_sizeLayerSource, QSize(1920, 1080));
    QVERIFY(copy.m_LayerMask.m_bMaskEnable);
    QVERIFY(copy.m_LayerMask.m_maskSize == (std::array<double, 4>{1.5, 2.5, 3.5, 4.5}));
    QCOMPARE(copy.m_LayerAlphaMap.m_strAlphaMapFile, QStringLiteral("map.png"));
    QCOMPARE(copy.m_LayerVideoCanvas, original.m_LayerVideoCanvas);
    QVERIFY(copy.m_isHasVideoSignal);
    QVERIFY(!copy.m_isAllowRender);
}

void tst_LayerRecords::copyIsIndependent()
{
    const sLayerVideoConfig original = filledConfig();
    sLayerVideoConfig copy(original);
    QCOMPARE(copy.m_LayerVideoCanvas.constBits(), original.m_LayerVideoCanvas.constBits());

    copy.m_LayerItem.m_strLayerType.append(QStringLiteral("er"));
    copy.m_LayerMask.m_maskSize[0] = 99.0;
    copy.m_LayerVideoCanvas.setPixel(0, 0, qRgb(1, 2, 3));
    QCOMPARE(original.m_LayerItem.m_strLayerType, QStringLiteral("mix"));
    QCOMPARE(original.m_LayerMask.m_maskSize[0], 1.5);
    QCOMPARE(original.m_LayerVideoCanvas.pixel(0, 0), QColor(Qt::yellow).rgb());
}

void tst_LayerRecords::assignmentReplacesEveryField()
{
    sLayerVideoConfig cfg = filledConfig();
    sLayerVideoConfig fresh;
    cfg = fresh;
    QVERIFY(!cfg.m_isRendering && !cfg.m_isFirstRendered);
    QCOMPARE(cfg.m_lastUpdateDateTime, fresh.m_lastUpdateDateTime);
    QCOMPARE(cfg.m_LayerIdentifies, sLayerUniqueIdentifies());
    QCOMPARE(cfg.m_LayerItem.m_opacity, 100);
    QCOMPARE(cfg.m_LayerBorder.m_borderType, LayerEnum::Invalid);
    QCOMPARE(cfg.m_LayerSource.m_nLayerSourceKeyNo, 255U);
    QVERIFY(!cfg.m_LayerMask.m_bMaskEnable);
    QVERIFY(cfg.m_LayerAlphaMap.m_strAlphaMapFile.isEmpty());
    QVERIFY(cfg.m_LayerVideoCanvas.isNull());
    QVERIFY(!cfg.m_isHasVideoSignal && cfg.m_isAllowRender);

    sLayerVideo video;
    video = sLayerVideo{filledConfig().m_LayerIdentifies, filledConfig().m_LayerVideoCanvas};
    QCOMPARE(int(video.m_LayerIdentifies.layerId), 3);
    QCOMPARE(video.m_imgCanvas.size(), QSize(2, 3));
}

QTEST_GUILESS_MAIN(tst_LayerRecords)
#include "tst_layerrecords.moc"
