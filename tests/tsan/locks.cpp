// Compiled into every program under ThreadSanitizer, in front of Qt's locks of the same names: calls
// Qt's and tells ThreadSanitizer, which does not see into Qt, who holds what.

#include "nextfunction.h"

#include <QMutex>
#include <QReadWriteLock>
#include <QSemaphore>
#include <QWaitCondition>

#include <sanitizer/tsan_interface.h>

using Morvek::Tests::nextFunction;

namespace {

// A mutex may be recursive. One that is not would hang, not lock twice; so all count as recursive.
constexpr unsigned MutexFlags = __tsan_mutex_write_reentrant;
constexpr unsigned ReadFlags = __tsan_mutex_read_lock;

// Takes a lock by a function of Qt's, which returns whether it did.
template <typename TryLock>
bool annotatedTryLock(void *pLock, unsigned flags, TryLock tryLock)
{
    flags |= __tsan_mutex_try_lock;
    __tsan_mutex_pre_lock(pLock, flags);
    const bool isLocked = tryLock();
    __tsan_mutex_post_lock(pLock, isLocked ? flags : flags | __tsan_mutex_try_lock_failed, 0);
    return isLocked;
}

template <typename Lock>
void annotatedLock(void *pLock, unsigned flags, Lock lock)
{
    __tsan_mutex_pre_lock(pLock, flags);
    lock();
    __tsan_mutex_post_lock(pLock, flags, 0);
}

template <typename Unlock>
void annotatedUnlock(void *pLock, unsigned flags, Unlock unlock)
{
    __tsan_mutex_pre_unlock(pLock, flags);
    unlock();
    __tsan_mutex_post_unlock(pLock, flags);
}

// A wait on a condition lets go of the mutex and has it again afterwards.
template <typename Wait>
bool annotatedWait(QMutex *pMutex, Wait wait)
{
    annotatedUnlock(pMutex, 0, [] {});
    const bool isWoken = wait();
    annotatedLock(pMutex, MutexFlags, [] {});
    return isWoken;
}

} // namespace

QMutex::~QMutex()
{
    static const auto next = nextFunction<void(QMutex *)>("_ZN6QMutexD1Ev");
    __tsan_mutex_destroy(this, 0);
    next(this);
}

void QMutex::lock() QT_MUTEX_LOCK_NOEXCEPT
{
    static const auto next = nextFunction<void(QMutex *)>("_ZN6QMutex4lockEv");
    annotatedLock(this, MutexFlags, [this] { next(this); });
}

bool QMutex::tryLock(int timeout) QT_MUTEX_LOCK_NOEXCEPT
{
    static const auto next = nextFunction<bool(QMutex *, int)>("_ZN6QMutex7tryLockEi");
    return annotatedTryLock(this, MutexFlags, [&] { return next(this, timeout); });
}

void QMutex::unlock() noexcept
{
    static const auto next = nextFunction<void(QMutex *)>("_ZN6QMutex6unlockEv");
    annotatedUnlock(this, 0, [this] { next(this); });
}

QReadWriteLock::~QReadWriteLock()
{
    static const auto next = nextFunction<void(QReadWriteLock *)>("_ZN14QReadWriteLockD1Ev");
    __tsan_mutex_destroy(this, 0);
    next(this);
}

void QReadWriteLock::lockForRead()
{
    static const auto next =
        nextFunction<void(QReadWriteLock *)>("_ZN14QReadWriteLock11lockForReadEv");
    annotatedLock(this, ReadFlags, [this] { next(this); });
}

bool QReadWriteLock::tryLockForRead()
{
    static const auto next =
        nextFunction<bool(QReadWriteLock *)>("_ZN14QReadWriteLock14tryLockForReadEv");
    return annotatedTryLock(this, ReadFlags, [this] { return next(this); });
}

bool QReadWriteLock::tryLockForRead(int timeout)
{
    static const auto next =
        nextFunction<bool(QReadWriteLock *, int)>("_ZN14QReadWriteLock14tryLockForReadEi");
    return annotatedTryLock(this, ReadFlags, [&] { return next(this, timeout); });
}

void QReadWriteLock::lockForWrite()
{
    static const auto next =
        nextFunction<void(QReadWriteLock *)>("_ZN14QReadWriteLock12lockForWriteEv");
    annotatedLock(this, 0, [this] { next(this); });
}

bool QReadWriteLock::tryLockForWrite()
{
    static const auto next =
        nextFunction<bool(QReadWriteLock *)>("_ZN14QReadWriteLock15tryLockForWriteEv");
    return annotatedTryLock(this, 0, [this] { return next(this); });
}

bool QReadWriteLock::tryLockForWrite(int timeout)
{
    static const auto next =
        nextFunction<bool(QReadWriteLock *, int)>("_ZN14QReadWriteLock15tryLockForWriteEi");
    return annotatedTryLock(this, 0, [&] { return next(this, timeout); });
}

void QReadWriteLock::unlock()
{
    static const auto next = nextFunction<void(QReadWriteLock *)>("_ZN14QReadWriteLock6unlockEv");
    // Whoever unlocks holds it, so the state cannot change from one to the other meanwhile.
    const unsigned flags = stateForWaitCondition() == LockedForWrite ? 0 : ReadFlags;
    annotatedUnlock(this, flags, [this] { next(this); });
}

bool QWaitCondition::wait(QMutex *lockedMutex, QDeadlineTimer deadline)
{
    static const auto next = nextFunction<bool(QWaitCondition *, QMutex *, QDeadlineTimer)>(
        "_ZN14QWaitCondition4waitEP6QMutex14QDeadlineTimer");
    return annotatedWait(lockedMutex, [&] { return next(this, lockedMutex, deadline); });
}

bool QWaitCondition::wait(QMutex *lockedMutex, unsigned long time)
{
    static const auto next = nextFunction<bool(QWaitCondition *, QMutex *, unsigned long)>(
        "_ZN14QWaitCondition4waitEP6QMutexm");
    return annotatedWait(lockedMutex, [&] { return next(this, lockedMutex, time); });
}

void QSemaphore::acquire(int n)
{
    static const auto next = nextFunction<void(QSemaphore *, int)>("_ZN10QSemaphore7acquireEi");
    next(this, n);
    __tsan_acquire(this);
}

bool QSemaphore::tryAcquire(int n)
{
    static const auto next = nextFunction<bool(QSemaphore *, int)>("_ZN10QSemaphore10tryAcquireEi");
    const bool isAcquired = next(this, n);
    if (isAcquired)
        __tsan_acquire(this);
    return isAcquired;
}

bool QSemaphore::tryAcquire(int n, int timeout)
{
    static const auto next =
        nextFunction<bool(QSemaphore *, int, int)>("_ZN10QSemaphore10tryAcquireEii");
    const bool isAcquired = next(this, n, timeout);
    if (isAcquired)
        __tsan_acquire(this);
    return isAcquired;
}

void QSemaphore::release(int n)
{
    static const auto next = nextFunction<void(QSemaphore *, int)>("_ZN10QSemaphore7releaseEi");
    __tsan_release(this);
    next(this, n);
}
