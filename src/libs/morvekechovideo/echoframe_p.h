#ifndef MORVEK_ECHOVIDEO_ECHOFRAME_P_H
#define MORVEK_ECHOVIDEO_ECHOFRAME_P_H

#include <QColor>
#include <QImage>
#include <QSize>

namespace Morvek::EchoVideo::Internal {

/** Size of the composite echo picture, in pixels. */
constexpr QSize EchoFrameSize(1920, 1080);

/** Colour of a picture without signal. */
constexpr QColor NoSignalVideo(0, 0, 0);

/** Colour of an input that cannot be shown at all. */
constexpr QColor InvalidVideo(23, 24, 26);

/** A straight ARGB32 picture of one colour; null where it cannot be allocated. */
inline QImage filledPicture(const QSize &size, const QColor &color)
{
    QImage picture(size, QImage::Format_ARGB32);
    picture.fill(color);
    return picture;
}

} // namespace Morvek::EchoVideo::Internal

#endif // MORVEK_ECHOVIDEO_ECHOFRAME_P_H
