#include <builtinpictures.h>
#include <recentfiles.h>
#include <scenedocument.h>
#include <scenereader.h>
#include <scenewriter.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

using namespace Morvek;
using namespace Morvek::Tools;

namespace {

sScene builtInScene()
{
    QStringList problems;
    return readSceneFile(QString(), problems).value();
}

/** Everything of a scene as text, to be compared. */
QByteArray textOf(const SceneDocument &document)
{
    return sceneText(document.scene(), QStringLiteral("/scene.json"));
}

/** A layer with a value in each field that no other layer has by default. */
sSceneLayer unusualLayer(const sSceneLayer &like)
{
    sSceneLayer layer = like;
    layer.m_strName = QStringLiteral("Name with \"quotes\", %1 and ü");
    layer.m_position = QPoint(-20, 8000);
    auto &config = layer.m_config;
    config.m_LayerItem.m_boundingRect = QRectF(0, 0, 77, 33);
    config.m_LayerItem.m_layerColor = QColor(1, 2, 3, 4);
    config.m_LayerItem.m_mirroringType = EchoVideo::sLayerItem::Both;
    config.m_LayerItem.m_bMonoColorEnabled = true;
    config.m_LayerItem.m_bReverseColorEnabled = true;
    config.m_LayerItem.m_isFrozen = true;
    config.m_LayerItem.m_opacity = 17;
    config.m_LayerSource.m_eLayerSourceType = EchoVideo::sLayerSource::Input;
    config.m_LayerSource.m_nLayerSourceKeyNo = 11;
    config.m_LayerSource.m_sizeLayerSource = QSize(1280, 720);
    config.m_LayerSource.m_bLayerSourceIntercept = true;
    config.m_LayerSource.m_rectLayerSourceIntercept = QRect(5, 6, 700, 80);
    config.m_LayerBorder.m_borderType = BizModel::Enum::Layer::Halo_out;
    config.m_LayerBorder.m_borderColor = QColor(9, 8, 7, 6);
    config.m_LayerBorder.m_borderSize = QSize(3, 4);
    config.m_LayerMask.m_bMaskEnable = true;
    config.m_LayerMask.m_maskSize = {1, 2, 3, 4};
    config.m_LayerAlphaMap.m_strAlphaMapFile = QStringLiteral("builtin:ellipse");
    return layer;
}

} // namespace

class tst_SceneDocument : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qRegisterMetaType<LayerKey>("Morvek::Tools::LayerKey"); }
    void aSceneIsTheSameAfterWritingAndReading();
    void filesBesideTheSceneAreNamedRelativeToIt();
    void filesOfTheWorkingFolderAreFoundAgain();
    void aBorderThatIsOffKeepsItsLook();
    void aFileThatCannotBeWrittenIsTold();
    void aSceneThatCouldNotBeReadAgainIsNotWritten();
    void anEmptyNameLeavesThePresentOne();
    void onlyTheEllipseIsBuiltIn();
    void titlesShowAddressesAsTheyAre();
    void everyPartOfALayerIsUndone_data();
    void everyPartOfALayerIsUndone();
    void anEditThatChangesNothingIsNone();
    void oneGestureIsOneEdit();
    void aGestureThatEndsWhereItBeganIsNone();
    void otherGesturesAndLayersAreOtherEdits();
    void geometryStaysWithinWhatAFileAllows();
    void layersAreAddedRemovedAndRestacked();
    void theLastLayerAndScreenStay();
    void screensAreRemoved();
    void devicesAreEdited();
    void savingMakesItClean();
    void anotherSceneForgetsTheEdits();
    void recentFilesAreBoundedAndInOrder();
};

void tst_SceneDocument::aSceneIsTheSameAfterWritingAndReading()
{
    sScene scene = builtInScene();
    scene.m_otherDevices.first().m_strName = QStringLiteral("\\ and \"");
    scene.m_screens[0].m_layers[3] = unusualLayer(scene.m_screens[0].m_layers[3]);
    scene.m_screens[1].m_background = QColor(1, 2, 3, 4);
    const QByteArray text = sceneText(scene, QStringLiteral("scene.json"));
    QStringList problems;
    const auto again = readScene(text, QStringLiteral("scene.json"), problems);
    QCOMPARE(problems, QStringList());
    QVERIFY(again->devices() == scene.devices());
    QCOMPARE(again->m_screens.size(), scene.m_screens.size());
    for (int nScreen = 0; nScreen < scene.m_screens.size(); ++nScreen) {
        const sSceneScreen &expected = scene.m_screens[nScreen];
        const sSceneScreen &found = again->m_screens[nScreen];
        QCOMPARE(found.m_strName, expected.m_strName);
        QCOMPARE(found.m_size, expected.m_size);
        QCOMPARE(found.m_background, expected.m_background);
        QCOMPARE(found.m_layers.size(), expected.m_layers.size());
        for (int nLayer = 0; nLayer < expected.m_layers.size(); ++nLayer)
            QVERIFY2(found.m_layers[nLayer] == expected.m_layers[nLayer],
                     qPrintable(expected.m_layers[nLayer].m_strName));
    }
}

void tst_SceneDocument::filesBesideTheSceneAreNamedRelativeToIt()
{
    const QTemporaryDir folder;
    QVERIFY(QDir(folder.path()).mkdir(QStringLiteral("maps")));
    QFile map(folder.filePath(QStringLiteral("maps/a.png")));
    QVERIFY(map.open(QIODevice::WriteOnly));
    sScene scene = builtInScene();
    scene.m_screens[0].m_layers[0].m_config.m_LayerAlphaMap.m_strAlphaMapFile = map.fileName();
    scene.m_device.m_strFile = QStringLiteral("/elsewhere/a.yuv");
    const QString strFile = folder.filePath(QStringLiteral("scene.json"));
    QCOMPARE(writeSceneFile(scene, strFile), QString());
    QFile written(strFile);
    QVERIFY(written.open(QIODevice::ReadOnly));
    const QByteArray text = written.readAll();
    QVERIFY(text.contains("\"alphaMap\": \"maps/a.png\""));
    QVERIFY(text.contains("\"file\": \"/elsewhere/a.yuv\""));
    QStringList problems;
    const auto again = readSceneFile(strFile, problems);
    QCOMPARE(problems, QStringList());
    QCOMPARE(again->m_screens[0].m_layers[0].m_config.m_LayerAlphaMap.m_strAlphaMapFile,
             map.fileName());
}

void tst_SceneDocument::aFileThatCannotBeWrittenIsTold()
{
    SceneDocument document;
    document.setScene(builtInScene(), QString());
    const QString strError = document.save(QStringLiteral("/nonexistent/scene.json"));
    QVERIFY(strError.contains(QStringLiteral("/nonexistent/scene.json")));
    QCOMPARE(document.fileName(), QString());
}

void tst_SceneDocument::filesOfTheWorkingFolderAreFoundAgain()
{
    const QTemporaryDir folder;
    sScene scene = builtInScene();
    scene.m_device.m_strFile = QStringLiteral("clips/a.yuv");
    const QString strFile = folder.filePath(QStringLiteral("scene.json"));
    QCOMPARE(writeSceneFile(scene, strFile), QString());
    QStringList problems;
    QCOMPARE(readSceneFile(strFile, problems)->m_device.m_strFile,
             QDir::current().absoluteFilePath(QStringLiteral("clips/a.yuv")));
}

void tst_SceneDocument::aBorderThatIsOffKeepsItsLook()
{
    sScene scene = builtInScene();
    auto &border = scene.m_screens[0].m_layers[0].m_config.m_LayerBorder;
    border.m_borderColor = QColor(1, 2, 3, 4);
    border.m_borderSize = QSize(5, 6);
    QStringList problems;
    const QString strName = QStringLiteral("scene.json");
    const auto again = readScene(sceneText(scene, strName), strName, problems);
    QCOMPARE(problems, QStringList());
    QVERIFY(again->m_screens[0].m_layers[0] == scene.m_screens[0].m_layers[0]);
}

void tst_SceneDocument::aSceneThatCouldNotBeReadAgainIsNotWritten()
{
    const QTemporaryDir folder;
    const QString strFile = folder.filePath(QStringLiteral("scene.json"));
    SceneDocument document;
    document.setScene(builtInScene(), QString());
    sSceneLayer layer = document.scene().m_screens[0].m_layers[2];
    layer.m_config.m_LayerAlphaMap.m_strAlphaMapFile = folder.filePath(QStringLiteral("gone.png"));
    document.editLayer(layer, eLayerPart::AlphaMap);
    const QString strError = document.save(strFile);
    QVERIFY2(strError.contains(QStringLiteral("screens[0].layers[2].alphaMap")),
             qPrintable(strError));
    QVERIFY(!QFile::exists(strFile));
    QVERIFY(document.isModified());
    document.undoStack().undo();
    QCOMPARE(document.save(strFile), QString());
}

void tst_SceneDocument::anEmptyNameLeavesThePresentOne()
{
    SceneDocument document;
    document.setScene(builtInScene(), QString());
    const sSceneLayer before = document.scene().m_screens[0].m_layers[0];
    sSceneLayer layer = before;
    layer.m_strName.clear();
    document.editLayer(layer, eLayerPart::Name);
    QVERIFY(document.scene().m_screens[0].m_layers[0] == before);
    QVERIFY(!document.isModified());
}

void tst_SceneDocument::onlyTheEllipseIsBuiltIn()
{
    const QTemporaryDir folder;
    BuiltInAlphaMaps maps;
    sSceneLayer layer;
    QString &strFile = layer.m_config.m_LayerAlphaMap.m_strAlphaMapFile;
    strFile = QStringLiteral("builtin:ellipse");
    QVERIFY(maps.provide(layer));
    QVERIFY(QFile::exists(strFile));
    const QString strOther =
        QDir(QFileInfo(strFile).path()).relativeFilePath(folder.filePath(QStringLiteral("map")));
    strFile = QStringLiteral("builtin:") + strOther;
    QVERIFY(maps.provide(layer));
    QCOMPARE(strFile, QStringLiteral("builtin:") + strOther);
    QVERIFY(!QFile::exists(folder.filePath(QStringLiteral("map.png"))));
}

void tst_SceneDocument::titlesShowAddressesAsTheyAre()
{
    sSceneDevice device;
    device.m_strAddress = QStringLiteral("fe80::1%2");
    device.m_nPort = 8554;
    QCOMPARE(device.title(), QStringLiteral("[fe80::1%2]:8554"));
    device.m_strAddress = QStringLiteral("10.0.0.7");
    QCOMPARE(device.title(), QStringLiteral("10.0.0.7:8554"));
    device.m_strName = QStringLiteral("Wall");
    QCOMPARE(device.title(), QStringLiteral("Wall"));
}

void tst_SceneDocument::everyPartOfALayerIsUndone_data()
{
    QTest::addColumn<int>("nPart");
    QTest::newRow("name") << int(eLayerPart::Name);
    QTest::newRow("geometry") << int(eLayerPart::Geometry);
    QTest::newRow("source") << int(eLayerPart::Source);
    QTest::newRow("look") << int(eLayerPart::Look);
    QTest::newRow("border") << int(eLayerPart::Border);
    QTest::newRow("mask") << int(eLayerPart::Mask);
    QTest::newRow("alpha map") << int(eLayerPart::AlphaMap);
}

void tst_SceneDocument::everyPartOfALayerIsUndone()
{
    QFETCH(int, nPart);
    SceneDocument document;
    document.setScene(builtInScene(), QString());
    const QByteArray before = textOf(document);
    const sSceneLayer original = document.scene().m_screens[1].m_layers[4];
    const sSceneLayer other = unusualLayer(original);
    sSceneLayer edited = original;
    auto &config = edited.m_config;
    switch (eLayerPart(nPart)) {
    case eLayerPart::Name:
        edited.m_strName = other.m_strName;
        break;
    case eLayerPart::Geometry:
        edited.m_position = other.m_position;
        break;
    case eLayerPart::Source:
        config.m_LayerSource = other.m_config.m_LayerSource;
        break;
    case eLayerPart::Look:
        config.m_LayerItem.m_opacity = 17;
        break;
    case eLayerPart::Border:
        config.m_LayerBorder = other.m_config.m_LayerBorder;
        break;
    case eLayerPart::Mask:
        config.m_LayerMask = other.m_config.m_LayerMask;
        break;
    case eLayerPart::AlphaMap:
        config.m_LayerAlphaMap.m_strAlphaMapFile.clear();
        break;
    }
    QSignalSpy spy(&document, &SceneDocument::layerChanged);
    document.editLayer(edited, eLayerPart(nPart));
    const LayerKey key = original.m_config.m_LayerIdentifies;
    QVERIFY(*document.layer(key) == edited);
    QVERIFY(!(*document.layer(key) == original));
    QVERIFY(document.isModified());
    const QByteArray after = textOf(document);
    QVERIFY(after != before);
    document.undoStack().undo();
    QCOMPARE(textOf(document), before);
    document.undoStack().redo();
    QCOMPARE(textOf(document), after);
    QCOMPARE(spy.count(), 3);
    QVERIFY(spy.last().first().value<LayerKey>() == key);
}

void tst_SceneDocument::anEditThatChangesNothingIsNone()
{
    SceneDocument document;
    document.setScene(builtInScene(), QString());
    document.editLayer(document.scene().m_screens[0].m_layers[0], eLayerPart::Geometry);
    document.editDevice(0, document.scene().m_device);
    sSceneLayer unknown = document.scene().m_screens[0].m_layers[0];
    unknown.m_config.m_LayerIdentifies.layerId = 200;
    document.editLayer(unknown, eLayerPart::Geometry);
    QCOMPARE(document.undoStack().count(), 0);
    QVERIFY(!document.isModified());
}

void tst_SceneDocument::oneGestureIsOneEdit()
{
    SceneDocument document;
    document.setScene(builtInScene(), QString());
    sSceneLayer layer = document.scene().m_screens[0].m_layers[0];
    const QPoint before = layer.m_position;
    const int nGesture = document.newGesture();
    for (int nStep = 1; nStep <= 20; ++nStep) {
        layer.m_position = before + QPoint(nStep, 2 * nStep);
        document.editLayer(layer, eLayerPart::Geometry, nGesture);
    }
    QCOMPARE(document.undoStack().count(), 1);
    QCOMPARE(document.scene().m_screens[0].m_layers[0].m_position, before + QPoint(20, 40));
    document.undoStack().undo();
    QCOMPARE(document.scene().m_screens[0].m_layers[0].m_position, before);
    document.undoStack().redo();
    QCOMPARE(document.scene().m_screens[0].m_layers[0].m_position, before + QPoint(20, 40));
}

void tst_SceneDocument::aGestureThatEndsWhereItBeganIsNone()
{
    SceneDocument document;
    document.setScene(builtInScene(), QString());
    const sSceneLayer original = document.scene().m_screens[0].m_layers[0];
    sSceneLayer layer = original;
    const int nGesture = document.newGesture();
    layer.m_position += QPoint(5, 5);
    document.editLayer(layer, eLayerPart::Geometry, nGesture);
    document.editLayer(original, eLayerPart::Geometry, nGesture);
    QCOMPARE(document.undoStack().count(), 0);
    QVERIFY(!document.isModified());
    QVERIFY(document.scene().m_screens[0].m_layers[0] == original);
}

void tst_SceneDocument::otherGesturesAndLayersAreOtherEdits()
{
    SceneDocument document;
    document.setScene(builtInScene(), QString());
    const auto move = [&](int nLayer, eLayerPart ePart, int nGesture) {
        sSceneLayer layer = document.scene().m_screens[0].m_layers[nLayer];
        layer.m_position += QPoint(1, 0);
        document.editLayer(layer, ePart, nGesture);
    };
    const int nGesture = document.newGesture();
    move(0, eLayerPart::Geometry, nGesture);
    move(0, eLayerPart::Geometry, document.newGesture());
    move(1, eLayerPart::Geometry, nGesture);
    move(1, eLayerPart::Look, nGesture);
    move(1, eLayerPart::Look, 0);
    move(1, eLayerPart::Look, 0);
    QCOMPARE(document.undoStack().count(), 6);
}

void tst_SceneDocument::geometryStaysWithinWhatAFileAllows()
{
    SceneDocument document;
    document.setScene(builtInScene(), QString());
    sSceneLayer layer = document.scene().m_screens[0].m_layers[0];
    layer.m_position = QPoint(-100000, 100000);
    layer.m_config.m_LayerItem.m_boundingRect = QRectF(0, 0, 0, 50000);
    document.editLayer(layer, eLayerPart::Geometry);
    QCOMPARE(document.scene().m_screens[0].m_layers[0].canvasRect(), QRect(-8192, 8192, 1, 8192));
    QStringList problems;
    QVERIFY(readScene(textOf(document), QStringLiteral("scene.json"), problems));
}

void tst_SceneDocument::layersAreAddedRemovedAndRestacked()
{
    SceneDocument document;
    document.setScene(builtInScene(), QString());
    const QByteArray before = textOf(document);
    const LayerKey third = document.scene().m_screens[0].m_layers[2].m_config.m_LayerIdentifies;
    document.removeLayer(third);
    QVERIFY(!document.layer(third));
    const QByteArray without = textOf(document);
    // The freed id is taken first.
    const LayerKey added =
        document.addLayer(0, unusualLayer(document.scene().m_screens[0].m_layers[0]));
    QVERIFY(added == third);
    QCOMPARE(document.screenOf(added), 0);
    const QList<sSceneLayer> &layers = document.scene().m_screens[0].m_layers;
    QVERIFY(layers.last().m_config.m_LayerIdentifies == added);
    document.restackLayer(added, -2);
    QVERIFY(layers[layers.size() - 3].m_config.m_LayerIdentifies == added);
    document.restackLayer(added, -1000);
    QVERIFY(layers.first().m_config.m_LayerIdentifies == added);
    document.restackLayer(added, -1); // as low as it gets
    QCOMPARE(document.undoStack().count(), 4);
    const QByteArray after = textOf(document);
    document.undoStack().setIndex(1);
    QCOMPARE(textOf(document), without);
    document.undoStack().setIndex(0);
    QCOMPARE(textOf(document), before);
    document.undoStack().setIndex(4);
    QCOMPARE(textOf(document), after);
}

void tst_SceneDocument::theLastLayerAndScreenStay()
{
    SceneDocument document;
    sScene scene = builtInScene();
    scene.m_screens = {scene.m_screens[0]};
    scene.m_screens[0].m_layers = {scene.m_screens[0].m_layers[0]};
    document.setScene(scene, QString());
    const LayerKey only = scene.m_screens[0].m_layers[0].m_config.m_LayerIdentifies;
    QVERIFY(!document.canRemoveLayer(only));
    QVERIFY(!document.canRemoveScreen());
    document.removeLayer(only);
    document.removeScreen(0);
    QCOMPARE(document.undoStack().count(), 0);
    QVERIFY(document.layer(only));
}

void tst_SceneDocument::screensAreRemoved()
{
    SceneDocument document;
    document.setScene(builtInScene(), QString());
    const QByteArray before = textOf(document);
    QSignalSpy spy(&document, &SceneDocument::structureChanged);
    document.removeScreen(0);
    QCOMPARE(document.scene().m_screens.size(), 1);
    QCOMPARE(document.scene().m_screens[0].m_strName, QStringLiteral("Stage: shape and blending"));
    document.undoStack().undo();
    QCOMPARE(textOf(document), before);
    QCOMPARE(spy.count(), 2);
}

void tst_SceneDocument::devicesAreEdited()
{
    SceneDocument document;
    document.setScene(builtInScene(), QString());
    const QByteArray before = textOf(document);
    const int nGesture = document.newGesture();
    sSceneDevice device = document.scene().m_otherDevices[0];
    for (int nFps : {24, 20, 15}) {
        device.m_nFps = nFps;
        document.editDevice(1, device, nGesture);
    }
    QCOMPARE(document.undoStack().count(), 1);
    QCOMPARE(document.scene().m_otherDevices[0].m_nFps, 15);
    QCOMPARE(document.scene().m_device.m_nFps, 25);
    device = document.scene().m_device;
    device.m_eSourceType = BizModel::s_EchoVideoConfig::LocalFile;
    document.editDevice(0, device, nGesture);
    QCOMPARE(document.undoStack().count(), 2);
    document.undoStack().setIndex(0);
    QCOMPARE(textOf(document), before);
}

void tst_SceneDocument::savingMakesItClean()
{
    const QTemporaryDir folder;
    const QString strFile = folder.filePath(QStringLiteral("saved.json"));
    SceneDocument document;
    document.setScene(builtInScene(), QString());
    QCOMPARE(document.title(), QStringLiteral("built-in scene"));
    document.removeScreen(1);
    QVERIFY(document.isModified());
    QSignalSpy spy(&document, &SceneDocument::titleChanged);
    QCOMPARE(document.save(strFile), QString());
    QVERIFY(!document.isModified());
    QVERIFY(spy.count() > 0);
    QCOMPARE(document.title(), QStringLiteral("saved.json"));
    document.undoStack().undo();
    QVERIFY(document.isModified());
    QStringList problems;
    QCOMPARE(readSceneFile(strFile, problems)->m_screens.size(), 1);
}

void tst_SceneDocument::anotherSceneForgetsTheEdits()
{
    SceneDocument document;
    document.setScene(builtInScene(), QString());
    document.removeScreen(1);
    document.setScene(builtInScene(), QStringLiteral("/a/b.json"));
    QVERIFY(!document.undoStack().canUndo());
    QVERIFY(!document.isModified());
    QCOMPARE(document.scene().m_screens.size(), 2);
}

void tst_SceneDocument::recentFilesAreBoundedAndInOrder()
{
    const QTemporaryDir folder;
    const QString strSettings = folder.filePath(QStringLiteral("settings.ini"));
    {
        QSettings settings(strSettings, QSettings::IniFormat);
        RecentFiles recent(settings);
        for (int nFile = 0; nFile < 12; ++nFile)
            recent.add(QStringLiteral("/scenes/%1.json").arg(nFile));
        recent.add(QStringLiteral("/scenes/9.json"));
        recent.remove(QStringLiteral("/scenes/10.json"));
    }
    QSettings settings(strSettings, QSettings::IniFormat);
    QStringList expected;
    for (int nFile : {9, 11, 8, 7, 6, 5, 4})
        expected.append(QStringLiteral("/scenes/%1.json").arg(nFile));
    QCOMPARE(RecentFiles(settings).files(), expected);
}

QTEST_MAIN(tst_SceneDocument)
#include "tst_scenedocument.moc"
