// What the host's callback is asked, on which thread, and how a canvas reaches the manager.

#include "logcapture.h"
#include "picturecompare.h"
#include "testdevice.h"
#include "testlayers.h"
#include "testpictures.h"

#include <layervideomanager.h>

#include <QObject>
#include <QSignalSpy>
#include <QThread>
#include <QtTest>

#include <memory>
#include <new>

using namespace Morvek::EchoVideo;
using namespace Morvek::Tests;
using Morvek::BizModel::Device;
using Morvek::BizModel::s_EchoVideoConfig;

namespace {

// What a callback was asked.
struct sQuestion
{
    std::weak_ptr<Device> m_pDevice;
    sLayerSource m_source;
    QSize m_size;
    QImage m_frame;
    const QImage *m_pFrame = nullptr;
    QThread *m_pThread = nullptr;
};

// Notes every question, and leaves the frame as it came.
LayerVideoManager::ReadInputVideoFrameCallback noting(QList<sQuestion> &questions)
{
    return [&questions](std::weak_ptr<Device> pDevice, const sLayerSource &source,
                        const QSize &size, QImage &frame) {
        questions.append({pDevice, source, size, frame, &frame, QThread::currentThread()});
        return false;
    };
}

// Runs a piece of work on a thread of its own, to its end.
template <typename Work>
void runOnThread(Work work)
{
    const std::unique_ptr<QThread> pThread(QThread::create(work));
    pThread->start();
    pThread->wait();
}

sLayerUniqueIdentifies key()
{
    sLayerUniqueIdentifies result;
    result.screenId = 1;
    result.screenType = -2;
    result.layerId = 3;
    result.layerType = 4;
    result.sceneType = 5;
    return result;
}

} // namespace

class tst_LayerPrepareDelivery : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void callbackIsGivenDeviceSourceSizeAndFrame();
    void callbackIsGivenTheRoundedSize();
    void callbackIsGivenAnEmptyDeviceWhenNoneIsActive();
    void callbackIsAskedForEveryKindOfSource_data();
    void callbackIsAskedForEveryKindOfSource();
    void callbackRunsOnTheRenderingThread();
    void pictureOfAFailingCallbackIsShown_data();
    void pictureOfAFailingCallbackIsShown();
    void layerWithoutSourceIsNotAskedFor();
    void emptyCallbackShowsTheLayerColor();

    void canvasIsDeliveredByTheEventLoop();
    void canvasIsDeliveredOnTheManagersThread();
    void deliveredPreviewSurvivesTheNextRender();
    void everyRenderIsDelivered();
    void layerWithoutSizeIsDelivered();
    void renderThatRunsOutOfMemoryDeliversANullPreview();
};

void tst_LayerPrepareDelivery::callbackIsGivenDeviceSourceSizeAndFrame()
{
    const auto pDevice = makeDevice(s_EchoVideoConfig::Invalid);
    const ActiveDevice active(pDevice);
    QList<sQuestion> questions;
    const LayerVideoManager manager(noting(questions));
    sLayerVideoConfig cfg = pictureLayer(16, 9);
    cfg.m_LayerSource.m_nLayerSourceKeyNo = 42;
    cfg.m_LayerSource.m_strLayerSourceName = QStringLiteral("camera");
    cfg.m_LayerSource.m_sizeLayerSource = QSize(1920, 1080);
    cfg.m_LayerSource.m_rectLayerSourceIntercept = QRect(1, 2, 3, 4);
    QImage frame = gradientPicture(QSize(5, 4));

    manager.inputVideoFramePixmap(cfg, frame);
    QCOMPARE(questions.size(), 1);
    const sQuestion &question = questions.constFirst();
    QCOMPARE(question.m_pDevice.lock(), pDevice);
    QCOMPARE(question.m_source.m_nLayerSourceKeyNo, 42U);
    QCOMPARE(question.m_source.m_strLayerSourceName, QStringLiteral("camera"));
    QCOMPARE(question.m_source.m_sizeLayerSource, QSize(1920, 1080));
    QCOMPARE(question.m_source.m_rectLayerSourceIntercept, QRect(1, 2, 3, 4));
    QCOMPARE(question.m_source.m_eLayerSourceType, sLayerSource::Input);
    QCOMPARE(question.m_size, QSize(16, 9));
    QCOMPARE(question.m_pFrame, &frame);
    COMPARE_PICTURES(question.m_frame, gradientPicture(QSize(5, 4)));
}

void tst_LayerPrepareDelivery::callbackIsGivenTheRoundedSize()
{
    QList<sQuestion> questions;
    const LayerVideoManager manager(noting(questions));
    QImage canvas;
    QImage frame;
    manager.videoPrerender(pictureLayer(QRectF(0.4, 0.6, 10.2, 9.8)), canvas, frame);
    QCOMPARE(questions.size(), 1);
    QCOMPARE(questions.constFirst().m_size, QSize(11, 9));
}

void tst_LayerPrepareDelivery::callbackIsGivenAnEmptyDeviceWhenNoneIsActive()
{
    QList<sQuestion> questions;
    const LayerVideoManager manager(noting(questions));
    QImage frame;
    manager.inputVideoFramePixmap(pictureLayer(16, 9), frame);
    QCOMPARE(questions.size(), 1);
    QVERIFY(questions.constFirst().m_pDevice.expired());
}

void tst_LayerPrepareDelivery::callbackIsAskedForEveryKindOfSource_data()
{
    QTest::addColumn<int>("type");

    QTest::newRow("input") << int(sLayerSource::Input);
    QTest::newRow("preview") << int(sLayerSource::PVW);
    QTest::newRow("program") << int(sLayerSource::PGM);
}

void tst_LayerPrepareDelivery::callbackIsAskedForEveryKindOfSource()
{
    QFETCH(int, type);

    QList<sQuestion> questions;
    const LayerVideoManager manager(noting(questions));
    sLayerVideoConfig cfg = pictureLayer(16, 9);
    cfg.m_LayerSource.m_eLayerSourceType = sLayerSource::eLayerSourceType(type);
    QImage frame;
    manager.inputVideoFramePixmap(cfg, frame);
    QCOMPARE(questions.size(), 1);
    QCOMPARE(int(questions.constFirst().m_source.m_eLayerSourceType), type);
}

void tst_LayerPrepareDelivery::callbackRunsOnTheRenderingThread()
{
    QList<sQuestion> questions;
    const LayerVideoManager manager(noting(questions));
    const sLayerVideoConfig cfg = pictureLayer(16, 9);
    const QThread *pThread = nullptr;
    runOnThread([&] {
        pThread = QThread::currentThread();
        QImage canvas;
        QImage frame;
        manager.asyncVideoPrerenderTask(cfg, canvas, frame);
    });
    QCOMPARE(questions.size(), 1);
    QCOMPARE(questions.constFirst().m_pThread, pThread);
    QVERIFY(pThread != QThread::currentThread());
}

void tst_LayerPrepareDelivery::pictureOfAFailingCallbackIsShown_data()
{
    QTest::addColumn<QColor>("left");

    QTest::newRow("it left the frame as it came") << QColor(Qt::red);
    QTest::newRow("it filled the frame") << QColor(Qt::green);
}

void tst_LayerPrepareDelivery::pictureOfAFailingCallbackIsShown()
{
    QFETCH(QColor, left);

    const LayerVideoManager manager([&](auto &&, auto &&, auto &&, QImage &picture) {
        picture.fill(left);
        return false;
    });
    QImage canvas;
    QImage frame = solidPicture(QSize(4, 3), Qt::red);
    manager.videoPrerender(pictureLayer(8, 6), canvas, frame);
    COMPARE_PICTURES(canvas, solidPicture(QSize(8, 6), left));
}

void tst_LayerPrepareDelivery::layerWithoutSourceIsNotAskedFor()
{
    QList<sQuestion> questions;
    const LayerVideoManager manager(noting(questions));
    sLayerVideoConfig cfg = pictureLayer(QRectF(0.4, 0, 10.2, 6));
    cfg.m_LayerSource.m_eLayerSourceType = sLayerSource::NoSource;
    cfg.m_LayerItem.m_layerColor = QColor(10, 20, 30, 40);
    QImage frame = solidPicture(QSize(4, 3), Qt::red);
    manager.inputVideoFramePixmap(cfg, frame);
    QCOMPARE(questions.size(), 0);
    COMPARE_PICTURES(frame, solidPicture(QSize(11, 6), QColor(10, 20, 30, 40)));
    QCOMPARE(frame.format(), QImage::Format_ARGB32);
}

void tst_LayerPrepareDelivery::emptyCallbackShowsTheLayerColor()
{
    const LayerVideoManager manager({});
    sLayerVideoConfig cfg = pictureLayer(8, 6);
    cfg.m_LayerItem.m_layerColor = QColor(10, 20, 30);
    QImage canvas;
    QImage frame = solidPicture(QSize(4, 3), Qt::red);
    manager.videoPrerender(cfg, canvas, frame);
    COMPARE_PICTURES(canvas, solidPicture(QSize(8, 6), QColor(10, 20, 30)));
    COMPARE_PICTURES(frame, solidPicture(QSize(8, 6), QColor(10, 20, 30)));
}

void tst_LayerPrepareDelivery::canvasIsDeliveredByTheEventLoop()
{
    LayerVideoManager manager(answering(solidPicture(QSize(8, 6), Qt::red)));
    QSignalSpy finished(&manager, &LayerVideoManager::layerVideoRenderFinished);
    sLayerVideoConfig cfg = pictureLayer(8, 6);
    cfg.m_LayerIdentifies = key();
    QImage canvas;
    QImage frame;
    manager.asyncVideoPrerenderTask(cfg, canvas, frame);
    COMPARE_PICTURES(canvas, solidPicture(QSize(8, 6), Qt::red));

    QImage delivered;
    QCOMPARE(finished.size(), 0); // queued, also from the manager's own thread
    QVERIFY(!manager.getLayerVideoFrame(key(), delivered));
    QVERIFY(finished.wait());
    QCOMPARE(finished.size(), 1);
    QCOMPARE(finished.constFirst().constFirst().value<sLayerUniqueIdentifies>(), key());
    QVERIFY(manager.getLayerVideoFrame(key(), delivered));
    COMPARE_PICTURES(delivered, canvas);
}

void tst_LayerPrepareDelivery::canvasIsDeliveredOnTheManagersThread()
{
    LayerVideoManager manager(answering(solidPicture(QSize(8, 6), Qt::red)));
    QSignalSpy finished(&manager, &LayerVideoManager::layerVideoRenderFinished);
    QThread *pThread = nullptr;
    connect(
        &manager, &LayerVideoManager::layerVideoRenderFinished, &manager,
        [&] { pThread = QThread::currentThread(); }, Qt::DirectConnection);
    const sLayerVideoConfig cfg = pictureLayer(8, 6);
    runOnThread([&] {
        QImage canvas;
        QImage frame;
        manager.asyncVideoPrerenderTask(cfg, canvas, frame);
    });
    QVERIFY(!pThread);
    QVERIFY(finished.wait());
    QCOMPARE(pThread, manager.thread());
    QImage delivered;
    QVERIFY(manager.getLayerVideoFrame(cfg.m_LayerIdentifies, delivered));
    COMPARE_PICTURES(delivered, solidPicture(QSize(8, 6), Qt::red));
}

void tst_LayerPrepareDelivery::deliveredPreviewSurvivesTheNextRender()
{
    QColor color = Qt::red;
    LayerVideoManager manager([&](auto &&, auto &&, auto &&, QImage &picture) {
        picture = solidPicture(QSize(8, 6), color);
        return true;
    });
    QSignalSpy finished(&manager, &LayerVideoManager::layerVideoRenderFinished);
    const sLayerVideoConfig cfg = pictureLayer(8, 6);
    QImage canvas;
    QImage frame;
    manager.asyncVideoPrerenderTask(cfg, canvas, frame);
    color = Qt::green;
    manager.videoPrerender(cfg, canvas, frame); // into the canvas that is on its way
    COMPARE_PICTURES(canvas, solidPicture(QSize(8, 6), Qt::green));

    QVERIFY(finished.wait());
    QImage delivered;
    QVERIFY(manager.getLayerVideoFrame(cfg.m_LayerIdentifies, delivered));
    COMPARE_PICTURES(delivered, solidPicture(QSize(8, 6), Qt::red));
}

void tst_LayerPrepareDelivery::everyRenderIsDelivered()
{
    LayerVideoManager manager(answering(solidPicture(QSize(8, 6), Qt::red)));
    QSignalSpy finished(&manager, &LayerVideoManager::layerVideoRenderFinished);
    const sLayerVideoConfig cfg = pictureLayer(8, 6);
    QImage canvas;
    QImage frame;
    for (int i = 0; i < 5; ++i)
        manager.asyncVideoPrerenderTask(cfg, canvas, frame);
    QTRY_COMPARE(finished.size(), 5);
}

void tst_LayerPrepareDelivery::layerWithoutSizeIsDelivered()
{
    LayerVideoManager manager(answering(solidPicture(QSize(8, 6), Qt::red)));
    QSignalSpy finished(&manager, &LayerVideoManager::layerVideoRenderFinished);
    const sLayerVideoConfig cfg = pictureLayer(0, 0);
    QImage canvas;
    QImage frame;
    QTest::ignoreMessage(QtWarningMsg, "The layer  7  size is invalid. reset (2x2)");
    manager.asyncVideoPrerenderTask(cfg, canvas, frame);
    QVERIFY(finished.wait());
    QImage delivered;
    QVERIFY(manager.getLayerVideoFrame(cfg.m_LayerIdentifies, delivered));
    COMPARE_PICTURES(delivered, solidPicture(QSize(2, 2), Qt::white));
}

// Without a delivery the layer would count as being rendered for ever.
void tst_LayerPrepareDelivery::renderThatRunsOutOfMemoryDeliversANullPreview()
{
    bool isShort = true;
    LayerVideoManager manager([&](auto &&, auto &&, auto &&, QImage &picture) {
        if (isShort)
            throw std::bad_alloc();
        picture = solidPicture(QSize(8, 6), Qt::red);
        return true;
    });
    QSignalSpy finished(&manager, &LayerVideoManager::layerVideoRenderFinished);
    const sLayerVideoConfig cfg = pictureLayer(8, 6);
    QImage canvas;
    QImage frame;
    QImage delivered = solidPicture(QSize(8, 6), Qt::green);
    LogCapture log;
    manager.asyncVideoPrerenderTask(cfg, canvas, frame);
    QVERIFY(finished.wait());
    QVERIFY(manager.getLayerVideoFrame(cfg.m_LayerIdentifies, delivered));
    QVERIFY(delivered.isNull());
    QCOMPARE(log.count(QStringLiteral("Out of memory")), 1);

    isShort = false;
    manager.asyncVideoPrerenderTask(cfg, canvas, frame);
    QVERIFY(finished.wait());
    QVERIFY(manager.getLayerVideoFrame(cfg.m_LayerIdentifies, delivered));
    COMPARE_PICTURES(delivered, solidPicture(QSize(8, 6), Qt::red));
}

QTEST_GUILESS_MAIN(tst_LayerPrepareDelivery)
#include "tst_layerprepare_delivery.moc"
