#include "layerverdict.h"

#include "layerfigures.h"
#include "referencepreviews.h"

#include <tilestamp.h>

namespace Morvek::Tools {

namespace {

eInputVerdict verdict(bool isRight)
{
    return isRight ? eInputVerdict::Right : eInputVerdict::Wrong;
}

eInputVerdict byColour(const LayerFigures &layer, ReferencePreviews &references)
{
    return verdict(layer.lastPreview() == references.render(layer.layer().m_config, QImage()));
}

/** A picture may be cut off or damaged on its way, so a few stamps may be missing, but none wrong. */
eInputVerdict byStamp(const LayerFigures &layer)
{
    return verdict(layer.wrongStamps() == 0 && layer.rightStamps() > 0
                   && layer.rightStamps() * 2 >= layer.genuine());
}

bool isPictureOf(int nInput, const QImage &picture, qint64 nNowMs)
{
    const auto stamp = readTileStamp(picture, QRectF(picture.rect()), nNowMs);
    return stamp && stamp->m_nInput == nInput;
}

/** Likeness to an input's picture proves something only if that picture is proved by its stamp. */
eInputVerdict byLikeness(const LayerFigures &layer, const QVector<QImage> &inputs,
                         ReferencePreviews &references, qint64 nNowMs)
{
    const int nInput = layer.layer().input();
    if (!isPictureOf(nInput, inputs.value(nInput), nNowMs))
        return eInputVerdict::Wrong;
    const std::optional<int> nAlike =
        references.mostAlike(layer.layer().m_config, layer.lastPreview(), inputs);
    return nAlike ? verdict(*nAlike == nInput) : eInputVerdict::NotLegible;
}

} // namespace

sLayerVerdict judged(const LayerFigures &layer, const QVector<QImage> &inputs,
                     ReferencePreviews &references, qint64 nNowMs)
{
    if (layer.genuine() == 0)
        return {};
    if (!layer.layer().hasSource())
        return {byColour(layer, references), eInputProof::Colour};
    if (layer.isLegible())
        return {byStamp(layer), eInputProof::Stamp};
    return {byLikeness(layer, inputs, references, nNowMs), eInputProof::Likeness};
}

} // namespace Morvek::Tools
