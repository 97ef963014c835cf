// The whole way from a source to the previews, in the library's own threads, with one large
// allocation after the other failing in the middle of it: new pictures are shown again each time.

#include <layervideomanager.h>
#include <pixmapreader.h>

#include <capturedouble.h>
#include <failingallocator.h>
#include <logcapture.h>
#include <mjpegserver.h>
#include <testdevice.h>
#include <testlayers.h>
#include <testpictures.h>
#include <yuvpictures.h>

#include <input.h>

#include <QColor>
#include <QTemporaryDir>
#include <QtTest>

#include <atomic>
#include <cstring>
#include <memory>

using namespace Morvek::EchoVideo;
using namespace Morvek::Tests;
using Morvek::BizModel::Device;
using Morvek::BizModel::Input;
using Morvek::BizModel::s_EchoVideoConfig;
using Morvek::BizModel::Enum::Layer::BorderType;

namespace {

constexpr int Failures = 16;    // about what all threads allocate for one picture
constexpr int LongWait = 30000; // ms

/** A host of two layers, one with everything that takes memory, fed by the service. */
class Host
{
public:
    explicit Host(const std::shared_ptr<Device> &pDevice)
        : m_device(pDevice)
        , m_pInput(std::make_shared<Input>(quint8(0)))
        , m_manager([this](auto &&, auto &&, auto &&, QImage &picture) {
            return PixmapReader::instance()->getInputVideoFrame(m_pInput, picture, false);
        })
    {
        sLayerVideoConfig cfg = pictureLayer(320, 180);
        cfg.m_LayerIdentifies.layerId = 1;
        m_manager.setLayerVideoConfig(cfg);
        cfg.m_LayerIdentifies.layerId = 2;
        cfg.m_LayerItem.m_mirroringType = sLayerItem::Both;
        cfg.m_LayerItem.m_bMonoColorEnabled = true;
        cfg.m_LayerMask.m_bMaskEnable = true;
        cfg.m_LayerBorder.m_borderType = BorderType::Soft;
        cfg.m_LayerBorder.m_borderSize = QSize(10, 10);
        m_manager.setLayerVideoConfig(cfg);
        PixmapReader::instance()->restartRead();
        m_manager.startManager(true);
    }

    ~Host() { PixmapReader::instance()->stopRead(); }

    /** Whether both layers show about this colour in their middle. */
    bool isShowing(const QColor &color)
    {
        const int nGray = qGray(color.rgb());
        return isMiddle(1, color) && isMiddle(2, QColor(nGray, nGray, nGray));
    }

private:
    Q_DISABLE_COPY(Host)

    bool isMiddle(int nLayer, const QColor &color)
    {
        sLayerVideoConfig cfg = pictureLayer(320, 180);
        cfg.m_LayerIdentifies.layerId = quint8(nLayer);
        QImage preview;
        if (!m_manager.getLayerVideoFrame(cfg.m_LayerIdentifies, preview)
            || preview.size() != QSize(320, 180))
            return false;
        const QColor middle = preview.pixelColor(160, 90);
        const auto isNear = [](int nLeft, int nRight) { return std::abs(nLeft - nRight) <= 6; };
        return isNear(middle.red(), color.red()) && isNear(middle.green(), color.green())
            && isNear(middle.blue(), color.blue());
    }

    const ActiveDevice m_device;
    const std::shared_ptr<Input> m_pInput;
    LayerVideoManager m_manager;
};

QColor colorOf(int nPicture)
{
    return QColor(40 + nPicture % 5 * 40, 30 + nPicture % 7 * 30, 200 - nPicture % 3 * 60);
}

std::shared_ptr<Device> withFps(const std::shared_ptr<Device> &pDevice)
{
    pDevice->deviceConfig().EchoVideoCfg.FPS = 50;
    return pDevice;
}

// Lets the n-th allocation of the library fail, for each n; show() has a new picture sent.
template <typename Show>
void failEachAndRecover(Host &host, Show show,
                        FailingAllocator::eScope eScope = FailingAllocator::eScope::LibraryThreads)
{
    const QColor first = show(0);
    QTRY_VERIFY_WITH_TIMEOUT(host.isShowing(first), LongWait);
    for (int n = 1; n <= Failures; ++n) {
        FailingAllocator::failAt(n, eScope);
        QTRY_VERIFY_WITH_TIMEOUT(FailingAllocator::hasFailed(), LongWait);
        const QColor color = show(n);
        QTRY_VERIFY2_WITH_TIMEOUT(host.isShowing(color), qPrintable(QString::number(n)), LongWait);
    }
}

} // namespace

Q_DECLARE_METATYPE(Morvek::Tests::FailingAllocator::eScope)

class TestTortureChain : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { FailingAllocator::disarm(); }

    void mjpegStreamIsShownAgain_data();
    void mjpegStreamIsShownAgain();
    void capturedFramesAreShownAgain();
    void fileIsShownAgain();
};

void TestTortureChain::mjpegStreamIsShownAgain_data()
{
    QTest::addColumn<FailingAllocator::eScope>("scope");

    QTest::newRow("anywhere") << FailingAllocator::eScope::LibraryThreads;
    // Also what the socket allocates while it waits for data: the connection is then given up.
    QTest::newRow("receiving") << FailingAllocator::eScope::ReaderThread;
}

void TestTortureChain::mjpegStreamIsShownAgain()
{
    QFETCH(FailingAllocator::eScope, scope);

    LogCapture log;
    MjpegServer server;
    Host host(withFps(makeMjpegDevice(server.port())));
    failEachAndRecover(
        host,
        [&](int nPicture) {
            // Large enough that receiving it takes large allocations too.
            const QImage picture = solidPicture(QSize(1920, 1080), colorOf(nPicture));
            server.stream(mjpegPart(jpegBytes(picture)), 90);
            return colorOf(nPicture);
        },
        scope);
    if (scope == FailingAllocator::eScope::ReaderThread)
        QVERIFY(server.acceptedCount() > 1);
}

void TestTortureChain::capturedFramesAreShownAgain()
{
    LogCapture log;
    CaptureDouble capture;
    capture.setInitResult(0);
    std::atomic_int nShown{0};
    capture.setFill([&nShown](uchar *pBuffer, int) {
        // All channels alike: a frame is filled in no time.
        std::memset(pBuffer, colorOf(nShown).red(), CaptureDouble::FrameBytes);
    });
    Host host(withFps(makeDevice(s_EchoVideoConfig::LocalDVI)));
    failEachAndRecover(host, [&](int nPicture) {
        nShown = nPicture;
        const int nLevel = colorOf(nPicture).red();
        return QColor(nLevel, nLevel, nLevel);
    });
}

void TestTortureChain::fileIsShownAgain()
{
    LogCapture log;
    QTemporaryDir folder;
    const QString strFile = folder.filePath(QStringLiteral("echo.yuv"));
    QVERIFY(writeYuvFile(strFile, 1));
    const auto pDevice = withFps(makeDevice(s_EchoVideoConfig::LocalFile));
    pDevice->deviceConfig().EchoVideoCfg.VideoSourcePath = strFile;
    const QColor color(yuvPixel(yuvColor(0)));
    // From the first picture on: what is allocated once fails at the start or never.
    for (int n = 1; n <= 3; ++n) {
        FailingAllocator::failAt(n, FailingAllocator::eScope::LibraryThreads);
        Host host(pDevice);
        QTRY_VERIFY_WITH_TIMEOUT(FailingAllocator::hasFailed(), LongWait);
        QTRY_VERIFY_WITH_TIMEOUT(host.isShowing(color), LongWait);
    }
    Host host(pDevice);
    failEachAndRecover(host, [&](int) { return color; });
}

QTEST_GUILESS_MAIN(TestTortureChain)
#include "tst_torture_chain.moc"
