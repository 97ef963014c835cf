#ifndef MORVEK_TESTS_STEPREADER_H
#define MORVEK_TESTS_STEPREADER_H

#include <device.h>
#include <pixmapreader_p.h>

#include <QColor>
#include <QImage>
#include <QThread>

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <new>

namespace Morvek::Tests {

/**
 * A reader as a concrete one has to be, with small pictures of one colour in the place of a device.
 * It stops itself when it is destroyed. For tests that may look at private members.
 */
class StepReader : public Morvek::EchoVideo::Internal::Reader
{
public:
    static constexpr QRgb PictureColor = 0xff336699;

    explicit StepReader(QImage &image)
        : Reader(image)
    {}
    ~StepReader() override { stopRead(); }

    /** How long a step waits after its picture; set before the start. */
    std::chrono::milliseconds m_pace{1};
    /** The task ends by itself after so many pictures; set before the start. */
    int m_nPicturesToPublish = 1'000'000'000;
    /** The task runs out of memory in the place of its first picture; set before the start. */
    bool m_isOutOfMemory = false;

    std::atomic_int m_nTasks{0};    ///< tasks begun
    std::atomic_int m_nPictures{0}; ///< pictures published by the tasks
    std::atomic<Qt::HANDLE> m_hTaskThread{nullptr};
    std::atomic<Morvek::BizModel::Device *> m_pTaskDevice{nullptr};

    /** Whether the task waits for the end of a pause. */
    bool isIdle()
    {
        std::lock_guard<std::mutex> lck(m_mtxStopRead);
        return m_isIdle;
    }

protected:
    void readTask() override
    {
        ++m_nTasks;
        m_hTaskThread = QThread::currentThreadId();
        const std::shared_ptr<Morvek::BizModel::Device> pDevice = device().lock();
        m_pTaskDevice = pDevice.get();
        if (!pDevice)
            return;
        for (int i = 0; !m_isStopRead && i < m_nPicturesToPublish; ++i)
            step();
    }

private:
    void step()
    {
        if (m_isOutOfMemory)
            throw std::bad_alloc();
        if (!m_isPauseRead)
            publish();
        std::unique_lock<std::mutex> lck(m_mtxStopRead);
        m_isIdle = m_isPauseRead;
        if (m_isIdle)
            m_cvStopRead.wait(lck);
        else if (!m_isStopRead)
            m_cvStopRead.wait_for(lck, m_pace);
        m_isIdle = false;
    }

    void publish()
    {
        QImage picture(8, 8, QImage::Format_RGB32);
        picture.fill(PictureColor);
        m_image = picture;
        ++m_nPictures;
        if (m_cbReadVideoFinished)
            m_cbReadVideoFinished();
    }

    bool m_isIdle = false; // guarded by m_mtxStopRead
};

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_STEPREADER_H
