#include <scenereader.h>

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

using namespace Morvek::Tools;
using Morvek::BizModel::s_EchoVideoConfig;
using Morvek::EchoVideo::sLayerItem;
using Morvek::EchoVideo::sLayerSource;
using Morvek::EchoVideo::sLayerVideoConfig;
namespace LayerEnum = Morvek::BizModel::Enum::Layer;

namespace {

const QString FileName = QStringLiteral("wall.json");

// Rows below replace one piece of this scene by another.
const char *const SmallScene = R"({
    "device": { "address": "10.0.0.7", "port": 4000, "fps": 30, "tiles": 9, "source": "mjpeg" },
    "screens": [
        { "name": "First", "size": [1280, 720], "layers": [
            { "name": "Only", "rect": [10, 20, 300, 200] } ] },
        { "name": "Second", "size": [640, 480], "background": "#102030", "layers": [
            { "name": "Bare", "rect": [0, 0, 64, 48], "source": { "type": "none" } },
            { "name": "Full", "rect": [-5, -6, 301, 201], "color": "#80ff8000",
              "source": { "type": "input", "input": 8, "size": [800, 600], "crop": [1, 2, 700, 500] },
              "mirror": "both", "mono": true, "reverse": true, "frozen": true, "opacity": 40,
              "border": { "style": "halo_in", "color": "#112233", "size": [7, 9] },
              "mask": { "top": 1, "bottom": 2, "left": 3, "right": 4 },
              "alphaMap": "builtin:ellipse" } ] }
    ]
})";

QByteArray changedScene(const QByteArray &from, const QByteArray &to)
{
    return QByteArray(SmallScene).replace(from, to);
}

QList<sLayerVideoConfig> layers(const sScene &scene)
{
    QList<sLayerVideoConfig> result;
    for (const sSceneScreen &screen : scene.m_screens) {
        for (const sSceneLayer &layer : screen.m_layers)
            result.append(layer.m_config);
    }
    return result;
}

template <typename Shows>
int layersThat(const sScene &scene, Shows shows)
{
    const QList<sLayerVideoConfig> all = layers(scene);
    return int(std::count_if(all.begin(), all.end(), shows));
}

/** What a problem of a layer that has a name says behind everything else. */
QString subject(const QString &strProblem)
{
    const QList<QPair<QString, QString>> layers{
        {QStringLiteral("screens[0].layers[0]."), QStringLiteral("Only")},
        {QStringLiteral("screens[1].layers[0]."), QStringLiteral("Bare")},
        {QStringLiteral("screens[1].layers[1]."), QStringLiteral("Full")}};
    for (const auto &layer : layers) {
        if (strProblem.startsWith(layer.first) && !strProblem.contains(QStringLiteral(".name:")))
            return QStringLiteral(" (layer \"%1\")").arg(layer.second);
    }
    return QString();
}

} // namespace

class tst_SceneReader : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsEveryKey();
    void missingKeysHaveDefaults();
    void everySourceTypeHasItsName_data();
    void everySourceTypeHasItsName();
    void rawFilesAreRelativeToTheScene();
    void wrongScenesNameFileKeyAndExpectation_data();
    void wrongScenesNameFileKeyAndExpectation();
    void inputsAreThoseOfTheLargestDevice();
    void aFileThatCannotBeASceneIsNotReadWhole();
    void everyProblemIsReported();
    void alphaMapFilesAreRelativeToTheScene();
    void missingAlphaMapFileIsAProblem();
    void aFileThatCannotBeReadIsAProblem();
    void readsFiles();
    void builtInSceneIsReadForAnEmptyName();
    void builtInSceneShowsEveryEffect();
    void builtInLayersLieOnTheirCanvas();
};

void tst_SceneReader::readsEveryKey()
{
    QStringList problems;
    const auto scene = readScene(SmallScene, FileName, problems);
    QCOMPARE(problems, QStringList());
    QVERIFY(scene);
    QCOMPARE(scene->m_device.m_strAddress, QStringLiteral("10.0.0.7"));
    QCOMPARE(scene->m_device.m_nPort, quint16(4000));
    QCOMPARE(scene->m_device.m_nFps, 30);
    QCOMPARE(scene->m_device.m_nTiles, 9);
    QCOMPARE(scene->m_device.m_eSourceType, s_EchoVideoConfig::RemoteTCP);
    QCOMPARE(scene->m_screens.size(), 2);
    const sSceneScreen &screen = scene->m_screens[1];
    QCOMPARE(screen.m_strName, QStringLiteral("Second"));
    QCOMPARE(screen.m_size, QSize(640, 480));
    QCOMPARE(screen.m_background, QColor(0x10, 0x20, 0x30));
    QCOMPARE(screen.m_layers.size(), 2);

    const sSceneLayer &layer = screen.m_layers[1];
    QCOMPARE(layer.m_strName, QStringLiteral("Full"));
    QCOMPARE(layer.canvasRect(), QRect(-5, -6, 301, 201));
    QCOMPARE(layer.input(), 8);
    const sLayerVideoConfig &config = layer.m_config;
    QCOMPARE(int(config.m_LayerIdentifies.screenId), 2);
    QCOMPARE(int(config.m_LayerIdentifies.layerId), 2);
    QCOMPARE(config.m_LayerItem.m_boundingRect, QRectF(0, 0, 301, 201));
    QCOMPARE(config.m_LayerItem.m_layerColor, QColor(0xff, 0x80, 0, 0x80));
    QCOMPARE(config.m_LayerItem.m_mirroringType, sLayerItem::Both);
    QVERIFY(config.m_LayerItem.m_bMonoColorEnabled);
    QVERIFY(config.m_LayerItem.m_bReverseColorEnabled);
    QVERIFY(config.m_LayerItem.m_isFrozen);
    QCOMPARE(config.m_LayerItem.m_opacity, 40);
    QCOMPARE(config.m_LayerSource.m_eLayerSourceType, sLayerSource::Input);
    QCOMPARE(config.m_LayerSource.m_sizeLayerSource, QSize(800, 600));
    QVERIFY(config.m_LayerSource.m_bLayerSourceIntercept);
    QCOMPARE(config.m_LayerSource.m_rectLayerSourceIntercept, QRect(1, 2, 700, 500));
    QCOMPARE(config.m_LayerBorder.m_borderType, LayerEnum::Halo_in);
    QCOMPARE(config.m_LayerBorder.m_borderColor, QColor(0x11, 0x22, 0x33));
    QCOMPARE(config.m_LayerBorder.m_borderSize, QSize(7, 9));
    QVERIFY(config.m_LayerMask.m_bMaskEnable);
    QCOMPARE(config.m_LayerMask.m_maskSize, (std::array<double, 4>{1, 2, 3, 4}));
    QCOMPARE(config.m_LayerAlphaMap.m_strAlphaMapFile, QStringLiteral("builtin:ellipse"));
}

void tst_SceneReader::missingKeysHaveDefaults()
{
    QStringList problems;
    const auto scene = readScene(changedScene(", \"fps\": 30", ""), FileName, problems);
    QVERIFY2(scene, qPrintable(problems.join(QLatin1Char('\n'))));
    QCOMPARE(scene->m_device.m_nFps, 25);
    QVERIFY(scene->m_screens[0].m_background.isValid());
    const sSceneLayer &layer = scene->m_screens[0].m_layers[0];
    QVERIFY(!layer.hasSource());
    QCOMPARE(layer.m_config.m_LayerItem.m_layerColor, QColor(Qt::white));
    QCOMPARE(layer.m_config.m_LayerItem.m_opacity, 100);
    QCOMPARE(layer.m_config.m_LayerItem.m_mirroringType, sLayerItem::NoMirroring);
    QVERIFY(!layer.m_config.m_LayerItem.m_isFrozen);
    QCOMPARE(layer.m_config.m_LayerBorder.m_borderType, LayerEnum::Invalid);
    QVERIFY(!layer.m_config.m_LayerMask.m_bMaskEnable);
    QVERIFY(layer.m_config.m_LayerAlphaMap.m_strAlphaMapFile.isEmpty());
    QVERIFY(!scene->m_screens[1].m_layers[0].hasSource());
}

void tst_SceneReader::everySourceTypeHasItsName_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<int>("type");
    QTest::newRow("stream") << QByteArray("mjpeg") << int(s_EchoVideoConfig::RemoteTCP);
    QTest::newRow("capture") << QByteArray("shm") << int(s_EchoVideoConfig::LocalDVI);
    QTest::newRow("file") << QByteArray("yuv") << int(s_EchoVideoConfig::LocalFile);
}

void tst_SceneReader::everySourceTypeHasItsName()
{
    QFETCH(QByteArray, name);
    QFETCH(int, type);
    QStringList problems;
    const auto scene = readScene(changedScene("\"mjpeg\"", '"' + name + '"'), FileName, problems);
    QVERIFY(scene);
    QCOMPARE(int(scene->m_device.m_eSourceType), type);
    QVERIFY(sourceTypeNamed(QString::fromLatin1(name)) == scene->m_device.m_eSourceType);
    QVERIFY(!sourceTypeNamed(QStringLiteral("tape")));
}

void tst_SceneReader::rawFilesAreRelativeToTheScene()
{
    QStringList problems;
    const auto scene = readScene(changedScene("\"mjpeg\"", "\"yuv\", \"file\": \"clips/a.yuv\""),
                                 QStringLiteral("/walls/wall.json"), problems);
    QVERIFY(scene);
    QCOMPARE(scene->m_device.m_strFile, QStringLiteral("/walls/clips/a.yuv"));
}

void tst_SceneReader::wrongScenesNameFileKeyAndExpectation_data()
{
    QTest::addColumn<QByteArray>("from");
    QTest::addColumn<QByteArray>("to");
    QTest::addColumn<QString>("problem");
    const auto row = [](const char *pName, const char *pFrom, const char *pTo,
                        const char *pProblem) {
        QTest::newRow(pName) << QByteArray(pFrom) << QByteArray(pTo) << QString::fromUtf8(pProblem);
    };
    row("address missing", "\"address\": \"10.0.0.7\", ", "",
        "device.address: expected a text that is not empty, found nothing");
    row("address empty", "10.0.0.7", "",
        "device.address: expected a text that is not empty, found \"\"");
    row("address a number", "\"10.0.0.7\"", "7",
        "device.address: expected a text that is not empty, found 7");
    row("port missing", "\"port\": 4000, ", "",
        "device.port: expected a whole number from 1 to 65535, found nothing");
    row("port too large", "4000", "65536",
        "device.port: expected a whole number from 1 to 65535, found 65536");
    row("port zero", "4000", "0", "device.port: expected a whole number from 1 to 65535, found 0");
    row("port a text", "4000", "\"4000\"",
        "device.port: expected a whole number from 1 to 65535, found \"4000\"");
    row("rate too high", "\"fps\": 30", "\"fps\": 256",
        "device.fps: expected a whole number from 0 to 255, found 256");
    row("rate null", "\"fps\": 30", "\"fps\": null",
        "device.fps: expected a whole number from 0 to 255, found null");
    row("tiles missing", ", \"tiles\": 9", "",
        "device.tiles: expected one of 4, 9, 16, 25, found nothing");
    row("tiles of no grid", "\"tiles\": 9", "\"tiles\": 10",
        "device.tiles: expected one of 4, 9, 16, 25, found 10");
    row("source of no kind", "\"mjpeg\"", "\"hdmi\"",
        "device.source: expected one of \"mjpeg\", \"shm\", \"yuv\", found \"hdmi\"");
    row("source missing", ", \"source\": \"mjpeg\"", "",
        "device.source: expected one of \"mjpeg\", \"shm\", \"yuv\", found nothing");
    row("unknown key of the device", "\"fps\"", "\"rate\"",
        "device.rate: unknown key, expected one of: address, file, fps, name, port, source, tiles");
    row("unknown key of the file", "\"screens\": [", "\"walls\": 1, \"screens\": [",
        "walls: unknown key, expected one of: device, otherDevices, screens");
    row("screen without name", "\"name\": \"Second\", ", "",
        "screens[1].name: expected a text that is not empty, found nothing");
    row("screen without size", "\"size\": [1280, 720], ", "",
        "screens[0].size: expected [width, height], found nothing");
    row("screen size incomplete", "[1280, 720]", "[1280]",
        "screens[0].size: expected [width, height], found an array of 1");
    row("screen size of zero", "[1280, 720]", "[1280, 0]",
        "screens[0].size[1]: expected a whole number from 1 to 8192, found 0");
    row("background no colour", "#102030", "dusk",
        "screens[1].background: expected a colour such as \"#20c0a0\" or, with alpha first, "
        "\"#8020c0a0\", found \"dusk\"");
    row("no layers", "{ \"name\": \"Only\", \"rect\": [10, 20, 300, 200] }", "",
        "screens[0].layers: expected an array of 1 to 255 objects, found an array of 0");
    row("layer no object", "{ \"name\": \"Only\", \"rect\": [10, 20, 300, 200] }", "true",
        "screens[0].layers[0]: expected an object, found true");
    row("layer without name", "\"name\": \"Bare\", ", "",
        "screens[1].layers[0].name: expected a text that is not empty, found nothing");
    row("layer without place", ", \"rect\": [10, 20, 300, 200]", "",
        "screens[0].layers[0].rect: expected [x, y, width, height], found nothing");
    row("layer width of zero", "[-5, -6, 301, 201]", "[-5, -6, 0, 201]",
        "screens[1].layers[1].rect[2]: expected a whole number from 1 to 8192, found 0");
    row("layer place no number", "[-5, -6, 301, 201]", "[\"left\", -6, 301, 201]",
        "screens[1].layers[1].rect[0]: expected a whole number from -8192 to 8192, found \"left\"");
    row("opacity too high", "\"opacity\": 40", "\"opacity\": 101",
        "screens[1].layers[1].opacity: expected a whole number from 0 to 100, found 101");
    row("opacity negative", "\"opacity\": 40", "\"opacity\": -1",
        "screens[1].layers[1].opacity: expected a whole number from 0 to 100, found -1");
    row("opacity broken", "\"opacity\": 40", "\"opacity\": 0.5",
        "screens[1].layers[1].opacity: expected a whole number from 0 to 100, found 0.5");
    row("mirror of no kind", "\"both\"", "\"upside down\"",
        "screens[1].layers[1].mirror: expected one of \"none\", \"horizontal\", \"vertical\", "
        "\"both\", found \"upside down\"");
    row("mono no flag", "\"mono\": true", "\"mono\": 1",
        "screens[1].layers[1].mono: expected true or false, found 1");
    row("layer colour no text", "\"#80ff8000\"", "{}",
        "screens[1].layers[1].color: expected a colour such as \"#20c0a0\" or, with alpha first, "
        "\"#8020c0a0\", found an object");
    row("unknown key of a layer", "\"opacity\"", "\"opaqueness\"",
        "screens[1].layers[1].opaqueness: unknown key, expected one of: alphaMap, border, color, "
        "frozen, mask, mirror, mono, name, opacity, rect, reverse, source");
    row("source kind missing", "\"type\": \"none\"", "",
        "screens[1].layers[0].source.type: expected one of \"input\", \"none\", found nothing");
    row("input missing", "\"input\": 8, ", "",
        "screens[1].layers[1].source.input: expected a whole number from 0 to 8, found nothing");
    row("input beyond the tiles", "\"input\": 8", "\"input\": 9",
        "screens[1].layers[1].source.input: expected a whole number from 0 to 8, found 9");
    row("input beside no source", "\"type\": \"none\"", "\"type\": \"none\", \"input\": 1",
        "screens[1].layers[0].source.input: unknown key, expected one of: type");
    row("crop outside the source", "[1, 2, 700, 500]", "[101, 2, 700, 500]",
        "screens[1].layers[1].source.crop: expected a rectangle inside the source's size of "
        "800 x 600, found an array of 4");
    row("crop incomplete", "[1, 2, 700, 500]", "[1, 2]",
        "screens[1].layers[1].source.crop: expected [x, y, width, height], found an array of 2");
    row("border style of no kind", "\"halo_in\"", "\"dashed\"",
        "screens[1].layers[1].border.style: expected one of \"hard_in\", \"hard_out\", "
        "\"hard_in_out\", \"soft\", \"halo\", \"halo_in\", \"halo_out\", \"none\", found "
        "\"dashed\"");
    row("border size negative", "[7, 9]", "[-7, 9]",
        "screens[1].layers[1].border.size[0]: expected a whole number from 0 to 8192, found -7");
    row("mask inset broken", "\"left\": 3", "\"left\": 3.25",
        "screens[1].layers[1].mask.left: expected a whole number from 0 to 8192, found 3.25");
    row("mask no object", "{ \"top\": 1, \"bottom\": 2, \"left\": 3, \"right\": 4 }",
        "[1, 2, 3, 4]", "screens[1].layers[1].mask: expected an object, found an array of 4");
    row("alpha map unknown", "builtin:ellipse", "builtin:star",
        "screens[1].layers[1].alphaMap: expected \"builtin:ellipse\" or the name of a file, found "
        "\"builtin:star\"");
    row("no JSON", "\"screens\": [", "\"screens\"; [",
        "line 3: expected JSON, found an error: missing name separator");
    row("no object", SmallScene, "[1, 2]", "(whole file): expected an object, found an array of 2");
}

void tst_SceneReader::wrongScenesNameFileKeyAndExpectation()
{
    QFETCH(QByteArray, from);
    QFETCH(QByteArray, to);
    QFETCH(QString, problem);
    QVERIFY2(QByteArray(SmallScene).contains(from), "the row does not change the scene");
    QStringList problems;
    const auto scene = readScene(changedScene(from, to), FileName, problems);
    QVERIFY(!scene);
    QCOMPARE(problems, QStringList(FileName + QStringLiteral(": ") + problem + subject(problem)));
}

void tst_SceneReader::inputsAreThoseOfTheLargestDevice()
{
    const QByteArray other = "\"otherDevices\": [ { \"address\": \"10.0.0.8\", \"port\": 4000,"
                             " \"tiles\": 25, \"source\": \"mjpeg\" } ], \"screens\"";
    QByteArray text = changedScene("\"screens\"", other);
    QStringList problems;
    const auto scene = readScene(text.replace("\"input\": 8", "\"input\": 24"), FileName, problems);
    QCOMPARE(problems, QStringList());
    QCOMPARE(scene->m_screens[1].m_layers[1].input(), 24);
    QVERIFY(!readScene(text.replace("\"input\": 24", "\"input\": 25"), FileName, problems));
    QVERIFY2(problems.first().contains(QStringLiteral("a whole number from 0 to 24, found 25")),
             qPrintable(problems.first()));
}

void tst_SceneReader::aFileThatCannotBeASceneIsNotReadWhole()
{
    QStringList problems;
    QVERIFY(!readSceneFile(QStringLiteral("/dev/zero"), problems)); // never ends
    QCOMPARE(problems.size(), 1);
    QVERIFY2(problems.first().contains(QStringLiteral("more than 64 MiB")),
             qPrintable(problems.first()));
}

void tst_SceneReader::everyProblemIsReported()
{
    const QByteArray text = changedScene("\"opacity\": 40", "\"opacity\": 400")
                                .replace("\"port\": 4000", "\"port\": -1")
                                .replace("\"name\": \"Only\"", "\"title\": \"Only\"");
    QStringList problems;
    QVERIFY(!readScene(text, FileName, problems));
    QCOMPARE(problems.size(), 4);
    QVERIFY(problems[0].startsWith(QStringLiteral("wall.json: device.port: ")));
    QVERIFY(problems[1].startsWith(QStringLiteral("wall.json: screens[0].layers[0].name: ")));
    QVERIFY(problems[2].startsWith(QStringLiteral("wall.json: screens[0].layers[0].title: ")));
    QVERIFY(problems[3].startsWith(QStringLiteral("wall.json: screens[1].layers[1].opacity: ")));
}

void tst_SceneReader::alphaMapFilesAreRelativeToTheScene()
{
    QTemporaryDir folder;
    QFile map(folder.filePath(QStringLiteral("map.png")));
    QVERIFY(map.open(QIODevice::WriteOnly));
    QStringList problems;
    const auto scene =
        readScene(changedScene("builtin:ellipse", "map.png"), folder.filePath(FileName), problems);
    QVERIFY2(scene, qPrintable(problems.join(QLatin1Char('\n'))));
    QCOMPARE(scene->m_screens[1].m_layers[1].m_config.m_LayerAlphaMap.m_strAlphaMapFile,
             map.fileName());
}

void tst_SceneReader::missingAlphaMapFileIsAProblem()
{
    QTemporaryDir folder;
    const QString strScene = folder.filePath(FileName);
    QStringList problems;
    QVERIFY(!readScene(changedScene("builtin:ellipse", "map.png"), strScene, problems));
    QCOMPARE(problems.size(), 1);
    const QString strStart =
        strScene + QStringLiteral(": screens[1].layers[1].alphaMap: expected a file that exists");
    QVERIFY2(problems[0].startsWith(strStart), qPrintable(problems[0]));
}

void tst_SceneReader::aFileThatCannotBeReadIsAProblem()
{
    QTemporaryDir folder;
    const QString strScene = folder.filePath(FileName);
    QStringList problems;
    QVERIFY(!readSceneFile(strScene, problems));
    QCOMPARE(problems.size(), 1);
    QVERIFY(
        problems[0].startsWith(strScene + QStringLiteral(": expected a file that can be read")));
}

void tst_SceneReader::readsFiles()
{
    QTemporaryDir folder;
    QFile file(folder.filePath(FileName));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(file.write(SmallScene) > 0);
    file.close();
    QStringList problems;
    const auto scene = readSceneFile(file.fileName(), problems);
    QVERIFY(scene);
    QCOMPARE(scene->m_screens[0].m_strName, QStringLiteral("First"));
}

void tst_SceneReader::builtInSceneIsReadForAnEmptyName()
{
    QStringList problems;
    const auto scene = readSceneFile(QString(), problems);
    QCOMPARE(problems, QStringList());
    QVERIFY(scene);
    const auto same = readScene(builtInSceneText(), FileName, problems);
    QVERIFY(same);
    QCOMPARE(scene->m_screens.size(), same->m_screens.size());
}

void tst_SceneReader::builtInSceneShowsEveryEffect()
{
    QStringList problems;
    const auto scene = readSceneFile(QString(), problems);
    QVERIFY(scene);
    QCOMPARE(scene->m_screens.size(), 2);
    QVERIFY(layers(*scene).size() >= 8);
    const auto shows = [&scene](auto effect) { return layersThat(*scene, effect) > 0; };
    for (const auto eMirroring :
         {sLayerItem::NoMirroring, sLayerItem::Hori, sLayerItem::Vert, sLayerItem::Both})
        QVERIFY(shows([eMirroring](const sLayerVideoConfig &layer) {
            return layer.m_LayerItem.m_mirroringType == eMirroring;
        }));
    for (const auto eBorder : {LayerEnum::Hard_in, LayerEnum::Soft, LayerEnum::Halo_in})
        QVERIFY(shows([eBorder](const sLayerVideoConfig &layer) {
            return layer.m_LayerBorder.m_borderType == eBorder;
        }));
    const QList<QPair<bool, bool>> colourEffects = {{true, false}, {false, true}, {true, true}};
    for (const auto &[isMono, isReverse] : colourEffects)
        QVERIFY(shows([isMono = isMono, isReverse = isReverse](const sLayerVideoConfig &layer) {
            return layer.m_LayerItem.m_bMonoColorEnabled == isMono
                && layer.m_LayerItem.m_bReverseColorEnabled == isReverse;
        }));
    QVERIFY(shows([](const auto &layer) { return layer.m_LayerSource.m_bLayerSourceIntercept; }));
    QVERIFY(shows([](const auto &layer) { return layer.m_LayerMask.m_bMaskEnable; }));
    QVERIFY(shows([](const auto &layer) { return layer.m_LayerItem.m_isFrozen; }));
    QVERIFY(shows([](const auto &layer) { return layer.m_LayerItem.m_opacity < 100; }));
    QVERIFY(shows([](const auto &layer) {
        return layer.m_LayerItem.m_layerColor.alpha() < 255
            && layer.m_LayerSource.m_eLayerSourceType == sLayerSource::Input;
    }));
    QVERIFY(shows(
        [](const auto &layer) { return !layer.m_LayerAlphaMap.m_strAlphaMapFile.isEmpty(); }));
    QVERIFY(shows([](const auto &layer) {
        return layer.m_LayerSource.m_eLayerSourceType == sLayerSource::NoSource;
    }));
}

void tst_SceneReader::builtInLayersLieOnTheirCanvas()
{
    QStringList problems;
    const auto scene = readSceneFile(QString(), problems);
    QVERIFY(scene);
    for (const sSceneScreen &screen : scene->m_screens) {
        const QRect canvas(QPoint(0, 0), screen.m_size);
        for (const sSceneLayer &layer : screen.m_layers)
            QVERIFY2(canvas.contains(layer.canvasRect()), qPrintable(layer.m_strName));
    }
}

QTEST_MAIN(tst_SceneReader)
#include "tst_scenereader.moc"
