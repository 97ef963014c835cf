// Which thread the device list's signals come on. Nothing is registered with the meta-type system
// here; a host need not either.

#include <devicelist.h>

#include <QMetaType>
#include <QSemaphore>
#include <QThread>
#include <QtTest>

#include <functional>
#include <memory>

using namespace Morvek::BizModel;
using Morvek::ProtoModel::s_ScreenLayerId;

namespace {

using Operation = std::function<void()>;

DeviceList *list()
{
    return DeviceList::instance();
}

constexpr int SignalTimeout = 30000; // ms

void onAnotherThread(const Operation &operation)
{
    const std::unique_ptr<QThread> pThread(QThread::create(operation));
    pThread->start();
    pThread->wait();
}

} // namespace

Q_DECLARE_METATYPE(Operation)

/** Lives on another thread and keeps what the list's signals brought there. */
class Receiver : public QObject
{
    Q_OBJECT

public:
    QSemaphore m_received;
    std::weak_ptr<Device> m_wDevice;
    std::weak_ptr<Screen> m_wScreen;
    std::shared_ptr<Screen> m_pScreen;
    std::shared_ptr<Layer> m_pLayer;
    QThread *m_pThread = nullptr;

public Q_SLOTS:
    void takeActiveChanged() { note(); }
    void takeOnline(std::weak_ptr<Morvek::BizModel::Device> wDevice)
    {
        m_wDevice = wDevice;
        note();
    }
    void takeScreen(std::weak_ptr<Morvek::BizModel::Device> wDevice,
                    std::shared_ptr<Morvek::BizModel::Screen> pScreen)
    {
        m_wDevice = wDevice;
        m_pScreen = pScreen;
        note();
    }
    void takeLayer(std::weak_ptr<Morvek::BizModel::Device> wDevice,
                   std::weak_ptr<Morvek::BizModel::Screen> wScreen,
                   std::shared_ptr<Morvek::BizModel::Layer> pLayer)
    {
        m_wDevice = wDevice;
        m_wScreen = wScreen;
        m_pLayer = pLayer;
        note();
    }

private:
    void note()
    {
        m_pThread = QThread::currentThread();
        m_received.release();
    }
};

class TestBizModelSignals : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void argumentTypesAreKnownByName_data();
    void argumentTypesAreKnownByName();
    void signalsAreQueuedToAnotherThread_data();
    void signalsAreQueuedToAnotherThread();
    void queuedCallsTakeTheArgumentsByName();
    void signalsComeOnTheCallersThread_data();
    void signalsComeOnTheCallersThread();
    void noLockIsHeldDuringASignal_data();
    void noLockIsHeldDuringASignal();

private:
    void addEmittingOperations();
    void connectByPointer();
    void connectByName();

    std::shared_ptr<Device> m_pDevice;
    std::shared_ptr<Screen> m_pScreen;
    std::shared_ptr<Layer> m_pLayer;
    std::unique_ptr<Receiver> m_pReceiver;
    QThread m_thread;
};

void TestBizModelSignals::init()
{
    m_pDevice = std::make_shared<Device>(11);
    m_pScreen = std::make_shared<Screen>(m_pDevice, 1, 2);
    m_pLayer = std::make_shared<Layer>(s_ScreenLayerId{{1, 2}, {3, 4, 5}});
    m_pReceiver = std::make_unique<Receiver>();
    m_pReceiver->moveToThread(&m_thread);
    m_thread.start();
}

void TestBizModelSignals::cleanup()
{
    m_thread.quit();
    m_thread.wait();
    m_pReceiver.reset();
    list()->setActivedDevice({});
}

void TestBizModelSignals::argumentTypesAreKnownByName_data()
{
    QTest::addColumn<QByteArray>("name");
    const char *const names[] = {
        "std::weak_ptr<Morvek::BizModel::Device>",
        "std::weak_ptr<Morvek::BizModel::Screen>",
        "std::shared_ptr<Morvek::BizModel::Screen>",
        "std::shared_ptr<Morvek::BizModel::Layer>",
    };
    for (const char *pName : names)
        QTest::newRow(pName) << QByteArray(pName);
}

void TestBizModelSignals::argumentTypesAreKnownByName()
{
    QFETCH(QByteArray, name);
    list();
    QVERIFY(QMetaType::type(name) != QMetaType::UnknownType);
}

void TestBizModelSignals::connectByPointer()
{
    Receiver *const pReceiver = m_pReceiver.get();
    connect(list(), &DeviceList::signalActivedDeviceChanged, pReceiver,
            &Receiver::takeActiveChanged);
    connect(list(), &DeviceList::signalDeviceOnlineStatusChanged, pReceiver, &Receiver::takeOnline);
    connect(list(), &DeviceList::signalScreenRemoved, pReceiver, &Receiver::takeScreen);
    connect(list(), &DeviceList::signalLayerRemoved, pReceiver, &Receiver::takeLayer);
}

// clang-format off
void TestBizModelSignals::connectByName()
{
    Receiver *const pReceiver = m_pReceiver.get();
    connect(list(), SIGNAL(signalActivedDeviceChanged()), pReceiver, SLOT(takeActiveChanged()));
    connect(list(),
            SIGNAL(signalDeviceOnlineStatusChanged(std::weak_ptr<Morvek::BizModel::Device>)),
            pReceiver, SLOT(takeOnline(std::weak_ptr<Morvek::BizModel::Device>)));
    connect(list(),
            SIGNAL(signalScreenRemoved(std::weak_ptr<Morvek::BizModel::Device>,
                                       std::shared_ptr<Morvek::BizModel::Screen>)),
            pReceiver, SLOT(takeScreen(std::weak_ptr<Morvek::BizModel::Device>,
                                       std::shared_ptr<Morvek::BizModel::Screen>)));
    connect(list(),
            SIGNAL(signalLayerRemoved(std::weak_ptr<Morvek::BizModel::Device>,
                                      std::weak_ptr<Morvek::BizModel::Screen>,
                                      std::shared_ptr<Morvek::BizModel::Layer>)),
            pReceiver, SLOT(takeLayer(std::weak_ptr<Morvek::BizModel::Device>,
                                      std::weak_ptr<Morvek::BizModel::Screen>,
                                      std::shared_ptr<Morvek::BizModel::Layer>)));
}
// clang-format on

void TestBizModelSignals::signalsAreQueuedToAnotherThread_data()
{
    QTest::addColumn<bool>("isByName");
    QTest::newRow("connected by pointer") << false;
    QTest::newRow("connected by name") << true;
}

void TestBizModelSignals::signalsAreQueuedToAnotherThread()
{
    QFETCH(bool, isByName);
    if (isByName)
        connectByName();
    else
        connectByPointer();
    Receiver &receiver = *m_pReceiver;

    list()->setActivedDevice(m_pDevice);
    QVERIFY(receiver.m_received.tryAcquire(1, SignalTimeout));
    QCOMPARE(receiver.m_pThread, &m_thread);

    list()->setDeviceOnline(m_pDevice, true);
    QVERIFY(receiver.m_received.tryAcquire(1, SignalTimeout));
    QCOMPARE(receiver.m_wDevice.lock(), m_pDevice);

    receiver.m_wDevice.reset();
    list()->removeScreen(m_pDevice, m_pScreen);
    QVERIFY(receiver.m_received.tryAcquire(1, SignalTimeout));
    QCOMPARE(receiver.m_wDevice.lock(), m_pDevice);
    QCOMPARE(receiver.m_pScreen, m_pScreen);

    receiver.m_wDevice.reset();
    list()->removeLayer(m_pDevice, m_pScreen, m_pLayer);
    QVERIFY(receiver.m_received.tryAcquire(1, SignalTimeout));
    QCOMPARE(receiver.m_wDevice.lock(), m_pDevice);
    QCOMPARE(receiver.m_wScreen.lock(), m_pScreen);
    QCOMPARE(receiver.m_pLayer, m_pLayer);
    QCOMPARE(receiver.m_received.available(), 0);
}

void TestBizModelSignals::queuedCallsTakeTheArgumentsByName()
{
    Receiver &receiver = *m_pReceiver;
    const std::weak_ptr<Device> wDevice = m_pDevice;
    QVERIFY(QMetaObject::invokeMethod(&receiver, "takeScreen", Qt::QueuedConnection,
                                      Q_ARG(std::weak_ptr<Morvek::BizModel::Device>, wDevice),
                                      Q_ARG(std::shared_ptr<Morvek::BizModel::Screen>, m_pScreen)));
    QVERIFY(receiver.m_received.tryAcquire(1, SignalTimeout));
    QCOMPARE(receiver.m_wDevice.lock(), m_pDevice);
    QCOMPARE(receiver.m_pScreen, m_pScreen);
}

void TestBizModelSignals::addEmittingOperations()
{
    QTest::addColumn<Operation>("operation");
    QTest::newRow("set active") << Operation([this] { list()->setActivedDevice(m_pDevice); });
    QTest::newRow("remove active") << Operation([this] { list()->removeDevice(m_pDevice); });
    QTest::newRow("online") << Operation([this] { list()->setDeviceOnline(m_pDevice, true); });
    QTest::newRow("screen gone") << Operation(
        [this] { list()->removeScreen(m_pDevice, m_pScreen); });
    QTest::newRow("layer gone") << Operation(
        [this] { list()->removeLayer(m_pDevice, m_pScreen, m_pLayer); });
}

void TestBizModelSignals::signalsComeOnTheCallersThread_data()
{
    addEmittingOperations();
}

void TestBizModelSignals::signalsComeOnTheCallersThread()
{
    QFETCH(Operation, operation);
    list()->addDevice(m_pDevice);
    list()->setActivedDevice(m_pDevice);
    QList<QThread *> threads; // emitted on one thread at a time
    QObject context;
    const auto note = [&] { threads.append(QThread::currentThread()); };
    connect(list(), &DeviceList::signalActivedDeviceChanged, &context, note, Qt::DirectConnection);
    connect(list(), &DeviceList::signalDeviceOnlineStatusChanged, &context, note,
            Qt::DirectConnection);
    connect(list(), &DeviceList::signalScreenRemoved, &context, note, Qt::DirectConnection);
    connect(list(), &DeviceList::signalLayerRemoved, &context, note, Qt::DirectConnection);

    QThread *pCaller = nullptr;
    onAnotherThread([&] {
        pCaller = QThread::currentThread();
        operation();
    });
    QCOMPARE(threads, QList<QThread *>{pCaller});

    list()->setActivedDevice(m_pDevice);
    threads.clear();
    operation();
    QCOMPARE(threads, QList<QThread *>{QThread::currentThread()});
}

void TestBizModelSignals::noLockIsHeldDuringASignal_data()
{
    addEmittingOperations();
}

void TestBizModelSignals::noLockIsHeldDuringASignal()
{
    QFETCH(Operation, operation);
    list()->addDevice(m_pDevice);
    list()->setActivedDevice(m_pDevice);
    bool isFree = false;
    QObject context;
    // Reads and writes on another thread while the receiver waits for them.
    const std::unique_ptr<QThread> pUser(QThread::create([] {
        list()->activedDevice();
        list()->setEchoVideoRect(504, 0, QRect(0, 0, 1, 1));
    }));
    const auto useList = [&] {
        pUser->start();
        isFree = pUser->wait(QDeadlineTimer(SignalTimeout));
    };
    connect(list(), &DeviceList::signalActivedDeviceChanged, &context, useList);
    connect(list(), &DeviceList::signalDeviceOnlineStatusChanged, &context, useList);
    connect(list(), &DeviceList::signalScreenRemoved, &context, useList);
    connect(list(), &DeviceList::signalLayerRemoved, &context, useList);
    operation();
    pUser->wait();
    QVERIFY(isFree);
}

QTEST_GUILESS_MAIN(TestBizModelSignals)
#include "tst_bizmodel_signals.moc"
