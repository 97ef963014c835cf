#include "mainwindow.h"

#include "canvaspainter.h"
#include "canvaspane.h"
#include "canvasview.h"
#include "devicebanner.h"
#include "dockkey.h"
#include "inspectorsections.h"
#include "scenefiles.h"
#include "scenetree.h"
#include "sessioncontrols.h"
#include "shortcutlist.h"
#include "snapshots.h"

#include <QAction>
#include <QDockWidget>
#include <QFileInfo>
#include <QGuiApplication>
#include <QMenuBar>
#include <QStatusBar>
#include <QToolBar>

namespace Morvek::Tools {

namespace {

constexpr int ToldMs = 8000;
constexpr QSize NewLayerSize(480, 270);
constexpr QPoint CopyOffset(40, 40);

} // namespace

void MainWindow::buildMenus()
{
    QMenu *const pFile = menuBar()->addMenu(QStringLiteral("&File"));
    m_pFiles = new SceneFiles(m_host, m_settings, *pFile, *m_pBanner, *this);
    connect(m_pFiles, &SceneFiles::told, this,
            [this](const QString &strText) { statusBar()->showMessage(strText, ToldMs); });
    pFile->addSeparator();
    buildSnapshotMenu(*pFile->addMenu(QStringLiteral("S&napshot")));
    pFile->addSeparator();
    pFile->addAction(QStringLiteral("&Quit"), this, &QWidget::close, QKeySequence::Quit);
    buildEditMenu(*menuBar()->addMenu(QStringLiteral("&Edit")));
    QMenu *const pView = menuBar()->addMenu(QStringLiteral("&View"));
    m_pCanvas->addActions(*pView);
    pView->addSeparator();
    const auto nextScreen = [this](int nStep) {
        const int nScreens = m_host.document().scene().m_screens.size();
        select((m_nScreen + nStep + nScreens) % nScreens, std::nullopt);
    };
    pView->addAction(
        QStringLiteral("&Next screen"), this, [nextScreen] { nextScreen(1); },
        QKeySequence(Qt::CTRL | Qt::Key_PageDown));
    pView->addAction(
        QStringLiteral("&Previous screen"), this, [nextScreen] { nextScreen(-1); },
        QKeySequence(Qt::CTRL | Qt::Key_PageUp));
    pView->addSeparator();
    const QList<QDockWidget *> docks = findChildren<QDockWidget *>();
    int nKey = Qt::Key_1;
    for (QDockWidget *const pDock : docks) {
        new DockKey(*pDock, QKeySequence(Qt::ALT | Qt::Key(nKey++)), m_pCanvas->view());
        pView->addAction(pDock->toggleViewAction());
    }
    auto *const pBar = new QToolBar(QStringLiteral("Device"));
    pBar->setObjectName(QStringLiteral("deviceBar"));
    addToolBar(pBar);
    auto *const pControls =
        new SessionControls(m_host, *menuBar()->addMenu(QStringLiteral("&Device")), *pBar);
    connect(m_pDeviceBanner, &DeviceBanner::fileWanted, pControls, &SessionControls::chooseFile);
    QMenu *const pHelp = menuBar()->addMenu(QStringLiteral("&Help"));
    pHelp->addAction(
        QStringLiteral("&Keyboard"), this, [this] { showShortcutList(*menuBar(), this); },
        QKeySequence::HelpContents);
}

void MainWindow::buildEditMenu(QMenu &menu)
{
    SceneDocument &document = m_host.document();
    QAction *const pUndo = document.undoStack().createUndoAction(this);
    pUndo->setShortcut(QKeySequence::Undo);
    QAction *const pRedo = document.undoStack().createRedoAction(this);
    pRedo->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Z));
    pUndo->setProperty(ListedAs, QStringLiteral("Undo")); // whatever it is about
    pRedo->setProperty(ListedAs, QStringLiteral("Redo"));
    menu.addActions({pUndo, pRedo});
    menu.addSeparator();
    m_pAddLayer = menu.addAction(QStringLiteral("&Add a layer"), this, &MainWindow::addLayer,
                                 QKeySequence(Qt::CTRL | Qt::Key_L));
    QAction *const pDuplicate =
        menu.addAction(QStringLiteral("&Duplicate the layer"), this, &MainWindow::duplicateLayer,
                       QKeySequence(Qt::CTRL | Qt::Key_D));
    QAction *const pRaise = menu.addAction(
        QStringLiteral("&Raise the layer"), this,
        [this] { m_host.document().restackLayer(*m_selected, 1); },
        QKeySequence(Qt::CTRL | Qt::Key_BracketRight));
    QAction *const pLower = menu.addAction(
        QStringLiteral("&Lower the layer"), this,
        [this] { m_host.document().restackLayer(*m_selected, -1); },
        QKeySequence(Qt::CTRL | Qt::Key_BracketLeft));
    m_layerActions += {pDuplicate, pRaise, pLower};
    m_pRemoveLayer = menu.addAction(
        QStringLiteral("Re&move the layer"), this,
        [this] { m_host.document().removeLayer(*m_selected); }, QKeySequence::Delete);
    m_pRemoveScreen = menu.addAction(
        QStringLiteral("Remove the &screen"), this,
        [this] { m_host.document().removeScreen(m_nScreen); },
        QKeySequence(Qt::SHIFT | Qt::Key_Delete));
    buildLayerMenu({pRaise, pLower, pDuplicate});
}

/** The menu of a layer, on the canvas and in the tree. */
void MainWindow::buildLayerMenu(const QList<QAction *> &edits)
{
    m_pLayerMenu = new QMenu(this);
    m_pLayerMenu->setObjectName(QStringLiteral("layerMenu"));
    m_pLayerMenu->addActions(edits);
    m_pLayerMenu->addSeparator();
    // By its whole name, which it does not need where its menu says what it is about.
    auto *const pSnapshot = findChild<QAction *>(QStringLiteral("layerSnapshot"));
    m_pLayerMenu->addAction(QStringLiteral("&Snapshot of the layer\t")
                                + pSnapshot->shortcut().toString(QKeySequence::NativeText),
                            pSnapshot, &QAction::trigger);
    m_pLayerMenu->addSeparator();
    m_pLayerMenu->addAction(m_pRemoveLayer);
    CanvasView &view = m_pCanvas->view();
    view.setContextMenuPolicy(Qt::CustomContextMenu);
    connect(&view, &QWidget::customContextMenuRequested, this, &MainWindow::showLayerMenu);
    connect(m_pTree, &SceneTree::menuWanted, m_pLayerMenu,
            [this](const QPoint &place) { m_pLayerMenu->popup(place); });
}

/** The key that asks for a menu knows no place: then it is the layer's. */
void MainWindow::showLayerMenu(const QPoint &place)
{
    const sSceneLayer *const pLayer = m_selected ? m_host.document().layer(*m_selected) : nullptr;
    if (!pLayer || QGuiApplication::mouseButtons() & Qt::LeftButton) // amid a drag
        return;
    const CanvasView &view = m_pCanvas->view();
    const QRect rect = view.onWidget(pLayer->canvasRect());
    const QRect inSight = rect & view.visibleRegion().boundingRect();
    const bool isOnLayer = rect.contains(place);
    m_pLayerMenu->popup(view.mapToGlobal(isOnLayer ? place : inSight.center()));
}

void MainWindow::refreshEditActions()
{
    for (QAction *const pAction : qAsConst(m_layerActions))
        pAction->setEnabled(m_selected.has_value());
    m_pAddLayer->setEnabled(m_host.document().canAddLayer(m_nScreen));
    m_pRemoveLayer->setEnabled(m_selected && m_host.document().canRemoveLayer(*m_selected));
    m_pRemoveScreen->setEnabled(m_host.document().canRemoveScreen());
}

void MainWindow::addLayer()
{
    const sSceneScreen &screen = m_host.document().scene().m_screens[m_nScreen];
    sSceneLayer layer;
    layer.m_strName = QStringLiteral("Layer %1").arg(screen.m_layers.size() + 1);
    layer.m_position = QPoint((screen.m_size.width() - NewLayerSize.width()) / 2,
                              (screen.m_size.height() - NewLayerSize.height()) / 2);
    layer.m_config.m_LayerItem.m_boundingRect = QRectF(QPointF(0, 0), QSizeF(NewLayerSize));
    showInput(layer, 0);
    select(m_nScreen, m_host.document().addLayer(m_nScreen, layer));
}

void MainWindow::duplicateLayer()
{
    const sSceneLayer *const pLayer = m_host.document().layer(*m_selected);
    if (!pLayer || !m_host.document().canAddLayer(m_nScreen))
        return;
    sSceneLayer layer = *pLayer;
    layer.m_strName += QStringLiteral(" (copy)");
    layer.m_position += CopyOffset;
    select(m_nScreen, m_host.document().addLayer(m_nScreen, layer));
}

void MainWindow::buildSnapshotMenu(QMenu &menu)
{
    QAction *const pLayerSnapshot = menu.addAction(
        QStringLiteral("Of the &layer"), this,
        [this] {
            const sSceneLayer *const pLayer = m_host.document().layer(*m_selected);
            if (pLayer)
                snapshot(QStringLiteral("layer ") + pLayer->m_strName,
                         m_host.session().preview(*m_selected));
        },
        QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_L));
    pLayerSnapshot->setObjectName(QStringLiteral("layerSnapshot"));
    m_layerActions.append(pLayerSnapshot);
    m_layerActions.append(menu.addAction(
        QStringLiteral("Of the layer's &input"), this,
        [this] {
            const sSceneLayer *const pLayer = m_host.document().layer(*m_selected);
            QImage picture;
            if (pLayer && pLayer->hasSource())
                m_host.session().inputPicture(pLayer->input(), picture);
            if (!pLayer || !pLayer->hasSource())
                statusBar()->showMessage(QStringLiteral("No snapshot: the layer shows no input"),
                                         ToldMs);
            else
                snapshot(QStringLiteral("input %1").arg(pLayer->input()), picture);
        },
        QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_I)));
    menu.addAction(
        QStringLiteral("Of the &canvas"), this,
        [this] {
            snapshot(m_host.document().scene().m_screens[m_nScreen].m_strName, canvasPicture());
        },
        QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_C));
    menu.addAction(
        QStringLiteral("Of the &window"), this,
        [this] { snapshot(QStringLiteral("window"), grab().toImage()); },
        QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_W));
}

/** In the canvas's own pixels, at whatever zoom it is shown. */
QImage MainWindow::canvasPicture() const
{
    const sSceneScreen &screen = m_host.document().scene().m_screens[m_nScreen];
    QList<QImage> previews;
    for (const sSceneLayer &layer : screen.m_layers)
        previews.append(m_host.session().preview(layer.m_config.m_LayerIdentifies));
    return paintedCanvas(screen, previews);
}

void MainWindow::snapshot(const QString &strName, const QImage &picture)
{
    const sSnapshot snapshot = writeSnapshot(m_strSnapshotFolder, strName, picture);
    statusBar()->showMessage(snapshot.m_strFile.isEmpty()
                                 ? QStringLiteral("No snapshot: ") + snapshot.m_strError
                                 : QStringLiteral("Snapshot: ") + snapshot.m_strFile,
                             ToldMs);
}

void MainWindow::showInputMenu(int nInput, const QPoint &globalPlace)
{
    BizModel::Input &input = m_host.session().input(nInput);
    auto *const pMenu = new QMenu(this);
    pMenu->setAttribute(Qt::WA_DeleteOnClose);
    pMenu->addSection(QStringLiteral("Input %1").arg(nInput));
    QAction *const pUse =
        pMenu->addAction(QStringLiteral("&Show in the selected layer"), this, [this, nInput] {
            const sSceneLayer *const pLayer =
                m_selected ? m_host.document().layer(*m_selected) : nullptr;
            if (!pLayer)
                return;
            sSceneLayer layer = *pLayer;
            showInput(layer, nInput);
            m_host.document().editLayer(layer, eLayerPart::Source);
        });
    // A scene file takes no inputs that its first device does not have.
    pUse->setEnabled(m_selected && nInput < m_host.document().scene().inputCount());
    pMenu->addAction(QStringLiteral("S&napshot"), this, [this, nInput] {
        QImage picture;
        m_host.session().inputPicture(nInput, picture);
        snapshot(QStringLiteral("input %1").arg(nInput), picture);
    });
    pMenu->addSection(QStringLiteral("Try out: what the device model says"));
    QAction *const pActive = pMenu->addAction(QStringLiteral("&Connected"));
    pActive->setCheckable(true);
    pActive->setChecked(input.isActive());
    connect(pActive, &QAction::toggled, this, [&input](bool isOn) { input.setActive(isOn); });
    QAction *const pOverload = pMenu->addAction(QStringLiteral("&Overloaded"));
    pOverload->setCheckable(true);
    pOverload->setChecked(input.isOverLoad());
    connect(pOverload, &QAction::toggled, this, [&input](bool isOn) { input.setOverLoad(isOn); });
    pMenu->popup(globalPlace);
}

} // namespace Morvek::Tools
