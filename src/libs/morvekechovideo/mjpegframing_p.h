#ifndef MORVEK_ECHOVIDEO_MJPEGFRAMING_P_H
#define MORVEK_ECHOVIDEO_MJPEGFRAMING_P_H

#include <functional>

namespace Morvek::EchoVideo::Internal {

class ReceiveBuffer;

/** Receives the bytes of one complete picture; they are valid during the call only. */
using PictureHandler = std::function<void(const char *pData, int nLength)>;

/**
 * Cuts one picture out of a received stream: the newest whose header starts before iStart.
 *
 * The header is a line "Content-Length: <bytes>", the last of its part; the picture follows the
 * next empty line. docs/wire-format.md tells what that means for ill-formed streams.
 *
 * @param baMJPEG  the receive buffer; everything up to the end of a complete picture is removed,
 *                 and without a header everything but the last byte before iStart and what follows
 * @param iStart   where to search backward from, 0 to the size of the buffer
 * @param handler  called once, before the removal, with a complete picture (possibly empty)
 * @return where the header of an incomplete picture starts, the buffer then being unchanged; else -1
 */
int cutPicture(ReceiveBuffer &baMJPEG, int iStart, const PictureHandler &handler);

} // namespace Morvek::EchoVideo::Internal

#endif // MORVEK_ECHOVIDEO_MJPEGFRAMING_P_H
