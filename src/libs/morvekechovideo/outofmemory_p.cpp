#include "outofmemory_p.h"

#include <QDebug>

#include <atomic>
#include <chrono>

namespace Morvek::EchoVideo::Internal {

void warnOutOfMemory()
{
    using Clock = std::chrono::steady_clock;
    constexpr Clock::duration WarningInterval = std::chrono::minutes(1);
    static std::atomic<Clock::rep> nextWarning{0};

    const Clock::duration now = Clock::now().time_since_epoch();
    Clock::rep due = nextWarning;
    if (now.count() < due
        || !nextWarning.compare_exchange_strong(due, (now + WarningInterval).count()))
        return;
    try {
        qWarning() << "Out of memory, an echo video picture is given up.";
    } catch (const std::bad_alloc &) {
        // Not even the message fits; the picture is given up all the same.
    }
}

} // namespace Morvek::EchoVideo::Internal
