#include "windowtest.h"

#include <cropeditor.h>
#include <scenereader.h>
#include <scenewriter.h>

#include <QComboBox>
#include <QDialog>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QSpinBox>
#include <QStandardItemModel>
#include <QStatusBar>
#include <QTextBrowser>
#include <QWheelEvent>

using namespace Morvek;
using namespace Morvek::Tests;
using namespace Morvek::Tools;

namespace {

void turnWheel(QWidget &widget)
{
    const QPointF place = QRectF(widget.rect()).center();
    QWheelEvent wheel(place, widget.mapToGlobal(place.toPoint()), QPoint(), QPoint(0, -120),
                      Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(&widget, &wheel);
}

void moveMouse(QWidget &widget, const QPoint &place, Qt::MouseButtons buttons)
{
    QMouseEvent move(QEvent::MouseMove, place, widget.mapToGlobal(place), Qt::NoButton, buttons,
                     Qt::NoModifier);
    QCoreApplication::sendEvent(&widget, &move);
}

const sSceneLayer &layerOf(WindowBench &bench, const LayerKey &key)
{
    return *bench.host().document().layer(key);
}

} // namespace

/** The fields of a layer, and what is done to it by hand, where they meet their bounds. */
class tst_WindowFields : public WindowTest
{
    Q_OBJECT

private Q_SLOTS:
    void theWheelScrollsPastFieldsThatNobodyIsIn();
    void undoReachesTheSceneFromAField();
    void escapeTakesBackWhatIsTyped();
    void onlyInputsOfTheDeviceAreOffered();
    void aLayerWithoutSourceIsGivenAnInputByTheWall();
    void anAlphaMapThatIsNoFileIsRefused();
    void cropNumbersBeyondTheSourceStayInIt();
    void anotherLayerIsNotDragged();
    void aClickThatWobblesMovesNothing();
    void onlyTheLeftButtonEndsADrag();
    void theListOfShortcutsFitsASmallScreen();
    void aSnapshotOfNoInputIsRefused();
};

void tst_WindowFields::theWheelScrollsPastFieldsThatNobodyIsIn()
{
    WindowBench bench;
    QVERIFY(bench.open());
    bench.window().select(0, bench.key(0, 0));
    bench.canvas().setFocus();
    const sSceneLayer before = layerOf(bench, bench.key(0, 0));
    turnWheel(bench.widget<QSpinBox>("Left"));
    turnWheel(bench.widget<QSpinBox>("Opacity"));
    turnWheel(bench.widget<QComboBox>("Mirroring"));
    QVERIFY(layerOf(bench, bench.key(0, 0)) == before);
    auto &left = bench.widget<QSpinBox>("Left");
    bench.window().activateWindow();
    left.setFocus();
    QTRY_VERIFY(left.hasFocus());
    turnWheel(left);
    QCOMPARE(layerOf(bench, bench.key(0, 0)).m_position.x(), before.m_position.x() - 1);
}

void tst_WindowFields::undoReachesTheSceneFromAField()
{
    WindowBench bench;
    QVERIFY(bench.open());
    bench.window().select(0, bench.key(0, 0));
    const int nBefore = layerOf(bench, bench.key(0, 0)).m_position.x();
    auto &left = bench.widget<QSpinBox>("Left");
    bench.window().activateWindow();
    left.setFocus();
    QTRY_VERIFY(left.hasFocus());
    QTest::keyClick(&left, Qt::Key_Up);
    QCOMPARE(layerOf(bench, bench.key(0, 0)).m_position.x(), nBefore + 1);
    // Through the window's handle, as shortcuts come.
    QTest::keyClick(bench.window().windowHandle(), Qt::Key_Z, Qt::ControlModifier);
    QCOMPARE(layerOf(bench, bench.key(0, 0)).m_position.x(), nBefore);
    QTest::keyClick(bench.window().windowHandle(), Qt::Key_Z,
                    Qt::ControlModifier | Qt::ShiftModifier);
    QCOMPARE(layerOf(bench, bench.key(0, 0)).m_position.x(), nBefore + 1);
    // What is half typed is taken back first.
    QTest::keyClick(bench.window().windowHandle(), Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(&left, QStringLiteral("77"));
    QTest::keyClick(bench.window().windowHandle(), Qt::Key_Z, Qt::ControlModifier);
    QCOMPARE(layerOf(bench, bench.key(0, 0)).m_position.x(), nBefore + 1);
}

void tst_WindowFields::escapeTakesBackWhatIsTyped()
{
    WindowBench bench;
    QVERIFY(bench.open());
    const LayerKey key = bench.key(0, 0);
    bench.window().select(0, key);
    bench.window().activateWindow();
    const sSceneLayer before = layerOf(bench, key);
    auto &left = bench.widget<QSpinBox>("Left");
    auto &name = bench.widget<QLineEdit>("Name");
    const QString strLeft = left.text();
    const auto type = [](QWidget &field, const char *pText) {
        field.setFocus();
        QTRY_VERIFY(field.hasFocus());
        QTest::keyClick(&field, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(&field, QString::fromLatin1(pText));
    };
    type(left, "77");
    QVERIFY(left.text() != strLeft);
    QTest::keyClick(&left, Qt::Key_Escape);
    QCOMPARE(left.text(), strLeft);
    type(name, "Another");
    QTest::keyClick(&name, Qt::Key_Escape);
    QCOMPARE(name.text(), before.m_strName);
    bench.canvas().setFocus();
    QVERIFY(layerOf(bench, key) == before);
    QVERIFY(!bench.host().document().isModified());
    // A text that was refused is taken back too, with what was said of it.
    auto &file = bench.widget<QLineEdit>("File");
    const auto &complaint = bench.widget<QLabel>("File complaint");
    type(file, "nowhere.png");
    QTest::keyClick(&file, Qt::Key_Return);
    QVERIFY(complaint.isVisible());
    QTest::keyClick(&file, Qt::Key_Escape);
    QCOMPARE(file.text(), QString());
    QVERIFY(!complaint.isVisible());
}

void tst_WindowFields::onlyInputsOfTheDeviceAreOffered()
{
    WindowBench bench;
    QVERIFY(bench.open());
    bench.window().select(0, bench.key(0, 0));
    auto &input = bench.widget<QComboBox>("Input");
    const auto isOffered = [&](int nInput) {
        const auto *const pModel = qobject_cast<QStandardItemModel *>(input.model());
        return pModel->item(input.findData(nInput))->isEnabled();
    };
    QVERIFY(isOffered(0) && isOffered(15));
    QVERIFY(!isOffered(16) && !isOffered(24));
    input.setFocus();
    QTest::keyClick(&input, Qt::Key_End);
    QCOMPARE(layerOf(bench, bench.key(0, 0)).input(), 15);
    QStringList problems;
    const QString strFile = QDir(bench.folder()).filePath(QStringLiteral("scene.json"));
    QVERIFY(readScene(sceneText(bench.host().document().scene(), strFile), strFile, problems));

    sScene scene = bench.host().document().scene();
    scene.m_otherDevices.first().m_nTiles = 25; // which the window can switch to
    bench.host().setScene(scene, QString());
    bench.window().select(0, bench.key(0, 0));
    QVERIFY(isOffered(16) && isOffered(24));
}

void tst_WindowFields::aLayerWithoutSourceIsGivenAnInputByTheWall()
{
    WindowBench bench;
    QVERIFY(bench.open());
    bench.window().select(0, bench.key(0, 0));
    bench.widget<QComboBox>("Input").setCurrentIndex(0);
    QVERIFY(!layerOf(bench, bench.key(0, 0)).hasSource());
    Q_EMIT bench.window().wall().menuWanted(3, bench.window().mapToGlobal(QPoint(0, 0)));
    bench.action(QStringLiteral("Show in the selected layer")).trigger();
    QCOMPARE(layerOf(bench, bench.key(0, 0)).input(), 3);
    const QString strFile = QDir(bench.folder()).filePath(QStringLiteral("scene.json"));
    QStringList problems;
    const auto scene =
        readScene(sceneText(bench.host().document().scene(), strFile), strFile, problems);
    QCOMPARE(problems, QStringList());
    QCOMPARE(scene->m_screens[0].m_layers[0].m_config.m_LayerSource.m_sizeLayerSource,
             QSize(1920, 1080));
    QApplication::activePopupWidget()->close();
}

void tst_WindowFields::anAlphaMapThatIsNoFileIsRefused()
{
    WindowBench bench;
    QVERIFY(bench.open());
    const LayerKey key = bench.key(0, 0);
    bench.window().select(0, key);
    auto &file = bench.widget<QLineEdit>("File");
    const auto &complaint = bench.widget<QLabel>("File complaint");
    const auto enter = [&](const QString &strText) {
        file.setText(strText);
        QTest::keyClick(&file, Qt::Key_Return);
        return layerOf(bench, key).m_config.m_LayerAlphaMap.m_strAlphaMapFile;
    };
    const QString strMap = QDir(bench.folder()).filePath(QStringLiteral("map.png"));
    QVERIFY(QImage(8, 8, QImage::Format_ARGB32).save(strMap));
    QCOMPARE(enter(strMap), strMap);
    QVERIFY(!complaint.isVisible());
    for (const QString &strBad :
         {strMap + QStringLiteral("x"), QStringLiteral("builtin:square"), bench.folder()}) {
        QCOMPARE(enter(strBad), strMap);
        QVERIFY(complaint.isVisible() && complaint.text().contains(strBad));
        QCOMPARE(file.text(), strBad); // to be mended, not typed again
    }
    QCOMPARE(enter(QStringLiteral("builtin:ellipse")), QStringLiteral("builtin:ellipse"));
    QVERIFY(!complaint.isVisible());
    QCOMPARE(enter(QStringLiteral("nowhere.png")), QStringLiteral("builtin:ellipse"));
    bench.window().select(0, bench.key(0, 1));
    QVERIFY(!complaint.isVisible());
    QCOMPARE(file.text(), QString());
}

void tst_WindowFields::cropNumbersBeyondTheSourceStayInIt()
{
    WindowBench bench;
    QVERIFY(bench.open());
    const LayerKey key = bench.key(0, 0);
    bench.window().select(0, key);
    const auto crop = [&] {
        return layerOf(bench, key).m_config.m_LayerSource.m_rectLayerSourceIntercept;
    };
    bench.widget<QSpinBox>("Crop left").setValue(480);
    QCOMPARE(crop(), QRect(480, 0, 1440, 1080));
    bench.widget<QSpinBox>("Crop left").setValue(5000);
    QCOMPARE(crop(), QRect(1919, 0, 1, 1080));
    QCOMPARE(bench.widget<QSpinBox>("Crop left").value(), 1919);
    bench.widget<QSpinBox>("Crop top").setValue(5000);
    QCOMPARE(crop(), QRect(1919, 1079, 1, 1));
}

void tst_WindowFields::anotherLayerIsNotDragged()
{
    WindowBench bench;
    QVERIFY(bench.open());
    CanvasView &canvas = bench.canvas();
    const QRect first = layerOf(bench, bench.key(0, 4)).canvasRect();
    const QRect other = layerOf(bench, bench.key(0, 5)).canvasRect();
    const QPoint start = canvas.onWidget(first).center();
    QTest::mousePress(&canvas, Qt::LeftButton, Qt::NoModifier, start);
    moveMouse(canvas, start + QPoint(40, 0), Qt::LeftButton);
    QVERIFY(layerOf(bench, bench.key(0, 4)).canvasRect() != first);
    QTest::keyClick(&canvas, Qt::Key_PageUp);
    QVERIFY(bench.window().selected() == bench.key(0, 5));
    moveMouse(canvas, start + QPoint(80, 0), Qt::LeftButton);
    QTest::mouseRelease(&canvas, Qt::LeftButton, Qt::NoModifier, start + QPoint(80, 0));
    QCOMPARE(layerOf(bench, bench.key(0, 5)).canvasRect(), other);
}

void tst_WindowFields::aClickThatWobblesMovesNothing()
{
    WindowBench bench;
    QVERIFY(bench.open());
    CanvasView &canvas = bench.canvas();
    const QRect before = layerOf(bench, bench.key(0, 4)).canvasRect();
    const QPoint start = canvas.onWidget(before).center();
    QTest::mousePress(&canvas, Qt::LeftButton, Qt::NoModifier, start);
    moveMouse(canvas, start + QPoint(1, 1), Qt::LeftButton);
    QTest::mouseRelease(&canvas, Qt::LeftButton, Qt::NoModifier, start + QPoint(1, 1));
    QVERIFY(bench.window().selected() == bench.key(0, 4));
    QVERIFY(!bench.host().document().isModified());
    // Once it is a drag, it goes anywhere, also back to where it began.
    QTest::mousePress(&canvas, Qt::LeftButton, Qt::NoModifier, start);
    moveMouse(canvas, start + QPoint(50, 0), Qt::LeftButton);
    const QRect far = layerOf(bench, bench.key(0, 4)).canvasRect();
    moveMouse(canvas, start + QPoint(2, 0), Qt::LeftButton);
    const QRect near = layerOf(bench, bench.key(0, 4)).canvasRect();
    QVERIFY(before.left() < near.left() && near.left() < far.left());
    moveMouse(canvas, start, Qt::LeftButton);
    QTest::mouseRelease(&canvas, Qt::LeftButton, Qt::NoModifier, start);
    QCOMPARE(layerOf(bench, bench.key(0, 4)).canvasRect(), before);
    QVERIFY(!bench.host().document().isModified());
}

void tst_WindowFields::onlyTheLeftButtonEndsADrag()
{
    WindowBench bench;
    QVERIFY(bench.open());
    CanvasView &canvas = bench.canvas();
    const QRect before = layerOf(bench, bench.key(0, 4)).canvasRect();
    const QPoint start = canvas.onWidget(before).center();
    QTest::mousePress(&canvas, Qt::LeftButton, Qt::NoModifier, start);
    QTest::mousePress(&canvas, Qt::RightButton, Qt::NoModifier, start);
    QTest::mouseRelease(&canvas, Qt::RightButton, Qt::NoModifier, start);
    moveMouse(canvas, start + QPoint(50, 0), Qt::LeftButton);
    QVERIFY(layerOf(bench, bench.key(0, 4)).canvasRect() != before);
    QTest::mouseRelease(&canvas, Qt::LeftButton, Qt::NoModifier, start + QPoint(50, 0));
}

void tst_WindowFields::theListOfShortcutsFitsASmallScreen()
{
    WindowBench bench;
    QVERIFY(bench.open());
    bench.action(QStringLiteral("Keyboard")).trigger();
    QPointer<QDialog> pDialog = bench.window().findChild<QDialog *>();
    QVERIFY(pDialog);
    // Before it has come up, its focus would go nowhere without a window manager.
    QVERIFY(QTest::qWaitForWindowExposed(pDialog, Patience));
    QVERIFY(pDialog->minimumSizeHint().height() < 500);
    const QString strText = pDialog->findChild<QTextBrowser *>()->toPlainText();
    QVERIFY(strText.contains(QStringLiteral("Ctrl+Z")) && strText.contains(QStringLiteral("F9")));
    QVERIFY(strText.contains(QStringLiteral("arrow keys")));
    QTest::keyClick(pDialog.data(), Qt::Key_Escape);
    QTRY_VERIFY(!pDialog);
}

void tst_WindowFields::aSnapshotOfNoInputIsRefused()
{
    WindowBench bench;
    QVERIFY(bench.open());
    bench.window().select(0, bench.key(0, 12));
    QVERIFY(!layerOf(bench, bench.key(0, 12)).hasSource());
    bench.action(QStringLiteral("Of the layer's input")).trigger();
    QCOMPARE(bench.window().statusBar()->currentMessage(),
             QStringLiteral("No snapshot: the layer shows no input"));
    // A name of any length names a file.
    sSceneLayer layer = layerOf(bench, bench.key(0, 12));
    layer.m_strName = QString(400, QLatin1Char('x'));
    bench.host().document().editLayer(layer, eLayerPart::Name);
    QTRY_VERIFY_WITH_TIMEOUT(!bench.host().session().preview(bench.key(0, 12)).isNull(), Patience);
    bench.action(QStringLiteral("Of the layer")).trigger();
    const QDir folder(bench.folder() + QStringLiteral("/snapshots"));
    QCOMPARE(folder.entryList({QStringLiteral("*xxx.png")}, QDir::Files).size(), 1);
}

QTEST_MAIN(tst_WindowFields)
#include "tst_window_fields.moc"
