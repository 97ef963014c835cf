#ifndef MORVEK_TESTS_CAPTUREDOUBLE_H
#define MORVEK_TESTS_CAPTUREDOUBLE_H

#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QList>
#include <QMutex>
#include <QThread>
#include <QWaitCondition>
#include <QtGlobal>

#include <functional>

namespace Morvek::Tests {

/** One call of the capture library. */
struct sCaptureCall
{
    bool m_isInit = false; ///< else a frame was asked for
    int m_nArgument = 0;   ///< the device, or the size of the buffer
    int m_nResult = 0;
    const uchar *m_pBuffer = nullptr;
    qint64 m_nMs = 0; ///< since the double was made
    Qt::HANDLE m_hThread = nullptr;
};

/**
 * Stands in for the capture library while it lives: a program that is linked with
 * capturedouble.cpp defines the library's two functions itself. One at a time.
 */
class CaptureDouble
{
public:
    static constexpr int FrameBytes = 1920 * 1080 * 3;

    CaptureDouble();
    ~CaptureDouble();

    /** What initialising answers; -1 at first. */
    void setInitResult(int nResult);
    /** What reading a frame answers; the whole frame's size at first. */
    void setFrameResult(int nResult);
    /**
     * To fill the buffer with, given the number of frames asked for, this one included; before the
     * start. Otherwise every byte is that number.
     */
    void setFill(std::function<void(uchar *pBuffer, int nFrame)> fill);

    QList<sCaptureCall> calls() const;
    QList<sCaptureCall> initCalls() const;
    QList<sCaptureCall> frameCalls() const;
    /** Waits until there were so many calls of either kind. */
    bool waitForCalls(int nCalls, int nTimeoutMs = 30000) const;
    bool waitForFrameCalls(int nCalls, int nTimeoutMs = 30000) const;

    /** What the library's functions do. */
    int init(int nDevice);
    int readFrame(uchar *pBuffer, int nSize);

private:
    Q_DISABLE_COPY(CaptureDouble)

    int note(sCaptureCall call);
    QList<sCaptureCall> callsOfKind(bool isInit) const;
    template <typename Condition>
    bool waitUntil(Condition condition, int nTimeoutMs) const;

    mutable QMutex m_mutex; // guards everything below
    mutable QWaitCondition m_changed;
    QList<sCaptureCall> m_calls;
    int m_nFrames = 0;
    int m_nInitResult = -1;
    int m_nFrameResult = FrameBytes;
    std::function<void(uchar *, int)> m_fill;
    QElapsedTimer m_clock;
};

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_CAPTUREDOUBLE_H
