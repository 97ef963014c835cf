#include "windowtest.h"

#include <cropeditor.h>
#include <scenereader.h>
#include <scenetree.h>

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>

using namespace Morvek;
using namespace Morvek::Tests;
using namespace Morvek::Tools;

class tst_WindowEditing : public WindowTest
{
    Q_OBJECT

private Q_SLOTS:
    void aClickSelectsTheTopmostLayer();
    void aDragMovesALayerAndIsUndoneAtOnce();
    void handlesResizeALayer();
    void keysMoveResizeAndSelect();
    void everyGroupOfFieldsReachesThePreview();
    void theCropFollowsTheRubberBand();
    void layersComeAndGo();
    void snapshotsAreWritten();
    void zoomsAndFits();

private:
    static void drag(QWidget &widget, const QPoint &from, const QPoint &to,
                     Qt::KeyboardModifiers keys = Qt::NoModifier);
    static const sSceneLayer &layer(WindowBench &bench, int nScreen, int nLayer);
};

/** In steps, as a hand does it. */
void tst_WindowEditing::drag(QWidget &widget, const QPoint &from, const QPoint &to,
                             Qt::KeyboardModifiers keys)
{
    QTest::mousePress(&widget, Qt::LeftButton, keys, from);
    for (int nStep = 1; nStep <= 4; ++nStep) {
        const QPoint place = from + (to - from) * nStep / 4;
        QMouseEvent move(QEvent::MouseMove, place, widget.mapToGlobal(place), Qt::NoButton,
                         Qt::LeftButton, keys);
        QCoreApplication::sendEvent(&widget, &move);
    }
    QTest::mouseRelease(&widget, Qt::LeftButton, keys, to);
}

const sSceneLayer &tst_WindowEditing::layer(WindowBench &bench, int nScreen, int nLayer)
{
    return bench.host().document().scene().m_screens[nScreen].m_layers[nLayer];
}

void tst_WindowEditing::aClickSelectsTheTopmostLayer()
{
    WindowBench bench;
    QVERIFY(bench.open());
    bench.window().select(1, std::nullopt);
    // Layer 9 lies over layer 8 in places.
    const QRect lower = layer(bench, 1, 8).canvasRect();
    const QRect upper = layer(bench, 1, 9).canvasRect();
    QVERIFY(lower.intersects(upper));
    CanvasView &canvas = bench.canvas();
    QTest::mouseClick(&canvas, Qt::LeftButton, Qt::NoModifier,
                      canvas.onWidget(lower & upper).center());
    QVERIFY(bench.window().selected() == bench.key(1, 9));
    QTest::mouseClick(&canvas, Qt::LeftButton, Qt::NoModifier,
                      canvas.onWidget(lower).center() - QPoint(30, 0));
    QVERIFY(bench.window().selected() == bench.key(1, 8));
    QCOMPARE(bench.window().findChild<SceneTree *>()->currentItem()->text(0),
             layer(bench, 1, 8).m_strName);
    QCOMPARE(bench.widget<QSpinBox>("Left").value(), lower.left());
    QTest::mouseClick(&canvas, Qt::LeftButton, Qt::NoModifier, QPoint(2, 2));
    QVERIFY(!bench.window().selected());
}

void tst_WindowEditing::aDragMovesALayerAndIsUndoneAtOnce()
{
    WindowBench bench;
    QVERIFY(bench.open());
    CanvasView &canvas = bench.canvas();
    const QRect before = layer(bench, 0, 4).canvasRect();
    const QPoint start = canvas.onWidget(before).center();
    drag(canvas, start, start + QPoint(60, -25));
    const QRect after = layer(bench, 0, 4).canvasRect();
    QCOMPARE(after.size(), before.size());
    // To the nearest pixel of the canvas, whatever the zoom is.
    QVERIFY(qAbs(after.left() - before.left() - qRound(60 / canvas.zoom())) <= 1);
    QVERIFY(qAbs(after.top() - before.top() - qRound(-25 / canvas.zoom())) <= 1);
    QCOMPARE(bench.host().document().undoStack().count(), 1);
    bench.action(QStringLiteral("Undo place and size of Mirrored both ways")).trigger();
    QCOMPARE(layer(bench, 0, 4).canvasRect(), before);
    QVERIFY(!bench.host().document().isModified());
}

void tst_WindowEditing::handlesResizeALayer()
{
    WindowBench bench;
    QVERIFY(bench.open());
    CanvasView &canvas = bench.canvas();
    bench.window().select(0, bench.key(0, 0));
    const QRect before = layer(bench, 0, 0).canvasRect();
    const QRect onWidget = canvas.onWidget(before);
    drag(canvas, onWidget.bottomRight(), onWidget.bottomRight() + QPoint(-50, -30));
    const QRect after = layer(bench, 0, 0).canvasRect();
    QCOMPARE(after.topLeft(), before.topLeft());
    QVERIFY(after.width() < before.width() && after.height() < before.height());
    // The library renders the preview in the new size.
    QTRY_COMPARE_WITH_TIMEOUT(bench.host().session().preview(bench.key(0, 0)).size(), after.size(),
                              Patience);
    // With Shift, a corner goes where the other way says.
    bench.host().document().undoStack().undo();
    drag(canvas, onWidget.bottomRight(), onWidget.bottomRight() + QPoint(0, 60), Qt::ShiftModifier);
    const QSize shaped = layer(bench, 0, 0).size();
    QVERIFY(shaped.height() > before.height());
    QVERIFY(qAbs(shaped.width() * before.height() - shaped.height() * before.width())
            < before.width());
}

void tst_WindowEditing::keysMoveResizeAndSelect()
{
    WindowBench bench;
    QVERIFY(bench.open());
    CanvasView &canvas = bench.canvas();
    canvas.setFocus();
    bench.window().select(0, bench.key(0, 0));
    const QRect before = layer(bench, 0, 0).canvasRect();
    QTest::keyClick(&canvas, Qt::Key_Right);
    QTest::keyClick(&canvas, Qt::Key_Down, Qt::ControlModifier);
    QCOMPARE(layer(bench, 0, 0).canvasRect(), before.translated(1, 10));
    QTest::keyClick(&canvas, Qt::Key_Left, Qt::ShiftModifier);
    QCOMPARE(layer(bench, 0, 0).size(), before.size() - QSize(1, 0));
    QTest::keyClick(&canvas, Qt::Key_PageUp);
    QVERIFY(bench.window().selected() == bench.key(0, 1));
    QTest::keyClick(&canvas, Qt::Key_PageDown);
    QVERIFY(bench.window().selected() == bench.key(0, 0));
    QTest::keyClick(&canvas, Qt::Key_Escape);
    QVERIFY(!bench.window().selected());
}

void tst_WindowEditing::everyGroupOfFieldsReachesThePreview()
{
    WindowBench bench;
    QVERIFY(bench.open());
    QVERIFY(bench.waitUntilLive());
    bench.window().select(1, bench.key(1, 8));
    const auto config = [&] {
        EchoVideo::sLayerVideoConfig result;
        result = layer(bench, 1, 8).m_config;
        return result;
    };
    const auto preview = [&] { return bench.host().session().preview(bench.key(1, 8)); };
    bench.widget<QComboBox>("Input").setCurrentIndex(12);
    QCOMPARE(layer(bench, 1, 8).input(), 11);
    bench.widget<QComboBox>("Mirroring").setCurrentIndex(1);
    QCOMPARE(config().m_LayerItem.m_mirroringType, EchoVideo::sLayerItem::Hori);
    bench.widget<QCheckBox>("Mono").click();
    QTRY_VERIFY_WITH_TIMEOUT(preview().pixelColor(40, 200).saturation() == 0, Patience);
    bench.widget<QCheckBox>("Mono").click();
    bench.widget<QCheckBox>("Reverse").click();
    QVERIFY(config().m_LayerItem.m_bReverseColorEnabled);
    bench.widget<QCheckBox>("Reverse").click();
    bench.widget<QCheckBox>("Frozen").click();
    QVERIFY(config().m_LayerItem.m_isFrozen);
    bench.widget<QSpinBox>("Opacity").setValue(50);
    QTRY_VERIFY_WITH_TIMEOUT(qAbs(preview().pixelColor(240, 135).alpha() - 127) <= 2, Patience);
    bench.widget<QSpinBox>("Opacity").setValue(100);
    bench.widget<QComboBox>("Border style").setCurrentIndex(2);
    bench.widget<QSpinBox>("At the sides").setValue(60);
    QTRY_VERIFY_WITH_TIMEOUT(preview().pixelColor(0, 135).alpha() < 30, Patience);
    bench.widget<QCheckBox>("Masked").click();
    bench.widget<QSpinBox>("Mask top").setValue(40);
    QTRY_VERIFY_WITH_TIMEOUT(preview().pixelColor(240, 20).alpha() == 0, Patience);
    bench.widget<QCheckBox>("Masked").click();
    bench.widget<QPushButton>("Ellipse").click();
    // The ellipse reaches the left edge, where the border let nothing show.
    QTRY_VERIFY_WITH_TIMEOUT(preview().pixelColor(30, 135).alpha() > 250, Patience);
    QVERIFY(preview().pixelColor(30, 20).alpha() == 0);
    bench.widget<QLineEdit>("Name").setText(QStringLiteral("Edited layer"));
    QTest::keyClick(&bench.widget<QLineEdit>("Name"), Qt::Key_Return);
    QCOMPARE(layer(bench, 1, 8).m_strName, QStringLiteral("Edited layer"));
    bench.takeScreenshot(QStringLiteral("editing"));

    // All of it undone is the scene that was opened.
    while (bench.host().document().undoStack().canUndo())
        bench.host().document().undoStack().undo();
    QCOMPARE(layer(bench, 1, 8).m_strName, QStringLiteral("Opaque (input 2)"));
    QTRY_VERIFY_WITH_TIMEOUT(preview().pixelColor(2, 2).alpha() == 255, Patience);
}

void tst_WindowEditing::theCropFollowsTheRubberBand()
{
    WindowBench bench;
    QVERIFY(bench.open());
    QVERIFY(bench.waitUntilLive());
    bench.window().select(0, bench.key(0, 0));
    auto &crop = bench.widget<CropEditor>("Crop");
    QTRY_VERIFY(crop.width() > 100); // its place is found when events are processed
    QCoreApplication::processEvents();
    const QRect wanted(480, 270, 960, 540);
    const QRect band = crop.onWidget(wanted);
    drag(crop, band.topLeft(), band.bottomRight() + QPoint(1, 1));
    const auto &source = layer(bench, 0, 0).m_config.m_LayerSource;
    QVERIFY(source.m_bLayerSourceIntercept);
    // A pixel of the widget is several of the source.
    const int nSlack = 2 + 2 * 1920 / crop.width();
    QVERIFY(qAbs(source.m_rectLayerSourceIntercept.left() - wanted.left()) <= nSlack);
    QVERIFY(qAbs(source.m_rectLayerSourceIntercept.right() - wanted.right()) <= nSlack);
    QVERIFY(qAbs(source.m_rectLayerSourceIntercept.bottom() - wanted.bottom()) <= nSlack);
    QCOMPARE(bench.host().document().undoStack().count(), 1);

    const QRect before = source.m_rectLayerSourceIntercept;
    const QPoint middle = crop.onWidget(before).center();
    drag(crop, middle, middle + QPoint(500, 0)); // further than the source reaches
    const QRect after = layer(bench, 0, 0).m_config.m_LayerSource.m_rectLayerSourceIntercept;
    QCOMPARE(after.size(), before.size());
    QCOMPARE(after.right(), 1919);
    bench.widget<QSpinBox>("Crop width").setValue(4000);
    QCOMPARE(layer(bench, 0, 0).m_config.m_LayerSource.m_rectLayerSourceIntercept.right(), 1919);
    bench.widget<QPushButton>("Whole source").click();
    QVERIFY(!layer(bench, 0, 0).m_config.m_LayerSource.m_bLayerSourceIntercept);
}

void tst_WindowEditing::layersComeAndGo()
{
    WindowBench bench;
    QVERIFY(bench.open());
    QVERIFY(bench.waitUntilLive());
    SceneDocument &document = bench.host().document();
    bench.action(QStringLiteral("Add a layer")).trigger();
    QCOMPARE(document.scene().m_screens[0].m_layers.size(), 14);
    const LayerKey added = *bench.window().selected();
    QTRY_VERIFY_WITH_TIMEOUT(!bench.host().session().preview(added).isNull(), Patience);
    bench.action(QStringLiteral("Duplicate the layer")).trigger();
    bench.action(QStringLiteral("Lower the layer")).trigger();
    QCOMPARE(document.scene().m_screens[0].m_layers.size(), 15);
    QVERIFY(document.scene().m_screens[0].m_layers[14].m_config.m_LayerIdentifies == added);
    bench.window().select(0, added);
    bench.action(QStringLiteral("Remove the layer")).trigger();
    QVERIFY(!document.layer(added));
    QVERIFY(!bench.window().selected());
    QTRY_VERIFY_WITH_TIMEOUT(bench.host().session().preview(added).isNull(), Patience);
    bench.action(QStringLiteral("Remove the screen")).trigger();
    QCOMPARE(document.scene().m_screens.size(), 1);
    QVERIFY(!bench.action(QStringLiteral("Remove the screen")).isEnabled());
    while (document.undoStack().canUndo())
        document.undoStack().undo();
    QCOMPARE(document.scene().m_screens.size(), 2);
    QCOMPARE(document.scene().m_screens[0].m_layers.size(), 13);
    QVERIFY(bench.waitUntilLive());
}

void tst_WindowEditing::snapshotsAreWritten()
{
    WindowBench bench;
    QVERIFY(bench.open());
    QVERIFY(bench.waitUntilLive());
    bench.window().select(0, bench.key(0, 1));
    for (const char *pAction : {"Of the layer", "Of the layer's input", "Of the canvas",
                                "Of the window", "Of the canvas"})
        bench.action(QLatin1String(pAction)).trigger();
    const QDir folder(bench.folder() + QStringLiteral("/snapshots"));
    const QStringList files = folder.entryList({QStringLiteral("*.png")}, QDir::Files);
    QCOMPARE(files.size(), 5);
    const auto picture = [&](const QString &strName) {
        const QStringList names = files.filter(strName);
        return names.isEmpty() ? QImage() : QImage(folder.filePath(names.first()));
    };
    QCOMPARE(picture(QStringLiteral("layer-crop")).size(), QSize(480, 270));
    QCOMPARE(picture(QStringLiteral("input-1.")).size(), QSize(480, 270));
    QCOMPARE(picture(QStringLiteral("main-wall")).size(), QSize(1920, 1080));
    QCOMPARE(picture(QStringLiteral("window")).size(), bench.window().size());
    // The canvas shows the layers where they lie.
    QVERIFY(!isBlack(picture(QStringLiteral("main-wall")).copy(60, 100, 480, 270)));
}

void tst_WindowEditing::zoomsAndFits()
{
    WindowBench bench;
    QVERIFY(bench.open());
    CanvasView &canvas = bench.canvas();
    const double fitting = canvas.zoom();
    QVERIFY(canvas.width() <= bench.window().canvas().viewport()->width());
    bench.action(QStringLiteral("Actual size")).trigger();
    QCOMPARE(canvas.size(), QSize(1920, 1080));
    bench.action(QStringLiteral("Zoom in")).trigger();
    QVERIFY(canvas.zoom() > 1);
    for (int nStep = 0; nStep < 40; ++nStep)
        bench.action(QStringLiteral("Zoom out")).trigger();
    QVERIFY(canvas.width() >= 1 && canvas.zoom() >= CanvasView::MinZoom);
    bench.action(QStringLiteral("Fit")).trigger();
    QCOMPARE(canvas.zoom(), fitting);
}

QTEST_MAIN(tst_WindowEditing)
#include "tst_window_editing.moc"
