#ifndef MORVEK_TESTS_RENDERSPY_H
#define MORVEK_TESTS_RENDERSPY_H

#include <layervideomanager.h>

#include <QDateTime>
#include <QImage>
#include <QList>

namespace Morvek::Tests {

/** One preview, as a render thread had it made. */
struct sRender
{
    EchoVideo::sLayerVideoConfig m_layerCfg;
    QDateTime m_time;
    /** The canvas held no picture, or one that nobody else shares: filling it copies nothing. */
    bool m_isCanvasFree = false;
    const uchar *m_pBitsAfter = nullptr; ///< pixels of the finished preview
};

/**
 * Notes every preview that a render thread asks LayerVideoManager::asyncVideoPrerenderTask() for, and
 * passes it on. The linker puts it in between: link morvek_render_spy.
 */
class RenderSpy
{
public:
    static QList<sRender> renders();
    static int count();
    static void clear();
};

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_RENDERSPY_H
