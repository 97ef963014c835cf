// The pictures of the inputs over long runs of changes, against cutting each of them anew every time;
// and what is spared where nothing changed.

#include <pixmapreader.h>

#include <logcapture.h>
#include <testpictures.h>

#include <devicelist.h>
#include <pixmapreader_p.h>
#include <tilecut_p.h>

#include <QPainter>
#include <QSignalSpy>
#include <QtTest>

#include <array>
#include <cstring>
#include <random>

using namespace Morvek::Tests;
using Morvek::BizModel::Device;
using Morvek::BizModel::DeviceList;
using Morvek::BizModel::Input;
using Morvek::EchoVideo::PixmapReader;

namespace {

constexpr quint16 FirstModelId = 6100; // of devices whose rectangles are thrown
constexpr int ModelCount = 3;
constexpr int InputCount = 4;

/** Every byte of a picture's pixels, and all that a copy takes over beside them. */
bool isSame(const QImage &left, const QImage &right)
{
    if (left.size() != right.size() || left.format() != right.format()
        || left.text() != right.text() || left.dotsPerMeterX() != right.dotsPerMeterX()
        || left.devicePixelRatio() != right.devicePixelRatio())
        return false;
    if (left.depth() < 8)
        return left == right; // what follows a line's last bit is anything
    const auto nBytes = std::size_t(left.width() * left.depth() / 8);
    for (int y = 0; y < left.height(); ++y) {
        if (std::memcmp(left.constScanLine(y), right.constScanLine(y), nBytes) != 0)
            return false;
    }
    return left.colorTable() == right.colorTable();
}

/** A service, its reference, and a host that keeps pictures and paints on them. */
class Play
{
public:
    explicit Play(unsigned nSeed);
    ~Play() { m_service.setServedDevice({}); }

    /** One change, or none, and one tick; false where a picture is not as it should be. */
    bool step();
    int keptTiles() const { return m_nKept; }

private:
    int below(int nEnd) { return int(m_random() % unsigned(nEnd)); }
    QRect randomRect();
    QImage randomFrame();
    void changeSomething();
    void useAPicture();
    void tick();
    bool areAllSame() const;

    std::mt19937 m_random;
    PixmapReader m_service;
    std::array<std::shared_ptr<Device>, ModelCount> m_devices;
    std::shared_ptr<Device> m_pServed;
    QMap<unsigned, QImage> m_expected; // cut anew at each tick
    QImage m_held;                     // by the host
    QImage m_heldExpected;
    int m_nKept = 0;
};

Play::Play(unsigned nSeed)
    : m_random(nSeed)
{
    for (int i = 0; i < ModelCount; ++i) {
        m_devices[std::size_t(i)] = std::make_shared<Device>(quint16(FirstModelId + i));
        m_devices[std::size_t(i)]->deviceConfig().InputSlotCount = InputCount;
        m_devices[std::size_t(i)]->deviceConfig().MaxConnectorCountOfSingleCard = 1;
        for (quint8 index = 0; index < InputCount; ++index)
            DeviceList::instance()->setEchoVideoRect(quint16(FirstModelId + i), index,
                                                     randomRect());
    }
    m_pServed = m_devices[0];
    m_pServed->setOnlineFlag(true);
    m_service.setServedDevice(m_pServed);
    m_service.m_image = randomFrame();
}

// Mostly inside a small frame, and of few sizes, so that memory fits again.
QRect Play::randomRect()
{
    switch (below(8)) {
    case 0:
        return QRect();
    case 1:
        return QRect(below(16) - 4, below(16) - 4, below(20), below(20));
    default:
        return QRect(below(8), below(8), 4, 1 + below(2) * 3);
    }
}

QImage Play::randomFrame()
{
    constexpr QImage::Format Formats[] = {QImage::Format_RGB32,      QImage::Format_RGB32,
                                          QImage::Format_ARGB32,     QImage::Format_RGB888,
                                          QImage::Format_Grayscale8, QImage::Format_Mono};
    if (below(30) == 0)
        return QImage();
    QImage frame(8 + below(2) * 8, 12, Formats[below(6)]);
    for (int y = 0; y < frame.height(); ++y) {
        for (int x = 0; x < frame.bytesPerLine(); ++x)
            frame.scanLine(y)[x] = uchar(m_random());
    }
    if (below(10) == 0)
        frame.setText(QStringLiteral("Description"), QString::number(below(2)));
    if (below(10) == 0)
        frame.setDotsPerMeterX(1000 + below(2));
    if (below(20) == 0)
        frame.setDevicePixelRatio(2);
    return frame;
}

void Play::changeSomething()
{
    QImage &frame = m_service.m_image;
    switch (below(9)) {
    case 0:
    case 1:
        frame = randomFrame();
        break;
    case 2: // in place
        if (!frame.isNull())
            frame.scanLine(below(frame.height()))[below(frame.bytesPerLine())] ^= 1;
        break;
    case 3: { // and back again, to the same pixels in another picture
        const QImage before = frame;
        frame.fill(below(256));
        frame = before.copy();
        break;
    }
    case 4:
        DeviceList::instance()->setEchoVideoRect(m_pServed->modelId(), quint8(below(InputCount)),
                                                 randomRect());
        break;
    case 5:
        m_pServed = m_devices[std::size_t(below(ModelCount))];
        m_pServed->setOnlineFlag(true);
        m_service.setServedDevice(m_pServed);
        break;
    case 6:
        m_pServed->deviceConfig().InputSlotCount = quint8(below(InputCount + 1));
        m_pServed->deviceConfig().InputSlotStartIndex = quint8(below(2));
        break;
    default: // the same frame, once more
        break;
    }
}

// As a host may: keep a picture, paint on it, let go of it.
void Play::useAPicture()
{
    const int nUse = below(4);
    if (nUse == 0) {
        const auto pInput = std::make_shared<Input>(quint8(below(InputCount)));
        m_service.getInputVideoFrame(pInput, m_held, false);
        m_heldExpected = m_held.copy();
    } else if (nUse == 1 && !m_held.isNull()) {
        m_held.fill(below(2));
        m_heldExpected = m_held.copy();
    } else if (nUse == 2) {
        m_held = QImage();
        m_heldExpected = QImage();
    }
}

void Play::tick()
{
    const auto &cfg = m_pServed->deviceConfig();
    QMap<unsigned, qint64> keys;
    const QMap<unsigned, QImage> &pictures = m_service.m_mapInputVideo;
    for (auto it = pictures.cbegin(); it != pictures.cend(); ++it)
        keys.insert(it.key(), it->cacheKey());
    m_service.inputVideoReadFinished();
    for (quint8 index = 0; index < cfg.InputSlotCount; ++index) {
        const QRect rect = DeviceList::instance()->echoVideoRect(m_pServed->modelId(), index);
        const unsigned nInput = unsigned(cfg.InputSlotStartIndex) + index;
        m_expected[nInput] = m_service.m_image.copy(rect);
        const QImage &tile = *pictures.constFind(nInput);
        m_nKept += !tile.isNull() && keys.value(nInput) == tile.cacheKey();
    }
}

bool Play::areAllSame() const
{
    const auto &pictures = m_service.m_mapInputVideo;
    return pictures.keys() == m_expected.keys() && isSame(m_held, m_heldExpected)
        && std::equal(pictures.cbegin(), pictures.cend(), m_expected.cbegin(), isSame);
}

bool Play::step()
{
    changeSomething();
    useAPicture();
    tick();
    return areAllSame();
}

} // namespace

class TestPixmapReaderTiles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void anyRunOfChangesLeavesWhatCuttingAnewLeaves();
    void anUnchangedFrameLeavesThePictures();
    void anUnchangedFrameIsStillAnnounced();
    void aPictureThatIsHeldIsNotWrittenTo();
    void memoryThatNobodyHoldsIsUsedAgain();
    void anotherDeviceHasItsInputsCutAnew();

private:
    std::unique_ptr<LogCapture> m_pLog;
    std::shared_ptr<Device> m_pDevice;
    std::unique_ptr<PixmapReader> m_pService;
};

void TestPixmapReaderTiles::init()
{
    m_pLog = std::make_unique<LogCapture>();
    m_pDevice = std::make_shared<Device>(FirstModelId);
    m_pDevice->deviceConfig().InputSlotCount = 1;
    m_pDevice->deviceConfig().MaxConnectorCountOfSingleCard = 1;
    DeviceList::instance()->setEchoVideoRect(FirstModelId, 0, QRect(10, 10, 100, 50));
    m_pService = std::make_unique<PixmapReader>();
    m_pService->setServedDevice(m_pDevice);
    m_pService->inputVideoReadFinished();
}

void TestPixmapReaderTiles::cleanup()
{
    m_pService.reset();
    m_pLog.reset();
}

void TestPixmapReaderTiles::anyRunOfChangesLeavesWhatCuttingAnewLeaves()
{
    constexpr int PlayCount = 1000;
    constexpr int StepCount = 100;
    int nKept = 0;
    for (unsigned nSeed = 0; nSeed < PlayCount; ++nSeed) {
        Play play(nSeed);
        for (int nStep = 0; nStep < StepCount; ++nStep) {
            if (!play.step())
                QFAIL(qPrintable(QStringLiteral("play %1, step %2").arg(nSeed).arg(nStep)));
        }
        nKept += play.keptTiles();
    }
    // Otherwise the runs would not try what they are for.
    QVERIFY(nKept > PlayCount * StepCount / 10);
}

void TestPixmapReaderTiles::anUnchangedFrameLeavesThePictures()
{
    const qint64 nKey = m_pService->m_mapInputVideo.value(0).cacheKey();
    m_pService->inputVideoReadFinished();
    QCOMPARE(m_pService->m_mapInputVideo.value(0).cacheKey(), nKey);
    m_pService->m_image.setPixel(0, 0, 0);
    m_pService->inputVideoReadFinished();
    QVERIFY(m_pService->m_mapInputVideo.value(0).cacheKey() != nKey);
}

void TestPixmapReaderTiles::anUnchangedFrameIsStillAnnounced()
{
    QSignalSpy spy(m_pService.get(), &PixmapReader::inputVideoImageCopyFinished);
    m_pService->inputVideoReadFinished();
    m_pService->inputVideoReadFinished();
    QCOMPARE(spy.count(), 2);
}

void TestPixmapReaderTiles::aPictureThatIsHeldIsNotWrittenTo()
{
    const QImage held = m_pService->m_mapInputVideo.value(0);
    m_pService->m_image.fill(Qt::red);
    m_pService->inputVideoReadFinished();
    QCOMPARE(held.pixel(5, 5), qRgb(0, 0, 0));
    QCOMPARE(m_pService->m_mapInputVideo.value(0).pixel(5, 5), qRgb(255, 0, 0));
}

void TestPixmapReaderTiles::memoryThatNobodyHoldsIsUsedAgain()
{
    const auto pixels = [this] {
        return static_cast<const void *>(m_pService->m_mapInputVideo.constFind(0)->constBits());
    };
    const void *const pBefore = pixels();
    m_pService->m_image.fill(Qt::red);
    m_pService->inputVideoReadFinished();
    QCOMPARE(pixels(), pBefore);
    QCOMPARE(m_pService->m_mapInputVideo.value(0).pixel(5, 5), qRgb(255, 0, 0));
}

void TestPixmapReaderTiles::anotherDeviceHasItsInputsCutAnew()
{
    const qint64 nKey = m_pService->m_mapInputVideo.value(0).cacheKey();
    const auto pOther = std::make_shared<Device>(FirstModelId);
    pOther->deviceConfig() = m_pDevice->deviceConfig();
    m_pService->setServedDevice(pOther);
    m_pService->inputVideoReadFinished();
    QVERIFY(m_pService->m_mapInputVideo.value(0).cacheKey() != nKey);
}

QTEST_GUILESS_MAIN(TestPixmapReaderTiles)
#include "tst_pixmapreader_tiles.moc"
