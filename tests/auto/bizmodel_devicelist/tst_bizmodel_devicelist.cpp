// What the stand-in's device list keeps, and when it says so.

#include <devicelist.h>

#include <QSignalSpy>
#include <QtTest>

#include <memory>

using namespace Morvek::BizModel;
using Morvek::ProtoModel::s_ScreenLayerId;

namespace {

DeviceList *list()
{
    return DeviceList::instance();
}

/** Counts everything that the list emits. */
struct EmissionCount
{
    QSignalSpy m_activeChanged{list(), &DeviceList::signalActivedDeviceChanged};
    QSignalSpy m_onlineChanged{list(), &DeviceList::signalDeviceOnlineStatusChanged};
    QSignalSpy m_screenRemoved{list(), &DeviceList::signalScreenRemoved};
    QSignalSpy m_layerRemoved{list(), &DeviceList::signalLayerRemoved};

    int all() const
    {
        return m_activeChanged.count() + m_onlineChanged.count() + m_screenRemoved.count()
             + m_layerRemoved.count();
    }
};

} // namespace

class TestDeviceList : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void thereIsOneList();
    void noDeviceIsActiveAtFirst();
    void anAddedDeviceStaysAlive();
    void aDeviceAddedTwiceIsForgottenAtOnce();
    void addingNothingAddsNothing();
    void theActiveDeviceIsHeldWeakly();
    void settingTheActiveDeviceIsToldEachTime();
    void removingTheActiveDeviceLeavesNone();
    void removingTheActiveDeviceThatWasNeverAddedLeavesNone();
    void removingAnotherDeviceIsNotTold();
    void onlineStatusIsToldEachTime();
    void onlineStatusIsToldForAnyDevice_data();
    void onlineStatusIsToldForAnyDevice();
    void aRemovedScreenIsToldEachTime();
    void aRemovedLayerIsToldEachTime();
    void removalsAreToldWithoutADevice();

    void rectanglesAreKnownByModelAndIndex_data();
    void rectanglesAreKnownByModelAndIndex();
    void aRectangleIsReplaced();

private:
    std::shared_ptr<Device> m_pDevice;
    std::shared_ptr<Screen> m_pScreen;
    std::shared_ptr<Layer> m_pLayer;
};

void TestDeviceList::init()
{
    m_pDevice = std::make_shared<Device>(11);
    m_pScreen = std::make_shared<Screen>(m_pDevice, 1, 2);
    m_pLayer = std::make_shared<Layer>(s_ScreenLayerId{{1, 2}, {3, 4, 5}});
}

void TestDeviceList::cleanup()
{
    list()->setActivedDevice({});
    list()->removeDevice(m_pDevice);
}

void TestDeviceList::thereIsOneList()
{
    QVERIFY(list());
    QCOMPARE(DeviceList::instance(), list());
}

void TestDeviceList::noDeviceIsActiveAtFirst()
{
    QVERIFY(list()->activedDevice().expired());
    list()->addDevice(m_pDevice);
    QVERIFY(list()->activedDevice().expired());
}

void TestDeviceList::anAddedDeviceStaysAlive()
{
    const EmissionCount emissions;
    const std::weak_ptr<Device> wDevice = m_pDevice;
    list()->addDevice(m_pDevice);
    m_pDevice.reset();
    QVERIFY(!wDevice.expired());
    list()->removeDevice(wDevice.lock());
    QVERIFY(wDevice.expired());
    QCOMPARE(emissions.all(), 0);
}

void TestDeviceList::aDeviceAddedTwiceIsForgottenAtOnce()
{
    const std::weak_ptr<Device> wDevice = m_pDevice;
    list()->addDevice(m_pDevice);
    list()->addDevice(m_pDevice);
    list()->removeDevice(m_pDevice);
    m_pDevice.reset();
    QVERIFY(wDevice.expired());
}

void TestDeviceList::addingNothingAddsNothing()
{
    const EmissionCount emissions;
    list()->addDevice({});
    list()->removeDevice({});
    QCOMPARE(emissions.all(), 0);
}

void TestDeviceList::theActiveDeviceIsHeldWeakly()
{
    list()->setActivedDevice(m_pDevice);
    QCOMPARE(list()->activedDevice().lock(), m_pDevice);
    m_pScreen.reset();
    m_pDevice.reset();
    QVERIFY(list()->activedDevice().expired());
}

void TestDeviceList::settingTheActiveDeviceIsToldEachTime()
{
    const EmissionCount emissions;
    list()->setActivedDevice(m_pDevice);
    list()->setActivedDevice(m_pDevice);
    QCOMPARE(emissions.m_activeChanged.count(), 2);
    list()->setActivedDevice({});
    list()->setActivedDevice({});
    QCOMPARE(emissions.m_activeChanged.count(), 4);
    QCOMPARE(emissions.all(), 4);
    QVERIFY(list()->activedDevice().expired());
}

void TestDeviceList::removingTheActiveDeviceLeavesNone()
{
    list()->addDevice(m_pDevice);
    list()->setActivedDevice(m_pDevice);
    const EmissionCount emissions;
    list()->removeDevice(m_pDevice);
    QVERIFY(list()->activedDevice().expired());
    QCOMPARE(emissions.m_activeChanged.count(), 1);
    QCOMPARE(emissions.all(), 1);
}

void TestDeviceList::removingTheActiveDeviceThatWasNeverAddedLeavesNone()
{
    list()->setActivedDevice(m_pDevice);
    const EmissionCount emissions;
    list()->removeDevice(m_pDevice);
    QVERIFY(!list()->activedDevice().lock());
    QCOMPARE(emissions.m_activeChanged.count(), 1);
    list()->removeDevice(m_pDevice);
    QCOMPARE(emissions.all(), 1);
}

void TestDeviceList::removingAnotherDeviceIsNotTold()
{
    const auto pOther = std::make_shared<Device>(12);
    list()->addDevice(m_pDevice);
    list()->addDevice(pOther);
    list()->setActivedDevice(m_pDevice);
    const EmissionCount emissions;
    list()->removeDevice(pOther);
    QCOMPARE(emissions.all(), 0);
    QCOMPARE(list()->activedDevice().lock(), m_pDevice);
}

void TestDeviceList::onlineStatusIsToldEachTime()
{
    list()->addDevice(m_pDevice);
    const EmissionCount emissions;
    list()->setDeviceOnline(m_pDevice, true);
    QVERIFY(m_pDevice->onlineFlag());
    list()->setDeviceOnline(m_pDevice, true);
    list()->setDeviceOnline(m_pDevice, false);
    QVERIFY(!m_pDevice->onlineFlag());
    QCOMPARE(emissions.m_onlineChanged.count(), 3);
    QCOMPARE(emissions.all(), 3);
    const auto wDevice = emissions.m_onlineChanged.last().first().value<std::weak_ptr<Device>>();
    QCOMPARE(wDevice.lock(), m_pDevice);
}

void TestDeviceList::onlineStatusIsToldForAnyDevice_data()
{
    QTest::addColumn<bool>("isDevice");
    QTest::addColumn<bool>("isAdded");
    QTest::newRow("a device that was never added") << true << false;
    QTest::newRow("a device that was removed") << true << true;
    QTest::newRow("no device") << false << false;
}

void TestDeviceList::onlineStatusIsToldForAnyDevice()
{
    QFETCH(bool, isDevice);
    QFETCH(bool, isAdded);
    if (isAdded) {
        list()->addDevice(m_pDevice);
        list()->removeDevice(m_pDevice);
    }
    const std::shared_ptr<Device> pDevice = isDevice ? m_pDevice : nullptr;
    const EmissionCount emissions;
    list()->setDeviceOnline(pDevice, true);
    QCOMPARE(emissions.m_onlineChanged.count(), 1);
    const auto wDevice = emissions.m_onlineChanged.first().first().value<std::weak_ptr<Device>>();
    QCOMPARE(wDevice.lock(), pDevice);
    QCOMPARE(m_pDevice->onlineFlag(), isDevice);
}

void TestDeviceList::aRemovedScreenIsToldEachTime()
{
    const EmissionCount emissions;
    list()->removeScreen(m_pDevice, m_pScreen);
    list()->removeScreen(m_pDevice, m_pScreen);
    QCOMPARE(emissions.m_screenRemoved.count(), 2);
    QCOMPARE(emissions.all(), 2);
    const QVariantList arguments = emissions.m_screenRemoved.first();
    QCOMPARE(arguments.at(0).value<std::weak_ptr<Device>>().lock(), m_pDevice);
    QCOMPARE(arguments.at(1).value<std::shared_ptr<Screen>>(), m_pScreen);
}

void TestDeviceList::aRemovedLayerIsToldEachTime()
{
    const EmissionCount emissions;
    list()->removeLayer(m_pDevice, m_pScreen, m_pLayer);
    list()->removeLayer(m_pDevice, m_pScreen, m_pLayer);
    QCOMPARE(emissions.m_layerRemoved.count(), 2);
    QCOMPARE(emissions.all(), 2);
    const QVariantList arguments = emissions.m_layerRemoved.first();
    QCOMPARE(arguments.at(0).value<std::weak_ptr<Device>>().lock(), m_pDevice);
    QCOMPARE(arguments.at(1).value<std::weak_ptr<Screen>>().lock(), m_pScreen);
    QCOMPARE(arguments.at(2).value<std::shared_ptr<Layer>>(), m_pLayer);
}

void TestDeviceList::removalsAreToldWithoutADevice()
{
    const std::weak_ptr<Device> wGone = std::make_shared<Device>();
    const EmissionCount emissions;
    list()->removeScreen(wGone, m_pScreen);
    list()->removeLayer(wGone, {}, m_pLayer);
    QCOMPARE(emissions.m_screenRemoved.count(), 1);
    QCOMPARE(emissions.m_layerRemoved.count(), 1);
    const QVariantList arguments = emissions.m_screenRemoved.first();
    QVERIFY(arguments.at(0).value<std::weak_ptr<Device>>().expired());
    QCOMPARE(arguments.at(1).value<std::shared_ptr<Screen>>(), m_pScreen);
    QCOMPARE(emissions.m_layerRemoved.first().at(2).value<std::shared_ptr<Layer>>(), m_pLayer);
}

void TestDeviceList::rectanglesAreKnownByModelAndIndex_data()
{
    QTest::addColumn<quint16>("modelId");
    QTest::addColumn<quint8>("index");
    QTest::addColumn<QRect>("expected");
    QTest::newRow("first of a model") << quint16(500) << quint8(0) << QRect(1, 2, 3, 4);
    QTest::newRow("last of a model") << quint16(500) << quint8(255) << QRect(5, 6, 7, 8);
    QTest::newRow("another model") << quint16(501) << quint8(0) << QRect(9, 10, 11, 12);
    QTest::newRow("largest model") << quint16(65535) << quint8(255) << QRect(-5, -6, 4000, 1);
    QTest::newRow("unknown index") << quint16(500) << quint8(1) << QRect();
    QTest::newRow("unknown model") << quint16(502) << quint8(0) << QRect();
}

void TestDeviceList::rectanglesAreKnownByModelAndIndex()
{
    list()->setEchoVideoRect(500, 0, QRect(1, 2, 3, 4));
    list()->setEchoVideoRect(500, 255, QRect(5, 6, 7, 8));
    list()->setEchoVideoRect(501, 0, QRect(9, 10, 11, 12));
    list()->setEchoVideoRect(65535, 255, QRect(-5, -6, 4000, 1));
    QFETCH(quint16, modelId);
    QFETCH(quint8, index);
    QFETCH(QRect, expected);
    QCOMPARE(list()->echoVideoRect(modelId, index), expected);
    QCOMPARE(list()->echoVideoRect(modelId, index).isNull(), expected.isNull());
}

void TestDeviceList::aRectangleIsReplaced()
{
    const EmissionCount emissions;
    list()->setEchoVideoRect(503, 1, QRect(1, 2, 3, 4));
    list()->setEchoVideoRect(503, 1, QRect(4, 3, 2, 1));
    QCOMPARE(list()->echoVideoRect(503, 1), QRect(4, 3, 2, 1));
    QCOMPARE(emissions.all(), 0);
}

QTEST_GUILESS_MAIN(TestDeviceList)
#include "tst_bizmodel_devicelist.moc"
