#ifndef MORVEK_ECHOVIDEO_PIXMAPREADER_P_H
#define MORVEK_ECHOVIDEO_PIXMAPREADER_P_H

#include <device.h>

#include <QImage>
#include <QThread>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>

namespace Morvek::EchoVideo::Internal {

/** Called by a reader after each published picture. */
using ReadVideoFinishedCallbackType = std::function<void()>;

/**
 * The worker thread behind every source of echo video.
 *
 * A concrete reader only acquires pictures, in readTask(); this base owns start, pause, resume and
 * stop, and publishes the no-signal picture when the task ends. The service owns one reader at a
 * time and controls it on the main thread; it must stop a reader before it lets go of it.
 */
class Reader : public QThread
{
    Q_OBJECT

public:
    /** @param image  the service's frame picture, which outlives the reader */
    explicit Reader(QImage &image, QObject *parent = nullptr);
    ~Reader() override;

    /** Sets what is called after each picture; before the first start only. @thread main */
    void setInputVideoReadFinishedCallback(ReadVideoFinishedCallbackType cb);
    /** The device that is read; empty before the first restartRead(). @thread any */
    std::weak_ptr<Morvek::BizModel::Device> device();
    /** Lets the task idle after its current step. @thread main; does not wait */
    void pauseRead();
    /** @thread any */
    bool isPaused();

    /**
     * Starts, or resumes, reading this device. A task that is running keeps the device that it
     * locked at its start.
     * @thread main; does not wait
     */
    virtual void restartRead(std::weak_ptr<Morvek::BizModel::Device> device);
    /**
     * Ends the task and returns once the thread has ended, however long that takes; never to be
     * called on the reader's own thread.
     * @thread main
     */
    virtual void stopRead();

protected:
    virtual void startRead();
    void run() override;
    /**
     * Acquires pictures until m_isStopRead is set or an end of its own; never touches m_image on
     * the way out. A picture is whole in m_image before the callback is called, and the two never
     * overlap. Waits happen on m_cvStopRead with m_mtxStopRead held.
     * @thread reader
     */
    virtual void readTask() = 0;

    using QThread::start;

    void setDevice(std::weak_ptr<Morvek::BizModel::Device> device);
    /** Waits once, without a limit, if reading is paused. @thread reader */
    void waitWhilePaused();
    /**
     * Ends one pass of a reader that polls its source: waits while paused, else for what is left of
     * the frame interval. A pass that is late waits 100 ms, not less, by design.
     *
     * @param nFps     passes a second; 0 for one every 100 ms
     * @param nWorkMs  how long the pass took by the wall clock, whatever that did meanwhile
     * @thread reader
     */
    void waitForNextPass(quint8 nFps, qint64 nWorkMs);

    std::weak_ptr<Morvek::BizModel::Device> m_pDevice; // guarded by m_mtxDevice
    QImage &m_image;                                   // written on the reader's threads only
    ReadVideoFinishedCallbackType m_cbReadVideoFinished;
    std::atomic_bool m_isStopRead{true};
    std::mutex m_mtxStopRead; // held for the waits and for setting the pause flag
    std::condition_variable m_cvStopRead;
    std::atomic_bool m_isPauseRead{false};
    std::mutex m_mtxDevice; // held only to copy or replace the reference

private:
    Q_DISABLE_COPY(Reader)
};

/** Keeps the place of a USB capture source: its task ends at once. No source type selects it. */
class LocalUSBReader : public Reader
{
    Q_OBJECT

public:
    explicit LocalUSBReader(QImage &image);

protected:
    void readTask() override;
};

} // namespace Morvek::EchoVideo::Internal

#endif // MORVEK_ECHOVIDEO_PIXMAPREADER_P_H
