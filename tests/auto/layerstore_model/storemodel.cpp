#include "storemodel.h"

#include <cstdlib>

namespace Morvek::Tests {

sLayerVideoConfig *StoreModel::record(const sLayerUniqueIdentifies &key)
{
    for (sLayerVideoConfig &candidate : m_records) {
        if (candidate.m_LayerIdentifies == key)
            return &candidate;
    }
    return nullptr;
}

const sLayerVideoConfig *StoreModel::find(const sLayerUniqueIdentifies &key) const
{
    return const_cast<StoreModel *>(this)->record(key);
}

void StoreModel::set(sLayerVideoConfig newRecord)
{
    newRecord.m_isRendering = false;
    if (sLayerVideoConfig *const pKnown = record(newRecord.m_LayerIdentifies)) {
        *pKnown = newRecord;
        return;
    }
    newRecord.m_isFirstRendered = false;
    m_records.push_back(newRecord);
}

void StoreModel::removePreview(const sLayerUniqueIdentifies &key)
{
    std::vector<sPreview> kept;
    for (const sPreview &candidate : m_previews) {
        if (candidate.m_key != key)
            kept.push_back(candidate);
    }
    m_previews = kept;
}

void StoreModel::remove(const sLayerUniqueIdentifies &key)
{
    std::vector<sLayerVideoConfig> kept;
    for (const sLayerVideoConfig &candidate : m_records) {
        if (candidate.m_LayerIdentifies != key)
            kept.push_back(candidate);
    }
    m_records = kept;
    removePreview(key);
}

void StoreModel::clear()
{
    m_records.clear();
    m_previews.clear();
}

// A preview that came late, of a layer without a record, is nobody's and stays.
void StoreModel::clearScreen(quint8 nScreen, int nScreenType)
{
    for (const sLayerVideoConfig &candidate : std::vector<sLayerVideoConfig>(m_records)) {
        const sLayerUniqueIdentifies &key = candidate.m_LayerIdentifies;
        if (key.screenId == nScreen && key.screenType == nScreenType)
            remove(key);
    }
}

std::optional<sLayerVideoConfig> StoreModel::take(int nFps, bool hasInputSignal,
                                                  const QDateTime &now)
{
    const qint64 nInterval = nFps == 0 ? 0 : 1000 / nFps;
    for (std::size_t i = 0; i < m_records.size(); ++i) {
        sLayerVideoConfig taken = m_records[i];
        const bool isRested = std::abs(taken.m_lastUpdateDateTime.msecsTo(now)) >= nInterval;
        const bool isLive = hasInputSignal || taken.m_isHasVideoSignal;
        if (taken.m_isRendering || (taken.m_isFirstRendered && !(isRested && isLive)))
            continue;
        taken.m_isRendering = true;
        taken.m_lastUpdateDateTime = now;
        for (std::size_t k = i; k + 1 < m_records.size(); ++k)
            m_records[k] = m_records[k + 1];
        m_records.back() = taken;
        return taken;
    }
    return {};
}

void StoreModel::deliver(const sLayerUniqueIdentifies &key, const QImage &picture,
                         const QDateTime &now)
{
    bool isKnown = false;
    for (sPreview &candidate : m_previews) {
        if (candidate.m_key == key) {
            candidate.m_picture = picture;
            isKnown = true;
        }
    }
    if (!isKnown)
        m_previews.push_back({key, picture});
    if (sLayerVideoConfig *const pRecord = record(key)) {
        pRecord->m_isRendering = false;
        pRecord->m_isFirstRendered = true;
        pRecord->m_lastUpdateDateTime = now;
        pRecord->m_LayerVideoCanvas = picture;
    }
}

const QImage *StoreModel::preview(const sLayerUniqueIdentifies &key) const
{
    for (const sPreview &candidate : m_previews) {
        if (candidate.m_key == key)
            return &candidate.m_picture;
    }
    return nullptr;
}

QString difference(const sLayerVideoConfig &left, const sLayerVideoConfig &right)
{
    if (left.m_LayerIdentifies != right.m_LayerIdentifies)
        return QStringLiteral("key");
    if (left.m_isRendering != right.m_isRendering)
        return QStringLiteral("being rendered");
    if (left.m_isFirstRendered != right.m_isFirstRendered)
        return QStringLiteral("first rendered");
    if (left.m_lastUpdateDateTime != right.m_lastUpdateDateTime)
        return QStringLiteral("last update");
    if (left.m_LayerItem.m_opacity != right.m_LayerItem.m_opacity)
        return QStringLiteral("contents");
    if (left.m_isHasVideoSignal != right.m_isHasVideoSignal)
        return QStringLiteral("live video");
    if (identity(left.m_LayerVideoCanvas) != identity(right.m_LayerVideoCanvas))
        return QStringLiteral("picture");
    return {};
}

QString StoreModel::differenceFrom(const EchoVideo::LayerVideoManager &manager) const
{
    if (manager.m_LayerVideoConfigs.size() != int(m_records.size()))
        return QStringLiteral("number of records");
    for (int i = 0; i < int(m_records.size()); ++i) {
        const QString strDifference =
            difference(manager.m_LayerVideoConfigs.at(i), m_records[std::size_t(i)]);
        if (!strDifference.isEmpty())
            return QStringLiteral("record %1: %2").arg(i).arg(strDifference);
    }
    if (manager.m_LayerVideos.size() != int(m_previews.size()))
        return QStringLiteral("number of previews");
    for (int i = 0; i < int(m_previews.size()); ++i) {
        const sPreview &expected = m_previews[std::size_t(i)];
        const auto &actual = manager.m_LayerVideos.at(i);
        if (actual.m_LayerIdentifies != expected.m_key
            || identity(actual.m_imgCanvas) != identity(expected.m_picture))
            return QStringLiteral("preview %1").arg(i);
    }
    return {};
}

} // namespace Morvek::Tests
