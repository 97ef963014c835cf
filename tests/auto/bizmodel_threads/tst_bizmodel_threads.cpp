// The stand-in device model is read on some threads while others write.

#include <devicelist.h>
#include <input.h>

#include <QThread>
#include <QtTest>

#include <atomic>
#include <memory>
#include <vector>

using namespace Morvek::BizModel;

class TestBizModelThreads : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsTolerateWritesOnAnotherThread();
    void connectorsTolerateWritesOnAnotherThread();
};

// Readers may only ever see values that were written, whole.
void TestBizModelThreads::readsTolerateWritesOnAnotherThread()
{
    constexpr int ReadsWanted = 200000;
    const QString addresses[] = {QStringLiteral("192.0.2.1"),
                                 QStringLiteral("2001:db8:aaaa:bbbb:cccc:dddd:eeee:ffff")};
    const QRect rects[] = {QRect(1, 1, 1, 1), QRect(2000, 2000, 2000, 2000)};
    DeviceList *const pList = DeviceList::instance();
    const auto pDevice = std::make_shared<Device>(11);
    const auto pOther = std::make_shared<Device>(12);
    pDevice->setIPAddress(addresses[0]);
    pDevice->deviceConfig().EchoVideoCfg.RemotePort = 4711;
    pList->setEchoVideoRect(505, 0, rects[0]);
    pList->setActivedDevice(pDevice);

    std::atomic_bool isOver{false};
    std::atomic_int nBad{0};
    std::atomic_int nReads{0};
    std::atomic_int nOnline{0};
    const auto read = [&] {
        do {
            const std::shared_ptr<Device> pActive = pList->activedDevice().lock();
            const QString strAddress = pDevice->IPAddress();
            const QRect rect = pList->echoVideoRect(505, 0);
            const bool isGood = (pActive == pDevice || pActive == pOther)
                             && (strAddress == addresses[0] || strAddress == addresses[1])
                             && (rect == rects[0] || rect == rects[1])
                             && pDevice->deviceConfig().EchoVideoCfg.RemotePort == 4711
                             && pDevice->modelId() == 11;
            nBad += !isGood;
            nOnline += pDevice->onlineFlag();
            ++nReads;
        } while (!isOver);
    };
    std::vector<std::unique_ptr<QThread>> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back(QThread::create(read));
        threads.back()->start();
    }
    for (int i = 0; nReads < ReadsWanted; ++i) {
        pList->setActivedDevice(i % 2 ? pDevice : pOther);
        pList->setDeviceOnline(pDevice, i % 2);
        pList->setEchoVideoRect(505, 0, rects[i % 2]);
        pDevice->setIPAddress(addresses[i % 2]);
    }
    isOver = true;
    for (const auto &pThread : threads)
        pThread->wait();
    pList->setActivedDevice({});
    QCOMPARE(nBad.load(), 0);
    QVERIFY(nOnline <= nReads);
    QVERIFY(nReads >= ReadsWanted);
}

void TestBizModelThreads::connectorsTolerateWritesOnAnotherThread()
{
    constexpr int ReadsWanted = 20000;
    Input input(1);
    std::atomic_int nReads{0};
    std::atomic_bool isOver{false};
    std::atomic_int nBad{0};
    const std::unique_ptr<QThread> pReader(QThread::create([&] {
        do {
            const int nId = input.echoVideoId();
            nBad += nId != 1 && nId != 254;
            ++nReads;
        } while (!isOver);
    }));
    pReader->start();
    for (int i = 0; nReads < ReadsWanted; ++i)
        input.setEchoVideoId(i % 2 ? 1 : 254);
    isOver = true;
    pReader->wait();
    QCOMPARE(nBad.load(), 0);
    QVERIFY(nReads >= ReadsWanted);
}

QTEST_GUILESS_MAIN(TestBizModelThreads)
#include "tst_bizmodel_threads.moc"
