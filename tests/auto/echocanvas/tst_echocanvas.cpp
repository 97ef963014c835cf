#include <builtinpictures.h>
#include <canvaspainter.h>
#include <measuredrun.h>
#include <pictureoutput.h>
#include <processload.h>

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QtTest>

using namespace Morvek;
using namespace Morvek::Tools;

namespace {

sSceneLayer colourLayer(const QColor &color)
{
    sSceneLayer layer;
    layer.m_config.m_LayerItem.m_boundingRect = QRectF(0, 0, 20, 10);
    layer.m_config.m_LayerItem.m_layerColor = color;
    return layer;
}

QImage solid(const QSize &size, const QColor &color)
{
    QImage image(size, QImage::Format_ARGB32);
    image.fill(color);
    return image;
}

} // namespace

class tst_EchoCanvas : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void canvasShowsPreviewsAtTheirPlaces();
    void picturesAreWrittenAndNamed();
    void aFolderThatCannotBeMadeIsAProblem();
    void ellipseShapesALayer();
    void builtInAlphaMapsLiveAsLongAsTheirOwner();
    void frozenIconIsDrawn();
    void reportsNameWhatIsRead();
    void processLoadGrows();
};

void tst_EchoCanvas::canvasShowsPreviewsAtTheirPlaces()
{
    sSceneScreen screen;
    screen.m_strName = QStringLiteral("wall");
    screen.m_size = QSize(400, 300);
    screen.m_background = QColor(100, 100, 100);
    sSceneLayer lower = colourLayer(Qt::red);
    lower.m_position = QPoint(200, 150);
    sSceneLayer upper = colourLayer(Qt::blue);
    upper.m_position = QPoint(210, 155);
    sSceneLayer missing = colourLayer(Qt::green);
    missing.m_position = QPoint(300, 150);
    screen.m_layers = {lower, upper, missing};
    const QImage canvas = paintedCanvas(
        screen, {solid({20, 10}, Qt::red), solid({20, 10}, QColor(0, 0, 255, 128)), QImage()});
    QCOMPARE(canvas.size(), QSize(400, 300));
    QCOMPARE(canvas.pixelColor(200, 150), QColor(Qt::red));
    QCOMPARE(canvas.pixelColor(207, 158), QColor(Qt::red));
    // The upper layer lets half of the lower one through.
    const QColor mixed = canvas.pixelColor(215, 157);
    QVERIFY(qAbs(mixed.red() - 127) <= 2 && qAbs(mixed.blue() - 128) <= 2);
    QVERIFY(canvas.pixelColor(305, 155) == canvas.pixelColor(350, 155));
    // The background gets darker from top to bottom, around its colour in the middle.
    QVERIFY(canvas.pixelColor(390, 5).lightness() > 100);
    QVERIFY(canvas.pixelColor(390, 295).lightness() < 100);
}

void tst_EchoCanvas::picturesAreWrittenAndNamed()
{
    QCOMPARE(canvasFileName(2), QStringLiteral("screen-2.png"));
    QCOMPARE(layerFileName(1, 3, QStringLiteral("Mono (input 2), 60 %")),
             QStringLiteral("screen-1-layer-03-mono-input-2-60.png"));
    QCOMPARE(layerFileName(1, 12, QStringLiteral("../Ü")), QStringLiteral("screen-1-layer-12.png"));

    QTemporaryDir folder;
    const QString strOut = folder.filePath(QStringLiteral("deep/out"));
    sScene scene;
    sSceneScreen screen;
    screen.m_strName = QStringLiteral("wall");
    screen.m_size = QSize(160, 90);
    screen.m_layers = {colourLayer(Qt::red), colourLayer(Qt::blue)};
    screen.m_layers[0].m_strName = QStringLiteral("Red");
    scene.m_screens = {screen};
    sRunReport report;
    report.m_layers = {sLayerReport(), sLayerReport()};
    const QImage red = solid({20, 10}, QColor(255, 0, 0, 100));
    writePictures(strOut, scene, {{red, QImage()}}, report);
    QCOMPARE(report.m_problems, QStringList());
    QCOMPARE(report.m_layers[0].m_strPicture,
             strOut + QStringLiteral("/screen-1-layer-01-red.png"));
    QCOMPARE(QImage(report.m_layers[0].m_strPicture).convertToFormat(QImage::Format_ARGB32), red);
    QVERIFY(report.m_layers[1].m_strPicture.isEmpty());
    QCOMPARE(report.m_canvases.size(), 1);
    QCOMPARE(QImage(report.m_canvases[0].m_strPicture).size(), QSize(160, 90));
}

void tst_EchoCanvas::aFolderThatCannotBeMadeIsAProblem()
{
    QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("file")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    sRunReport report;
    writePictures(file.fileName() + QStringLiteral("/out"), sScene(), {}, report);
    QCOMPARE(report.m_problems.size(), 1);
    QVERIFY(report.m_problems[0].contains(file.fileName()));
}

void tst_EchoCanvas::ellipseShapesALayer()
{
    const QImage map = ellipseAlphaMap({200, 100});
    QCOMPARE(map.size(), QSize(200, 100));
    QCOMPARE(qAlpha(map.pixel(100, 50)), 255);
    QCOMPARE(qAlpha(map.pixel(20, 50)), 255);
    for (const QPoint &corner : {QPoint(0, 0), QPoint(199, 0), QPoint(0, 99), QPoint(199, 99)})
        QCOMPARE(qAlpha(map.pixel(corner)), 0);
    const int nRim = qAlpha(map.pixel(4, 50)); // at 96 % of the radius
    QVERIFY(nRim > 30 && nRim < 225);
}

void tst_EchoCanvas::builtInAlphaMapsLiveAsLongAsTheirOwner()
{
    sScene scene;
    sSceneScreen screen;
    screen.m_layers = {colourLayer(Qt::red), colourLayer(Qt::green), colourLayer(Qt::blue)};
    screen.m_layers[0].m_config.m_LayerAlphaMap.m_strAlphaMapFile = QStringLiteral("own.png");
    screen.m_layers[1].m_config.m_LayerAlphaMap.m_strAlphaMapFile =
        QStringLiteral("builtin:ellipse");
    scene.m_screens = {screen};
    const auto file = [&scene](int nLayer) {
        return scene.m_screens[0].m_layers[nLayer].m_config.m_LayerAlphaMap.m_strAlphaMapFile;
    };
    {
        BuiltInAlphaMaps maps;
        QVERIFY2(maps.provide(scene), qPrintable(maps.errorText()));
        QCOMPARE(file(0), QStringLiteral("own.png"));
        const QImage map(file(1));
        QVERIFY(!map.isNull());
        QCOMPARE(qAlpha(map.pixel(map.rect().center())), 255);
        QCOMPARE(qAlpha(map.pixel(0, 0)), 0);
        QVERIFY(file(2).isEmpty());
    }
    QVERIFY(!QFileInfo::exists(file(1)));
}

void tst_EchoCanvas::frozenIconIsDrawn()
{
    const QImage icon = frozenIcon().toImage().convertToFormat(QImage::Format_ARGB32);
    QCOMPARE(icon.size(), QSize(24, 24));
    QCOMPARE(qAlpha(icon.pixel(0, 0)), 0);
    QVERIFY(qAlpha(icon.pixel(12, 12)) == 255);
    // White arms on blue.
    QVERIFY(icon.pixelColor(12, 6).lightness() > 180);
    QVERIFY(icon.pixelColor(12, 21).blue() > icon.pixelColor(12, 21).red() + 80);
}

void tst_EchoCanvas::reportsNameWhatIsRead()
{
    sScene scene;
    sSceneScreen screen;
    screen.m_layers = {colourLayer(Qt::red)};
    scene.m_screens = {screen};
    const auto told = [&scene] { return MeasuredRun(scene).report().m_strDevice; };
    scene.m_device.m_strAddress = QStringLiteral("fe80::1%2");
    scene.m_device.m_nPort = 8554;
    QCOMPARE(told(), QStringLiteral("[fe80::1%2]:8554"));
    scene.m_device.m_eSourceType = BizModel::s_EchoVideoConfig::LocalDVI;
    QCOMPARE(told(), QStringLiteral("shared memory"));
    scene.m_device.m_eSourceType = BizModel::s_EchoVideoConfig::LocalFile;
    QCOMPARE(told(), QStringLiteral("the library's own file"));
    scene.m_device.m_strFile = QStringLiteral("/a.yuv");
    QCOMPARE(told(), QStringLiteral("/a.yuv"));
}

void tst_EchoCanvas::processLoadGrows()
{
    const double before = processCpuSeconds();
    QElapsedTimer clock;
    clock.start();
    while (processCpuSeconds() < before + 0.02)
        QVERIFY(clock.elapsed() < 10000);
    const qint64 nBefore = residentBytes();
    QVERIFY(nBefore > 1 << 20);
    const QByteArray block(64 << 20, 'x');
    QVERIFY(residentBytes() > nBefore + (32 << 20));
    QVERIFY(!block.isEmpty());
}

QTEST_MAIN(tst_EchoCanvas)
#include "tst_echocanvas.moc"
