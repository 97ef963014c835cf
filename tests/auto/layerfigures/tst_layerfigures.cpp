#include <layerfigures.h>
#include <layerverdict.h>
#include <referencepreviews.h>

#include <echolayout.h>

#include <QtTest>

using namespace Morvek::Tools;
using Morvek::EchoVideo::sLayerSource;

namespace {

constexpr qint64 Now = 1700000000000; // ms since the epoch
constexpr QSize TileSize(480, 270);

sSceneLayer inputLayer(int nInput)
{
    sSceneLayer layer;
    layer.m_strName = QStringLiteral("layer");
    layer.m_config.m_LayerItem.m_boundingRect = QRectF(QPointF(0, 0), QSizeF(TileSize));
    layer.m_config.m_LayerSource.m_eLayerSourceType = sLayerSource::Input;
    layer.m_config.m_LayerSource.m_nLayerSourceKeyNo = quint32(nInput);
    layer.m_config.m_LayerSource.m_sizeLayerSource = EchoPictureSize;
    return layer;
}

/** The same with the stamp cropped away. */
sSceneLayer croppedLayer(int nInput)
{
    sSceneLayer layer = inputLayer(nInput);
    layer.m_config.m_LayerSource.m_bLayerSourceIntercept = true;
    layer.m_config.m_LayerSource.m_rectLayerSourceIntercept = QRect(480, 400, 960, 540);
    return layer;
}

sSceneLayer colourLayer(const QColor &color)
{
    sSceneLayer layer;
    layer.m_config.m_LayerItem.m_boundingRect = QRectF(0, 0, 20, 10);
    layer.m_config.m_LayerItem.m_layerColor = color;
    return layer;
}

QImage solid(const QSize &size, const QColor &color)
{
    QImage image(size, QImage::Format_ARGB32);
    image.fill(color);
    return image;
}

/** A tile of an input's own colour with its stamp. */
QImage tile(int nInput, quint32 nFrame = 1, qint64 nTimeMs = Now)
{
    QImage picture = solid(TileSize, QColor::fromHsv(nInput * 80 % 360, 220, 180));
    drawTileStamp(picture, picture.rect(), {quint8(nInput), nFrame, nTimeMs});
    return picture;
}

} // namespace

class tst_LayerFigures : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void percentileIsTheNearestRank_data();
    void percentileIsTheNearestRank();
    void agesTakeNoMoreRoomWithTime();
    void seenFramesCountForever();
    void seenFramesCountAcrossTheWrap();
    void layerFiguresWaitForThePicture();
    void layerFiguresReadStamps();
    void layerFiguresOfALayerWithoutSource();
    void verdictByStamp();
    void verdictByLikeness();
    void verdictByColour();
    void verdictNeedsAPreview();
};

void tst_LayerFigures::percentileIsTheNearestRank_data()
{
    QTest::addColumn<QVector<qint64>>("values");
    QTest::addColumn<double>("share");
    QTest::addColumn<qint64>("expected");
    const QVector<qint64> five{50, 10, 40, 20, 30};
    QVector<qint64> hundred;
    for (qint64 nValue = 100; nValue >= 1; --nValue)
        hundred.append(nValue);
    QTest::newRow("none") << QVector<qint64>() << 0.5 << qint64(0);
    QTest::newRow("one") << QVector<qint64>{7} << 0.95 << qint64(7);
    QTest::newRow("median of five") << five << 0.5 << qint64(30);
    QTest::newRow("median of four") << QVector<qint64>{4, 1, 3, 2} << 0.5 << qint64(2);
    QTest::newRow("95 of five") << five << 0.95 << qint64(50);
    QTest::newRow("95 of a hundred") << hundred << 0.95 << qint64(95);
    QTest::newRow("worst") << hundred << 1.0 << qint64(100);
    QTest::newRow("best") << hundred << 0.0 << qint64(1);
    QTest::newRow("negative, by clocks that differ")
        << QVector<qint64>{-5, -1, -9} << 0.5 << qint64(-5);
}

void tst_LayerFigures::percentileIsTheNearestRank()
{
    QFETCH(QVector<qint64>, values);
    QFETCH(double, share);
    AgeCounts ages;
    for (qint64 nValue : values)
        ages.add(nValue);
    QCOMPARE(ages.count(), qint64(values.size()));
    QTEST(ages.percentile(share), "expected");
}

void tst_LayerFigures::agesTakeNoMoreRoomWithTime()
{
    AgeCounts ages;
    for (qint64 nAgeMs : {9999, 10000, 10001, 10999, 11000, 12345})
        ages.add(nAgeMs);
    QCOMPARE(ages.size(), 4);
    QCOMPARE(ages.percentile(1), qint64(12000));
    // A picture that stays for two days ages by 40 ms with each preview.
    for (qint64 nAgeMs = -20000; nAgeMs < 2 * 86400000LL; nAgeMs += 40)
        ages.add(nAgeMs);
    QVERIFY(ages.size() < 20001 + 2 * 86400);
    QCOMPARE(ages.percentile(1), qint64(86400000));
    AgeCounts both;
    both.add(ages);
    both.add(ages);
    QCOMPARE(both.size(), ages.size());
    QCOMPARE(both.count(), 2 * ages.count());
    QCOMPARE(both.percentile(0.5), ages.percentile(0.5));
}

void tst_LayerFigures::seenFramesCountForever()
{
    SeenFrames frames;
    // Sixteen wraps of the number, every second picture, each seen by two layers.
    constexpr quint32 Pictures = 16 << 16;
    for (quint32 nFrame = 0; nFrame < Pictures; nFrame += 2) {
        frames.add(nFrame & 0xffff);
        frames.add(nFrame >= 6 ? (nFrame - 6) & 0xffff : 0);
    }
    QCOMPARE(frames.seen(), qint64(Pictures / 2));
    QCOMPARE(frames.sent(), qint64(Pictures - 1));
}

void tst_LayerFigures::seenFramesCountAcrossTheWrap()
{
    SeenFrames frames;
    QCOMPARE(frames.seen(), qint64(0));
    QCOMPARE(frames.sent(), qint64(0));
    frames.add(65530);
    QCOMPARE(frames.sent(), qint64(1));
    // Of two layers, one a picture behind the other.
    for (const quint32 nFrame : {65534u, 65532u, 1u, 65534u, 4u, 1u})
        frames.add(nFrame);
    QCOMPARE(frames.seen(), qint64(5));
    QCOMPARE(frames.sent(), qint64(11)); // 65530 to 65535 and 0 to 4
    frames.add(65529);
    QCOMPARE(frames.sent(), qint64(12));
}

void tst_LayerFigures::layerFiguresWaitForThePicture()
{
    const QImage gray = solid(TileSize, QColor(23, 24, 26));
    const QImage black = solid(TileSize, Qt::black);
    LayerFigures figures(inputLayer(2), {gray, black});
    QVERIFY(!figures.addPreview(QImage(), 10, Now));
    QVERIFY(!figures.addPreview(gray, 20, Now));
    QVERIFY(!figures.addPreview(black, 30, Now));
    QCOMPARE(figures.previews(), 3);
    QCOMPARE(figures.genuine(), 0);
    QCOMPARE(figures.firstMs(), qint64(-1));
    QCOMPARE(figures.rate(), 0.0);
    QVERIFY(figures.addPreview(tile(2), 1000, Now));
    QCOMPARE(figures.rate(), 0.0);
    QVERIFY(figures.addPreview(tile(2), 1100, Now));
    QVERIFY(figures.addPreview(tile(2), 1200, Now));
    QCOMPARE(figures.previews(), 6);
    QCOMPARE(figures.genuine(), 3);
    QCOMPARE(figures.firstMs(), qint64(1000));
    QCOMPARE(figures.rate(), 10.0);
    QCOMPARE(figures.lastPreview(), tile(2));
}

void tst_LayerFigures::layerFiguresReadStamps()
{
    LayerFigures figures(inputLayer(2), {});
    const auto stamp = figures.addPreview(tile(2, 500, Now - 70), 1000, Now);
    QVERIFY(stamp);
    QCOMPARE(stamp->m_nFrame, 500u);
    QVERIFY(figures.addPreview(tile(3, 501, Now - 90), 1010, Now));
    QVERIFY(!figures.addPreview(solid(TileSize, Qt::red), 1020, Now));
    QCOMPARE(figures.ages().count(), qint64(2));
    QCOMPARE(figures.ages().percentile(0), qint64(70));
    QCOMPARE(figures.ages().percentile(1), qint64(90));
    QCOMPARE(figures.rightStamps(), 1);
    QCOMPARE(figures.wrongStamps(), 1);
}

void tst_LayerFigures::layerFiguresOfALayerWithoutSource()
{
    LayerFigures figures(colourLayer(Qt::green), {});
    QVERIFY(!figures.addPreview(solid({20, 10}, Qt::green), 5, Now));
    QCOMPARE(figures.genuine(), 1);
    QCOMPARE(figures.firstMs(), qint64(5));
    QVERIFY(figures.ages().isEmpty());
}

void tst_LayerFigures::verdictByStamp()
{
    ReferencePreviews references;
    LayerFigures figures(inputLayer(2), {});
    const auto verdict = [&] { return judged(figures, {}, references, Now); };
    figures.addPreview(solid(TileSize, Qt::red), 0, Now);
    QCOMPARE(verdict().m_verdict, eInputVerdict::Wrong);
    figures.addPreview(tile(2), 1, Now);
    QCOMPARE(verdict().m_verdict, eInputVerdict::Right);
    QCOMPARE(verdict().m_proof, eInputProof::Stamp);
    // More pictures without a stamp than with one.
    figures.addPreview(solid(TileSize, Qt::red), 2, Now);
    QCOMPARE(verdict().m_verdict, eInputVerdict::Wrong);
    figures.addPreview(tile(2), 3, Now);
    QCOMPARE(verdict().m_verdict, eInputVerdict::Right);
    // One other input is one too many, however often the right one was there.
    for (int nMs = 4; nMs < 20; ++nMs)
        figures.addPreview(tile(2), nMs, Now);
    figures.addPreview(tile(1), 20, Now);
    QCOMPARE(verdict().m_verdict, eInputVerdict::Wrong);
}

void tst_LayerFigures::verdictByLikeness()
{
    const QVector<QImage> inputs{tile(0), tile(1), tile(2), tile(3)};
    ReferencePreviews references;
    const auto verdict = [&](int nShown, const QVector<QImage> &pictures) {
        LayerFigures figures(croppedLayer(2), {});
        figures.addPreview(references.render(croppedLayer(2).m_config, tile(nShown)), 0, Now);
        const sLayerVerdict result = judged(figures, pictures, references, Now);
        return qMakePair(result.m_verdict, result.m_proof);
    };
    QCOMPARE(verdict(2, inputs), qMakePair(eInputVerdict::Right, eInputProof::Likeness));
    QCOMPARE(verdict(1, inputs), qMakePair(eInputVerdict::Wrong, eInputProof::Likeness));
    // A picture without its stamp proves nothing, and neither do pictures that are all alike.
    QVector<QImage> unstamped = inputs;
    unstamped[2] = solid(TileSize, unstamped[2].pixelColor(200, 200));
    QCOMPARE(verdict(2, unstamped).first, eInputVerdict::Wrong);
    QCOMPARE(verdict(2, {}).first, eInputVerdict::Wrong);
    const QVector<QImage> alike{tile(2), tile(2), tile(2)};
    QCOMPARE(verdict(2, alike).first, eInputVerdict::NotLegible);
}

void tst_LayerFigures::verdictByColour()
{
    ReferencePreviews references;
    LayerFigures right(colourLayer(Qt::green), {});
    right.addPreview(solid({20, 10}, Qt::green), 0, Now);
    QCOMPARE(judged(right, {}, references, Now).m_verdict, eInputVerdict::Right);
    QCOMPARE(judged(right, {}, references, Now).m_proof, eInputProof::Colour);
    LayerFigures wrong(colourLayer(Qt::green), {});
    wrong.addPreview(solid({20, 10}, Qt::black), 0, Now);
    QCOMPARE(judged(wrong, {}, references, Now).m_verdict, eInputVerdict::Wrong);
}

void tst_LayerFigures::verdictNeedsAPreview()
{
    ReferencePreviews references;
    const LayerFigures figures(inputLayer(2), {});
    const sLayerVerdict verdict = judged(figures, {tile(0), tile(1), tile(2)}, references, Now);
    QCOMPARE(verdict.m_verdict, eInputVerdict::NotLegible);
    QCOMPARE(verdict.m_proof, eInputProof::None);
}

QTEST_MAIN(tst_LayerFigures)
#include "tst_layerfigures.moc"
