#ifndef MORVEK_ECHOCANVAS_PREVIEWCHECK_H
#define MORVEK_ECHOCANVAS_PREVIEWCHECK_H

#include <layervideomanager.h>
#include <tilestamp.h>

#include <QImage>

#include <optional>

namespace Morvek::Tools {

/**
 * Whether the stamp of the layer's input can be read in its preview, judging by the configuration:
 * the crop leaves it in, nothing lies over it, it is neither too small nor too transparent.
 */
bool isStampLegible(const EchoVideo::sLayerVideoConfig &layer);

/**
 * Reads the stamp out of a preview, whose mirroring and colours are turned back first.
 *
 * @param nNowMs  the clock, ms since the epoch
 * @return nothing when there is no stamp or it cannot be read
 */
std::optional<sTileStamp> readPreviewStamp(const EchoVideo::sLayerVideoConfig &layer,
                                           const QImage &preview, qint64 nNowMs);

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_PREVIEWCHECK_H
