// The input video service as it is made, and how it cuts the inputs out of an echo picture.

#include <pixmapreader.h>

#include "logcapture.h"
#include "picturecompare.h"
#include "testdevice.h"
#include "testpictures.h"

#include <devicelist.h>
#include <pixmapreader_p.h>

#include <QMetaType>
#include <QSignalSpy>
#include <QThread>
#include <QtTest>

#include <memory>
#include <type_traits>
#include <vector>

using namespace Morvek::Tests;
using Morvek::BizModel::Device;
using Morvek::BizModel::DeviceList;
using Morvek::EchoVideo::PixmapReader;

static_assert(std::is_base_of_v<QObject, PixmapReader>);
static_assert(!std::is_copy_constructible_v<PixmapReader>);

namespace {

constexpr quint16 ColumnModelId = 6000;     // input i shows pixel column i
constexpr quint16 SingleRectModelId = 6001; // one input, its rectangle set by each test

QRgb columnColor(int x)
{
    return qRgb(x, 255 - x, x / 2);
}

QImage columnPicture()
{
    QImage picture(256, 2, QImage::Format_RGB32);
    for (int y = 0; y < 2; ++y) {
        for (int x = 0; x < 256; ++x)
            picture.setPixel(x, y, columnColor(x));
    }
    return picture;
}

} // namespace

class TestPixmapReader : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void thereIsOneService();
    void aNewServiceIsIdle();
    void theHostRegistersNothing_data();
    void theHostRegistersNothing();

    void inputNumbersFollowFromTheSlots_data();
    void inputNumbersFollowFromTheSlots();
    void eachInputIsCutAtItsRectangle_data();
    void eachInputIsCutAtItsRectangle();
    void aRectangleOutsideGivesWhatACopyGives();
    void picturesKeepThePixelFormat_data();
    void picturesKeepThePixelFormat();
    void picturesAreDeepCopies_data();
    void picturesAreDeepCopies();
    void entriesAreOverwrittenAndNeverRemoved();
    void slotsAreReadAtEachCut();
    void theSignalComesAfterEachCutOnItsThread();
    void aCutWaitsForThoseWhoRead();
    void noLockIsHeldDuringTheSignal();
    void withoutADeviceNothingIsCut();

private:
    void setSingleRect(const QRect &rect);

    std::unique_ptr<LogCapture> m_pLog;
    std::shared_ptr<Device> m_pDevice;
    std::unique_ptr<PixmapReader> m_pService;
    std::unique_ptr<ActiveDevice> m_pActive;
};

void TestPixmapReader::initTestCase()
{
    for (int i = 0; i < 256; ++i)
        DeviceList::instance()->setEchoVideoRect(ColumnModelId, quint8(i), QRect(i, 0, 1, 2));
}

void TestPixmapReader::init()
{
    m_pLog = std::make_unique<LogCapture>();
    m_pDevice = std::make_shared<Device>(ColumnModelId);
    m_pDevice->deviceConfig().InputSlotCount = 1;
    m_pDevice->deviceConfig().MaxConnectorCountOfSingleCard = 1;
    m_pActive = std::make_unique<ActiveDevice>(m_pDevice);
    m_pService = std::make_unique<PixmapReader>();
    m_pService->setServedDevice(m_pDevice);
}

void TestPixmapReader::cleanup()
{
    m_pService.reset();
    m_pActive.reset();
    m_pLog.reset();
}

// A device of one input with this rectangle.
void TestPixmapReader::setSingleRect(const QRect &rect)
{
    m_pDevice = std::make_shared<Device>(SingleRectModelId);
    m_pDevice->deviceConfig().InputSlotCount = 1;
    m_pDevice->deviceConfig().MaxConnectorCountOfSingleCard = 1;
    DeviceList::instance()->setEchoVideoRect(SingleRectModelId, 0, rect);
    m_pService->setServedDevice(m_pDevice);
}

void TestPixmapReader::thereIsOneService()
{
    PixmapReader *const pService = PixmapReader::instance();
    QVERIFY(pService);
    QCOMPARE(pService->thread(), QThread::currentThread());
    PixmapReader *found[4] = {};
    std::vector<std::unique_ptr<QThread>> threads;
    for (PixmapReader *&pFound : found) {
        threads.emplace_back(QThread::create([&pFound] { pFound = PixmapReader::instance(); }));
        threads.back()->start();
    }
    for (const auto &pThread : threads)
        pThread->wait();
    for (PixmapReader *pFound : found)
        QCOMPARE(pFound, pService);
}

void TestPixmapReader::aNewServiceIsIdle()
{
    PixmapReader service;
    QVERIFY(!service.parent());
    QCOMPARE(service.m_image.format(), QImage::Format_RGB32);
    COMPARE_PICTURES(service.m_image, solidPicture(QSize(1920, 1080), Qt::black));
    QVERIFY(!service.m_pPixmapReader);
    QVERIFY(service.m_mapInputVideo.isEmpty());
    QVERIFY(service.m_pActivedDevice.expired());
    QVERIFY(!service.m_isAllowStartInputVideoReadTask);
    QVERIFY(service.m_defaultImage.isNull());
}

void TestPixmapReader::theHostRegistersNothing_data()
{
    QTest::addColumn<QByteArray>("name");
    const char *const names[] = {
        "sLayerUniqueIdentifies",
        "Morvek::EchoVideo::sLayerUniqueIdentifies",
        "Morvek::ProtoModel::s_ScreenLayerId",
        "std::weak_ptr<Morvek::BizModel::Device>",
        "std::weak_ptr<Morvek::BizModel::Screen>",
        "std::shared_ptr<Morvek::BizModel::Screen>",
        "std::shared_ptr<Morvek::BizModel::Layer>",
    };
    for (const char *pName : names)
        QTest::newRow(pName) << QByteArray(pName);
}

void TestPixmapReader::theHostRegistersNothing()
{
    QFETCH(QByteArray, name);
    QVERIFY(QMetaType::type(name) != QMetaType::UnknownType);
}

void TestPixmapReader::inputNumbersFollowFromTheSlots_data()
{
    QTest::addColumn<int>("nStartSlot");
    QTest::addColumn<int>("nSlots");
    QTest::addColumn<int>("nConnectors");
    QTest::addColumn<int>("nFirst");
    QTest::addColumn<int>("nCount");
    QTest::newRow("first card") << 0 << 1 << 4 << 0 << 4;
    QTest::newRow("third and fourth card") << 2 << 2 << 4 << 8 << 8;
    QTest::newRow("no slot") << 3 << 0 << 4 << 12 << 0;
    QTest::newRow("no connector") << 3 << 2 << 0 << 0 << 0;
    QTest::newRow("first number wraps at 256") << 40 << 1 << 8 << 64 << 8;
    QTest::newRow("count wraps at 256") << 0 << 17 << 16 << 0 << 16;
    QTest::newRow("count of 256 is none") << 0 << 16 << 16 << 0 << 0;
    QTest::newRow("largest count") << 0 << 51 << 5 << 0 << 255;
    QTest::newRow("numbers above 255 do not wrap") << 50 << 2 << 5 << 250 << 10;
}

void TestPixmapReader::inputNumbersFollowFromTheSlots()
{
    QFETCH(int, nStartSlot);
    QFETCH(int, nSlots);
    QFETCH(int, nConnectors);
    QFETCH(int, nFirst);
    QFETCH(int, nCount);
    auto &cfg = m_pDevice->deviceConfig();
    cfg.InputSlotStartIndex = quint8(nStartSlot);
    cfg.InputSlotCount = quint8(nSlots);
    cfg.MaxConnectorCountOfSingleCard = quint8(nConnectors);
    const QSignalSpy finished(m_pService.get(), &PixmapReader::inputVideoImageCopyFinished);

    m_pService->m_image = columnPicture();
    m_pService->inputVideoReadFinished();

    QCOMPARE(finished.count(), 1);
    QCOMPARE(m_pService->m_mapInputVideo.size(), nCount);
    for (int i = 0; i < nCount; ++i) {
        const QImage picture = m_pService->m_mapInputVideo.value(unsigned(nFirst + i));
        QCOMPARE(picture.size(), QSize(1, 2));
        QCOMPARE(picture.pixel(0, 0), columnColor(i));
    }
}

void TestPixmapReader::eachInputIsCutAtItsRectangle_data()
{
    QTest::addColumn<QRect>("rect");
    QTest::newRow("inside") << QRect(3, 4, 5, 6);
    QTest::newRow("one pixel") << QRect(15, 11, 1, 1);
    QTest::newRow("whole picture") << QRect(0, 0, 16, 12);
    QTest::newRow("left edge") << QRect(0, 2, 1, 10);
}

void TestPixmapReader::eachInputIsCutAtItsRectangle()
{
    QFETCH(QRect, rect);
    setSingleRect(rect);
    const QImage echo = gradientPicture(QSize(16, 12));
    m_pService->m_image = echo;
    m_pService->inputVideoReadFinished();

    QImage expected(rect.size(), QImage::Format_RGB32);
    for (int y = 0; y < rect.height(); ++y) {
        for (int x = 0; x < rect.width(); ++x)
            expected.setPixel(x, y, echo.pixel(rect.x() + x, rect.y() + y));
    }
    COMPARE_PICTURES(m_pService->m_mapInputVideo.value(0), expected);
}

void TestPixmapReader::aRectangleOutsideGivesWhatACopyGives()
{
    const QRect rects[] = {QRect(10, 8, 20, 20), QRect(-3, -3, 6, 6), QRect(100, 100, 4, 4),
                           QRect()};
    for (const QRect &rect : rects) {
        setSingleRect(rect);
        m_pService->m_image = gradientPicture(QSize(16, 12));
        m_pService->inputVideoReadFinished();
        COMPARE_PICTURES(m_pService->m_mapInputVideo.value(0), m_pService->m_image.copy(rect));
    }
}

void TestPixmapReader::picturesKeepThePixelFormat_data()
{
    QTest::addColumn<QImage::Format>("format");
    QTest::newRow("RGB32") << QImage::Format_RGB32;
    QTest::newRow("ARGB32") << QImage::Format_ARGB32;
    QTest::newRow("RGB888") << QImage::Format_RGB888;
    QTest::newRow("premultiplied") << QImage::Format_ARGB32_Premultiplied;
}

void TestPixmapReader::picturesKeepThePixelFormat()
{
    QFETCH(QImage::Format, format);
    m_pService->m_image = columnPicture().convertToFormat(format);
    m_pService->inputVideoReadFinished();
    QCOMPARE(m_pService->m_mapInputVideo.value(0).format(), format);
    QCOMPARE(m_pService->m_mapInputVideo.value(0).pixel(0, 0), columnColor(0));
}

void TestPixmapReader::picturesAreDeepCopies_data()
{
    QTest::addColumn<QRect>("rect");
    QTest::newRow("part of the picture") << QRect(1, 1, 3, 3);
    QTest::newRow("whole picture") << QRect(0, 0, 8, 8);
    QTest::newRow("null rectangle") << QRect();
}

// A reader may write its next picture into the same pixels, without asking who shares them.
void TestPixmapReader::picturesAreDeepCopies()
{
    QFETCH(QRect, rect);
    setSingleRect(rect);
    m_pService->m_image = solidPicture(QSize(8, 8), Qt::red);
    m_pService->inputVideoReadFinished();
    uchar *const pBits = const_cast<uchar *>(m_pService->m_image.constBits());
    std::fill_n(pBits, m_pService->m_image.sizeInBytes(), uchar(0));

    const QSize size = rect.isNull() ? QSize(8, 8) : rect.size();
    COMPARE_PICTURES(m_pService->m_mapInputVideo.value(0), solidPicture(size, Qt::red));
}

void TestPixmapReader::entriesAreOverwrittenAndNeverRemoved()
{
    m_pDevice->deviceConfig().InputSlotCount = 3;
    m_pService->m_image = columnPicture();
    m_pService->inputVideoReadFinished();
    const QImage kept = m_pService->m_mapInputVideo.value(0);

    m_pDevice->deviceConfig().InputSlotCount = 2;
    m_pService->m_image.fill(Qt::blue);
    m_pService->inputVideoReadFinished();
    QCOMPARE(m_pService->m_mapInputVideo.keys(), (QList<unsigned>{0, 1, 2}));
    QCOMPARE(m_pService->m_mapInputVideo.value(0).pixelColor(0, 0), QColor(Qt::blue));
    QCOMPARE(m_pService->m_mapInputVideo.value(1).pixelColor(0, 0), QColor(Qt::blue));
    QCOMPARE(m_pService->m_mapInputVideo.value(2).pixel(0, 0), columnColor(2));
    QCOMPARE(kept.pixel(0, 0), columnColor(0));
}

void TestPixmapReader::slotsAreReadAtEachCut()
{
    m_pService->m_image = columnPicture();
    m_pService->inputVideoReadFinished();
    QCOMPARE(m_pService->m_mapInputVideo.keys(), (QList<unsigned>{0}));
    m_pDevice->deviceConfig().InputSlotStartIndex = 7;
    m_pService->inputVideoReadFinished();
    QCOMPARE(m_pService->m_mapInputVideo.keys(), (QList<unsigned>{0, 7}));
}

void TestPixmapReader::theSignalComesAfterEachCutOnItsThread()
{
    QList<QThread *> threads;
    QList<int> entries;
    connect(
        m_pService.get(), &PixmapReader::inputVideoImageCopyFinished, m_pService.get(),
        [&] {
            threads.append(QThread::currentThread());
            entries.append(m_pService->m_mapInputVideo.size());
        },
        Qt::DirectConnection);
    const std::unique_ptr<QThread> pReader(
        QThread::create([this] { m_pService->inputVideoReadFinished(); }));
    pReader->start();
    QVERIFY(pReader->wait(30000));
    QCOMPARE(threads, QList<QThread *>{pReader.get()});
    QCOMPARE(entries, QList<int>{1});
    m_pService->inputVideoReadFinished();
    QCOMPARE(threads.size(), 2);
    QCOMPARE(threads.last(), QThread::currentThread());
}

void TestPixmapReader::aCutWaitsForThoseWhoRead()
{
    const std::unique_ptr<QThread> pReader(
        QThread::create([this] { m_pService->inputVideoReadFinished(); }));
    m_pService->m_mtxMapInputVideo.lockForRead();
    pReader->start();
    const bool isEarly = pReader->wait(50);
    const int nEntries = m_pService->m_mapInputVideo.size();
    m_pService->m_mtxMapInputVideo.unlock();
    QVERIFY(pReader->wait(30000));
    QVERIFY(!isEarly);
    QCOMPARE(nEntries, 0);
    QCOMPARE(m_pService->m_mapInputVideo.size(), 1);
}

void TestPixmapReader::noLockIsHeldDuringTheSignal()
{
    bool isFree = false;
    connect(m_pService.get(), &PixmapReader::inputVideoImageCopyFinished, m_pService.get(), [&] {
        isFree = m_pService->m_mtxMapInputVideo.tryLockForWrite();
        if (isFree)
            m_pService->m_mtxMapInputVideo.unlock();
    });
    m_pService->inputVideoReadFinished();
    QVERIFY(isFree);
}

void TestPixmapReader::withoutADeviceNothingIsCut()
{
    const QSignalSpy finished(m_pService.get(), &PixmapReader::inputVideoImageCopyFinished);
    m_pService->setServedDevice({});
    m_pService->inputVideoReadFinished();
    m_pService->setServedDevice(std::make_shared<Device>(ColumnModelId));
    m_pService->inputVideoReadFinished();
    QCOMPARE(finished.count(), 0);
    QVERIFY(m_pService->m_mapInputVideo.isEmpty());
}

QTEST_GUILESS_MAIN(TestPixmapReader)
#include "tst_pixmapreader.moc"
