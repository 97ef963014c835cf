#include "layerfigures.h"

#include "previewcheck.h"

#include <algorithm>
#include <cmath>

namespace Morvek::Tools {

qint64 percentile(QVector<qint64> values, double share)
{
    if (values.isEmpty())
        return 0;
    const int nRank = qBound(1, int(std::ceil(share * values.size())), values.size());
    std::nth_element(values.begin(), values.begin() + nRank - 1, values.end());
    return values[nRank - 1];
}

void SeenFrames::add(quint32 nFrame)
{
    if (m_frames.isEmpty())
        m_nFirst = m_nLast = nFrame;
    // Layers show pictures of slightly different age, so the number may also step back a little.
    const auto nStep = qint16(quint16(nFrame) - quint16(m_nLast));
    const qint64 nUnwrapped = m_nLast + nStep;
    m_frames.insert(nUnwrapped);
    m_nFirst = qMin(m_nFirst, nUnwrapped);
    m_nLast = qMax(m_nLast, nUnwrapped);
}

int SeenFrames::sent() const
{
    return m_frames.isEmpty() ? 0 : int(m_nLast - m_nFirst + 1);
}

LayerFigures::LayerFigures(const sSceneLayer &layer, const QList<QImage> &placeholders)
    : m_layer(layer)
    , m_isLegible(isStampLegible(layer.m_config))
    , m_placeholders(placeholders)
{}

std::optional<sTileStamp> LayerFigures::addPreview(const QImage &preview, qint64 nElapsedMs,
                                                   qint64 nNowMs)
{
    ++m_nPreviews;
    m_lastPreview = preview;
    if (m_nGenuine == 0 && isPlaceholder(preview))
        return {};
    if (m_nGenuine++ == 0)
        m_nFirstMs = nElapsedMs;
    m_nLastMs = nElapsedMs;
    m_placeholders.clear();
    return m_isLegible ? readStamp(nNowMs) : std::nullopt;
}

double LayerFigures::rate() const
{
    return m_nLastMs > m_nFirstMs ? (m_nGenuine - 1) * 1000.0 / double(m_nLastMs - m_nFirstMs) : 0;
}

bool LayerFigures::isPlaceholder(const QImage &preview) const
{
    return preview.isNull() || m_placeholders.contains(preview);
}

std::optional<sTileStamp> LayerFigures::readStamp(qint64 nNowMs)
{
    const std::optional<sTileStamp> stamp =
        readPreviewStamp(m_layer.m_config, m_lastPreview, nNowMs);
    if (!stamp)
        return {};
    m_ages.append(nNowMs - stamp->m_nTimeMs);
    ++(stamp->m_nInput == m_layer.input() ? m_nRightStamps : m_nWrongStamps);
    return stamp;
}

} // namespace Morvek::Tools
