#ifndef MORVEK_TESTS_READERPROBE_H
#define MORVEK_TESTS_READERPROBE_H

#include <mjpegserver.h>
#include <picturecompare.h>
#include <pixmapreaderremotemjpeg_p.h>
#include <testdevice.h>
#include <testpictures.h>

#include <QColor>
#include <QElapsedTimer>
#include <QImage>
#include <QList>
#include <QMutex>
#include <QMutexLocker>
#include <QString>
#include <QtTest>

#include <pthread.h>

#include <functional>
#include <future>
#include <memory>
#include <mutex>

namespace Morvek::Tests {

/** One call of the callback that a reader was given. */
struct sTick
{
    qint64 m_nMs = 0;      ///< since the probe was made
    qint64 m_nPicture = 0; ///< equal for calls that show the same picture
    QString m_strThread;   ///< name of the thread that called
};

/**
 * A remote MJPEG reader with its device, in the service's place: owns the frame picture and keeps
 * account of the callback. For tests that may look at private members; stops the reader at the end.
 */
class ReaderProbe
{
public:
    explicit ReaderProbe(quint16 nPort, const QString &strAddress = QStringLiteral("127.0.0.1"))
        : m_pDevice(makeMjpegDevice(nPort, 2, strAddress))
        , m_pReader(std::make_unique<EchoVideo::Internal::RemoteMJPEGReader>(m_image))
    {
        m_clock.start();
        m_pDevice->setOnlineFlag(true);
        m_pDevice->deviceConfig().EchoVideoCfg.FPS = 100;
        m_pReader->setInputVideoReadFinishedCallback([this] { takeFrame(); });
    }

    ~ReaderProbe()
    {
        // A stop while the device is offline would wait for the stream to fall silent.
        m_pDevice->setOnlineFlag(true);
        if (m_pReader)
            m_pReader->stopRead();
    }

    const std::shared_ptr<BizModel::Device> &device() const { return m_pDevice; }
    EchoVideo::Internal::RemoteMJPEGReader &reader() { return *m_pReader; }
    /** What the reader writes into; read it only while nothing runs, or in the callback. */
    QImage &image() { return m_image; }
    /** To be called in the callback; set it before the start. */
    void setHook(std::function<void()> hook) { m_hook = std::move(hook); }
    void destroyReader() { m_pReader.reset(); }

    void start() { m_pReader->restartRead(m_pDevice); }

    /**
     * Starts, and returns once the server has the connection and would get a picture handed over.
     * From then on the server sends a byte between pictures now and then: no test is so slow that
     * its stream falls silent, and no stop waits for that.
     */
    bool connectTo(MjpegServer &server)
    {
        const int nAccepted = server.acceptedCount();
        server.stream(".", 50);
        start();
        return QTest::qWaitFor([&] { return server.acceptedCount() > nAccepted; }) && waitForGate();
    }

    /** Ends the back-off after a failed read; returns once the server has the next connection. */
    bool reconnect(const MjpegServer &server)
    {
        const int nAccepted = server.acceptedCount();
        return QTest::qWaitFor([&] {
            if (server.acceptedCount() > nAccepted)
                return true;
            // Again and again: a wake-up before the wait has begun is lost by design.
            m_pReader->pauseRead();
            start();
            return false;
        });
    }

    /** Waits until a picture that comes now is not too soon after one that was shown before. */
    static bool waitForGate()
    {
        QElapsedTimer timer;
        timer.start();
        return QTest::qWaitFor([&] { return timer.elapsed() > 90; });
    }

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

    QList<sTick> ticks() const
    {
        QMutexLocker locker(&m_mtxTicks);
        return m_ticks;
    }

    int tickCount() const { return ticks().size(); }

    /** The frame picture as it was at the last callback. */
    QImage frame() const
    {
        QMutexLocker locker(&m_mtxTicks);
        return m_frame;
    }

    /** Whether the last callback found a picture with a middle of about that colour. */
    bool isShowing(const QColor &color) const
    {
        const QImage picture = frame();
        if (picture.isNull())
            return false;
        const QColor middle = picture.pixelColor(picture.width() / 2, picture.height() / 2);
        const auto isNear = [](int nLeft, int nRight) { return std::abs(nLeft - nRight) <= 6; };
        return isNear(middle.red(), color.red()) && isNear(middle.green(), color.green())
            && isNear(middle.blue(), color.blue());
    }

    /** Whether the frame picture is null at this moment; while the reader's workers run. */
    bool isFrameNull()
    {
        std::lock_guard<std::mutex> lck(m_pReader->m_mtxMapInputVideo);
        return m_image.isNull();
    }

private:
    Q_DISABLE_COPY(ReaderProbe)

    void takeFrame()
    {
        char name[16] = "";
        pthread_getname_np(pthread_self(), name, sizeof name);
        {
            QMutexLocker locker(&m_mtxTicks);
            m_ticks.append({m_clock.elapsed(), m_image.cacheKey(), QString::fromUtf8(name)});
            m_frame = m_image;
        }
        if (m_hook)
            m_hook();
    }

    const std::shared_ptr<BizModel::Device> m_pDevice;
    QElapsedTimer m_clock;
    mutable QMutex m_mtxTicks;
    QList<sTick> m_ticks; // guarded by m_mtxTicks
    QImage m_frame;       // guarded by m_mtxTicks
    QImage m_image;
    std::function<void()> m_hook;
    std::unique_ptr<EchoVideo::Internal::RemoteMJPEGReader> m_pReader; // last: it uses the others
};

/** A small picture of one colour as one part of the stream. */
inline QByteArray colorPart(const QColor &color)
{
    return mjpegPart(jpegBytes(solidPicture(QSize(64, 48), color)));
}

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_READERPROBE_H
