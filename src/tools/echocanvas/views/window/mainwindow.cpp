#include "mainwindow.h"

#include "canvaspane.h"
#include "canvasview.h"
#include "devicebanner.h"
#include "inputwall.h"
#include "inspector.h"
#include "logview.h"
#include "messagebanner.h"
#include "scenefiles.h"
#include "scenetree.h"
#include "sessioncontrols.h"
#include "statuspanel.h"

#include <QCloseEvent>
#include <QDockWidget>
#include <QLabel>
#include <QMenuBar>
#include <QScreen>
#include <QStatusBar>
#include <QToolBar>
#include <QVBoxLayout>

namespace Morvek::Tools {

namespace {

constexpr QSize FirstSize(1600, 980);
constexpr int CropRefreshMs = 200;
const char *const GeometryKey = "window/geometry";
const char *const StateKey = "window/state";

} // namespace

MainWindow::MainWindow(WindowHost &host, QSettings &settings, const QString &strSnapshotFolder)
    : m_host(host)
    , m_settings(settings)
    , m_strSnapshotFolder(strSnapshotFolder)
    , m_pBanner(new MessageBanner)
    , m_pDeviceBanner(new DeviceBanner(host))
{
    setDockOptions(AllowNestedDocks | AllowTabbedDocks | AnimatedDocks);
    setCorner(Qt::BottomLeftCorner, Qt::BottomDockWidgetArea);
    setCorner(Qt::BottomRightCorner, Qt::RightDockWidgetArea);
    resize(FirstSize.boundedTo(QWidget::screen()->availableSize()));
    buildCanvas();
    buildDocks();
    buildMenus();
    connectHost();
    restoreGeometry(m_settings.value(QLatin1String(GeometryKey)).toByteArray());
    restoreState(m_settings.value(QLatin1String(StateKey)).toByteArray());
    takeStructure();
    refreshTitle();
}

MainWindow::~MainWindow() = default;

void MainWindow::buildCanvas()
{
    auto *const pCentral = new QWidget;
    auto *const pLayout = new QVBoxLayout(pCentral);
    pLayout->setContentsMargins(0, 0, 0, 0);
    pLayout->setSpacing(0);
    pLayout->addWidget(m_pBanner);
    pLayout->addWidget(m_pDeviceBanner);
    m_pCanvas = new CanvasPane;
    pLayout->addWidget(m_pCanvas, 1);
    setCentralWidget(pCentral);
    statusBar()->addPermanentWidget(
        new QLabel(QStringLiteral("Preview only: nothing is sent to the device")));
    m_pZoom = new QLabel;
    m_pZoom->setToolTip(QStringLiteral("Zoom of the canvas"));
    statusBar()->addPermanentWidget(m_pZoom);
    connect(m_pCanvas, &CanvasPane::zoomChanged, this, [this](double zoom) {
        m_pZoom->setText(QStringLiteral("Zoom %1 %").arg(qRound(zoom * 100)));
    });
    CanvasView &view = m_pCanvas->view();
    connect(&view, &CanvasView::layerSelected, this,
            [this](const LayerKey &key) { select(m_nScreen, key); });
    connect(&view, &CanvasView::selectionCleared, this,
            [this] { select(m_nScreen, std::nullopt); });
    connect(&view, &CanvasView::geometryWanted, this, &MainWindow::wantGeometry);
}

QDockWidget *MainWindow::addDock(const char *pName, const char *pTitle, QWidget *pContent,
                                 Qt::DockWidgetArea eArea)
{
    auto *const pDock = new QDockWidget(QString::fromUtf8(pTitle));
    pDock->setObjectName(QLatin1String(pName)); // by which its place is kept
    pDock->setWidget(pContent);
    addDockWidget(eArea, pDock);
    return pDock;
}

void MainWindow::buildDocks()
{
    m_pTree = new SceneTree(m_host.document());
    m_pInspector = new Inspector(m_host.document());
    m_pWall = new InputWall(m_host.monitor());
    QDockWidget *const pTree = addDock("tree", "Scene", m_pTree, Qt::LeftDockWidgetArea);
    QDockWidget *const pInspector =
        addDock("inspector", "Layer", m_pInspector, Qt::RightDockWidgetArea);
    QDockWidget *const pWall = addDock("inputs", "Inputs", m_pWall, Qt::BottomDockWidgetArea);
    QDockWidget *const pFigures =
        addDock("figures", "Figures", new StatusPanel(m_host.monitor()), Qt::BottomDockWidgetArea);
    QDockWidget *const pLog =
        addDock("log", "Messages", new LogView(m_host.log()), Qt::BottomDockWidgetArea);
    tabifyDockWidget(pFigures, pLog);
    resizeDocks({pWall, pFigures}, {860, 420}, Qt::Horizontal);
    resizeDocks({pTree, pInspector}, {270, 290}, Qt::Horizontal);
    resizeDocks({pWall}, {330}, Qt::Vertical);
    pFigures->raise();
    connect(m_pTree, &SceneTree::chosen, this, &MainWindow::select);
    connect(m_pWall, &InputWall::menuWanted, this, &MainWindow::showInputMenu);
    connect(&m_cropRefreshing, &QTimer::timeout, this, &MainWindow::refreshCropPicture);
    m_cropRefreshing.start(CropRefreshMs);
}

void MainWindow::connectHost()
{
    connect(&m_host.session(), &DeviceSession::previewFinished, this, &MainWindow::takePreview);
    connect(&m_host.monitor(), &SessionMonitor::sampled, this, &MainWindow::refreshMarks);
    SceneDocument &document = m_host.document();
    connect(&document, &SceneDocument::layerChanged, this, &MainWindow::takeLayer);
    connect(&document, &SceneDocument::structureChanged, this, &MainWindow::takeStructure);
    connect(&document, &SceneDocument::replaced, this, &MainWindow::takeStructure);
    connect(&document, &SceneDocument::titleChanged, this, &MainWindow::refreshTitle);
}

void MainWindow::select(int nScreen, std::optional<LayerKey> layer)
{
    const bool isOtherScreen = nScreen != m_nScreen;
    m_nScreen = nScreen;
    m_selected = layer;
    if (isOtherScreen)
        showScreen();
    m_pCanvas->view().setSelected(layer);
    m_pTree->setCurrent(nScreen, layer);
    m_pInspector->setLayer(layer);
    refreshCropPicture();
    refreshEditActions();
}

void MainWindow::showScreen()
{
    const QList<sSceneScreen> &screens = m_host.document().scene().m_screens;
    CanvasView &view = m_pCanvas->view();
    view.setScreen(screens[m_nScreen]);
    for (const sSceneLayer &layer : screens[m_nScreen].m_layers)
        takePreview(layer.m_config.m_LayerIdentifies);
    refreshMarks();
    if (m_pCanvas->isFitting())
        m_pCanvas->fit();
}

void MainWindow::takePreview(const LayerKey &key)
{
    // What nobody sees need not be taken over.
    if (m_host.document().screenOf(key) == m_nScreen && !isMinimized())
        m_pCanvas->view().setPreview(key, m_host.session().preview(key));
}

void MainWindow::refreshMarks()
{
    const bool isRendered = m_host.session().isRendering() && m_host.session().isRenderEnabled();
    const QList<sSceneLayer> &layers = m_host.document().scene().m_screens[m_nScreen].m_layers;
    for (const sSceneLayer &layer : layers)
        m_pCanvas->view().setMark(layer.m_config.m_LayerIdentifies,
                                  markOf(layer, m_host.monitor(), isRendered));
}

void MainWindow::takeLayer(const LayerKey &key)
{
    if (const sSceneLayer *const pLayer = m_host.document().layer(key))
        m_pCanvas->view().setLayer(*pLayer);
}

void MainWindow::takeStructure()
{
    const int nScreens = m_host.document().scene().m_screens.size();
    const bool isSelectionGone = !m_selected || !m_host.document().layer(*m_selected);
    // Screens that come or go give the others another place.
    m_nScreen = isSelectionGone ? qBound(0, m_nScreen, nScreens - 1)
                                : m_host.document().screenOf(*m_selected);
    showScreen();
    select(m_nScreen, isSelectionGone ? std::nullopt : m_selected);
}

void MainWindow::refreshTitle()
{
    setWindowTitle(QStringLiteral("%1[*] - echocanvas").arg(m_host.document().title()));
    setWindowModified(m_host.document().isModified());
}

void MainWindow::refreshCropPicture()
{
    const sSceneLayer *const pLayer = m_selected ? m_host.document().layer(*m_selected) : nullptr;
    const bool hasInput =
        pLayer && pLayer->hasSource() && pLayer->input() < m_host.session().inputCount();
    QImage picture;
    if (hasInput)
        m_host.session().inputPicture(pLayer->input(), picture);
    m_pInspector->setSourcePicture(picture);
}

void MainWindow::wantGeometry(const LayerKey &key, const QRect &rect, bool isNewGesture)
{
    const sSceneLayer *const pLayer = m_host.document().layer(key);
    if (!pLayer)
        return;
    if (isNewGesture || m_nGesture == 0)
        m_nGesture = m_host.document().newGesture();
    sSceneLayer layer = *pLayer;
    layer.m_position = rect.topLeft();
    layer.m_config.m_LayerItem.m_boundingRect = QRectF(QPointF(0, 0), QSizeF(rect.size()));
    m_host.document().editLayer(layer, eLayerPart::Geometry, m_nGesture);
}

/**
 * The reader is stopped here and not later, so that what takes a second is seen to take it; the
 * session itself sets the device online for that.
 */
void MainWindow::closeEvent(QCloseEvent *pEvent)
{
    if (!m_pFiles->mayDiscard()) {
        pEvent->ignore();
        return;
    }
    m_settings.setValue(QLatin1String(GeometryKey), saveGeometry());
    m_settings.setValue(QLatin1String(StateKey), saveState());
    m_pBanner->tellAtOnce(QStringLiteral("Stopping…"));
    m_host.session().stop();
    pEvent->accept();
}

} // namespace Morvek::Tools
