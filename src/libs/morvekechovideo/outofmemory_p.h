#ifndef MORVEK_ECHOVIDEO_OUTOFMEMORY_P_H
#define MORVEK_ECHOVIDEO_OUTOFMEMORY_P_H

#include <new>

namespace Morvek::EchoVideo::Internal {

/** Logs that a picture was given up for want of memory; at most once a minute. @thread any */
void warnOutOfMemory();

/**
 * Runs work on one picture that may run out of memory.
 *
 * A thread of this library must not end its host's process by an exception that nobody catches:
 * the picture is given up, and the next one may succeed.
 *
 * @return false when memory ran out; the work is then half done
 */
template <typename Work>
bool survivesOutOfMemory(Work work)
{
    try {
        work();
        return true;
    } catch (const std::bad_alloc &) {
        warnOutOfMemory();
        return false;
    }
}

} // namespace Morvek::EchoVideo::Internal

#endif // MORVEK_ECHOVIDEO_OUTOFMEMORY_P_H
