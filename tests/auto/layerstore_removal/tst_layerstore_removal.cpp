// What the store forgets when the device model says that a screen or a layer is gone.

#include "renderstage.h"
#include "testpictures.h"

#include <layervideomanager.h>

#include <device.h>
#include <devicelist.h>
#include <layer.h>
#include <screen.h>

#include <QSignalSpy>
#include <QtTest>

#include <memory>
#include <thread>

using namespace Morvek::EchoVideo;
using namespace Morvek::Tests;
using Morvek::BizModel::Device;
using Morvek::BizModel::DeviceList;
using Morvek::BizModel::Layer;
using Morvek::BizModel::Screen;

namespace {

sLayerUniqueIdentifies keyOf(quint8 nScreen, int nScreenType, quint8 nLayer, int nScene = 0)
{
    sLayerUniqueIdentifies key;
    key.screenId = nScreen;
    key.screenType = nScreenType;
    key.layerId = nLayer;
    key.layerType = 3;
    key.sceneType = nScene;
    return key;
}

// A manager with a configuration and a preview of each layer, and with its signals counted.
struct sStore
{
    explicit sStore(const QList<sLayerUniqueIdentifies> &keys)
    {
        for (const sLayerUniqueIdentifies &key : keys) {
            sLayerVideoConfig layerCfg;
            layerCfg.m_LayerIdentifies = key;
            m_manager.setLayerVideoConfig(layerCfg);
            m_manager.refreshLayerVideo(key, solidPicture(QSize(8, 6), Qt::blue));
        }
        m_changed.clear();
        m_finished.clear();
    }

    QList<sLayerUniqueIdentifies> layers() const
    {
        QList<sLayerUniqueIdentifies> result;
        for (const sLayerVideoConfig &record : m_manager.m_LayerVideoConfigs)
            result.append(record.m_LayerIdentifies);
        return result;
    }

    QList<sLayerUniqueIdentifies> previews() const
    {
        QList<sLayerUniqueIdentifies> result;
        for (const sLayerVideo &video : m_manager.m_LayerVideos)
            result.append(video.m_LayerIdentifies);
        return result;
    }

    bool holds(const QList<sLayerUniqueIdentifies> &keys) const
    {
        return layers() == keys && previews() == keys;
    }

    bool wasSilent() const { return m_changed.isEmpty() && m_finished.isEmpty(); }

    LayerVideoManager m_manager{{}};
    QSignalSpy m_changed{&m_manager, &LayerVideoManager::layerVideoConfigChanged};
    QSignalSpy m_finished{&m_manager, &LayerVideoManager::layerVideoRenderFinished};
};

} // namespace

class tst_LayerStoreRemoval : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void managerFollowsTheDeviceListOnce();
    void removedScreenTakesItsLayersAlong();
    void removedScreenNeedsNoDevice_data();
    void removedScreenNeedsNoDevice();
    void missingScreenChangesNothing();
    void removedScreenLeavesPreviewsWithoutALayer();
    void clearOfAScreenForgetsItsLayers();
    void clearOfAGoneScreenChangesNothing();
    void removedLayerIsForgotten();
    void removedLayerIsIgnored_data();
    void removedLayerIsIgnored();
    void removalFromAnotherThreadWaitsForTheManagersThread();
    void changeOfTheActiveDeviceChangesNothing();
    void destroyedManagerFollowsNothing();
};

void tst_LayerStoreRemoval::managerFollowsTheDeviceListOnce()
{
    DeviceList *const pList = DeviceList::instance();
    const auto receiverCounts = [pList] {
        return QList<int>{
            pList->receivers(SIGNAL(signalActivedDeviceChanged())),
            pList->receivers(SIGNAL(signalLayerRemoved(std::weak_ptr<Morvek::BizModel::Device>,
                                                       std::weak_ptr<Morvek::BizModel::Screen>,
                                                       std::shared_ptr<Morvek::BizModel::Layer>))),
            pList->receivers(
                SIGNAL(signalScreenRemoved(std::weak_ptr<Morvek::BizModel::Device>,
                                           std::shared_ptr<Morvek::BizModel::Screen>))),
            pList->receivers(
                SIGNAL(signalDeviceOnlineStatusChanged(std::weak_ptr<Morvek::BizModel::Device>))),
        };
    };
    QCOMPARE(receiverCounts(), (QList<int>{0, 0, 0, 0}));
    const LayerVideoManager manager({});
    QCOMPARE(receiverCounts(), (QList<int>{1, 1, 1, 0}));
}

void tst_LayerStoreRemoval::removedScreenTakesItsLayersAlong()
{
    const QList<sLayerUniqueIdentifies> others = {keyOf(1, 3, 1), keyOf(2, 2, 1)};
    sStore store({keyOf(1, 2, 1), others[0], keyOf(1, 2, 9, 1), others[1], keyOf(1, 2, 9, 2)});
    const auto pDevice = std::make_shared<Device>();
    DeviceList::instance()->removeScreen(pDevice, std::make_shared<Screen>(pDevice, 1, 2));
    QVERIFY(store.holds(others));
    QVERIFY(store.wasSilent());
}

void tst_LayerStoreRemoval::removedScreenNeedsNoDevice_data()
{
    QTest::addColumn<bool>("isOtherDevice");
    QTest::newRow("no device") << false;
    QTest::newRow("another device") << true;
}

void tst_LayerStoreRemoval::removedScreenNeedsNoDevice()
{
    QFETCH(bool, isOtherDevice);
    sStore store({keyOf(1, 2, 1), keyOf(1, 3, 1)});
    const auto pOther = isOtherDevice ? std::make_shared<Device>() : nullptr;
    auto pOwner = std::make_shared<Device>();
    const auto pScreen = std::make_shared<Screen>(pOwner, 1, 2);
    pOwner.reset();
    DeviceList::instance()->removeScreen(pOther, pScreen);
    QVERIFY(store.holds({keyOf(1, 3, 1)}));
}

void tst_LayerStoreRemoval::missingScreenChangesNothing()
{
    sStore store({keyOf(0, 0, 0)});
    DeviceList::instance()->removeScreen(std::make_shared<Device>(), nullptr);
    QVERIFY(store.holds({keyOf(0, 0, 0)}));
}

void tst_LayerStoreRemoval::removedScreenLeavesPreviewsWithoutALayer()
{
    sStore store({keyOf(1, 2, 1)});
    store.m_manager.refreshLayerVideo(keyOf(1, 2, 7), solidPicture(QSize(8, 6), Qt::blue));
    DeviceList::instance()->removeScreen({},
                                         std::make_shared<Screen>(std::weak_ptr<Device>(), 1, 2));
    QVERIFY(store.layers().isEmpty());
    QCOMPARE(store.previews(), QList<sLayerUniqueIdentifies>{keyOf(1, 2, 7)});
}

void tst_LayerStoreRemoval::clearOfAScreenForgetsItsLayers()
{
    sStore store({keyOf(1, 2, 1), keyOf(1, 3, 1), keyOf(1, 2, 2)});
    auto pDevice = std::make_shared<Device>();
    const auto pScreen = std::make_shared<Screen>(pDevice, 1, 2);
    store.m_manager.clearLayerVideoConfig(pScreen);
    QVERIFY(store.holds({keyOf(1, 3, 1)}));
    QVERIFY(store.wasSilent());

    const auto pOrphan = std::make_shared<Screen>(pDevice, 1, 3);
    pDevice.reset();
    store.m_manager.clearLayerVideoConfig(pOrphan);
    QVERIFY(store.holds({}));
}

void tst_LayerStoreRemoval::clearOfAGoneScreenChangesNothing()
{
    sStore store({keyOf(1, 2, 1)});
    auto pScreen = std::make_shared<Screen>(std::weak_ptr<Device>(), 1, 2);
    const std::weak_ptr<Screen> wScreen = pScreen;
    pScreen.reset();
    store.m_manager.clearLayerVideoConfig(wScreen);
    store.m_manager.clearLayerVideoConfig(std::weak_ptr<Screen>());
    QVERIFY(store.holds({keyOf(1, 2, 1)}));
}

void tst_LayerStoreRemoval::removedLayerIsForgotten()
{
    sStore store({keyOf(1, 2, 1), keyOf(1, 2, 2), keyOf(1, 2, 2, 1)});
    const auto pDevice = std::make_shared<Device>();
    const auto pScreen = std::make_shared<Screen>(pDevice, 9, 9);
    DeviceList::instance()->removeLayer(pDevice, pScreen, std::make_shared<Layer>(keyOf(1, 2, 2)));
    QVERIFY(store.holds({keyOf(1, 2, 1), keyOf(1, 2, 2, 1)}));
    QVERIFY(store.wasSilent());
}

void tst_LayerStoreRemoval::removedLayerIsIgnored_data()
{
    QTest::addColumn<bool>("isDeviceAlive");
    QTest::addColumn<bool>("isScreenAlive");
    QTest::addColumn<bool>("isLayerThere");
    QTest::addColumn<quint8>("nLayer");
    QTest::newRow("device expired") << false << true << true << quint8(1);
    QTest::newRow("screen expired") << true << false << true << quint8(1);
    QTest::newRow("both expired") << false << false << true << quint8(1);
    QTest::newRow("no layer") << true << true << false << quint8(1);
    QTest::newRow("unknown layer") << true << true << true << quint8(9);
}

void tst_LayerStoreRemoval::removedLayerIsIgnored()
{
    QFETCH(bool, isDeviceAlive);
    QFETCH(bool, isScreenAlive);
    QFETCH(bool, isLayerThere);
    QFETCH(quint8, nLayer);
    sStore store({keyOf(1, 2, 1)});
    auto pDevice = std::make_shared<Device>();
    auto pScreen = std::make_shared<Screen>(pDevice, 1, 2);
    const std::weak_ptr<Device> wDevice = pDevice;
    const std::weak_ptr<Screen> wScreen = pScreen;
    if (!isDeviceAlive)
        pDevice.reset();
    if (!isScreenAlive)
        pScreen.reset();
    DeviceList::instance()->removeLayer(
        wDevice, wScreen, isLayerThere ? std::make_shared<Layer>(keyOf(1, 2, nLayer)) : nullptr);
    QVERIFY(store.holds({keyOf(1, 2, 1)}));
}

void tst_LayerStoreRemoval::removalFromAnotherThreadWaitsForTheManagersThread()
{
    sStore store({keyOf(1, 2, 1), keyOf(3, 2, 1), keyOf(4, 2, 1)});
    const auto pDevice = std::make_shared<Device>();
    const auto pScreen = std::make_shared<Screen>(pDevice, 1, 2);
    std::thread([&] {
        DeviceList::instance()->removeScreen(pDevice, pScreen);
        DeviceList::instance()->removeLayer(pDevice, pScreen,
                                            std::make_shared<Layer>(keyOf(3, 2, 1)));
    }).join();
    QCOMPARE(store.layers().size(), 3);
    QCoreApplication::processEvents();
    QVERIFY(store.holds({keyOf(4, 2, 1)}));
}

void tst_LayerStoreRemoval::changeOfTheActiveDeviceChangesNothing()
{
    const QList<sLayerUniqueIdentifies> keys = {keyOf(1, 2, 1), keyOf(1, 3, 1)};
    sStore store(keys);
    const auto pDevice = std::make_shared<Device>();
    DeviceList::instance()->setActivedDevice(pDevice);
    QVERIFY(store.holds(keys));
    DeviceList::instance()->setActivedDevice({});
    QVERIFY(store.holds(keys));
    QVERIFY(store.wasSilent());
}

void tst_LayerStoreRemoval::destroyedManagerFollowsNothing()
{
    auto pStore = std::make_unique<sStore>(QList<sLayerUniqueIdentifies>{keyOf(1, 2, 1)});
    sStore other({keyOf(1, 2, 1)});
    pStore.reset();
    DeviceList::instance()->removeScreen({},
                                         std::make_shared<Screen>(std::weak_ptr<Device>(), 1, 2));
    QVERIFY(other.holds({}));
}

QTEST_GUILESS_MAIN(tst_LayerStoreRemoval)
#include "tst_layerstore_removal.moc"
