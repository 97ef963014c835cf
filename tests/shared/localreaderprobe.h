#ifndef MORVEK_TESTS_LOCALREADERPROBE_H
#define MORVEK_TESTS_LOCALREADERPROBE_H

#include "testdevice.h"

#include <QColor>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QImage>
#include <QList>
#include <QMutex>
#include <QMutexLocker>
#include <QThread>
#include <QWaitCondition>

#include <cstring>
#include <functional>
#include <future>
#include <memory>

namespace Morvek::Tests {

/** One picture as a reader's callback found it. */
struct sReaderPicture
{
    qint64 m_nMs = 0; ///< since the probe was made
    QRgb m_firstPixel = 0;
    bool m_isUniform = false; ///< all pixels are the same
    QSize m_size;
    QImage::Format m_eFormat = QImage::Format_Invalid;
    const uchar *m_pBits = nullptr;
    Qt::HANDLE m_hThread = nullptr;
};

/** Whether all pixels of a picture without padding are the same. */
inline bool isUniform(const QImage &picture)
{
    const auto nPixelBytes = size_t(picture.depth() / 8);
    const auto nBytes = size_t(picture.sizeInBytes());
    const uchar *const pBytes = picture.constBits();
    return pBytes && std::memcmp(pBytes, pBytes + nPixelBytes, nBytes - nPixelBytes) == 0;
}

/**
 * A reader of a local source with its device, in the service's place: owns the frame picture and
 * notes what the callback finds. Stops the reader at the end.
 */
template <typename ReaderType>
class LocalReaderProbe
{
public:
    static constexpr int LongWait = 30000; ///< ms; far more than anything takes

    LocalReaderProbe()
        : m_pDevice(makeDevice(Morvek::BizModel::s_EchoVideoConfig::Invalid))
        , m_pReader(std::make_unique<ReaderType>(m_image))
    {
        m_clock.start();
        m_pDevice->setOnlineFlag(true);
        m_pReader->setInputVideoReadFinishedCallback([this] { notePicture(); });
    }

    ~LocalReaderProbe()
    {
        // A stop while the device is offline may wait for ever.
        m_pDevice->setOnlineFlag(true);
        m_pReader->stopRead();
    }

    const std::shared_ptr<Morvek::BizModel::Device> &device() const { return m_pDevice; }
    Morvek::BizModel::s_EchoVideoConfig &videoConfig()
    {
        return m_pDevice->deviceConfig().EchoVideoCfg;
    }
    ReaderType &reader() { return *m_pReader; }
    /** What the reader writes into; look at it while nothing runs, or in the hook. */
    QImage &image() { return m_image; }
    /**
     * To be called in the callback with the number of pictures so far, this one included; set it
     * before the start.
     */
    void setHook(std::function<void(int)> hook) { m_hook = std::move(hook); }

    void start() { m_pReader->restartRead(m_pDevice); }

    /** Stops; returns how long that took, in ms. */
    qint64 stop()
    {
        QElapsedTimer timer;
        timer.start();
        m_pReader->stopRead();
        return timer.elapsed();
    }

    /** Stops from a thread of its own. */
    std::future<void> stopInBackground()
    {
        return std::async(std::launch::async, [this] { m_pReader->stopRead(); });
    }

    /** Waits until there were so many pictures since the probe was made. */
    bool waitForPictures(int nPictures, int nTimeoutMs = LongWait)
    {
        const QDeadlineTimer deadline(nTimeoutMs);
        QMutexLocker locker(&m_mutex);
        while (m_pictures.size() < nPictures) {
            if (!m_changed.wait(&m_mutex, deadline))
                return m_pictures.size() >= nPictures;
        }
        return true;
    }

    QList<sReaderPicture> pictures() const
    {
        QMutexLocker locker(&m_mutex);
        return m_pictures;
    }

    int pictureCount() const { return pictures().size(); }

    /** When each picture came, in ms. */
    QList<qint64> times() const
    {
        QList<qint64> result;
        const QList<sReaderPicture> all = pictures();
        for (const sReaderPicture &picture : all)
            result.append(picture.m_nMs);
        return result;
    }

private:
    Q_DISABLE_COPY(LocalReaderProbe)

    void notePicture()
    {
        const qint64 nMs = m_clock.elapsed();
        const QRgb firstPixel = m_image.isNull() ? 0 : m_image.pixel(0, 0);
        const sReaderPicture picture{nMs,
                                     firstPixel,
                                     isUniform(m_image),
                                     m_image.size(),
                                     m_image.format(),
                                     m_image.constBits(),
                                     QThread::currentThreadId()};
        int nPictures = 0;
        {
            QMutexLocker locker(&m_mutex);
            m_pictures.append(picture);
            nPictures = m_pictures.size();
            m_changed.wakeAll();
        }
        if (m_hook)
            m_hook(nPictures);
    }

    const std::shared_ptr<Morvek::BizModel::Device> m_pDevice;
    QElapsedTimer m_clock;
    mutable QMutex m_mutex;
    QWaitCondition m_changed;
    QList<sReaderPicture> m_pictures; // guarded by m_mutex
    std::function<void(int)> m_hook;
    QImage m_image; // written on the reader's thread
    std::unique_ptr<ReaderType> m_pReader;
};

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_LOCALREADERPROBE_H
