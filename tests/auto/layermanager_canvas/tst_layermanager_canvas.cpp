// How a finished preview leaves the render thread: shared, never copied, never drawn over.

#include "picturecompare.h"
#include "renderspy.h"
#include "renderstage.h"
#include "testpictures.h"

#include <layervideomanager.h>
#include <layervideoprerendertask_p.h>
#include <previewmemory_p.h>

#include <QSet>
#include <QSignalSpy>
#include <QtTest>

using namespace Morvek::EchoVideo;
using namespace Morvek::Tests;

namespace {

QImage storedFrame(LayerVideoManager &manager, quint8 nLayer)
{
    QImage frame;
    manager.getLayerVideoFrame(layerKey(nLayer), frame);
    return frame;
}

} // namespace

class tst_LayerManagerCanvas : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { RenderSpy::clear(); }
    void deliveredPreviewKeepsItsPixels();
    void previewIsHandedOnWithoutACopy();
    void heldPreviewsHaveBuffersOfTheirOwn();
    void renderNeverStartsOnASharedCanvas_data();
    void renderNeverStartsOnASharedCanvas();
    void nextRenderUsesAnotherBufferBeforeDelivery();
    void canvasThatNobodyHoldsIsUsedAgain();
    void canvasFollowsTheLayersSize();
};

void tst_LayerManagerCanvas::deliveredPreviewKeepsItsPixels()
{
    sRenderStage stage;
    stage.m_gate.close();
    stage.setLayers(1);
    QSignalSpy finished(stage.m_manager.get(), &LayerVideoManager::layerVideoRenderFinished);
    QVERIFY(stage.m_manager->startManager(true));
    stage.m_gate.letPass();
    QVERIFY(finished.wait(InputGate::LongEnough));
    const QImage first = storedFrame(*stage.m_manager, 1);
    const uchar *const pBits = first.constBits();

    stage.m_gate.setColor(Qt::green);
    stage.m_gate.open();
    QTRY_VERIFY_WITH_TIMEOUT(finished.count() >= 5, InputGate::LongEnough);
    QCOMPARE(first.constBits(), pBits);
    COMPARE_PICTURES(first, solidPicture(QSize(8, 6), Qt::red));
    COMPARE_PICTURES(storedFrame(*stage.m_manager, 1), solidPicture(QSize(8, 6), Qt::green));
}

void tst_LayerManagerCanvas::previewIsHandedOnWithoutACopy()
{
    sRenderStage stage;
    stage.m_gate.close();
    stage.setLayers(1);
    QSignalSpy finished(stage.m_manager.get(), &LayerVideoManager::layerVideoRenderFinished);
    QVERIFY(stage.m_manager->startManager(true));
    stage.m_gate.letPass();
    QVERIFY(finished.wait(InputGate::LongEnough));
    QTRY_COMPARE_WITH_TIMEOUT(RenderSpy::count(), 1, InputGate::LongEnough);

    const uchar *const pRendered = RenderSpy::renders().first().m_pBitsAfter;
    QVERIFY(pRendered);
    QCOMPARE(storedFrame(*stage.m_manager, 1).constBits(), pRendered);
    sLayerVideoConfig layerCfg;
    QVERIFY(stage.m_manager->findLayerVideoConfig(layerKey(1), layerCfg));
    QCOMPARE(layerCfg.m_LayerVideoCanvas.constBits(), pRendered);
}

void tst_LayerManagerCanvas::heldPreviewsHaveBuffersOfTheirOwn()
{
    sRenderStage stage;
    stage.setLayers(2);
    QList<QImage> held;
    connect(stage.m_manager.get(), &LayerVideoManager::layerVideoRenderFinished, this,
            [&](const sLayerUniqueIdentifies &key) {
                held.append(storedFrame(*stage.m_manager, key.layerId));
            });
    QVERIFY(stage.m_manager->startManager(true));
    QTRY_VERIFY_WITH_TIMEOUT(held.size() >= 8, InputGate::LongEnough);
    QSet<const uchar *> buffers;
    for (const QImage &frame : qAsConst(held))
        buffers.insert(frame.constBits());
    QCOMPARE(buffers.size(), held.size());
}

void tst_LayerManagerCanvas::renderNeverStartsOnASharedCanvas_data()
{
    QTest::addColumn<bool>("isOnline");
    QTest::newRow("online") << true;
    QTest::newRow("offline pass") << false;
}

void tst_LayerManagerCanvas::renderNeverStartsOnASharedCanvas()
{
    QFETCH(bool, isOnline);
    sRenderStage stage(isOnline);
    stage.setLayers(4);
    QVERIFY(stage.m_manager->startManager(true));
    QTRY_VERIFY_WITH_TIMEOUT(RenderSpy::count() >= 8, InputGate::LongEnough);
    for (const sRender &render : RenderSpy::renders())
        QVERIFY(render.m_isCanvasFree);
}

// On the test's thread, which decides when a preview is delivered.
void tst_LayerManagerCanvas::nextRenderUsesAnotherBufferBeforeDelivery()
{
    LayerVideoManager manager({});
    QImage canvas;
    QImage inputFrame;
    Internal::PreviewMemory memory;
    sLayerVideoConfig layerCfg = makeLayer(1);
    layerCfg.m_LayerItem.m_layerColor = Qt::red;
    manager.renderLayer(layerCfg, canvas, inputFrame, memory);
    layerCfg.m_LayerIdentifies = layerKey(2);
    layerCfg.m_LayerItem.m_layerColor = Qt::green;
    manager.renderLayer(layerCfg, canvas, inputFrame, memory);
    QCoreApplication::processEvents();

    const QList<sRender> renders = RenderSpy::renders();
    QVERIFY(renders[1].m_isCanvasFree);
    QVERIFY(renders[0].m_pBitsAfter != renders[1].m_pBitsAfter);
    QCOMPARE(storedFrame(manager, 1).constBits(), renders[0].m_pBitsAfter);
    QCOMPARE(storedFrame(manager, 2).constBits(), renders[1].m_pBitsAfter);
    COMPARE_PICTURES(storedFrame(manager, 1), solidPicture(QSize(8, 6), Qt::red));
    COMPARE_PICTURES(storedFrame(manager, 2), solidPicture(QSize(8, 6), Qt::green));
}

void tst_LayerManagerCanvas::canvasThatNobodyHoldsIsUsedAgain()
{
    LayerVideoManager manager({});
    QImage canvas;
    QImage inputFrame;
    Internal::PreviewMemory memory;
    manager.renderLayer(makeLayer(1), canvas, inputFrame, memory);
    QCoreApplication::processEvents();
    const uchar *const pBits = storedFrame(manager, 1).constBits();
    manager.clearLayerVideoConfig();

    manager.renderLayer(makeLayer(2), canvas, inputFrame, memory);
    QCOMPARE(RenderSpy::renders().last().m_pBitsAfter, pBits);
}

void tst_LayerManagerCanvas::canvasFollowsTheLayersSize()
{
    sRenderStage stage;
    stage.setLayers(1);
    sLayerVideoConfig layerCfg = makeLayer(2);
    layerCfg.m_LayerItem.m_boundingRect = QRectF(0, 0, 5, 4);
    stage.m_manager->setLayerVideoConfig(layerCfg);
    QSignalSpy finished(stage.m_manager.get(), &LayerVideoManager::layerVideoRenderFinished);
    QVERIFY(stage.m_manager->startManager(true));
    QTRY_VERIFY_WITH_TIMEOUT(finished.count() >= 6, InputGate::LongEnough);
    COMPARE_PICTURES(storedFrame(*stage.m_manager, 1), solidPicture(QSize(8, 6), Qt::red));
    COMPARE_PICTURES(storedFrame(*stage.m_manager, 2), solidPicture(QSize(5, 4), Qt::red));
}

QTEST_GUILESS_MAIN(tst_LayerManagerCanvas)
#include "tst_layermanager_canvas.moc"
