#ifndef MORVEK_ECHOVIDEO_PIXMAPREADERLOCALSHAREDMEMORY_P_H
#define MORVEK_ECHOVIDEO_PIXMAPREADERLOCALSHAREDMEMORY_P_H

#include "pixmapreader_p.h"

#include <QImage>

#include <random>

namespace Morvek::EchoVideo::Internal {

/**
 * Reads the echo video from the framebuffer capture, at the device's frame rate.
 *
 * The capture is initialised once for each run, in passes of its own until it answers that it is
 * ready; nothing ever closes it.
 */
class LocalSharedMemoryReader : public Reader
{
    Q_OBJECT

public:
    /** @param image  the service's frame picture */
    explicit LocalSharedMemoryReader(QImage &image);
    ~LocalSharedMemoryReader() override;

protected:
    void readTask() override;

private:
    Q_DISABLE_COPY(LocalSharedMemoryReader)

    void readFrame(QImage &tempImage, QImage &spareImage);

    // One random colour component, 0 to 255; the capture itself draws none.
    std::random_device rd_argb{"default"};
    std::uniform_int_distribution<int> dist_argb{0, 255};
};

/**
 * Tells whether a frame that could not be read is worth a warning: the first one of the process is
 * not, later ones are at most every five minutes, whichever reader asks.
 *
 * @param nNowMs  the current time, ms since the epoch
 * @thread reader
 */
bool isCaptureWarningDue(qint64 nNowMs);

} // namespace Morvek::EchoVideo::Internal

#endif // MORVEK_ECHOVIDEO_PIXMAPREADERLOCALSHAREDMEMORY_P_H
