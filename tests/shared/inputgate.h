#ifndef MORVEK_TESTS_INPUTGATE_H
#define MORVEK_TESTS_INPUTGATE_H

#include <layervideomanager.h>

#include <QDeadlineTimer>
#include <QImage>
#include <QList>
#include <QMutex>
#include <QMutexLocker>
#include <QSize>
#include <QThread>
#include <QWaitCondition>

#include <chrono>
#include <memory>

namespace Morvek::Tests {

/** One call of the input callback, as it arrived. */
struct sInputCall
{
    quint32 m_nKeyNo = 0; ///< the source's number, see makeLayer()
    QSize m_size;
    QImage m_frame; ///< the picture before it was filled
    std::shared_ptr<Morvek::BizModel::Device> m_pDevice;
    QThread *m_pThread = nullptr;
    std::chrono::steady_clock::time_point m_time;
};

/**
 * An input callback with a gate in it. It notes every call, waits while the gate is closed, and
 * fills the picture with the colour that is set. Outlives the managers that call it; open it before
 * they are destroyed, since they wait for their render threads.
 */
class InputGate
{
public:
    static constexpr int LongEnough = 20000; ///< ms; only a broken test waits so long

    EchoVideo::LayerVideoManager::ReadInputVideoFrameCallback callback()
    {
        return [this](std::weak_ptr<Morvek::BizModel::Device> wDevice,
                      const EchoVideo::sLayerSource &source, const QSize &size, QImage &frame) {
            note({source.m_nLayerSourceKeyNo, size, frame, wDevice.lock(), QThread::currentThread(),
                  std::chrono::steady_clock::now()});
            const QColor color = waitAtGate();
            frame = QImage(size, QImage::Format_ARGB32);
            frame.fill(color);
            return true;
        };
    }

    void close()
    {
        QMutexLocker locker(&m_mutex);
        m_isOpen = false;
    }

    void open()
    {
        QMutexLocker locker(&m_mutex);
        m_isOpen = true;
        m_changed.wakeAll();
    }

    /** Lets this many calls pass the closed gate, now or later. */
    void letPass(int nCalls = 1)
    {
        QMutexLocker locker(&m_mutex);
        m_nPasses += nCalls;
        m_changed.wakeAll();
    }

    void setColor(const QColor &color)
    {
        QMutexLocker locker(&m_mutex);
        m_color = color;
    }

    /** Waits, without an event loop, until so many calls have arrived since the beginning. */
    bool waitForCalls(int nCalls, int nTimeoutMs = LongEnough)
    {
        const QDeadlineTimer deadline(nTimeoutMs);
        QMutexLocker locker(&m_mutex);
        while (m_calls.size() < nCalls) {
            if (!m_changed.wait(&m_mutex, deadline))
                return m_calls.size() >= nCalls;
        }
        return true;
    }

    QList<sInputCall> calls() const
    {
        QMutexLocker locker(&m_mutex);
        return m_calls;
    }

    QList<quint32> keyNumbers() const
    {
        QList<quint32> result;
        const QList<sInputCall> all = calls();
        for (const sInputCall &call : all)
            result.append(call.m_nKeyNo);
        return result;
    }

    int callCount() const { return calls().size(); }

private:
    void note(sInputCall call)
    {
        QMutexLocker locker(&m_mutex);
        m_calls.append(std::move(call));
        m_changed.wakeAll();
    }

    QColor waitAtGate()
    {
        QMutexLocker locker(&m_mutex);
        while (!m_isOpen && m_nPasses == 0)
            m_changed.wait(&m_mutex);
        if (!m_isOpen)
            --m_nPasses;
        return m_color;
    }

    mutable QMutex m_mutex; // guards everything below
    QWaitCondition m_changed;
    bool m_isOpen = true;
    int m_nPasses = 0;
    QColor m_color = Qt::red;
    QList<sInputCall> m_calls;
};

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_INPUTGATE_H
