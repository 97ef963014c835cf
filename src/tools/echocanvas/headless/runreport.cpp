#include "runreport.h"

#include "layerfigures.h"

#include <algorithm>

namespace Morvek::Tools {

namespace {

QString failure(const sLayerReport &layer, bool isStreamMissing)
{
    if (layer.m_nPreviews == 0)
        return QStringLiteral("was not rendered");
    // A missing stream is one failure, not one for each layer.
    if (layer.hasSource() && layer.m_nGenuine == 0)
        return isStreamMissing ? QString() : QStringLiteral("showed no picture of the stream");
    if (layer.m_verdict == eInputVerdict::Wrong && layer.hasSource())
        return QStringLiteral("does not show input %1").arg(layer.m_nInput);
    if (layer.m_verdict == eInputVerdict::Wrong)
        return QStringLiteral("does not show its colour");
    return QString();
}

} // namespace

sAges summarised(const AgeCounts &ages)
{
    return {!ages.isEmpty(), ages.percentile(0.5), ages.percentile(0.95), ages.percentile(1)};
}

int sRunReport::previews() const
{
    int nSum = 0;
    for (const sLayerReport &layer : m_layers)
        nSum += layer.m_nPreviews;
    return nSum;
}

int sRunReport::rendered() const
{
    return int(std::count_if(m_layers.begin(), m_layers.end(),
                             [](const sLayerReport &layer) { return layer.m_nPreviews > 0; }));
}

int sRunReport::withSource() const
{
    return int(std::count_if(m_layers.begin(), m_layers.end(),
                             [](const sLayerReport &layer) { return layer.hasSource(); }));
}

int sRunReport::fromStream() const
{
    return int(std::count_if(m_layers.begin(), m_layers.end(), [](const sLayerReport &layer) {
        return layer.hasSource() && layer.m_nGenuine > 0;
    }));
}

int sRunReport::count(eInputVerdict verdict) const
{
    return int(
        std::count_if(m_layers.begin(), m_layers.end(),
                      [verdict](const sLayerReport &layer) { return layer.m_verdict == verdict; }));
}

qint64 sRunReport::firstMs() const
{
    qint64 nFirst = -1;
    for (const sLayerReport &layer : m_layers) {
        if (layer.hasSource() && layer.m_nFirstMs >= 0 && (nFirst < 0 || layer.m_nFirstMs < nFirst))
            nFirst = layer.m_nFirstMs;
    }
    return nFirst;
}

qint64 sRunReport::allMs() const
{
    qint64 nLast = -1;
    for (const sLayerReport &layer : m_layers) {
        if (layer.m_nFirstMs < 0)
            return -1;
        nLast = qMax(nLast, layer.m_nFirstMs);
    }
    return nLast;
}

QStringList failures(const sRunReport &report)
{
    QStringList lines = report.m_problems;
    const bool isStreamMissing = report.withSource() > 0 && report.fromStream() == 0;
    if (isStreamMissing)
        lines.append(QStringLiteral("no picture came from %1").arg(report.m_strDevice));
    for (const sLayerReport &layer : report.m_layers) {
        const QString strFailure = failure(layer, isStreamMissing);
        if (!strFailure.isEmpty())
            lines.append(QStringLiteral("%1, layer \"%2\": %3")
                             .arg(layer.m_strScreen, layer.m_strLayer, strFailure));
    }
    return lines;
}

} // namespace Morvek::Tools
