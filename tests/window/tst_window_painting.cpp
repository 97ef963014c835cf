#include "windowtest.h"

#include <devicebanner.h>

#include <sanitized.h>

#include <QElapsedTimer>
#include <QTimer>

#include <cstdio>

using namespace Morvek::Tests;
using namespace Morvek::Tools;

namespace {

/** Without a banner and marks that tell of it, which are painted, and take room from the canvas. */
void stopSession(WindowBench &bench)
{
    QObject::disconnect(&bench.host().monitor(), nullptr, &bench.window(), nullptr);
    QObject::disconnect(&bench.host().monitor(), nullptr, &bench.window().deviceBanner(), nullptr);
    QObject::disconnect(&bench.host().session(), nullptr, &bench.window().deviceBanner(), nullptr);
    bench.host().session().stop();
}

} // namespace

class tst_WindowPainting : public WindowTest
{
    Q_OBJECT

private Q_SLOTS:
    void aPreviewRepaintsItsLayerAndNothingElse();
    void whatLooksTheSameIsNotPaintedAgain();
    void paintingLayersCostsLittle();
};

/** One layer is rendered; all others look as before. */
void tst_WindowPainting::aPreviewRepaintsItsLayerAndNothingElse()
{
    WindowBench bench;
    QVERIFY(bench.open());
    CanvasView &canvas = bench.canvas();
    const LayerKey key = bench.key(0, 4);
    QImage picture(480, 270, QImage::Format_ARGB32);
    QVERIFY(bench.waitUntilPainted());
    const QRect onWidget = canvas.onWidget(bench.host().document().layer(key)->canvasRect());
    // The session would go on rendering; here only the canvas is asked.
    stopSession(bench);
    QVERIFY(bench.waitUntilPainted());
    const qint64 nLayerPixels = qint64(onWidget.width()) * onWidget.height();
    const qint64 nWholePaints = canvas.paintFigures().m_nWholePaints;
    int nAlone = 0;
    for (int nPicture = 0; nPicture < 5; ++nPicture) {
        const sPaintFigures before = canvas.paintFigures();
        picture.fill(QColor(nPicture * 40, 200, 100));
        canvas.setPreview(key, picture);
        QTRY_VERIFY(canvas.paintFigures().m_nPaints > before.m_nPaints);
        const qint64 nPixels = canvas.paintFigures().m_nPixels - before.m_nPixels;
        QVERIFY(nPixels >= nLayerPixels);
        nAlone += int(nPixels == nLayerPixels);
    }
    // A late preview of another layer, or the X server, may now and then add a rectangle.
    QVERIFY2(nAlone >= 3, qPrintable(QString::number(nAlone)));
    QCOMPARE(canvas.paintFigures().m_nWholePaints, nWholePaints);
    // And what was painted is there.
    const QImage shown = canvas.grab().toImage();
    QCOMPARE(shown.pixelColor(onWidget.center()), QColor(160, 200, 100));
}

void tst_WindowPainting::whatLooksTheSameIsNotPaintedAgain()
{
    WindowBench bench;
    QVERIFY(bench.open());
    stopSession(bench);
    CanvasView &canvas = bench.canvas();
    QVERIFY(bench.waitUntilPainted());
    QImage picture(480, 270, QImage::Format_ARGB32);
    picture.fill(Qt::red);
    canvas.setPreview(bench.key(0, 4), picture);
    QVERIFY(bench.waitUntilPainted());
    const qint64 nPaints = canvas.paintFigures().m_nPaints;
    canvas.setPreview(bench.key(0, 4), picture.copy());
    QCoreApplication::processEvents();
    QCOMPARE(canvas.paintFigures().m_nPaints, nPaints);
}

/** Sixteen layers that look different 25 times a second, which no stream does to them. */
void tst_WindowPainting::paintingLayersCostsLittle()
{
    WindowBench bench;
    QVERIFY(bench.open());
    while (bench.host().document().scene().m_screens[0].m_layers.size() < 16)
        bench.action(QStringLiteral("Add a layer")).trigger();
    bench.window().select(0, std::nullopt);
    stopSession(bench);
    QVERIFY(bench.waitUntilPainted());
    CanvasView &canvas = bench.canvas();
    const QList<sSceneLayer> layers = bench.host().document().scene().m_screens[0].m_layers;
    const sPaintFigures before = canvas.paintFigures();
    QElapsedTimer clock;
    int nTicks = 0;
    QTimer ticks;
    ticks.setTimerType(Qt::PreciseTimer);
    connect(&ticks, &QTimer::timeout, this, [&] {
        ++nTicks;
        for (const sSceneLayer &layer : layers) {
            QImage preview(layer.size(), QImage::Format_ARGB32);
            preview.fill(QColor(nTicks % 256, 120, 60));
            canvas.setPreview(layer.m_config.m_LayerIdentifies, preview);
        }
    });
    clock.start();
    ticks.start(40);
    QTRY_VERIFY_WITH_TIMEOUT(nTicks >= 75, Patience);
    ticks.stop();
    const double seconds = double(clock.elapsed()) / 1000;
    const sPaintFigures after = canvas.paintFigures();
    const double cpuSeconds = after.m_cpuSeconds - before.m_cpuSeconds;
    // What 25 ticks cost, however many of them a busy machine let through.
    const double share = cpuSeconds * 25 / nTicks;
    const double visible = double(canvas.width()) * canvas.height();
    std::printf("16 layers at 25 a second: painting takes %.1f %% of a core, %.2f of the canvas at "
                "each tick (%d ticks in %.1f s)\n",
                100 * share, double(after.m_nPixels - before.m_nPixels) / visible / nTicks, nTicks,
                seconds);
    QVERIFY(after.m_nPaints > before.m_nPaints);
    QCOMPARE(after.m_nWholePaints, before.m_nWholePaints);
    if (IsSanitized)
        return;
    QVERIFY2(share < 0.5, "painting takes more than twice what it may");
}

QTEST_MAIN(tst_WindowPainting)
#include "tst_window_painting.moc"
