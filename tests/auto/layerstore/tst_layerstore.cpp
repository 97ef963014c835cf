// The configurations that a manager keeps: set, found and forgotten.

#include "picturecompare.h"
#include "renderstage.h"
#include "storelocks.h"
#include "testpictures.h"

#include <layervideomanager.h>

#include <QSignalSpy>
#include <QtTest>

using namespace Morvek::EchoVideo;
using namespace Morvek::Tests;

namespace {

QList<int> layerNumbers(const LayerVideoManager &manager)
{
    QList<int> numbers;
    for (const sLayerVideoConfig &record : manager.m_LayerVideoConfigs)
        numbers.append(record.m_LayerIdentifies.layerId);
    return numbers;
}

void setLayer(LayerVideoManager &manager, quint8 nLayer)
{
    sLayerVideoConfig layerCfg = makeLayer(nLayer);
    manager.setLayerVideoConfig(layerCfg);
}

} // namespace

class tst_LayerStore : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void newManagerIsStoppedAndEmpty();
    void locksAreOfTheirKinds();
    void newKeyIsAppendedAsNeverRendered();
    void knownKeyIsReplacedInPlace();
    void replacingKeepsThePreview();
    void setAnnouncesOnceAfterTheLockIsReleased();
    void keysDifferInEveryField_data();
    void keysDifferInEveryField();
    void findCopiesTheWholeRecord();
    void findLeavesTheArgumentOfAnUnknownKey();
    void removeForgetsLayerAndPreview();
    void removeOfAnUnknownKeyDoesNothing();
    void clearForgetsEverythingSilently();
};

void tst_LayerStore::newManagerIsStoppedAndEmpty()
{
    QObject parent;
    auto *const pManager = new LayerVideoManager({}, &parent);
    QCOMPARE(pManager->parent(), &parent);
    QVERIFY(!pManager->m_cbReadInputVideoFrame);
    QVERIFY(pManager->m_videoRenderTasks.isEmpty());
    QVERIFY(!pManager->m_isStarted);
    QVERIFY(pManager->m_LayerVideoConfigs.isEmpty());
    QVERIFY(pManager->m_LayerVideos.isEmpty());
    QVERIFY(!pManager->m_isHaveInputVideoSignal);
    QCOMPARE(int(pManager->m_nFps), 10);
    QVERIFY(pManager->m_isAllowRender);
    QVERIFY(!LayerVideoManager::m_frozenIcon.has_value());
}

void tst_LayerStore::locksAreOfTheirKinds()
{
    LayerVideoManager manager({});
    QVERIFY(manager.m_mtxLayerVideoConfigs.isRecursive());
    QVERIFY(manager.m_lockLayerVideo.tryLockForWrite());
    const bool isRecursive = manager.m_lockLayerVideo.tryLockForWrite();
    manager.m_lockLayerVideo.unlock();
    QVERIFY(!isRecursive);
}

void tst_LayerStore::newKeyIsAppendedAsNeverRendered()
{
    LayerVideoManager manager({});
    setLayer(manager, 1);
    sLayerVideoConfig layerCfg = makeLayer(2);
    layerCfg.m_isRendering = true;
    layerCfg.m_isFirstRendered = true;
    layerCfg.m_isHasVideoSignal = true;
    layerCfg.m_isAllowRender = false;
    layerCfg.m_lastUpdateDateTime = QDateTime(QDate(2001, 2, 3), QTime(4, 5));
    manager.setLayerVideoConfig(layerCfg);

    QCOMPARE(layerNumbers(manager), (QList<int>{1, 2}));
    const sLayerVideoConfig stored = manager.m_LayerVideoConfigs.last();
    QVERIFY(!stored.m_isRendering && !stored.m_isFirstRendered);
    QVERIFY(stored.m_isHasVideoSignal && !stored.m_isAllowRender);
    QCOMPARE(stored.m_lastUpdateDateTime, QDateTime(QDate(2001, 2, 3), QTime(4, 5)));
    QVERIFY2(layerCfg.m_isRendering && layerCfg.m_isFirstRendered, "the argument was modified");
}

void tst_LayerStore::knownKeyIsReplacedInPlace()
{
    LayerVideoManager manager({});
    for (const quint8 nLayer : {1, 2, 3})
        setLayer(manager, nLayer);
    manager.m_LayerVideoConfigs[1].m_isRendering = true;

    sLayerVideoConfig layerCfg = makeLayer(2);
    layerCfg.m_isRendering = true;
    layerCfg.m_isFirstRendered = true;
    layerCfg.m_lastUpdateDateTime = QDateTime(QDate(2001, 2, 3), QTime(4, 5));
    layerCfg.m_LayerItem.m_opacity = 7;
    layerCfg.m_LayerBorder.m_borderSize = QSize(3, 4);
    layerCfg.m_LayerSource.m_nLayerSourceKeyNo = 77;
    layerCfg.m_LayerMask.m_bMaskEnable = true;
    layerCfg.m_LayerAlphaMap.m_strAlphaMapFile = QStringLiteral("map.png");
    layerCfg.m_LayerVideoCanvas = solidPicture(QSize(2, 2), Qt::blue);
    layerCfg.m_isHasVideoSignal = true;
    layerCfg.m_isAllowRender = false;
    manager.setLayerVideoConfig(layerCfg);

    QCOMPARE(layerNumbers(manager), (QList<int>{1, 2, 3}));
    const sLayerVideoConfig stored = manager.m_LayerVideoConfigs.at(1);
    QVERIFY(!stored.m_isRendering);
    QVERIFY(stored.m_isFirstRendered);
    QCOMPARE(stored.m_lastUpdateDateTime, layerCfg.m_lastUpdateDateTime);
    QCOMPARE(stored.m_LayerItem.m_opacity, 7);
    QCOMPARE(stored.m_LayerBorder.m_borderSize, QSize(3, 4));
    QCOMPARE(stored.m_LayerSource.m_nLayerSourceKeyNo, 77U);
    QVERIFY(stored.m_LayerMask.m_bMaskEnable);
    QCOMPARE(stored.m_LayerAlphaMap.m_strAlphaMapFile, QStringLiteral("map.png"));
    QCOMPARE(stored.m_LayerVideoCanvas, layerCfg.m_LayerVideoCanvas);
    QVERIFY(stored.m_isHasVideoSignal && !stored.m_isAllowRender);
    QVERIFY2(layerCfg.m_isRendering, "the argument was modified");
}

void tst_LayerStore::replacingKeepsThePreview()
{
    LayerVideoManager manager({});
    setLayer(manager, 1);
    manager.refreshLayerVideo(layerKey(1), solidPicture(QSize(8, 6), Qt::blue));
    setLayer(manager, 1);
    QImage frame;
    QVERIFY(manager.getLayerVideoFrame(layerKey(1), frame));
    COMPARE_PICTURES(frame, solidPicture(QSize(8, 6), Qt::blue));
    QVERIFY(manager.m_LayerVideoConfigs.first().m_LayerVideoCanvas.isNull());
    QVERIFY(!manager.m_LayerVideoConfigs.first().m_isFirstRendered);
}

void tst_LayerStore::setAnnouncesOnceAfterTheLockIsReleased()
{
    LayerVideoManager manager({});
    int nFree = 0;
    connect(&manager, &LayerVideoManager::layerVideoConfigChanged, this,
            [&] { nFree += areStoreLocksFree(manager) ? 1 : 0; });
    QSignalSpy spy(&manager, &LayerVideoManager::layerVideoConfigChanged);
    setLayer(manager, 1);
    QCOMPARE(spy.count(), 1);
    setLayer(manager, 1);
    QCOMPARE(spy.count(), 2);
    QCOMPARE(nFree, 2);
}

void tst_LayerStore::keysDifferInEveryField_data()
{
    QTest::addColumn<sLayerUniqueIdentifies>("other");
    sLayerUniqueIdentifies key = layerKey(1);
    key.screenId = 9;
    QTest::newRow("screen id") << key;
    key = layerKey(1);
    key.screenType = 9;
    QTest::newRow("screen type") << key;
    QTest::newRow("layer id") << layerKey(9);
    key = layerKey(1);
    key.layerType = 9;
    QTest::newRow("layer type") << key;
    key = layerKey(1);
    key.sceneType = 9;
    QTest::newRow("scene type") << key;
}

void tst_LayerStore::keysDifferInEveryField()
{
    QFETCH(sLayerUniqueIdentifies, other);
    LayerVideoManager manager({});
    setLayer(manager, 1);
    sLayerVideoConfig layerCfg = makeLayer(1);
    layerCfg.m_LayerIdentifies = other;
    layerCfg.m_LayerItem.m_opacity = 9;
    manager.setLayerVideoConfig(layerCfg);
    QCOMPARE(manager.m_LayerVideoConfigs.size(), 2);

    sLayerVideoConfig found;
    QVERIFY(manager.findLayerVideoConfig(other, found));
    QCOMPARE(found.m_LayerItem.m_opacity, 9);
    QVERIFY(manager.findLayerVideoConfig(layerKey(1), found));
    QCOMPARE(found.m_LayerItem.m_opacity, 100);

    manager.refreshLayerVideo(layerKey(1), solidPicture(QSize(8, 6), Qt::blue));
    manager.removeLayerVideoConfig(other);
    QImage frame;
    QVERIFY(!manager.getLayerVideoFrame(other, frame));
    QVERIFY(manager.getLayerVideoFrame(layerKey(1), frame));
}

void tst_LayerStore::findCopiesTheWholeRecord()
{
    LayerVideoManager manager({});
    setLayer(manager, 1);
    manager.m_LayerVideoConfigs[0].m_isRendering = true;
    manager.m_LayerVideoConfigs[0].m_isFirstRendered = true;
    manager.m_LayerVideoConfigs[0].m_LayerVideoCanvas = solidPicture(QSize(2, 2), Qt::blue);
    sLayerVideoConfig found;
    QVERIFY(manager.findLayerVideoConfig(layerKey(1), found));
    QVERIFY(found.m_isRendering && found.m_isFirstRendered);
    QCOMPARE(found.m_LayerIdentifies, layerKey(1));
    QCOMPARE(found.m_LayerItem.m_boundingRect, QRectF(0, 0, 8, 6));
    QCOMPARE(found.m_LayerSource.m_nLayerSourceKeyNo, 1U);
    QCOMPARE(found.m_LayerVideoCanvas, solidPicture(QSize(2, 2), Qt::blue));

    found.m_LayerItem.m_opacity = 5;
    QCOMPARE(manager.m_LayerVideoConfigs.first().m_LayerItem.m_opacity, 100);
}

void tst_LayerStore::findLeavesTheArgumentOfAnUnknownKey()
{
    LayerVideoManager manager({});
    setLayer(manager, 1);
    sLayerVideoConfig found = makeLayer(7);
    QVERIFY(!manager.findLayerVideoConfig(layerKey(2), found));
    QCOMPARE(found.m_LayerIdentifies, layerKey(7));
    QCOMPARE(found.m_LayerSource.m_nLayerSourceKeyNo, 7U);
}

void tst_LayerStore::removeForgetsLayerAndPreview()
{
    LayerVideoManager manager({});
    for (const quint8 nLayer : {1, 2, 3}) {
        setLayer(manager, nLayer);
        manager.refreshLayerVideo(layerKey(nLayer), solidPicture(QSize(8, 6), Qt::blue));
    }
    QSignalSpy changed(&manager, &LayerVideoManager::layerVideoConfigChanged);
    QSignalSpy finished(&manager, &LayerVideoManager::layerVideoRenderFinished);
    sLayerUniqueIdentifies key = layerKey(2);
    manager.removeLayerVideoConfig(key);

    QCOMPARE(layerNumbers(manager), (QList<int>{1, 3}));
    QImage frame;
    QVERIFY(!manager.getLayerVideoFrame(layerKey(2), frame));
    QVERIFY(manager.getLayerVideoFrame(layerKey(1), frame));
    QVERIFY(manager.getLayerVideoFrame(layerKey(3), frame));
    QCOMPARE(changed.count() + finished.count(), 0);
}

void tst_LayerStore::removeOfAnUnknownKeyDoesNothing()
{
    LayerVideoManager manager({});
    setLayer(manager, 1);
    manager.refreshLayerVideo(layerKey(1), solidPicture(QSize(8, 6), Qt::blue));
    sLayerUniqueIdentifies key = layerKey(2);
    manager.removeLayerVideoConfig(key);
    QCOMPARE(manager.m_LayerVideoConfigs.size(), 1);
    QCOMPARE(manager.m_LayerVideos.size(), 1);
}

void tst_LayerStore::clearForgetsEverythingSilently()
{
    LayerVideoManager manager({});
    for (const quint8 nLayer : {1, 2}) {
        setLayer(manager, nLayer);
        manager.refreshLayerVideo(layerKey(nLayer), solidPicture(QSize(8, 6), Qt::blue));
    }
    QSignalSpy changed(&manager, &LayerVideoManager::layerVideoConfigChanged);
    QSignalSpy finished(&manager, &LayerVideoManager::layerVideoRenderFinished);
    manager.clearLayerVideoConfig();

    QVERIFY(manager.m_LayerVideoConfigs.isEmpty());
    QVERIFY(manager.m_LayerVideos.isEmpty());
    QImage frame;
    QVERIFY(!manager.getLayerVideoFrame(layerKey(1), frame));
    QVERIFY(!manager.getLayerVideoFrame(layerKey(2), frame));
    QCOMPARE(changed.count() + finished.count(), 0);
}

QTEST_GUILESS_MAIN(tst_LayerStore)
#include "tst_layerstore.moc"
