// A host that defines the capture's two functions itself: the shared library calls the host's.

#include <pixmapreader.h>

#include "capturedouble.h"
#include "picturecompare.h"
#include "testdevice.h"
#include "testpictures.h"

#include <device.h>
#include <input.h>

#include <QtTest>

#include <cstring>
#include <memory>

using namespace Morvek::Tests;
using Morvek::BizModel::Input;
using Morvek::BizModel::s_EchoVideoConfig;
using Morvek::EchoVideo::PixmapReader;

namespace {

constexpr int LongWait = 30000; // ms; far more than anything here takes
constexpr int Columns = 3;

QImage pictureOf(const std::shared_ptr<Input> &pInput)
{
    QImage picture;
    PixmapReader::instance()->getInputVideoFrame(pInput, picture, false);
    return picture;
}

} // namespace

class TestSharedMemoryReaderService : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theServiceReadsFromTheFunctionsOfTheHost();
};

void TestSharedMemoryReaderService::theServiceReadsFromTheFunctionsOfTheHost()
{
    CaptureDouble capture;
    capture.setInitResult(0);
    const QImage frame = gridPicture(Columns).convertToFormat(QImage::Format_RGB888);
    capture.setFill([&frame](uchar *pBuffer, int) {
        std::memcpy(pBuffer, frame.constBits(), CaptureDouble::FrameBytes);
    });
    const ActiveDevice device(makeDevice(s_EchoVideoConfig::LocalDVI, Columns));
    const auto guard = qScopeGuard([] { PixmapReader::instance()->stopRead(); });
    PixmapReader::instance()->restartRead();
    for (int i = 0; i < Columns * Columns; ++i) {
        const auto pInput = std::make_shared<Input>(quint8(i));
        QTRY_COMPARE_WITH_TIMEOUT(pictureOf(pInput).format(), QImage::Format_RGB888, LongWait);
        COMPARE_PICTURES(pictureOf(pInput),
                         solidPicture(gridRect(Columns, i).size(), inputColor(i)));
    }
    QCOMPARE(capture.initCalls().size(), 1);
    QVERIFY(capture.frameCalls().size() >= 1);
}

QTEST_GUILESS_MAIN(TestSharedMemoryReaderService)
#include "tst_sharedmemoryreader_service.moc"
