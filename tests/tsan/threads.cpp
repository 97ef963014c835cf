// Compiled into every program under ThreadSanitizer, in front of Qt's functions of the same names:
// what a thread did before its end happened before whoever has seen that end goes on. The beginning
// of a thread needs nothing: it is a pthread_create(), which ThreadSanitizer sees.

#include "nextfunction.h"
#include "unseen.h"

#include <QThread>
#include <QThreadPool>

#include <private/qthread_p.h>
#include <sanitizer/tsan_interface.h>

#include <functional>

using Morvek::Tests::nextFunction;
using Morvek::Tests::Unseen;

namespace {

/*
 * The last thing that a thread does to its QThread is to wake those who wait for it, which takes a
 * lock that ThreadSanitizer sees. Those who did not have to wait take the same lock here.
 */
void acquireEnd(const QThread *pThread)
{
    auto *const pPrivate = QObjectPrivate::get(const_cast<QThread *>(pThread));
    static_cast<QThreadPrivate *>(pPrivate)->thread_done.wakeAll();
}

bool acquiredIf(bool isEnded, const QThread *pThread)
{
    if (isEnded)
        acquireEnd(pThread);
    return isEnded;
}

/*
 * Room for events that are posted to a thread, so that no thread that posts one moves those of
 * another to a larger place, under Qt's own lock.
 */
void reserveQueue(QThreadData *pThreadData)
{
    constexpr int EnoughEvents = 4096;
    QMutexLocker locker(&pThreadData->postEventList.mutex);
    pThreadData->postEventList.reserve(EnoughEvents);
}

} // namespace

void QThread::start(Priority priority)
{
    static const auto next =
        nextFunction<void(QThread *, Priority)>("_ZN7QThread5startENS_8PriorityE");
    reserveQueue(QThreadData::get2(this));
    reserveQueue(QThreadData::get2(thread()));
    next(this, priority);
}

bool QThread::wait(QDeadlineTimer deadline)
{
    static const auto next =
        nextFunction<bool(QThread *, QDeadlineTimer)>("_ZN7QThread4waitE14QDeadlineTimer");
    return acquiredIf(next(this, deadline), this);
}

bool QThread::wait(unsigned long time)
{
    static const auto next = nextFunction<bool(QThread *, unsigned long)>("_ZN7QThread4waitEm");
    return acquiredIf(next(this, time), this);
}

bool QThread::isFinished() const
{
    static const auto next = nextFunction<bool(const QThread *)>("_ZNK7QThread10isFinishedEv");
    return acquiredIf(next(this), this);
}

bool QThread::isRunning() const
{
    static const auto next = nextFunction<bool(const QThread *)>("_ZNK7QThread9isRunningEv");
    return !acquiredIf(!next(this), this);
}

// Wakes the event loop of a thread, which makes and closes what it is woken by itself.
void QThread::exit(int returnCode)
{
    static const auto next = nextFunction<void(QThread *, int)>("_ZN7QThread4exitEi");
    const Unseen unseen;
    next(this, returnCode);
}

void QThread::quit()
{
    static const auto next = nextFunction<void(QThread *)>("_ZN7QThread4quitEv");
    const Unseen unseen;
    next(this);
}

// Used by Qt's host name look-ups.
void QThreadPool::start(QRunnable *runnable, int priority)
{
    static const auto next =
        nextFunction<void(QThreadPool *, QRunnable *, int)>("_ZN11QThreadPool5startEP9QRunnablei");
    const Unseen unseen;
    next(this, runnable, priority);
}

// See pictures.cpp for what this is.
__attribute__((visibility("default"))) void
destroyThreadPool(QThreadPool *pPool) asm("_ZN11QThreadPoolD1Ev");

void destroyThreadPool(QThreadPool *pPool)
{
    static const auto next = nextFunction<void(QThreadPool *)>("_ZN11QThreadPoolD1Ev");
    const Unseen unseen;
    next(pPool);
}

bool QThreadPool::waitForDone(int msecs)
{
    static const auto next =
        nextFunction<bool(QThreadPool *, int)>("_ZN11QThreadPool11waitForDoneEi");
    const Unseen unseen;
    return next(this, msecs);
}

// Used by Qt's picture functions, which wait for all the parts that they split their work into: here
// one after the other, by the thread that they work for.
void QThreadPool::start(std::function<void()> functionToRun, int /*priority*/)
{
    functionToRun();
}
