#include "layerfigures.h"

#include "previewcheck.h"

namespace Morvek::Tools {

namespace {

constexpr int Window = 1 << 15;        // a frame number is within so many of the latest one
constexpr int MostFrames = 4 * Window; // kept, before the old ones go

} // namespace

void SeenFrames::add(quint32 nFrame)
{
    if (m_frames.isEmpty())
        m_nFirst = m_nLast = nFrame;
    // Layers show pictures of slightly different age, so the number may also step back a little.
    const auto nStep = qint16(quint16(nFrame) - quint16(m_nLast));
    const qint64 nUnwrapped = m_nLast + nStep;
    m_nSeen += m_frames.contains(nUnwrapped) ? 0 : 1;
    m_frames.insert(nUnwrapped);
    m_nFirst = qMin(m_nFirst, nUnwrapped);
    m_nLast = qMax(m_nLast, nUnwrapped);
    if (m_frames.size() > MostFrames)
        forgetOld();
}

void SeenFrames::forgetOld()
{
    for (auto it = m_frames.begin(); it != m_frames.end();)
        it = *it < m_nLast - Window ? m_frames.erase(it) : ++it;
}

qint64 SeenFrames::sent() const
{
    return m_nSeen == 0 ? 0 : m_nLast - m_nFirst + 1;
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
    m_ages.add(nNowMs - stamp->m_nTimeMs);
    ++(stamp->m_nInput == m_layer.input() ? m_nRightStamps : m_nWrongStamps);
    return stamp;
}

} // namespace Morvek::Tools
