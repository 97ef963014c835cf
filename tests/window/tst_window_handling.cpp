#include "windowtest.h"

#include <devicebanner.h>
#include <scenetree.h>

#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QDockWidget>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QPointer>
#include <QPushButton>
#include <QScreen>
#include <QTextBrowser>

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
    void fieldsSayWhatTheyDo();
    void noTwoKeysAreTheSame();
    void aFieldsKeyLeadsToItAndCutsNoWord();
    void theListOfShortcutsIsOrderedAsTheMenus();
    void aPartsKeyLeadsIntoItAndHidesItFromInside();

private:
    /** Through the window, as from the display: only so does a press ask for a menu. */
    static void click(WindowBench &bench, const QWidget &widget, const QPoint &place);
    static QStringList entries(const QMenu &menu);
    static QStringList mnemonics(const QWidget &window);
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

void tst_WindowHandling::fieldsSayWhatTheyDo()
{
    WindowBench bench;
    QVERIFY(bench.open());
    bench.window().select(0, bench.key(0, 0));
    const auto &fill = bench.widget<QPushButton>("Fill colour");
    for (const char *pWord : {"behind the picture", "where there is none", "#aarrggbb"})
        QVERIFY2(fill.toolTip().contains(QLatin1String(pWord)), pWord);
    QCOMPARE(fill.text(), QStringLiteral("#ffffffff"));
    const auto &hint = bench.widget<QLabel>("Crop hint");
    QVERIFY(hint.isVisible());
    QCOMPARE(hint.text(), QStringLiteral("Drag on the picture to crop"));
    bench.widget<QComboBox>("Input").setCurrentIndex(0); // its own colour, which nobody can crop
    QVERIFY(!hint.isVisible());
}

/** The letters that go somewhere with Alt, of all that is in sight. */
QStringList tst_WindowHandling::mnemonics(const QWidget &window)
{
    QStringList texts;
    const QList<QWidget *> widgets = window.findChildren<QWidget *>();
    for (const QWidget *const pWidget : widgets) {
        if (!pWidget->isVisible())
            continue;
        const auto *const pLabel = qobject_cast<const QLabel *>(pWidget);
        const auto *const pButton = qobject_cast<const QAbstractButton *>(pWidget);
        const auto *const pMenus = qobject_cast<const QMenuBar *>(pWidget);
        if (pLabel && pLabel->buddy())
            texts.append(pLabel->text());
        if (pButton)
            texts.append(pButton->text());
        const QList<QAction *> menus = pMenus ? pMenus->actions() : QList<QAction *>();
        for (const QAction *const pMenu : menus)
            texts.append(pMenu->text());
    }
    QStringList keys;
    for (const QString &strText : qAsConst(texts)) {
        const QKeySequence key = QKeySequence::mnemonic(strText);
        if (!key.isEmpty())
            keys.append(key.toString());
    }
    return keys;
}

void tst_WindowHandling::noTwoKeysAreTheSame()
{
    WindowBench bench;
    QVERIFY(bench.open());
    bench.window().select(0, bench.key(0, 0));
    bench.widget<QDockWidget>("log").raise();
    const auto &banner = bench.window().deviceBanner();
    QTRY_VERIFY_WITH_TIMEOUT(bench.waitUntilLive() && !banner.isVisible(), Patience);
    const auto doubles = [&bench] {
        QStringList keys = mnemonics(bench.window());
        const QStringList all = keys;
        keys.removeDuplicates();
        for (const QString &strKey : qAsConst(keys)) {
            if (all.count(strKey) > 1)
                return strKey;
        }
        return QString();
    };
    QVERIFY(mnemonics(bench.window()).contains(QStringLiteral("Alt+S"))); // the log's
    QVERIFY(mnemonics(bench.window()).contains(QStringLiteral("Alt+N"))); // the name's
    QVERIFY(mnemonics(bench.window()).contains(QStringLiteral("Alt+V")));
    QCOMPARE(doubles(), QString());
    DeviceSession &session = bench.host().session();
    session.setRendering(false);
    QTRY_VERIFY_WITH_TIMEOUT(banner.isVisible(), Patience);
    QCOMPARE(doubles(), QString());
    session.setRendering(true);
    session.setReading(eReading::Stopped);
    QTRY_VERIFY_WITH_TIMEOUT(banner.text().contains(QStringLiteral("topped")), Patience);
    QCOMPARE(doubles(), QString());
    session.setOnline(false);
    QTRY_VERIFY_WITH_TIMEOUT(banner.text().contains(QStringLiteral("ffline")), Patience);
    QCOMPARE(doubles(), QString());
    session.setOnline(true);
}

void tst_WindowHandling::aFieldsKeyLeadsToItAndCutsNoWord()
{
    WindowBench bench;
    QVERIFY(bench.open());
    bench.window().select(0, bench.key(0, 0));
    bench.window().activateWindow();
    QTRY_VERIFY(bench.window().isActiveWindow());
    QTest::keyClick(bench.window().windowHandle(), Qt::Key_T, Qt::AltModifier);
    QTRY_VERIFY(bench.widget<QComboBox>("Input").hasFocus());
    const QList<QLabel *> labels = bench.window().findChildren<QLabel *>();
    for (const QLabel *const pLabel : labels) {
        const QString strKey = QKeySequence::mnemonic(pLabel->text()).toString();
        if (strKey.isEmpty() || !pLabel->buddy())
            continue;
        // Letters before and after the mark are drawn apart from each other.
        const QStringList parts = pLabel->text().split(QLatin1Char('&'));
        const QFontMetrics metrics = pLabel->fontMetrics();
        const int nDrawn = metrics.horizontalAdvance(parts[0])
                         + metrics.horizontalAdvance(parts[1].left(1))
                         + metrics.horizontalAdvance(parts[1].mid(1));
        QVERIFY2(nDrawn <= pLabel->sizeHint().width() + 1, qPrintable(pLabel->text()));
    }
}

void tst_WindowHandling::theListOfShortcutsIsOrderedAsTheMenus()
{
    WindowBench bench;
    QVERIFY(bench.open());
    bench.window().select(0, bench.key(0, 0));
    bench.action(QStringLiteral("Duplicate the layer")).trigger(); // which undo names from now on
    bench.action(QStringLiteral("Keyboard")).trigger();
    const QPointer<QDialog> pDialog = bench.window().findChild<QDialog *>();
    QVERIFY(pDialog);
    QVERIFY(QTest::qWaitForWindowExposed(pDialog, Patience));
    // Titles of menus, keys and entries, each on a line of its own.
    const QStringList lines =
        pDialog->findChild<QTextBrowser *>()->toPlainText().split(QLatin1Char('\n'));
    int nLine = -1;
    for (const char *pLine :
         {"File", "Save", "Ctrl+Shift+L", "Snapshot of the layer", "Quit", "Edit", "Ctrl+Z", "Undo",
          "Redo", "Add a layer", "View", "Zoom in", "Alt+4", "Messages", "Device", "Next device",
          "Help", "F1", "Keyboard"}) {
        const int nNext = lines.indexOf(QLatin1String(pLine), nLine + 1);
        QVERIFY2(nNext > nLine, pLine);
        nLine = nNext;
    }
    const auto &close = *pDialog->findChild<QDialogButtonBox *>();
    QVERIFY(pDialog->rect().contains(close.geometry()));
    QVERIFY(pDialog->height() <= pDialog->screen()->availableSize().height());
    QTest::keyClick(pDialog.data(), Qt::Key_Escape);
    QTRY_VERIFY(!pDialog);
}

void tst_WindowHandling::aPartsKeyLeadsIntoItAndHidesItFromInside()
{
    WindowBench bench;
    QVERIFY(bench.open());
    bench.window().select(0, bench.key(0, 0));
    bench.window().activateWindow();
    bench.canvas().setFocus();
    QTRY_VERIFY(bench.canvas().hasFocus());
    const QList<QDockWidget *> docks = bench.window().findChildren<QDockWidget *>();
    QCOMPARE(docks.size(), 5);
    for (QDockWidget *const pDock : docks) {
        const QAction &entry = *pDock->toggleViewAction();
        const Qt::Key eKey = Qt::Key(entry.shortcut()[0] & Qt::Key_unknown);
        const auto press = [&] {
            QTest::keyClick(bench.window().windowHandle(), eKey, Qt::AltModifier);
        };
        const auto isEntered = [pDock] {
            return !pDock->visibleRegion().isEmpty()
                && pDock->isAncestorOf(QApplication::focusWidget());
        };
        // Also where another one lies over it, or it was closed.
        for (int nRound = 0; nRound < 2; ++nRound) {
            press();
            QTRY_VERIFY2(isEntered(), qPrintable(pDock->objectName()));
            QVERIFY(entry.isChecked());
            press();
            QVERIFY2(!pDock->isVisible(), qPrintable(pDock->objectName()));
            QVERIFY(!entry.isChecked());
            QVERIFY(bench.canvas().hasFocus());
        }
        pDock->toggleViewAction()->trigger(); // as by a click in the menu
        QTRY_VERIFY(!pDock->visibleRegion().isEmpty());
    }
}

QTEST_MAIN(tst_WindowHandling)
#include "tst_window_handling.moc"
