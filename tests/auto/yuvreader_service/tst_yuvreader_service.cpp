// A YUV file as the service's source: pictures of the inputs, held by consumers while the reader
// writes the next frame into the same picture.

#include <pixmapreader.h>

#include "localreaderprobe.h"
#include "picturecompare.h"
#include "testdevice.h"
#include "testpictures.h"
#include "yuvpictures.h"

#include <device.h>
#include <input.h>

#include <QMutex>
#include <QMutexLocker>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>
#include <vector>

using namespace Morvek::Tests;
using Morvek::BizModel::Device;
using Morvek::BizModel::Input;
using Morvek::BizModel::s_EchoVideoConfig;
using Morvek::EchoVideo::PixmapReader;

namespace {

constexpr int LongWait = 60000; // ms; far more than anything here takes
constexpr int Columns = 2;
constexpr int Frames = 3;
constexpr int HeldPictures = 40;

/** A picture that a consumer took, and what it showed at that moment. */
struct sHeldPicture
{
    QImage m_picture;
    QRgb m_pixel = 0;
};

} // namespace

class TestYuvReaderService : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void everyInputShowsItsPartOfTheFrames();
    void heldPicturesStayAsTheyWere();
    void theNoSignalPictureFollowsAStop();

private:
    QImage picture(int nInput) const;
    int heldCount() const;

    QTemporaryDir m_folder;
    std::shared_ptr<Device> m_pDevice;
    std::unique_ptr<ActiveDevice> m_pActive;
    std::vector<std::shared_ptr<Input>> m_inputs;
    mutable QMutex m_mtxHeld;
    std::vector<sHeldPicture> m_held; // guarded by m_mtxHeld
};

void TestYuvReaderService::initTestCase()
{
    QVERIFY(m_folder.isValid());
    QVERIFY(writeYuvFile(m_folder.filePath(QStringLiteral("echo.yuv")), Frames));
    for (int i = 0; i < Columns * Columns; ++i)
        m_inputs.push_back(std::make_shared<Input>(quint8(i)));
}

void TestYuvReaderService::init()
{
    m_pDevice = makeDevice(s_EchoVideoConfig::LocalFile, Columns);
    m_pDevice->deviceConfig().EchoVideoCfg.FPS = 50;
    m_pDevice->deviceConfig().EchoVideoCfg.VideoSourcePath =
        m_folder.filePath(QStringLiteral("echo.yuv"));
    m_pActive = std::make_unique<ActiveDevice>(m_pDevice);
}

void TestYuvReaderService::cleanup()
{
    PixmapReader::instance()->stopRead();
    PixmapReader::instance()->disconnect(this);
    m_pActive.reset();
    m_held.clear();
}

QImage TestYuvReaderService::picture(int nInput) const
{
    QImage result;
    PixmapReader::instance()->getInputVideoFrame(m_inputs[size_t(nInput)], result, false);
    return result;
}

int TestYuvReaderService::heldCount() const
{
    QMutexLocker locker(&m_mtxHeld);
    return int(m_held.size());
}

void TestYuvReaderService::everyInputShowsItsPartOfTheFrames()
{
    PixmapReader::instance()->restartRead();
    for (int nFrame = 0; nFrame < Frames; ++nFrame) {
        const QRgb pixel = yuvPixel(yuvColor(nFrame));
        for (int i = 0; i < Columns * Columns; ++i) {
            QTRY_VERIFY_WITH_TIMEOUT(picture(i).pixel(0, 0) == pixel, LongWait);
            const QImage shown = picture(i); // perhaps of a later frame already
            QCOMPARE(shown.size(), gridRect(Columns, i).size());
            QVERIFY(isUniform(shown));
        }
    }
}

void TestYuvReaderService::heldPicturesStayAsTheyWere()
{
    // On the reader's thread, between one frame and the next.
    connect(
        PixmapReader::instance(), &PixmapReader::inputVideoImageCopyFinished, this,
        [this] {
            const QImage taken = picture(heldCount() % (Columns * Columns));
            QMutexLocker locker(&m_mtxHeld);
            m_held.push_back({taken, taken.pixel(5, 5)});
        },
        Qt::DirectConnection);
    PixmapReader::instance()->restartRead();
    QTRY_VERIFY_WITH_TIMEOUT(heldCount() >= HeldPictures, LongWait);
    PixmapReader::instance()->stopRead();

    for (int i = 0; i < HeldPictures; ++i) {
        const sHeldPicture &held = m_held[size_t(i)];
        QCOMPARE(held.m_pixel, yuvPixel(yuvColor(i % Frames)));
        QCOMPARE(held.m_picture.pixel(5, 5), held.m_pixel);
        QVERIFY(isUniform(held.m_picture));
    }
}

void TestYuvReaderService::theNoSignalPictureFollowsAStop()
{
    PixmapReader::instance()->restartRead();
    QTRY_VERIFY_WITH_TIMEOUT(picture(3).pixel(0, 0) == yuvPixel(yuvColor(1)), LongWait);
    PixmapReader::instance()->stopRead();
    for (int i = 0; i < Columns * Columns; ++i) {
        QCOMPARE(picture(i).format(), QImage::Format_ARGB32);
        COMPARE_PICTURES(picture(i), solidPicture(gridRect(Columns, i).size(), Qt::black));
    }
}

QTEST_GUILESS_MAIN(TestYuvReaderService)
#include "tst_yuvreader_service.moc"
