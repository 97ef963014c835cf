#ifndef MORVEK_ECHOCANVAS_MAINWINDOW_H
#define MORVEK_ECHOCANVAS_MAINWINDOW_H

#include "windowhost.h"

#include <QMainWindow>
#include <QSettings>
#include <QTimer>

#include <optional>

class QAction;
class QDockWidget;
class QLabel;
class QMenu;

namespace Morvek::Tools {

class CanvasPane;
class DeviceBanner;
class Inspector;
class InputWall;
class MessageBanner;
class SceneFiles;
class SceneTree;

/** The program's window: the canvas, and around it everything about scene, device and inputs. */
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    /**
     * @param host               must outlive the window
     * @param settings           where window and recent files are kept; must outlive the window
     * @param strSnapshotFolder  made with the first snapshot
     */
    MainWindow(WindowHost &host, QSettings &settings, const QString &strSnapshotFolder);
    ~MainWindow() override;

    CanvasPane &canvas() { return *m_pCanvas; }
    InputWall &wall() { return *m_pWall; }
    MessageBanner &banner() { return *m_pBanner; }
    DeviceBanner &deviceBanner() { return *m_pDeviceBanner; }
    SceneFiles &files() { return *m_pFiles; }
    std::optional<LayerKey> selected() const { return m_selected; }
    int screen() const { return m_nScreen; }

    void select(int nScreen, std::optional<LayerKey> layer);

protected:
    void closeEvent(QCloseEvent *pEvent) override;

private:
    void buildCanvas();
    QDockWidget *addDock(const char *pName, const char *pTitle, QWidget *pContent,
                         Qt::DockWidgetArea eArea);
    void buildDocks();
    void buildMenus();
    void buildEditMenu(QMenu &menu);
    void buildLayerMenu(const QList<QAction *> &edits);
    void buildSnapshotMenu(QMenu &menu);
    void connectHost();

    void takePreview(const LayerKey &key);
    void refreshMarks();
    void takeLayer(const LayerKey &key);
    void takeStructure();
    void refreshTitle();
    void refreshEditActions();
    void refreshCropPicture();
    void wantGeometry(const LayerKey &key, const QRect &rect, bool isNewGesture);
    void showScreen();
    void showLayerMenu(const QPoint &place);
    void showInputMenu(int nInput, const QPoint &globalPlace);
    void addLayer();
    void duplicateLayer();
    void snapshot(const QString &strName, const QImage &picture);
    QImage canvasPicture() const;

    WindowHost &m_host;
    QSettings &m_settings;
    const QString m_strSnapshotFolder;
    int m_nScreen = 0;
    std::optional<LayerKey> m_selected;
    int m_nGesture = 0;
    CanvasPane *m_pCanvas = nullptr;
    MessageBanner *m_pBanner = nullptr;
    DeviceBanner *m_pDeviceBanner = nullptr;
    SceneTree *m_pTree = nullptr;
    Inspector *m_pInspector = nullptr;
    InputWall *m_pWall = nullptr;
    SceneFiles *m_pFiles = nullptr;
    QLabel *m_pZoom = nullptr;
    QMenu *m_pLayerMenu = nullptr;
    QAction *m_pAddLayer = nullptr;
    QList<QAction *> m_layerActions; // want a selected layer
    QAction *m_pRemoveLayer = nullptr;
    QAction *m_pRemoveScreen = nullptr;
    QTimer m_cropRefreshing;
};

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_MAINWINDOW_H
