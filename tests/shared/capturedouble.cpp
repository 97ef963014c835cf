#include "capturedouble.h"

#include <shm_cap.h>

#include <QMutexLocker>

#include <atomic>
#include <cstring>
#include <utility>

namespace Morvek::Tests {

namespace {
std::atomic<CaptureDouble *> currentDouble{nullptr};
}

CaptureDouble::CaptureDouble()
{
    m_clock.start();
    currentDouble = this;
}

CaptureDouble::~CaptureDouble()
{
    currentDouble = nullptr;
}

void CaptureDouble::setInitResult(int nResult)
{
    QMutexLocker locker(&m_mutex);
    m_nInitResult = nResult;
}

void CaptureDouble::setFrameResult(int nResult)
{
    QMutexLocker locker(&m_mutex);
    m_nFrameResult = nResult;
}

void CaptureDouble::setFill(std::function<void(uchar *, int)> fill)
{
    QMutexLocker locker(&m_mutex);
    m_fill = std::move(fill);
}

QList<sCaptureCall> CaptureDouble::calls() const
{
    QMutexLocker locker(&m_mutex);
    return m_calls;
}

QList<sCaptureCall> CaptureDouble::initCalls() const
{
    return callsOfKind(true);
}

QList<sCaptureCall> CaptureDouble::frameCalls() const
{
    return callsOfKind(false);
}

bool CaptureDouble::waitForCalls(int nCalls, int nTimeoutMs) const
{
    return waitUntil([&] { return m_calls.size() >= nCalls; }, nTimeoutMs);
}

bool CaptureDouble::waitForFrameCalls(int nCalls, int nTimeoutMs) const
{
    return waitUntil([&] { return m_nFrames >= nCalls; }, nTimeoutMs);
}

int CaptureDouble::init(int nDevice)
{
    QMutexLocker locker(&m_mutex);
    return note(
        {true, nDevice, m_nInitResult, nullptr, m_clock.elapsed(), QThread::currentThreadId()});
}

int CaptureDouble::readFrame(uchar *pBuffer, int nSize)
{
    const qint64 nMs = m_clock.elapsed();
    QMutexLocker locker(&m_mutex);
    ++m_nFrames;
    if (m_fill)
        m_fill(pBuffer, m_nFrames);
    else
        std::memset(pBuffer, m_nFrames, size_t(nSize));
    return note({false, nSize, m_nFrameResult, pBuffer, nMs, QThread::currentThreadId()});
}

int CaptureDouble::note(sCaptureCall call)
{
    m_calls.append(call);
    m_changed.wakeAll();
    return call.m_nResult;
}

QList<sCaptureCall> CaptureDouble::callsOfKind(bool isInit) const
{
    QList<sCaptureCall> result;
    const QList<sCaptureCall> all = calls();
    for (const sCaptureCall &call : all) {
        if (call.m_isInit == isInit)
            result.append(call);
    }
    return result;
}

template <typename Condition>
bool CaptureDouble::waitUntil(Condition condition, int nTimeoutMs) const
{
    const QDeadlineTimer deadline(nTimeoutMs);
    QMutexLocker locker(&m_mutex);
    while (!condition()) {
        if (!m_changed.wait(&m_mutex, deadline))
            return condition();
    }
    return true;
}

} // namespace Morvek::Tests

int cap_framebuffer_init(int device)
{
    using Morvek::Tests::CaptureDouble;
    CaptureDouble *const pDouble = Morvek::Tests::currentDouble;
    return pDouble ? pDouble->init(device) : -1;
}

int cap_get_framebuffer_data(unsigned char *buffer, int size)
{
    using Morvek::Tests::CaptureDouble;
    CaptureDouble *const pDouble = Morvek::Tests::currentDouble;
    return pDouble ? pDouble->readFrame(buffer, size) : 0;
}
