#ifndef MORVEK_TOOLS_PICTURESOURCE_H
#define MORVEK_TOOLS_PICTURESOURCE_H

#include "echopainter.h"

#include <QByteArray>

namespace Morvek::Tools {

/**
 * Makes the device's pictures, one after the other.
 *
 * @thread main
 */
class PictureSource
{
public:
    /**
     * @param nTiles    one of supportedTileCounts()
     * @param nQuality  of the JPEG pictures, 1 to 100
     */
    PictureSource(int nTiles, int nQuality);
    /** Inputs without signal, and inputs that hang, from the next picture on. */
    void setFaultyInputs(const QSet<int> &dark, const QSet<int> &still);

    /** Whether JPEG pictures can be made at all: Qt loads what it needs for that at run time. */
    static bool isUsable();

    /**
     * Draws the next picture, with the present time.
     *
     * @return the picture, unchanged until the next call
     */
    const QImage &nextPicture();
    /**
     * A picture as JPEG.
     *
     * @return empty when there is no memory for it
     */
    QByteArray encoded(const QImage &picture) const;
    /** Pictures made so far; also the number of the next one. */
    quint32 pictureCount() const { return m_nPictures; }

private:
    EchoPainter m_painter;
    const int m_nQuality;
    quint32 m_nPictures = 0;
};

} // namespace Morvek::Tools

#endif // MORVEK_TOOLS_PICTURESOURCE_H
