// What the input video service hands out for an input, and the picture for an offline device.

#include <pixmapreader.h>

#include "logcapture.h"
#include "picturecompare.h"
#include "testdevice.h"
#include "testpictures.h"

#include <devicelist.h>
#include <input.h>
#include <pixmapreader_p.h>

#include <QFile>
#include <QTemporaryDir>
#include <QThread>
#include <QtTest>

#include <atomic>
#include <functional>
#include <memory>
#include <vector>

using namespace Morvek::Tests;
using Morvek::BizModel::Device;
using Morvek::BizModel::Input;
using Morvek::BizModel::s_EchoVideoConfig;
using Morvek::EchoVideo::PixmapReader;

namespace {

constexpr quint8 InputId = 3;
const QColor PictureColor(10, 200, 30);
const QColor DefaultColor(200, 10, 30);
const QColor InvalidColor(23, 24, 26);

enum eShown { Invalid, NoSignal, Default, Picture };

QImage placeholder(const QColor &color)
{
    return solidPicture(QSize(2, 2), color);
}

/** How a test takes and releases one of the service's locks. */
struct LockAccess
{
    std::function<void(PixmapReader &)> m_take;
    std::function<void(PixmapReader &)> m_release;
};

/** Whether all pixels of a picture have one of these colours, the same one. */
bool isOneOf(const QImage &picture, const QList<QColor> &colors)
{
    const QRgb first = picture.pixel(0, 0);
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            if (picture.pixel(x, y) != first)
                return false;
        }
    }
    return colors.contains(QColor(first));
}

} // namespace

Q_DECLARE_METATYPE(eShown)
Q_DECLARE_METATYPE(LockAccess)

class TestPixmapReaderServe : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void theFirstStepThatAppliesDecides_data();
    void theFirstStepThatAppliesDecides();
    void inputsAndDevicesThatAreGoneCannotBeShown();
    void beforeTheFirstPictureAnInputCannotBeShown();
    void numbersAbove255AreNeverFound();
    void storedPicturesAreSharedNotCopied();
    void aPictureOutlivesTheNextCut();
    void theInputIsAskedEachTime();

    void theDefaultImageIsNullAtFirst();
    void theDefaultImageIsTheSameForEveryName();
    void theDefaultImageIsRecognisedByItsContents_data();
    void theDefaultImageIsRecognisedByItsContents();
    void anUnreadableFileGivesANullImage_data();
    void anUnreadableFileGivesANullImage();

    void whatOthersChangeIsReadUnderItsLock_data();
    void whatOthersChangeIsReadUnderItsLock();
    void picturesStayWholeWhileEverythingChanges();

private:
    QString filePath(const QString &strName) const { return m_folder.filePath(strName); }

    std::unique_ptr<LogCapture> m_pLog;
    QTemporaryDir m_folder;
    std::shared_ptr<Device> m_pDevice;
    std::shared_ptr<Input> m_pInput;
    std::unique_ptr<PixmapReader> m_pService;
};

void TestPixmapReaderServe::initTestCase()
{
    QVERIFY(solidPicture(QSize(5, 5), DefaultColor).save(filePath("default.png")));
    QVERIFY(solidPicture(QSize(5, 5), Qt::white).save(filePath("other.png")));
}

void TestPixmapReaderServe::init()
{
    m_pLog = std::make_unique<LogCapture>();
    m_pDevice = makeDevice(s_EchoVideoConfig::RemoteTCP);
    m_pDevice->setOnlineFlag(true);
    m_pInput = std::make_shared<Input>(InputId);
    m_pService = std::make_unique<PixmapReader>();
    m_pService->setServedDevice(m_pDevice);
}

void TestPixmapReaderServe::cleanup()
{
    m_pService.reset();
    m_pLog.reset();
}

void TestPixmapReaderServe::theFirstStepThatAppliesDecides_data()
{
    QTest::addColumn<bool>("isOnline");
    QTest::addColumn<bool>("isShowImage");
    QTest::addColumn<bool>("isActive");
    QTest::addColumn<bool>("isOverLoad");
    QTest::addColumn<bool>("hasSource");
    QTest::addColumn<bool>("hasPicture");
    QTest::addColumn<eShown>("eExpected");
    QTest::addColumn<bool>("isExpectedKnown");

    const bool yes = true;
    const bool no = false;
    //                                     online show active over source picture
    QTest::newRow("offline, with image") << no << yes << yes << no << yes << yes << Default << yes;
    QTest::newRow("offline, no image") << no << no << yes << no << yes << yes << NoSignal << yes;
    QTest::newRow("inactive") << yes << yes << no << no << yes << yes << NoSignal << yes;
    QTest::newRow("overloaded") << yes << no << yes << yes << yes << yes << NoSignal << yes;
    QTest::newRow("no source") << yes << yes << yes << no << no << yes << NoSignal << yes;
    QTest::newRow("picture") << yes << no << yes << no << yes << yes << Picture << yes;
    QTest::newRow("picture, image asked")
        << yes << yes << yes << no << yes << yes << Picture << yes;
    QTest::newRow("no picture yet") << yes << yes << yes << no << yes << no << Invalid << no;
    // Two reasons at once: the earlier step decides.
    QTest::newRow("offline before inactive")
        << no << yes << no << yes << no << no << Default << yes;
    QTest::newRow("offline before missing")
        << no << no << yes << no << yes << no << NoSignal << yes;
    QTest::newRow("inactive before missing")
        << yes << yes << no << no << yes << no << NoSignal << yes;
    QTest::newRow("overload before missing")
        << yes << no << yes << yes << yes << no << NoSignal << yes;
    QTest::newRow("no source before missing")
        << yes << no << yes << no << no << no << NoSignal << yes;
}

void TestPixmapReaderServe::theFirstStepThatAppliesDecides()
{
    QFETCH(bool, isOnline);
    QFETCH(bool, isShowImage);
    QFETCH(bool, isActive);
    QFETCH(bool, isOverLoad);
    QFETCH(bool, hasSource);
    QFETCH(bool, hasPicture);
    QFETCH(eShown, eExpected);
    m_pDevice->setOnlineFlag(isOnline);
    m_pInput->setActive(isActive);
    m_pInput->setOverLoad(isOverLoad);
    if (!hasSource)
        m_pDevice->deviceConfig().EchoVideoCfg.ECVideoSourceType = s_EchoVideoConfig::Invalid;
    if (hasPicture)
        m_pService->m_mapInputVideo[InputId] = solidPicture(QSize(7, 3), PictureColor);
    m_pService->loadDefaultImage(filePath("default.png"));

    QImage videoFrame = solidPicture(QSize(4, 4), Qt::magenta);
    QTEST(m_pService->getInputVideoFrame(m_pInput, videoFrame, isShowImage), "isExpectedKnown");
    switch (eExpected) {
    case Invalid:
        QCOMPARE(videoFrame.format(), QImage::Format_ARGB32);
        COMPARE_PICTURES(videoFrame, placeholder(InvalidColor));
        break;
    case NoSignal:
        QCOMPARE(videoFrame.format(), QImage::Format_ARGB32);
        COMPARE_PICTURES(videoFrame, placeholder(Qt::black));
        break;
    case Default:
        COMPARE_PICTURES(videoFrame, solidPicture(QSize(5, 5), DefaultColor));
        break;
    case Picture:
        COMPARE_PICTURES(videoFrame, solidPicture(QSize(7, 3), PictureColor));
        break;
    }
}

void TestPixmapReaderServe::inputsAndDevicesThatAreGoneCannotBeShown()
{
    m_pService->m_mapInputVideo[InputId] = solidPicture(QSize(7, 3), PictureColor);
    m_pService->loadDefaultImage(filePath("default.png"));
    QImage videoFrame;
    QVERIFY(!m_pService->getInputVideoFrame({}, videoFrame, true));
    COMPARE_PICTURES(videoFrame, placeholder(InvalidColor));

    const std::weak_ptr<Input> wGone = std::make_shared<Input>(InputId);
    videoFrame = QImage();
    QVERIFY(!m_pService->getInputVideoFrame(wGone, videoFrame, false));
    COMPARE_PICTURES(videoFrame, placeholder(InvalidColor));

    m_pDevice->setOnlineFlag(false);
    m_pDevice.reset();
    videoFrame = QImage();
    QVERIFY(!m_pService->getInputVideoFrame(m_pInput, videoFrame, true));
    QCOMPARE(videoFrame.format(), QImage::Format_ARGB32);
    COMPARE_PICTURES(videoFrame, placeholder(InvalidColor));
}

void TestPixmapReaderServe::beforeTheFirstPictureAnInputCannotBeShown()
{
    const ActiveDevice active(m_pDevice);
    PixmapReader service;
    service.slotActivedDeviceChanged();
    QImage videoFrame;
    QVERIFY(!service.getInputVideoFrame(m_pInput, videoFrame, true));
    COMPARE_PICTURES(videoFrame, placeholder(InvalidColor));
}

void TestPixmapReaderServe::numbersAbove255AreNeverFound()
{
    m_pService->m_mapInputVideo[256 + InputId] = solidPicture(QSize(7, 3), PictureColor);
    QImage videoFrame;
    QVERIFY(!m_pService->getInputVideoFrame(m_pInput, videoFrame, false));
    COMPARE_PICTURES(videoFrame, placeholder(InvalidColor));
}

void TestPixmapReaderServe::storedPicturesAreSharedNotCopied()
{
    m_pService->m_mapInputVideo[InputId] = solidPicture(QSize(7, 3), PictureColor);
    QImage videoFrame;
    QVERIFY(m_pService->getInputVideoFrame(m_pInput, videoFrame, false));
    QCOMPARE(videoFrame.constBits(),
             std::as_const(m_pService->m_mapInputVideo)[InputId].constBits());
}

void TestPixmapReaderServe::aPictureOutlivesTheNextCut()
{
    m_pService->m_image.fill(PictureColor);
    m_pService->inputVideoReadFinished();
    QImage videoFrame;
    QVERIFY(m_pService->getInputVideoFrame(m_pInput, videoFrame, false));
    m_pService->m_image.fill(Qt::blue);
    m_pService->inputVideoReadFinished();
    COMPARE_PICTURES(videoFrame, solidPicture(QSize(960, 540), PictureColor));
    QVERIFY(m_pService->getInputVideoFrame(m_pInput, videoFrame, false));
    COMPARE_PICTURES(videoFrame, solidPicture(QSize(960, 540), Qt::blue));
}

void TestPixmapReaderServe::theInputIsAskedEachTime()
{
    m_pService->m_mapInputVideo[1] = solidPicture(QSize(1, 1), Qt::red);
    m_pService->m_mapInputVideo[255] = solidPicture(QSize(1, 1), Qt::green);
    QImage videoFrame;
    m_pInput->setEchoVideoId(1);
    QVERIFY(m_pService->getInputVideoFrame(m_pInput, videoFrame, false));
    QCOMPARE(videoFrame.pixelColor(0, 0), QColor(Qt::red));
    m_pInput->setEchoVideoId(255);
    QVERIFY(m_pService->getInputVideoFrame(m_pInput, videoFrame, false));
    QCOMPARE(videoFrame.pixelColor(0, 0), QColor(Qt::green));
}

void TestPixmapReaderServe::theDefaultImageIsNullAtFirst()
{
    QVERIFY(m_pService->defaultImage(QStringLiteral("any")).isNull());
    m_pDevice->setOnlineFlag(false);
    QImage videoFrame = solidPicture(QSize(1, 1), Qt::red);
    QVERIFY(m_pService->getInputVideoFrame(m_pInput, videoFrame, true));
    QVERIFY(videoFrame.isNull());
}

void TestPixmapReaderServe::theDefaultImageIsTheSameForEveryName()
{
    m_pService->loadDefaultImage(filePath("default.png"));
    const QImage &image = m_pService->defaultImage(QStringLiteral("first"));
    COMPARE_PICTURES(image, solidPicture(QSize(5, 5), DefaultColor));
    QCOMPARE(&m_pService->defaultImage(QString()), &image);
    QCOMPARE(&m_pService->defaultImage(QStringLiteral("second")), &image);
    m_pService->loadDefaultImage(filePath("other.png"));
    COMPARE_PICTURES(image, solidPicture(QSize(5, 5), Qt::white));
}

void TestPixmapReaderServe::theDefaultImageIsRecognisedByItsContents_data()
{
    QTest::addColumn<QString>("strName");
    QTest::addColumn<QByteArray>("baFormat");
    QTest::newRow("its own suffix") << "image.png" << QByteArray("PNG");
    QTest::newRow("no suffix") << "image" << QByteArray("PNG");
    QTest::newRow("unknown suffix") << "image.dat" << QByteArray("BMP");
    QTest::newRow("PNG with a JPEG suffix") << "image.jpg" << QByteArray("PNG");
    QTest::newRow("BMP with a PNG suffix") << "image.png" << QByteArray("BMP");
    QTest::newRow("PNG with a BMP suffix") << "image.bmp" << QByteArray("PNG");
    QTest::newRow("JPEG with a PNG suffix") << "image.png" << QByteArray("JPG");
    QTest::newRow("JPEG with a BMP suffix") << "image.bmp" << QByteArray("JPG");
}

void TestPixmapReaderServe::theDefaultImageIsRecognisedByItsContents()
{
    QFETCH(QString, strName);
    QFETCH(QByteArray, baFormat);
    const QImage picture = solidPicture(QSize(4, 3), DefaultColor);
    QVERIFY(picture.save(filePath(strName), baFormat.constData(), 100));
    m_pService->loadDefaultImage(filePath(strName));
    constexpr int LossOfJpeg = 4;
    const QString strDifference =
        pictureDifference(m_pService->defaultImage(QString()), picture, LossOfJpeg);
    QVERIFY2(strDifference.isEmpty(), qPrintable(strDifference));
}

void TestPixmapReaderServe::anUnreadableFileGivesANullImage_data()
{
    QTest::addColumn<QString>("strName");
    QTest::newRow("missing file") << "missing.png";
    QTest::newRow("no picture") << "text.png";
    QTest::newRow("empty file") << "empty.png";
    QTest::newRow("folder") << ".";
    QTest::newRow("no name") << "";
}

void TestPixmapReaderServe::anUnreadableFileGivesANullImage()
{
    QFETCH(QString, strName);
    QFile text(filePath("text.png"));
    QVERIFY(text.open(QIODevice::WriteOnly) && text.write("no picture") > 0);
    text.close();
    QFile empty(filePath("empty.png"));
    QVERIFY(empty.open(QIODevice::WriteOnly));
    empty.close();
    m_pService->loadDefaultImage(filePath("default.png"));
    m_pService->loadDefaultImage(strName.isEmpty() ? QString() : filePath(strName));
    QVERIFY(m_pService->defaultImage(QString()).isNull());
}

void TestPixmapReaderServe::whatOthersChangeIsReadUnderItsLock_data()
{
    QTest::addColumn<bool>("isOnline");
    QTest::addColumn<LockAccess>("lockAccess");
    QTest::newRow("pictures")
        << true
        << LockAccess{[](PixmapReader &service) { service.m_mtxMapInputVideo.lockForWrite(); },
                      [](PixmapReader &service) { service.m_mtxMapInputVideo.unlock(); }};
    QTest::newRow("served device")
        << true
        << LockAccess{[](PixmapReader &service) { service.m_mtxActivedDevice.lock(); },
                      [](PixmapReader &service) { service.m_mtxActivedDevice.unlock(); }};
    QTest::newRow("default image")
        << false
        << LockAccess{[](PixmapReader &service) { service.m_mtxDefaultImage.lock(); },
                      [](PixmapReader &service) { service.m_mtxDefaultImage.unlock(); }};
}

void TestPixmapReaderServe::whatOthersChangeIsReadUnderItsLock()
{
    QFETCH(bool, isOnline);
    QFETCH(LockAccess, lockAccess);
    m_pDevice->setOnlineFlag(isOnline);
    QImage videoFrame;
    const std::unique_ptr<QThread> pRenderer(
        QThread::create([&] { m_pService->getInputVideoFrame(m_pInput, videoFrame, true); }));
    lockAccess.m_take(*m_pService);
    pRenderer->start();
    const bool isEarly = pRenderer->wait(50);
    lockAccess.m_release(*m_pService);
    QVERIFY(pRenderer->wait(30000));
    QVERIFY(!isEarly);
}

// Every thread that may touch the service at work: the reader's, renderers, and the owner's.
void TestPixmapReaderServe::picturesStayWholeWhileEverythingChanges()
{
    constexpr int FramesWanted = 3000;
    const auto pOther = makeDevice(s_EchoVideoConfig::RemoteTCP);
    pOther->setOnlineFlag(true);
    const QList<QColor> colors{Qt::black, Qt::white,    PictureColor,
                               Qt::blue,  DefaultColor, InvalidColor};
    m_pService->m_image = QImage(64, 64, QImage::Format_RGB32);
    for (int i = 0; i < 4; ++i)
        Morvek::BizModel::DeviceList::instance()->setEchoVideoRect(TestModelId, quint8(i),
                                                                   QRect(i, i, 32, 32));
    std::atomic_bool isOver{false};
    std::atomic_int nBad{0};
    std::atomic_int nFrames{0};
    const auto fetch = [&] {
        QImage videoFrame;
        while (!isOver) {
            const bool isKnown = m_pService->getInputVideoFrame(m_pInput, videoFrame, true);
            const bool isGood = isOneOf(videoFrame, colors)
                             && isKnown == (videoFrame.pixelColor(0, 0) != InvalidColor);
            nBad += !isGood;
            ++nFrames;
        }
    };
    const auto cut = [&] {
        for (int i = 0; !isOver; ++i) {
            m_pService->m_image.fill(i % 2 ? PictureColor : QColor(Qt::blue));
            m_pService->inputVideoReadFinished();
        }
    };
    m_pService->loadDefaultImage(filePath("default.png"));
    std::vector<std::unique_ptr<QThread>> threads;
    threads.emplace_back(QThread::create(cut));
    threads.emplace_back(QThread::create(fetch));
    threads.emplace_back(QThread::create(fetch));
    for (const auto &pThread : threads)
        pThread->start();
    for (int i = 0; nFrames < FramesWanted; ++i) {
        m_pService->setServedDevice(i % 3 ? (i % 3 == 1 ? m_pDevice : pOther) : nullptr);
        m_pDevice->setOnlineFlag(i % 2);
        m_pService->loadDefaultImage(filePath(i % 2 ? "default.png" : "other.png"));
    }
    isOver = true;
    for (const auto &pThread : threads)
        pThread->wait();
    QCOMPARE(nBad.load(), 0);
    QVERIFY(nFrames >= FramesWanted);
}

QTEST_GUILESS_MAIN(TestPixmapReaderServe)
#include "tst_pixmapreader_serve.moc"
