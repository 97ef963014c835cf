#ifndef MORVEK_ECHOVIDEO_CANVASPOOL_P_H
#define MORVEK_ECHOVIDEO_CANVASPOOL_P_H

#include <QImage>
#include <QSize>

#include <list>

namespace Morvek::EchoVideo::Internal {

/**
 * Keeps delivered previews in sight, to draw into those that nobody looks at any more.
 *
 * A preview belongs to whoever holds it. Once its layer has a newer one and the host has let go, its
 * memory serves another preview, instead of going back to the system page by page.
 *
 * @thread one render thread
 */
class CanvasPool
{
public:
    /** Most canvases that wait to be used again; those on display do not count. */
    static constexpr int MostSpares = 2;

    /** A straight ARGB32 canvas of this size, whatever it shows, that nobody else holds; or null. */
    QImage take(const QSize &size);
    /** Keeps a new preview in sight; it stays with those who hold it. */
    void add(const QImage &preview);
    /** Gives back all but so many of those that nobody holds. */
    void trim(int nMostSpares);

private:
    static constexpr size_t MostPreviews = 4096;

    std::list<QImage> m_previews; // the latest last
};

} // namespace Morvek::EchoVideo::Internal

#endif // MORVEK_ECHOVIDEO_CANVASPOOL_P_H
