#ifndef MORVEK_ECHOVIDEO_LAYERVIDEOPRERENDERTASK_P_H
#define MORVEK_ECHOVIDEO_LAYERVIDEOPRERENDERTASK_P_H

#include "previewmemory_p.h"

#include <QImage>
#include <QMutex>
#include <QThread>
#include <QWaitCondition>

#include <atomic>

namespace Morvek::EchoVideo {

class LayerVideoManager;

namespace Internal {

/**
 * A render thread: takes one due layer after the other from its manager, paced by the active
 * device's frame rate, and renders it.
 */
class LayerVideoPrerenderTask : public QThread
{
    Q_OBJECT

public:
    /** @param pMgr  the owning manager, which outlives the thread */
    explicit LayerVideoPrerenderTask(LayerVideoManager *pMgr);
    ~LayerVideoPrerenderTask() override;

    /** @thread the manager's */
    void startRender();
    /**
     * Asks the thread to end, if it runs.
     * @thread the manager's; waits for an offline device's pass over all layers
     */
    void stopRender();
    /** Wakes the thread from whatever it waits for, if it waits just now. @thread any */
    void refreshNow();

protected:
    void run() override;

private:
    Q_DISABLE_COPY(LayerVideoPrerenderTask)

    int fps();
    void pauseRefresh();
    void waitForWork();

    LayerVideoManager *const m_pMgr;
    QImage m_LayerVideoCanvas;         // render thread only
    QImage m_InputVideoFrame;          // render thread only
    PreviewMemory m_memory;            // render thread only
    std::atomic_bool m_bStoped{false}; // set under m_mtxFPS, so that no wait misses it
    QMutex m_mtxFPS;                   // held for the waits, and for the offline pass
    QWaitCondition m_wcFPS;
};

} // namespace Internal
} // namespace Morvek::EchoVideo

#endif // MORVEK_ECHOVIDEO_LAYERVIDEOPRERENDERTASK_P_H
