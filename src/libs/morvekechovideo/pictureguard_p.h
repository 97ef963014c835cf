#ifndef MORVEK_ECHOVIDEO_PICTUREGUARD_P_H
#define MORVEK_ECHOVIDEO_PICTUREGUARD_P_H

#include <QByteArray>
#include <QImage>
#include <QtGlobal>

namespace Morvek::EchoVideo::Internal {

/** What a received picture may cost before it is decoded. */
struct sPictureLimits
{
    qint64 m_nPixels = 16'777'216;      ///< width x height; one of 16-bit channels counts as two
    qint64 m_nPixelScans = 268'435'456; ///< width x height x scans of a JPEG
    qint64 m_nPngText = 4096;           ///< bytes of texts and profiles of a PNG, as they are sent
};

/**
 * Tells from its header whether a picture is worth decoding.
 *
 * A few bytes can claim a size that takes gigabytes, or thousands of scans that take minutes, and
 * decoding cannot be interrupted: a stop would wait for it.
 *
 * @param baPicture  the compressed picture, in any format that Qt recognises by its contents
 * @return false for a picture above the limits, and where the size cannot be told: GIF and icons may
 *         decode to a larger one than they announce
 * @thread any
 */
bool isWithinLimits(const QByteArray &baPicture, const sPictureLimits &limits = {});

/**
 * Decodes a picture within the limits.
 *
 * @return null for a picture that is above the limits or that the decoder cannot read
 * @thread any; takes as long as the limits allow
 */
QImage decodePicture(const QByteArray &baPicture, const sPictureLimits &limits = {});

/**
 * Makes a picture safe to draw: a pixel whose number its palette does not have would be read from
 * whatever lies behind the palette.
 *
 * @return the same picture, or one with black behind a palette that is shorter than numbers can be
 * @thread any
 */
QImage withWholePalette(const QImage &picture);

/**
 * Counts the scans of a JPEG picture, up to its end marker.
 *
 * @return 0 for anything that does not start like a JPEG picture
 * @thread any
 */
int jpegScanCount(const QByteArray &baPicture);

} // namespace Morvek::EchoVideo::Internal

#endif // MORVEK_ECHOVIDEO_PICTUREGUARD_P_H
