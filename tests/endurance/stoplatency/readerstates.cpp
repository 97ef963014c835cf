#include "stopstate.h"

#include <capturesegment.h>
#include <logcapture.h>
#include <mjpegserver.h>
#include <rawdevices.h>
#include <testdevice.h>
#include <testpictures.h>
#include <yuvpictures.h>

#include <pixmapreader.h>

#include <QBuffer>
#include <QElapsedTimer>
#include <QImageReader>
#include <QTemporaryDir>
#include <QThread>
#include <QtTest>

#include <atomic>

namespace Morvek::Tests {

namespace {

using BizModel::s_EchoVideoConfig;
using EchoVideo::PixmapReader;

constexpr int Unhurried = 150;   // ms that a stop may take beyond what it has to wait for
constexpr int SilentRead = 1300; // ms for a read, or an attempt to connect, that gets no answer

/** The service with an active device. */
class ServiceState : public StopState
{
public:
    explicit ServiceState(const std::shared_ptr<BizModel::Device> &pDevice)
        : m_pDevice(pDevice)
    {
        pDevice->deviceConfig().EchoVideoCfg.FPS = 1000 / FramePeriod;
        m_ticks = QObject::connect(
            PixmapReader::instance(), &PixmapReader::inputVideoImageCopyFinished,
            PixmapReader::instance(), [this] { ++m_nTicks; }, Qt::DirectConnection);
    }
    ~ServiceState() override { QObject::disconnect(m_ticks); }

    void stop() override { PixmapReader::instance()->stopRead(); }

protected:
    /** Starts; the second picture is the first that must have come from the device. */
    bool startAndAwaitPictures()
    {
        start();
        return QTest::qWaitFor([this] { return m_nTicks >= 2; }, 20000);
    }
    bool startAndAwaitMessage(const char *pText)
    {
        start();
        return awaitMessage(pText);
    }
    bool awaitMessage(const char *pText) const
    {
        return QTest::qWaitFor([&] { return m_log.count(QString::fromLatin1(pText)) > 0; }, 20000);
    }
    void start()
    {
        m_log.clear();
        m_nTicks = 0;
        // Not before everything is in place that the reader's thread looks at.
        if (!m_pActive)
            m_pActive = std::make_unique<ActiveDevice>(m_pDevice);
        PixmapReader::instance()->restartRead();
    }

private:
    LogCapture m_log;
    std::atomic_int m_nTicks{0};
    QMetaObject::Connection m_ticks;
    const std::shared_ptr<BizModel::Device> m_pDevice;
    std::unique_ptr<ActiveDevice> m_pActive;
};

class StreamingState : public ServiceState
{
public:
    explicit StreamingState(const QByteArray &baPicture = jpegBytes(gridPicture(4)))
        : StreamingState(std::make_unique<MjpegServer>(), baPicture)
    {}

    bool enter() override
    {
        const int nStreamed = m_pServer->streamedCount();
        return startAndAwaitPictures()
            && QTest::qWaitFor([&] { return m_pServer->streamedCount() > nStreamed; });
    }
    int duration() const override { return PictureInterval; }
    double bound() const override { return PictureInterval + FramePeriod + Unhurried; }

protected:
    MjpegServer &server() { return *m_pServer; }

private:
    StreamingState(std::unique_ptr<MjpegServer> pServer, const QByteArray &baPicture)
        : ServiceState(makeMjpegDevice(pServer->port(), 4))
        , m_pServer(std::move(pServer))
    {
        m_pServer->stream(mjpegPart(baPicture), PictureInterval);
    }

    std::unique_ptr<MjpegServer> m_pServer;
};

class PausedState : public StreamingState
{
public:
    bool enter() override
    {
        if (!StreamingState::enter())
            return false;
        PixmapReader::instance()->pauseRead();
        return QTest::qWaitFor([this] { return server().openCount() == 0; }, 20000);
    }
    double bound() const override { return FramePeriod + Unhurried; }
};

/** Pictures of the greatest size that is decoded, one after the other. */
class DecodingState : public StreamingState
{
public:
    DecodingState()
        : DecodingState(jpegBytes(gradientPicture(QSize(4096, 4096)), 60))
    {}
    double bound() const override { return StreamingState::bound() + double(m_nDecoding); }

private:
    explicit DecodingState(const QByteArray &baPicture)
        : StreamingState(baPicture)
    {
        for (int i = 0; i < 5; ++i) {
            QElapsedTimer timer;
            timer.start();
            QImage::fromData(baPicture);
            m_nDecoding = qMax(m_nDecoding, timer.elapsed());
        }
    }

    qint64 m_nDecoding = 0; // ms; no decoder can be interrupted
};

/** A receiver in the host that takes its time, on the thread that announces the pictures. */
class SlowReceiverState : public StreamingState
{
public:
    SlowReceiverState()
    {
        m_receiver = QObject::connect(
            PixmapReader::instance(), &PixmapReader::inputVideoImageCopyFinished,
            PixmapReader::instance(), [] { QThread::msleep(SlowReceiver); }, Qt::DirectConnection);
    }
    ~SlowReceiverState() override { QObject::disconnect(m_receiver); }
    double bound() const override { return PictureInterval + SlowReceiver + 10 + Unhurried; }

private:
    QMetaObject::Connection m_receiver;
};

/** A device that accepts and then says nothing. */
class SilentState : public ServiceState
{
public:
    SilentState()
        : SilentState(std::make_unique<MjpegServer>())
    {}

    bool enter() override
    {
        const int nAccepted = m_pServer->acceptedCount();
        start();
        return QTest::qWaitFor([&] { return m_pServer->acceptedCount() > nAccepted; });
    }
    int duration() const override { return 1000; }
    double bound() const override { return FramePeriod + SilentRead; }

private:
    explicit SilentState(std::unique_ptr<MjpegServer> pServer)
        : ServiceState(makeMjpegDevice(pServer->port()))
        , m_pServer(std::move(pServer))
    {}

    std::unique_ptr<MjpegServer> m_pServer;
};

class ConnectingState : public ServiceState
{
public:
    ConnectingState()
        : ConnectingState(std::make_unique<UnansweringDevice>())
    {}

    bool enter() override { return startAndAwaitMessage("Connect to"); }
    int duration() const override { return 1000; }
    double bound() const override { return FramePeriod + SilentRead; }

private:
    explicit ConnectingState(std::unique_ptr<UnansweringDevice> pDevice)
        : ServiceState(makeMjpegDevice(pDevice->port()))
        , m_pDevice(std::move(pDevice))
    {}

    std::unique_ptr<UnansweringDevice> m_pDevice;
};

class RefusedState : public ServiceState
{
public:
    RefusedState()
        : RefusedState(std::make_unique<MjpegServer>())
    {}

    bool enter() override { return startAndAwaitMessage("Connect to"); }
    int duration() const override { return 1000; }
    double bound() const override { return FramePeriod + Unhurried; }

private:
    explicit RefusedState(std::unique_ptr<MjpegServer> pServer)
        : ServiceState(makeMjpegDevice(pServer->port()))
        , m_pServer(std::move(pServer))
    {
        m_pServer->refuse();
    }

    std::unique_ptr<MjpegServer> m_pServer;
};

/** A device that closes every connection: the next attempt is a minute away. */
class BackingOffState : public ServiceState
{
public:
    BackingOffState()
        : BackingOffState(std::make_unique<MjpegServer>())
    {}

    bool enter() override
    {
        const int nAccepted = m_pServer->acceptedCount();
        start();
        if (!QTest::qWaitFor([&] { return m_pServer->acceptedCount() > nAccepted; }))
            return false;
        m_pServer->closeConnections();
        return awaitMessage("Read echo video from");
    }
    int duration() const override { return 200; }
    double bound() const override { return FramePeriod + 20; }

private:
    explicit BackingOffState(std::unique_ptr<MjpegServer> pServer)
        : ServiceState(makeMjpegDevice(pServer->port()))
        , m_pServer(std::move(pServer))
    {}

    std::unique_ptr<MjpegServer> m_pServer;
};

/** Frames of the capture library. */
class CaptureState : public ServiceState
{
public:
    CaptureState()
        : ServiceState(makeDevice(s_EchoVideoConfig::LocalDVI))
    {
        m_segment.writeFrame(uchar(0x55));
    }

    bool enter() override { return startAndAwaitPictures(); }
    int duration() const override { return FramePeriod; }
    double bound() const override { return FramePeriod + Unhurried; }

private:
    SegmentName m_name;
    CaptureSegment m_segment{m_name.name()};
};

/** Frames of a file. */
class YuvState : public ServiceState
{
public:
    YuvState()
        : YuvState(makeDevice(s_EchoVideoConfig::LocalFile))
    {}

    bool enter() override { return startAndAwaitPictures(); }
    int duration() const override { return FramePeriod; }
    double bound() const override { return FramePeriod + Unhurried; }

private:
    explicit YuvState(const std::shared_ptr<BizModel::Device> &pDevice)
        : ServiceState(pDevice)
    {
        const QString strPath = m_folder.filePath(QStringLiteral("frames.yuv"));
        if (!writeYuvFile(strPath, 3))
            qFatal("cannot write a file of frames");
        pDevice->deviceConfig().EchoVideoCfg.VideoSourcePath = strPath;
    }

    QTemporaryDir m_folder;
};

template <typename State>
sStopStateMaker maker(const char *pName)
{
    return {QString::fromLatin1(pName), [] { return std::make_unique<State>(); }};
}

} // namespace

std::vector<sStopStateMaker> readerStates()
{
    return {
        maker<StreamingState>("streaming"),    maker<SilentState>("silent"),
        maker<ConnectingState>("connecting"),  maker<RefusedState>("refused"),
        maker<BackingOffState>("backing-off"), maker<PausedState>("paused"),
        maker<DecodingState>("decoding"),      maker<SlowReceiverState>("slow-receiver"),
        maker<CaptureState>("capture"),        maker<YuvState>("yuv"),
    };
}

} // namespace Morvek::Tests
