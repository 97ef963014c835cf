#include "windowtest.h"

#include <scenetree.h>

#include <QCheckBox>
#include <QDockWidget>
#include <QMenu>

using namespace Morvek::Tests;
using namespace Morvek::Tools;

/** What mouse and keys bring up: menus, shortcuts, and the ways between the window's parts. */
class tst_WindowHandling : public WindowTest
{
    Q_OBJECT

private Q_SLOTS:
    void aRightClickOpensTheMenuOfTheLayerThere();
    void theMenuKeyOpensTheMenuOfTheSelectedLayer();
    void aRightClickInTheTreeOpensTheSameMenu();
    void theTreeTellsWhatIsFrozenAndWholeNames();

private:
    /** Through the window, as from the display: only so does a press ask for a menu. */
    static void click(WindowBench &bench, const QWidget &widget, const QPoint &place);
    static QStringList entries(const QMenu &menu);
};

void tst_WindowHandling::click(WindowBench &bench, const QWidget &widget, const QPoint &place)
{
    QTest::mouseClick(bench.window().windowHandle(), Qt::RightButton, Qt::NoModifier,
                      widget.mapTo(&bench.window(), place));
}

QStringList tst_WindowHandling::entries(const QMenu &menu)
{
    QStringList texts;
    const QList<QAction *> actions = menu.actions();
    for (const QAction *const pAction : actions) {
        if (!pAction->isSeparator())
            texts.append(pAction->text().remove(QLatin1Char('&')).section(QLatin1Char('\t'), 0, 0));
    }
    return texts;
}

void tst_WindowHandling::aRightClickOpensTheMenuOfTheLayerThere()
{
    WindowBench bench;
    QVERIFY(bench.open());
    QVERIFY(bench.waitUntilLive());
    CanvasView &canvas = bench.canvas();
    const sSceneLayer layer = *bench.host().document().layer(bench.key(0, 4));
    const QPoint middle = canvas.onWidget(layer.canvasRect()).center();
    click(bench, canvas, middle);
    auto &menu = bench.widget<QMenu>("layerMenu");
    QVERIFY(menu.isVisible());
    QVERIFY(bench.window().selected() == bench.key(0, 4));
    QCOMPARE(menu.pos(), canvas.mapToGlobal(middle));
    QCOMPARE(
        entries(menu),
        QStringList({QStringLiteral("Raise the layer"), QStringLiteral("Lower the layer"),
                     QStringLiteral("Duplicate the layer"), QStringLiteral("Snapshot of the layer"),
                     QStringLiteral("Remove the layer")}));
    QTest::keyClick(&menu, Qt::Key_S);
    QVERIFY(!menu.isVisible());
    const QDir snapshots(bench.folder() + QStringLiteral("/snapshots"));
    QCOMPARE(snapshots.entryList({QStringLiteral("*-layer-*.png")}, QDir::Files).size(), 1);

    click(bench, canvas, middle);
    QTest::keyClick(&menu, Qt::Key_M);
    QVERIFY(!bench.host().document().layer(layer.m_config.m_LayerIdentifies));
    // Where no layer is, nothing is selected and there is no menu.
    bench.window().select(0, bench.key(0, 0));
    click(bench, canvas, QPoint(2, 2));
    QVERIFY(!menu.isVisible());
    QVERIFY(!bench.window().selected());
}

void tst_WindowHandling::theMenuKeyOpensTheMenuOfTheSelectedLayer()
{
    WindowBench bench;
    QVERIFY(bench.open());
    CanvasView &canvas = bench.canvas();
    bench.window().activateWindow();
    canvas.setFocus();
    QTRY_VERIFY(canvas.hasFocus());
    const auto pressMenuKey = [&] {
        const QPoint place = canvas.rect().center();
        QContextMenuEvent event(QContextMenuEvent::Keyboard, place, canvas.mapToGlobal(place));
        QCoreApplication::sendEvent(&canvas, &event);
    };
    auto &menu = bench.widget<QMenu>("layerMenu");
    pressMenuKey();
    QVERIFY(!menu.isVisible()); // no layer is selected
    bench.window().select(0, bench.key(0, 0));
    const QRect rect =
        canvas.onWidget(bench.host().document().layer(bench.key(0, 0))->canvasRect());
    QVERIFY(!rect.contains(canvas.rect().center()));
    pressMenuKey();
    QVERIFY(menu.isVisible());
    QCOMPARE(menu.pos(), canvas.mapToGlobal(rect.center()));
    menu.close();
}

void tst_WindowHandling::aRightClickInTheTreeOpensTheSameMenu()
{
    WindowBench bench;
    QVERIFY(bench.open());
    auto &tree = *bench.window().findChild<SceneTree *>();
    const QTreeWidgetItem &screen = *tree.topLevelItem(0);
    const auto clickItem = [&](const QTreeWidgetItem &item) {
        click(bench, *tree.viewport(), tree.visualItemRect(&item).center());
    };
    auto &menu = bench.widget<QMenu>("layerMenu");
    clickItem(*screen.child(2));
    QVERIFY(menu.isVisible());
    QVERIFY(bench.window().selected() == bench.key(0, screen.childCount() - 3));
    menu.close();
    clickItem(screen);
    QVERIFY(!menu.isVisible());
    QVERIFY(!bench.window().selected());
}

void tst_WindowHandling::theTreeTellsWhatIsFrozenAndWholeNames()
{
    WindowBench bench;
    QVERIFY(bench.open());
    auto &tree = *bench.window().findChild<SceneTree *>();
    const QTreeWidgetItem &item = *tree.topLevelItem(0)->child(4);
    QCOMPARE(item.text(1), QStringLiteral("input 8, frozen"));
    bench.window().select(0, bench.key(0, 8));
    bench.widget<QCheckBox>("Frozen").click();
    QCOMPARE(item.text(1), QStringLiteral("input 8"));
    const QString strLong(200, QLatin1Char('x'));
    sSceneLayer layer = *bench.host().document().layer(bench.key(0, 8));
    layer.m_strName = strLong;
    bench.host().document().editLayer(layer, eLayerPart::Name);
    QCOMPARE(item.toolTip(0), strLong + QStringLiteral(": input 8"));
    // However much there is to tell, a name has half of the room.
    layer.m_config.m_LayerItem.m_isFrozen = true;
    bench.host().document().editLayer(layer, eLayerPart::Look);
    auto &dock = bench.widget<QDockWidget>("tree");
    for (const int nWidth : {120, 400}) {
        bench.window().resizeDocks({&dock}, {nWidth}, Qt::Horizontal);
        QTRY_VERIFY(qAbs(tree.width() - nWidth) < 40);
        QVERIFY(2 * tree.columnWidth(0) >= tree.viewport()->width());
        QCOMPARE(tree.columnWidth(0) + tree.columnWidth(1), tree.viewport()->width());
    }
}

QTEST_MAIN(tst_WindowHandling)
#include "tst_window_handling.moc"
