#ifndef MORVEK_ECHOCANVAS_LAYERVERDICT_H
#define MORVEK_ECHOCANVAS_LAYERVERDICT_H

#include "runreport.h"

#include <QImage>
#include <QVector>

namespace Morvek::Tools {

class LayerFigures;
class ReferencePreviews;

/** Whether a layer shows what it should, and how that is known. */
struct sLayerVerdict
{
    eInputVerdict m_verdict = eInputVerdict::NotLegible;
    eInputProof m_proof = eInputProof::None;
};

/**
 * Judges a layer by its previews.
 *
 * @param layer       its previews so far; the last one counts where no stamp is legible
 * @param inputs      the newest picture of every input, as the service handed it out
 * @param references  renders what the last preview is compared with
 * @param nNowMs      the clock, ms since the epoch
 */
sLayerVerdict judged(const LayerFigures &layer, const QVector<QImage> &inputs,
                     ReferencePreviews &references, qint64 nNowMs);

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_LAYERVERDICT_H
