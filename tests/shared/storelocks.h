#ifndef MORVEK_TESTS_STORELOCKS_H
#define MORVEK_TESTS_STORELOCKS_H

#include <layervideomanager.h>

#include <future>

/** A look at a manager's lists that never waits for their locks; for tests that see its members. */
namespace Morvek::Tests {

/** How many configurations there are; -1 while somebody else holds their mutex. */
inline int storedLayerCount(EchoVideo::LayerVideoManager &manager)
{
    if (!manager.m_mtxLayerVideoConfigs.tryLock())
        return -1;
    const int nLayers = manager.m_LayerVideoConfigs.size();
    manager.m_mtxLayerVideoConfigs.unlock();
    return nLayers;
}

/** How many previews there are; -1 while somebody holds their lock. */
inline int storedPreviewCount(EchoVideo::LayerVideoManager &manager)
{
    if (!manager.m_lockLayerVideo.tryLockForWrite())
        return -1;
    const int nPreviews = manager.m_LayerVideos.size();
    manager.m_lockLayerVideo.unlock();
    return nPreviews;
}

/** Whether another thread could take both locks now; the mutex lets its own holder in again. */
inline bool areStoreLocksFree(EchoVideo::LayerVideoManager &manager)
{
    return std::async(
               std::launch::async,
               [&] { return storedLayerCount(manager) >= 0 && storedPreviewCount(manager) >= 0; })
        .get();
}

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_STORELOCKS_H
