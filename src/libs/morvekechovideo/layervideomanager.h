#ifndef MORVEK_ECHOVIDEO_LAYERVIDEOMANAGER_H
#define MORVEK_ECHOVIDEO_LAYERVIDEOMANAGER_H

#include "layervideoconfig.h"
#include "morvekechovideo_export.h"

#include <devicelist.h>

#include <QImage>
#include <QList>
#include <QMutex>
#include <QObject>
#include <QPixmap>
#include <QReadWriteLock>
#include <QSize>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>

QT_BEGIN_NAMESPACE
class QPainter;
QT_END_NAMESPACE

namespace Morvek::EchoVideo {

namespace Internal {
class LayerVideoPrerenderTask;
class UpdateTimes;
class PreviewMemory;
} // namespace Internal

/**
 * Renders a live preview of every layer that the host registers.
 *
 * The host writes one configuration per layer, starts the manager, and fetches a finished preview
 * whenever layerVideoRenderFinished() announces one. A manager belongs to the thread that created
 * it: construction, destruction, startManager(), stopManager() and setRenderEnable() are for that
 * thread. It must be gone before main() returns or exit() is called: the device list and the input
 * video service are destroyed then, and a manager that outlives them uses what no longer exists. The
 * words used for threads are explained in docs/threads.md.
 */
class MORVEK_ECHOVIDEO_EXPORT LayerVideoManager : public QObject
{
    Q_OBJECT

public:
    /**
     * Fetches the picture of a layer's source; usually answered with
     * PixmapReader::getInputVideoFrame().
     *
     * Arguments: the active device (empty when there is none), the layer's source, the wanted size
     * in pixels (a hint), and the picture to fill. The picture arrives black in the wanted size, or
     * null at a thread's first render; what the callback leaves in it is drawn. The result tells
     * whether there was a picture; the preview does not depend on it. A picture with the
     * QImage::cacheKey() of the last time has the pixels of the last time: pixels in memory of the
     * host's own, which Qt does not see change, come in a new QImage each time.
     *
     * @thread render; several render threads may call at once. The callback must not wait for the
     * manager's thread: the destructor waits there for a callback to return. It must not throw.
     */
    using ReadInputVideoFrameCallback = std::function<bool(
        std::weak_ptr<Morvek::BizModel::Device>, const sLayerSource &, const QSize &, QImage &)>;

    /**
     * Mark drawn on frozen layers, 24 x 24 pixels; shared by all managers.
     *
     * Empty, or holding a null pixmap, it draws nothing. Assign it on the main thread, with a
     * QGuiApplication alive, before any manager is started.
     */
    static std::optional<QPixmap> m_frozenIcon;

    /**
     * A manager without layers, stopped.
     *
     * @param cbReadInputVideoFrame  fetches the layers' source pictures; may be empty, every layer
     *                               then shows its colour
     * @thread the manager's; follows the removals that DeviceList announces
     */
    explicit LayerVideoManager(ReadInputVideoFrameCallback cbReadInputVideoFrame,
                               QObject *parent = nullptr);
    /**
     * Stops rendering and waits until every render thread that was ever started has ended, also
     * while one is inside the host's callback.
     *
     * @thread the manager's; waits for at most one preview and one callback of each render thread
     */
    ~LayerVideoManager() override;

    /**
     * Starts rendering with one render thread; each call while started adds another.
     *
     * @param isHaveInputVideoSignal  false renders each layer once, then only those whose record
     *                                says that they show live video
     * @return false, with nothing started, while there is no active device
     * @thread the manager's
     */
    bool startManager(bool isHaveInputVideoSignal);
    /**
     * Asks all render threads to end; each is deleted on the manager's thread once it has.
     *
     * @return true, always
     * @thread the manager's; does not wait for a thread to end, but for an offline device's pass
     * over all layers that is just under way
     */
    bool stopManager();
    /**
     * Pauses or resumes all rendering; previews stay readable.
     *
     * @thread the manager's
     */
    void setRenderEnable(bool isAllowRender);
    /** Always true: a host need not ask before it shows previews. @thread any */
    bool isHaveInputVideoSignal();
    /**
     * Hands out the newest finished preview of a layer.
     *
     * @param layerIdentifis  key under which the layer's configuration was set
     * @param videoFrame      receives the preview, which may be null if it could not be rendered;
     *                        untouched when there is none
     * @return false until a first preview of that layer has been stored
     * @thread any; read-locks for a shallow copy, never waits for a render
     */
    bool getLayerVideoFrame(sLayerUniqueIdentifies layerIdentifis, QImage &videoFrame);

    /**
     * Copies the stored configuration of a layer.
     *
     * @return false, with layerCfg untouched, for a layer that is not registered
     * @thread any
     */
    bool findLayerVideoConfig(sLayerUniqueIdentifies layerIdentifis, sLayerVideoConfig &layerCfg);
    /**
     * Registers a layer, or replaces its whole record, and wakes the render threads.
     *
     * A new layer joins the end of the queue; a known one keeps its place and is due at once. This
     * is also what wakes rendering after the active device was offline: nothing else does.
     *
     * @param layerCfg  the record; not modified
     * @thread any; emits layerVideoConfigChanged() on the calling thread
     */
    void setLayerVideoConfig(sLayerVideoConfig &layerCfg);
    /**
     * Hands out the next layer that is due: first those never shown, then round-robin those whose
     * last start or finish is at least 1000 / nFps ms ago. The layer counts as being rendered until
     * its preview is stored.
     *
     * @param layerVideoCfg  receives the layer's record; untouched when none is due
     * @param nFps           previews a second and layer; 0 for no pause
     * @return false when no layer is due
     * @thread any; called by the render threads
     */
    bool getUnusedLayerVideoConfig(sLayerVideoConfig &layerVideoCfg, int nFps);
    /** Forgets one layer and its preview; emits nothing. @thread any */
    void removeLayerVideoConfig(sLayerUniqueIdentifies &layerVideoCfgId);
    /** Forgets every layer and every preview; emits nothing. @thread any */
    void clearLayerVideoConfig();
    /** Forgets the layers of one screen; emits nothing, ignores a screen that is gone. @thread any */
    void clearLayerVideoConfig(std::weak_ptr<Morvek::BizModel::Screen> wScreen);

    /**
     * Renders one preview: fetches the source's picture, draws it, decorates it.
     *
     * @param layerVideoCfg     the layer
     * @param layerVideoCanvas  the preview; made anew (straight ARGB32) when its size is not the
     *                          layer's, 2 x 2 for a layer without a size
     * @param inputVideoFrame   filled by the callback, and changed by the layer's colour effects
     * @thread any, on pictures of its own
     */
    void videoPrerender(const sLayerVideoConfig &layerVideoCfg, QImage &layerVideoCanvas,
                        QImage &inputVideoFrame) const;
    /** videoPrerender(), then hands the preview to the manager's thread. @thread any */
    void asyncVideoPrerenderTask(const sLayerVideoConfig &layerVideoCfg, QImage &layerVideoCanvas,
                                 QImage &inputVideoFrame) const;
    /** Fetches the source's picture, or a picture in the layer's colour. @thread any */
    void inputVideoFramePixmap(const sLayerVideoConfig &layerVideoCfg,
                               QImage &inputVideoFrame) const;
    /** Applies mono, reverse and crop to the picture and draws it into the layer. @thread any */
    void drawPreviewVideo(QPainter *pPainter, QImage &videoFrame,
                          const sLayerVideoConfig &layerVideoCfg) const;

    /** Clears the canvas outside the mask's insets. @thread any */
    void drawMask(QPainter *pPainter, const sLayerVideoConfig &layerVideoCfg) const;
    /** Draws the layer's border, if its style has a drawing and no alpha map is set. @thread any */
    void drawBorder(QPainter *pPainter, const sLayerVideoConfig &layerVideoCfg) const;
    /** Draws a frame in the border colour inside the layer's edges. @thread any */
    void drawSolidBorder(QPainter *pPainter, const sLayerVideoConfig &layerVideoCfg) const;
    /** Fades the canvas's edges to transparent. @thread any */
    void drawSoftBorder(QPainter *pPainter, const sLayerVideoConfig &layerVideoCfg) const;
    /** Draws a glow in the border colour that fades from the edges inward. @thread any */
    void drawHaloInBorder(QPainter *pPainter, const sLayerVideoConfig &layerVideoCfg) const;
    /** Draws m_frozenIcon 2 pixels in from the bottom-right corner, if frozen. @thread any */
    void drawFrozenIcon(QPainter *pPainter, const sLayerVideoConfig &layerVideoCfg) const;
    /** Scales the canvas's alpha by the layer's opacity. @thread any */
    void drawOpacity(QPainter *pPainter, const sLayerVideoConfig &layerVideoCfg) const;

Q_SIGNALS:
    /** A configuration was set, or rendering was paused or resumed; on the thread that did so. */
    void layerVideoConfigChanged();
    /** A new preview of this layer can be read; on the manager's thread. */
    void layerVideoRenderFinished(sLayerUniqueIdentifies);

private Q_SLOTS:
    void slotDeviceScreenBaseLayerRemoved(std::weak_ptr<BizModel::Device> pDevice,
                                          std::weak_ptr<BizModel::Screen> pScreen,
                                          std::shared_ptr<BizModel::Layer> pLayer);
    void refreshLayerVideo(sLayerUniqueIdentifies layerIdentifis, QImage videoFrame);
    void slotScreenRemoved(std::weak_ptr<BizModel::Device> pDevice,
                           std::shared_ptr<BizModel::Screen> pScreen);
    void slotActivedDeviceChanged();
    void slot_threadFinished();

private:
    friend class Internal::LayerVideoPrerenderTask;
    Q_DISABLE_COPY(LayerVideoManager)

    void createConnect();
    MORVEK_ECHOVIDEO_NO_EXPORT void videoPrerender(const sLayerVideoConfig &layerVideoCfg,
                                                   QImage &layerVideoCanvas,
                                                   QImage &inputVideoFrame,
                                                   Internal::PreviewMemory *pMemory) const;
    MORVEK_ECHOVIDEO_NO_EXPORT void asyncVideoPrerenderTask(const sLayerVideoConfig &layerVideoCfg,
                                                            QImage &layerVideoCanvas,
                                                            QImage &inputVideoFrame,
                                                            Internal::PreviewMemory *pMemory) const;
    MORVEK_ECHOVIDEO_NO_EXPORT void refreshAllLayerForNoSignal(QImage &layerVideoCanvas,
                                                               QImage &inputVideoFrame,
                                                               Internal::PreviewMemory &memory);
    MORVEK_ECHOVIDEO_NO_EXPORT void renderLayer(const sLayerVideoConfig &layerVideoCfg,
                                                QImage &layerVideoCanvas, QImage &inputVideoFrame,
                                                Internal::PreviewMemory &memory);
    void removeLayerVideos(const QList<sLayerUniqueIdentifies> &layerIdentifis);

    const ReadInputVideoFrameCallback m_cbReadInputVideoFrame;
    QList<Internal::LayerVideoPrerenderTask *> m_videoRenderTasks; // manager's thread only
    bool m_isStarted = false;                                      // manager's thread only
    QList<sLayerVideoConfig> m_LayerVideoConfigs; // guarded by m_mtxLayerVideoConfigs
    const std::unique_ptr<Internal::UpdateTimes>
        m_pUpdateTimes; // guarded by m_mtxLayerVideoConfigs
    QMutex m_mtxLayerVideoConfigs{QMutex::Recursive};
    QList<sLayerVideo> m_LayerVideos; // guarded by m_lockLayerVideo
    QReadWriteLock m_lockLayerVideo;
    std::atomic_bool m_isHaveInputVideoSignal{false};
    std::atomic_int m_nFps{10};
    std::atomic_bool m_isAllowRender{true};
    // Every task ever started and not yet deleted, stopped ones included; manager's thread only.
    QList<Internal::LayerVideoPrerenderTask *> m_undeletedRenderTasks;
};

} // namespace Morvek::EchoVideo

#endif // MORVEK_ECHOVIDEO_LAYERVIDEOMANAGER_H
