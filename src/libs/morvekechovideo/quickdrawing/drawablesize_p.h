#ifndef MORVEK_ECHOVIDEO_DRAWABLESIZE_P_H
#define MORVEK_ECHOVIDEO_DRAWABLESIZE_P_H

#include <QRect>
#include <QSize>

namespace Morvek::EchoVideo::Internal {

/** Most pixels of a width or height; what is larger is rare, and no map is kept for it. */
constexpr int LargestExtent = 8192;

/** Whether pictures of this size are drawn at one go; an empty one is not. */
inline bool isSmallEnough(const QSize &size)
{
    return size.width() >= 1 && size.height() >= 1 && size.width() <= LargestExtent
        && size.height() <= LargestExtent;
}

/** Whether a part lies in a picture of this size, with a pixel at least. */
inline bool isInside(const QRect &part, const QSize &whole)
{
    // By its edges: an extreme rectangle's size overflows.
    return part.left() >= 0 && part.top() >= 0 && part.right() < whole.width()
        && part.bottom() < whole.height() && part.isValid();
}

} // namespace Morvek::EchoVideo::Internal

#endif // MORVEK_ECHOVIDEO_DRAWABLESIZE_P_H
