// The finished previews that a manager keeps, and the step that stores them.

#include "picturecompare.h"
#include "renderstage.h"
#include "storelocks.h"
#include "testpictures.h"

#include <layervideomanager.h>

#include <screen.h>

#include <QSignalSpy>
#include <QtTest>

#include <functional>
#include <future>

using namespace Morvek::EchoVideo;
using namespace Morvek::Tests;

using StoreOperation = std::function<void(LayerVideoManager &)>;
Q_DECLARE_METATYPE(StoreOperation)

namespace {

void setLayer(LayerVideoManager &manager, quint8 nLayer)
{
    sLayerVideoConfig layerCfg = makeLayer(nLayer);
    manager.setLayerVideoConfig(layerCfg);
}

} // namespace

class tst_LayerStorePreviews : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void frameOfAnUnknownLayerIsLeftAlone();
    void nullPreviewIsHandedOut();
    void completionStoresThePreviewAndMarksTheRecord();
    void completionMarksTheLastRecordWithTheKey();
    void previewsStayInOrderOfFirstArrival();
    void previewOfARemovedLayerIsStoredAndAnnounced();
    void completionAnnouncesAfterTheLocksAreReleased();
    void removalLocksOneListAfterTheOther_data();
    void removalLocksOneListAfterTheOther();
    void completionLocksOneListAfterTheOther();
};

void tst_LayerStorePreviews::frameOfAnUnknownLayerIsLeftAlone()
{
    LayerVideoManager manager({});
    setLayer(manager, 1);
    QImage frame = solidPicture(QSize(3, 3), Qt::cyan);
    QVERIFY(!manager.getLayerVideoFrame(layerKey(1), frame));
    COMPARE_PICTURES(frame, solidPicture(QSize(3, 3), Qt::cyan));
}

void tst_LayerStorePreviews::nullPreviewIsHandedOut()
{
    LayerVideoManager manager({});
    manager.refreshLayerVideo(layerKey(1), QImage());
    QImage frame = solidPicture(QSize(3, 3), Qt::cyan);
    QVERIFY(manager.getLayerVideoFrame(layerKey(1), frame));
    QVERIFY(frame.isNull());
}

void tst_LayerStorePreviews::completionStoresThePreviewAndMarksTheRecord()
{
    LayerVideoManager manager({});
    setLayer(manager, 1);
    setLayer(manager, 2);
    manager.m_LayerVideoConfigs[0].m_isRendering = true;
    manager.m_LayerVideoConfigs[0].m_lastUpdateDateTime = QDateTime(QDate(2001, 2, 3), QTime(4, 5));
    QSignalSpy finished(&manager, &LayerVideoManager::layerVideoRenderFinished);

    const QDateTime before = QDateTime::currentDateTime();
    manager.refreshLayerVideo(layerKey(1), solidPicture(QSize(8, 6), Qt::blue));
    const sLayerVideoConfig record = manager.m_LayerVideoConfigs.first();
    QVERIFY(!record.m_isRendering);
    QVERIFY(record.m_isFirstRendered);
    QVERIFY(record.m_lastUpdateDateTime >= before);
    QVERIFY(record.m_lastUpdateDateTime <= QDateTime::currentDateTime());
    COMPARE_PICTURES(record.m_LayerVideoCanvas, solidPicture(QSize(8, 6), Qt::blue));
    QVERIFY(!manager.m_LayerVideoConfigs.last().m_isFirstRendered);
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished.first().first().value<sLayerUniqueIdentifies>(), layerKey(1));
}

void tst_LayerStorePreviews::completionMarksTheLastRecordWithTheKey()
{
    LayerVideoManager manager({});
    manager.m_LayerVideoConfigs = {makeLayer(1), makeLayer(1), makeLayer(2)};
    manager.refreshLayerVideo(layerKey(1), solidPicture(QSize(8, 6), Qt::blue));
    QVERIFY(!manager.m_LayerVideoConfigs.at(0).m_isFirstRendered);
    QVERIFY(manager.m_LayerVideoConfigs.at(1).m_isFirstRendered);
    QVERIFY(!manager.m_LayerVideoConfigs.at(2).m_isFirstRendered);
}

void tst_LayerStorePreviews::previewsStayInOrderOfFirstArrival()
{
    LayerVideoManager manager({});
    for (const quint8 nLayer : {2, 1, 2})
        manager.refreshLayerVideo(layerKey(nLayer), solidPicture(QSize(nLayer, 1), Qt::blue));
    manager.refreshLayerVideo(layerKey(2), solidPicture(QSize(5, 5), Qt::green));
    QCOMPARE(manager.m_LayerVideos.size(), 2);
    QCOMPARE(manager.m_LayerVideos.at(0).m_LayerIdentifies, layerKey(2));
    QCOMPARE(manager.m_LayerVideos.at(1).m_LayerIdentifies, layerKey(1));
    QImage frame;
    QVERIFY(manager.getLayerVideoFrame(layerKey(2), frame));
    COMPARE_PICTURES(frame, solidPicture(QSize(5, 5), Qt::green));
}

void tst_LayerStorePreviews::previewOfARemovedLayerIsStoredAndAnnounced()
{
    LayerVideoManager manager({});
    setLayer(manager, 1);
    sLayerVideoConfig taken;
    QVERIFY(manager.getUnusedLayerVideoConfig(taken, 25));
    sLayerUniqueIdentifies key = layerKey(1);
    manager.removeLayerVideoConfig(key);

    QSignalSpy finished(&manager, &LayerVideoManager::layerVideoRenderFinished);
    manager.refreshLayerVideo(key, solidPicture(QSize(8, 6), Qt::blue));
    QVERIFY(manager.m_LayerVideoConfigs.isEmpty());
    QCOMPARE(finished.count(), 1);
    QImage frame;
    QVERIFY(manager.getLayerVideoFrame(key, frame));
    manager.removeLayerVideoConfig(key);
    QVERIFY(!manager.getLayerVideoFrame(key, frame));
}

void tst_LayerStorePreviews::completionAnnouncesAfterTheLocksAreReleased()
{
    LayerVideoManager manager({});
    setLayer(manager, 1);
    bool isFree = false;
    connect(&manager, &LayerVideoManager::layerVideoRenderFinished, this,
            [&] { isFree = areStoreLocksFree(manager); });
    manager.refreshLayerVideo(layerKey(1), solidPicture(QSize(8, 6), Qt::blue));
    QVERIFY(isFree);
}

void tst_LayerStorePreviews::removalLocksOneListAfterTheOther_data()
{
    using Morvek::BizModel::Device;
    using Morvek::BizModel::Layer;
    using Morvek::BizModel::Screen;
    QTest::addColumn<StoreOperation>("operation");
    QTest::newRow("remove") << StoreOperation([](LayerVideoManager &manager) {
        sLayerUniqueIdentifies key = layerKey(1);
        manager.removeLayerVideoConfig(key);
    });
    QTest::newRow("clear") << StoreOperation(
        [](LayerVideoManager &manager) { manager.clearLayerVideoConfig(); });
    QTest::newRow("screen removed") << StoreOperation([](LayerVideoManager &manager) {
        manager.slotScreenRemoved({}, std::make_shared<Screen>(std::weak_ptr<Device>(), 1, 0));
    });
    QTest::newRow("layer removed") << StoreOperation([](LayerVideoManager &manager) {
        const auto pDevice = std::make_shared<Device>();
        const auto pScreen = std::make_shared<Screen>(pDevice, 1, 0);
        manager.slotDeviceScreenBaseLayerRemoved(pDevice, pScreen,
                                                 std::make_shared<Layer>(layerKey(1)));
    });
}

// The previews are locked, so that the operation stops between its two halves: the configurations
// have to be free there.
void tst_LayerStorePreviews::removalLocksOneListAfterTheOther()
{
    QFETCH(StoreOperation, operation);
    LayerVideoManager manager({});
    setLayer(manager, 1);
    manager.refreshLayerVideo(layerKey(1), solidPicture(QSize(8, 6), Qt::blue));

    std::future<void> done;
    QReadLocker previews(&manager.m_lockLayerVideo);
    done = std::async(std::launch::async, [&] { operation(manager); });
    QTRY_VERIFY_WITH_TIMEOUT(storedLayerCount(manager) == 0, InputGate::LongEnough);
    QCOMPARE(manager.m_LayerVideos.size(), 1);
    previews.unlock();
    done.wait();
    QVERIFY(manager.m_LayerVideos.isEmpty());
}

// The other way round: the configurations are locked, the previews have to be free.
void tst_LayerStorePreviews::completionLocksOneListAfterTheOther()
{
    LayerVideoManager manager({});
    setLayer(manager, 1);

    std::future<void> done;
    QMutexLocker configs(&manager.m_mtxLayerVideoConfigs);
    done = std::async(std::launch::async, [&] {
        manager.refreshLayerVideo(layerKey(1), solidPicture(QSize(8, 6), Qt::blue));
    });
    QTRY_VERIFY_WITH_TIMEOUT(storedPreviewCount(manager) == 1, InputGate::LongEnough);
    QVERIFY(!manager.m_LayerVideoConfigs.first().m_isFirstRendered);
    configs.unlock();
    done.wait();
    QVERIFY(manager.m_LayerVideoConfigs.first().m_isFirstRendered);
}

QTEST_GUILESS_MAIN(tst_LayerStorePreviews)
#include "tst_layerstore_previews.moc"
