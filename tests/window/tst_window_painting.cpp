#include "windowtest.h"

#include <QElapsedTimer>

#include <cstdio>

using namespace Morvek::Tests;
using namespace Morvek::Tools;

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
    bench.host().session().stop();
    QVERIFY(bench.waitUntilPainted());
    const sPaintFigures before = canvas.paintFigures();
    for (int nPicture = 0; nPicture < 5; ++nPicture) {
        picture.fill(QColor(nPicture * 40, 200, 100));
        canvas.setPreview(key, picture);
        QTRY_COMPARE(canvas.paintFigures().m_nPaints, before.m_nPaints + nPicture + 1);
    }
    QCOMPARE(canvas.paintFigures().m_nPixels - before.m_nPixels,
             5 * qint64(onWidget.width()) * onWidget.height());
    QCOMPARE(canvas.paintFigures().m_nWholePaints, before.m_nWholePaints);
    // And what was painted is there.
    const QImage shown = canvas.grab().toImage();
    QCOMPARE(shown.pixelColor(onWidget.center()), QColor(160, 200, 100));
}

void tst_WindowPainting::whatLooksTheSameIsNotPaintedAgain()
{
    WindowBench bench;
    QVERIFY(bench.open());
    bench.host().session().stop();
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

/** The whole built-in screen at its rate; live, so never all of the canvas. */
void tst_WindowPainting::paintingLayersCostsLittle()
{
    WindowBench bench;
    QVERIFY(bench.open());
    QVERIFY(bench.waitUntilLive());
    CanvasView &canvas = bench.canvas();
    // More layers, to have sixteen.
    while (bench.host().document().scene().m_screens[0].m_layers.size() < 16)
        bench.action(QStringLiteral("Add a layer")).trigger();
    QVERIFY(bench.waitUntilLive());
    QCoreApplication::processEvents();
    const sPaintFigures before = canvas.paintFigures();
    QElapsedTimer clock;
    clock.start();
    QTRY_VERIFY_WITH_TIMEOUT(clock.elapsed() > 4000, Patience);
    const sPaintFigures after = canvas.paintFigures();
    const double seconds = double(clock.elapsed()) / 1000;
    const double share = (after.m_cpuSeconds - before.m_cpuSeconds) / seconds;
    const double visible = double(canvas.width()) * canvas.height();
    const double wholes = double(after.m_nPixels - before.m_nPixels) / visible / seconds;
    std::printf("painting took %.1f %% of a core, for %.1f times the canvas a second, in %lld "
                "paints\n",
                100 * share, wholes, after.m_nPaints - before.m_nPaints);
    QVERIFY(after.m_nPaints > before.m_nPaints);
    QCOMPARE(after.m_nWholePaints, before.m_nWholePaints);
    // A share of processor time, not of time, so a busy machine does not matter; sanitizers do.
    QVERIFY2(share < 1, "painting alone keeps a core busy");
}

QTEST_MAIN(tst_WindowPainting)
#include "tst_window_painting.moc"
