#include "renderspy.h"

#include <QMutex>
#include <QMutexLocker>

using Morvek::EchoVideo::LayerVideoManager;
using Morvek::EchoVideo::sLayerVideoConfig;
using Morvek::EchoVideo::Internal::PreviewMemory;

// The linker's names: what --wrap calls in the place of the operation, and the operation itself.
#define RENDER_SYMBOL(prefix) \
    prefix##_ZNK6Morvek9EchoVideo17LayerVideoManager23asyncVideoPrerenderTaskERKNS0_17sLayerVideoConfigER6QImageS6_PNS0_8Internal13PreviewMemoryE

extern "C" {
void RENDER_SYMBOL(__real_)(const LayerVideoManager *pManager, const sLayerVideoConfig &layerCfg,
                            QImage &canvas, QImage &inputFrame, PreviewMemory *pMemory);
void RENDER_SYMBOL(__wrap_)(const LayerVideoManager *pManager, const sLayerVideoConfig &layerCfg,
                            QImage &canvas, QImage &inputFrame, PreviewMemory *pMemory);
}

namespace Morvek::Tests {

namespace {

QMutex mtxRenders;
QList<sRender> allRenders; // guarded by mtxRenders

} // namespace

QList<sRender> RenderSpy::renders()
{
    QMutexLocker locker(&mtxRenders);
    return allRenders;
}

int RenderSpy::count()
{
    return renders().size();
}

void RenderSpy::clear()
{
    QMutexLocker locker(&mtxRenders);
    allRenders.clear();
}

} // namespace Morvek::Tests

void RENDER_SYMBOL(__wrap_)(const LayerVideoManager *pManager, const sLayerVideoConfig &layerCfg,
                            QImage &canvas, QImage &inputFrame, PreviewMemory *pMemory)
{
    using namespace Morvek::Tests;
    sRender render;
    render.m_layerCfg = layerCfg;
    render.m_time = QDateTime::currentDateTime();
    render.m_isCanvasFree = canvas.isNull() || canvas.isDetached();
    RENDER_SYMBOL(__real_)(pManager, layerCfg, canvas, inputFrame, pMemory);
    render.m_pBitsAfter = canvas.constBits();
    QMutexLocker locker(&mtxRenders);
    allRenders.append(render);
}
