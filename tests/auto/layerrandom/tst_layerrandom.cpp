// Thousands of random layers: each preview must equal the plain reference bit by bit.

#include "layerdice.h"

#include "logcapture.h"
#include "picturecompare.h"
#include "plainrenderer.h"
#include "testlayers.h"
#include "testpictures.h"

#include <layervideomanager.h>

#include <QObject>
#include <QTemporaryDir>
#include <QThread>
#include <QtTest>

#include <functional>
#include <memory>
#include <vector>

using namespace Morvek::EchoVideo;
using namespace Morvek::Tests;

namespace {

constexpr int LayersPerRow = 500;
constexpr int Rows = 8;
constexpr int Threads = 4;
constexpr int LayersPerThread = 100;

} // namespace

class tst_LayerRandom : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void previewsEqualThePlainReference_data();
    void previewsEqualThePlainReference();
    void severalThreadsRenderAtOnce();
    void diceReachEveryEffect();

private:
    LayerDice dice(int nRow) const { return LayerDice(quint32(1000 + nRow), m_alphaMaps); }

    QTemporaryDir m_folder;
    QStringList m_alphaMaps;
    QPixmap m_mark;
};

void tst_LayerRandom::initTestCase()
{
    QImage map(12, 9, QImage::Format_ARGB32);
    for (int y = 0; y < map.height(); ++y) {
        for (int x = 0; x < map.width(); ++x)
            map.setPixel(x, y, qRgba(0, 0, 0, x * 255 / 11));
    }
    const QString strShaped = m_folder.filePath(QStringLiteral("shaped.png"));
    const QString strOpaque = m_folder.filePath(QStringLiteral("opaque.png"));
    QVERIFY(map.save(strShaped));
    QVERIFY(solidPicture(QSize(3, 3), Qt::green).save(strOpaque));
    m_alphaMaps =
        QStringList{strShaped, strOpaque, m_folder.filePath(QStringLiteral("missing.png"))};

    QImage mark = solidPicture(QSize(30, 24), QColor(200, 100, 0, 150));
    mark.setPixelColor(3, 3, Qt::blue);
    m_mark = QPixmap::fromImage(mark);
    LayerVideoManager::m_frozenIcon = m_mark;
}

void tst_LayerRandom::cleanupTestCase()
{
    LayerVideoManager::m_frozenIcon.reset();
}

void tst_LayerRandom::previewsEqualThePlainReference_data()
{
    QTest::addColumn<int>("row");

    for (int nRow = 0; nRow < Rows; ++nRow)
        QTest::addRow("layers %d to %d", nRow * LayersPerRow, (nRow + 1) * LayersPerRow - 1)
            << nRow;
}

void tst_LayerRandom::previewsEqualThePlainReference()
{
    QFETCH(int, row);

    LayerDice layers = dice(row);
    QImage source;
    const LayerVideoManager manager([&](auto &&, auto &&, auto &&, QImage &frame) {
        frame = source;
        return true;
    });
    // Kept from layer to layer, as a render thread does.
    QImage canvas;
    QImage frame;
    for (int i = 0; i < LayersPerRow; ++i) {
        const sLayerVideoConfig cfg = layers.nextLayer();
        source = layers.nextPicture(cfg);
        LogCapture log;
        manager.videoPrerender(cfg, canvas, frame);

        const bool isEmpty = plainSize(cfg.m_LayerItem.m_boundingRect).isEmpty();
        const int nWarnings = isEmpty ? 1 + int(cfg.m_LayerMask.m_bMaskEnable) : 0;
        QCOMPARE(log.lines().size(), nWarnings);
        QCOMPARE(canvas.format(), QImage::Format_ARGB32);
        const QString strDifference = pictureDifference(canvas, plainPreview(cfg, source, m_mark));
        QVERIFY2(strDifference.isEmpty(),
                 qPrintable(strDifference + QStringLiteral("; layer %1: ").arg(i) + asText(cfg)));
    }
}

// One manager, as with more than one render thread; the frozen mark is shared by all of them.
void tst_LayerRandom::severalThreadsRenderAtOnce()
{
    const LayerVideoManager manager(answering(gradientPicture(QSize(40, 30))));
    std::vector<QImage> sequential(LayersPerThread * Threads);
    std::vector<QImage> concurrent(LayersPerThread * Threads);
    const auto renderShare = [&](int nThread, std::vector<QImage> &previews) {
        LayerDice layers = dice(nThread);
        QImage frame;
        for (int i = 0; i < LayersPerThread; ++i)
            manager.videoPrerender(layers.nextLayer(), previews[nThread * LayersPerThread + i],
                                   frame);
    };
    LogCapture log; // layers without a size warn
    std::vector<std::unique_ptr<QThread>> threads;
    for (int nThread = 0; nThread < Threads; ++nThread) {
        threads.emplace_back(QThread::create(renderShare, nThread, std::ref(concurrent)));
        threads.back()->start();
    }
    for (int nThread = 0; nThread < Threads; ++nThread)
        renderShare(nThread, sequential);
    for (const auto &pThread : threads)
        pThread->wait();
    for (size_t i = 0; i < sequential.size(); ++i)
        COMPARE_PICTURES(concurrent[i], sequential[i]);
    QCOMPARE(log.lines().size(), log.count(QStringLiteral("size is invalid")));
}

// Otherwise equal previews would not mean much.
void tst_LayerRandom::diceReachEveryEffect()
{
    LayerDice layers = dice(0);
    QMap<QString, int> seen;
    for (int i = 0; i < LayersPerRow; ++i) {
        const sLayerVideoConfig cfg = layers.nextLayer();
        const QImage source = layers.nextPicture(cfg);
        const sLayerItem &item = cfg.m_LayerItem;
        seen[QStringLiteral("mirroring %1").arg(item.m_mirroringType)]++;
        seen[QStringLiteral("border %1").arg(cfg.m_LayerBorder.m_borderType)]++;
        seen[QStringLiteral("format %1").arg(source.format())]++;
        seen[QStringLiteral("mono %1").arg(item.m_bMonoColorEnabled)]++;
        seen[QStringLiteral("reverse %1").arg(item.m_bReverseColorEnabled)]++;
        seen[QStringLiteral("crop %1").arg(cfg.m_LayerSource.m_bLayerSourceIntercept)]++;
        seen[QStringLiteral("mask %1").arg(cfg.m_LayerMask.m_bMaskEnable)]++;
        seen[QStringLiteral("frozen %1").arg(item.m_isFrozen)]++;
        seen[QStringLiteral("source %1").arg(cfg.m_LayerSource.m_eLayerSourceType != 0)]++;
        seen[QStringLiteral("map %1").arg(!cfg.m_LayerAlphaMap.m_strAlphaMapFile.isEmpty())]++;
        seen[QStringLiteral("at origin %1").arg(item.m_boundingRect.topLeft().isNull())]++;
        seen[QStringLiteral("empty %1").arg(plainSize(item.m_boundingRect).isEmpty())]++;
        seen[QStringLiteral("translucent %1").arg(item.m_layerColor.alpha() < 255)]++;
    }
    // 4 mirrorings, 8 borders, 4 picture formats and the null picture, 10 yes or no
    QCOMPARE(seen.size(), 4 + 8 + 5 + 10 * 2);
    for (auto it = seen.cbegin(); it != seen.cend(); ++it)
        QVERIFY2(it.value() >= 3, qPrintable(it.key()));
}

QTEST_MAIN(tst_LayerRandom)
#include "tst_layerrandom.moc"
