// The parts of a host go away one by one, in every order, while pictures are received and decoded,
// previews are rendered, and one manager is inside the host's callback.
//
// What a row leaves open is drawn by lot; MORVEK_TEST_SEED repeats a run.

#include "logcapture.h"
#include "mjpegserver.h"
#include "processfigures.h"
#include "renderstage.h"
#include "sanitized.h"
#include "testdevice.h"
#include "testpictures.h"

#include <devicelist.h>
#include <input.h>
#include <layervideomanager.h>
#include <pixmapreader.h>

#include <QElapsedTimer>
#include <QSemaphore>
#include <QtTest>

#include <algorithm>
#include <atomic>
#include <memory>
#include <random>
#include <vector>

using namespace Morvek::EchoVideo;
using namespace Morvek::Tests;
using Morvek::BizModel::Device;
using Morvek::BizModel::DeviceList;
using Morvek::BizModel::Input;
using Morvek::BizModel::s_EchoVideoConfig;

namespace {

enum eStep { StopService, RemoveDevice, DestroyManager, DestroyManagerInCallback };
using Steps = QList<eStep>;

constexpr int Rounds = rounds(2);
constexpr int LongWait = 60000;  // ms; only a broken test waits so long
constexpr int CallbackTime = 60; // ms that the host keeps a render thread, longer than it likes
constexpr quint8 LayerCount = 3;
const QSize StreamSize(320, 180);

/** Everything that a host has, until it is told to let go of it. */
class Host
{
public:
    Host(const std::shared_ptr<Device> &pDevice, bool hasSecondManager)
        : m_wDevice(pDevice)
        , m_pActive(std::make_unique<ActiveDevice>(pDevice))
    {
        PixmapReader::instance()->restartRead();
        m_pManager = makeManager([] {});
        if (hasSecondManager)
            m_pManagerInCallback = makeManager([this] { stayInCallback(); });
    }

    bool isWorking() const
    {
        const int nManagers = m_pManagerInCallback ? 2 : 1;
        return m_nPreviews >= nManagers * LayerCount;
    }
    bool isShowingPictures() const
    {
        QImage frame;
        return PixmapReader::instance()->getInputVideoFrame(m_pInput, frame, false)
            && frame.width() > 2; // not a placeholder
    }
    /** From now on the second manager's callback takes its time; returns when it is inside. */
    bool enterCallback()
    {
        m_isCallbackSlow = true;
        // With events: where all layers wait for their delivery here, none is rendered before it.
        const auto isInside = [this] { return m_entered.tryAcquire(); };
        return !m_pManagerInCallback || QTest::qWaitFor(isInside, LongWait);
    }
    void stopManagers()
    {
        for (const auto &pManager : {m_pManager.get(), m_pManagerInCallback.get()}) {
            if (pManager)
                pManager->stopManager();
        }
    }
    void carryOut(eStep eWhat)
    {
        switch (eWhat) {
        case StopService:
            PixmapReader::instance()->stopRead();
            break;
        case RemoveDevice:
            m_pActive.reset();
            break;
        case DestroyManager:
            m_pManager.reset();
            break;
        case DestroyManagerInCallback:
            m_pManagerInCallback.reset();
            break;
        }
    }
    bool isDeviceGone() const { return m_wDevice.expired(); }

private:
    template <typename Before>
    std::unique_ptr<LayerVideoManager> makeManager(Before before)
    {
        auto pManager = std::make_unique<LayerVideoManager>(
            [this, before](auto &&, auto &&, auto &&, QImage &frame) {
                before();
                return PixmapReader::instance()->getInputVideoFrame(m_pInput, frame, false);
            });
        QObject::connect(pManager.get(), &LayerVideoManager::layerVideoRenderFinished,
                         pManager.get(), [this] { ++m_nPreviews; });
        for (quint8 i = 1; i <= LayerCount; ++i) {
            sLayerVideoConfig layerCfg = makeLayer(i);
            pManager->setLayerVideoConfig(layerCfg);
        }
        pManager->startManager(true);
        return pManager;
    }
    void stayInCallback()
    {
        if (!m_isCallbackSlow)
            return;
        m_entered.release();
        QSemaphore().tryAcquire(1, CallbackTime);
    }

    const std::weak_ptr<Device> m_wDevice;
    const std::shared_ptr<Input> m_pInput = std::make_shared<Input>(quint8(0));
    std::atomic_bool m_isCallbackSlow{false};
    QSemaphore m_entered;
    int m_nPreviews = 0;
    std::unique_ptr<ActiveDevice> m_pActive;
    std::unique_ptr<LayerVideoManager> m_pManager;
    std::unique_ptr<LayerVideoManager> m_pManagerInCallback;
};

const char *nameOf(eStep eWhat)
{
    switch (eWhat) {
    case StopService:
        return "service";
    case RemoveDevice:
        return "device";
    case DestroyManager:
        return "manager";
    case DestroyManagerInCallback:
        return "manager in callback";
    }
    return "";
}

QByteArray nameOf(const Steps &steps)
{
    QByteArrayList names;
    for (const eStep eWhat : steps)
        names.append(nameOf(eWhat));
    return names.join(", ");
}

} // namespace

Q_DECLARE_METATYPE(eStep)
Q_DECLARE_METATYPE(Morvek::BizModel::s_EchoVideoConfig::eVideoSourceType)

class TestShutdownOrders : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void everyOrderLeavesNothing_data();
    void everyOrderLeavesNothing();

private:
    std::shared_ptr<Device> makeSource(s_EchoVideoConfig::eVideoSourceType eSource) const;
    void shutDown(s_EchoVideoConfig::eVideoSourceType eSource, const Steps &steps);
    int drawn(int nUpTo) { return std::uniform_int_distribution<int>(0, nUpTo)(m_random); }

    std::unique_ptr<MjpegServer> m_pServer;
    std::mt19937 m_random;
    int m_nFiles = 0; // descriptors that are open between the rounds
};

void TestShutdownOrders::initTestCase()
{
    bool isSeedGiven = false;
    unsigned nSeed = qEnvironmentVariable("MORVEK_TEST_SEED").toUInt(&isSeedGiven);
    if (!isSeedGiven)
        nSeed = std::random_device()();
    qInfo() << "MORVEK_TEST_SEED is" << nSeed;
    m_random.seed(nSeed);

    m_pServer = std::make_unique<MjpegServer>();
    m_pServer->stream(mjpegPart(jpegBytes(gradientPicture(StreamSize))), 20);
    // What the first use of Qt's network and picture code keeps open is no leak.
    shutDown(s_EchoVideoConfig::RemoteTCP, {StopService, RemoveDevice, DestroyManager});
    m_nFiles = openFileCount();
}

void TestShutdownOrders::cleanupTestCase()
{
    m_pServer.reset();
}

void TestShutdownOrders::everyOrderLeavesNothing_data()
{
    QTest::addColumn<s_EchoVideoConfig::eVideoSourceType>("eSource");
    QTest::addColumn<Steps>("steps");
    const struct
    {
        s_EchoVideoConfig::eVideoSourceType m_eSource;
        const char *m_pName;
        Steps m_steps; // in the first order
    } sources[] = {
        {s_EchoVideoConfig::RemoteTCP,
         "stream",
         {StopService, RemoveDevice, DestroyManager, DestroyManagerInCallback}},
        {s_EchoVideoConfig::LocalFile, "file", {StopService, RemoveDevice, DestroyManager}},
        {s_EchoVideoConfig::LocalDVI, "capture", {StopService, RemoveDevice, DestroyManager}},
    };
    for (const auto &source : sources) {
        Steps steps = source.m_steps;
        do {
            QTest::addRow("%s: %s", source.m_pName, nameOf(steps).constData())
                << source.m_eSource << steps;
        } while (std::next_permutation(steps.begin(), steps.end()));
    }
}

void TestShutdownOrders::everyOrderLeavesNothing()
{
    QFETCH(s_EchoVideoConfig::eVideoSourceType, eSource);
    QFETCH(Steps, steps);
    for (int i = 0; i < Rounds; ++i) {
        shutDown(eSource, steps);
        if (QTest::currentTestFailed())
            return;
        QTRY_COMPARE_WITH_TIMEOUT(openFileCount(), m_nFiles, LongWait);
    }
}

std::shared_ptr<Device>
TestShutdownOrders::makeSource(s_EchoVideoConfig::eVideoSourceType eSource) const
{
    if (eSource == s_EchoVideoConfig::RemoteTCP) {
        const std::shared_ptr<Device> pDevice = makeMjpegDevice(m_pServer->port());
        for (quint8 i = 0; i < 4; ++i)
            DeviceList::instance()->setEchoVideoRect(TestModelId, i, QRect(QPoint(), StreamSize));
        return pDevice;
    }
    const std::shared_ptr<Device> pDevice = makeDevice(eSource);
    // Stripes are played in its place.
    pDevice->deviceConfig().EchoVideoCfg.VideoSourcePath = QStringLiteral("missing.yuv");
    return pDevice;
}

void TestShutdownOrders::shutDown(s_EchoVideoConfig::eVideoSourceType eSource, const Steps &steps)
{
    const LogCapture log;
    Host host(makeSource(eSource), steps.contains(DestroyManagerInCallback));
    QTRY_VERIFY_WITH_TIMEOUT(host.isWorking(), LongWait);
    if (eSource != s_EchoVideoConfig::LocalDVI) // which has nothing to capture
        QTRY_VERIFY_WITH_TIMEOUT(host.isShowingPictures(), LongWait);
    QVERIFY(host.enterCallback());

    if (drawn(3) == 0)
        host.stopManagers();
    for (const eStep eWhat : steps) {
        const int nWork = drawn(3000); // microseconds in which the threads go on
        QElapsedTimer timer;
        timer.start();
        while (timer.nsecsElapsed() < nWork * 1000) {}
        if (drawn(1) == 0)
            QCoreApplication::processEvents();
        host.carryOut(eWhat);
    }

    QTRY_COMPARE_WITH_TIMEOUT(threadCount(QStringLiteral("echo-")), 0, LongWait);
    QVERIFY(host.isDeviceGone());
    for (const char *pComplaint : {"QThread", "QObject", "QMutex", "nullptr"})
        QCOMPARE(log.linesWith(QLatin1String(pComplaint)), QStringList());
}

QTEST_GUILESS_MAIN(TestShutdownOrders)
#include "tst_shutdown_orders.moc"
