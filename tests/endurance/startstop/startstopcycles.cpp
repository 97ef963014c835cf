#include "startstopcycles.h"

#include <capturesegment.h>
#include <mjpegserver.h>
#include <restfigures.h>
#include <sanitized.h>
#include <testdevice.h>
#include <testpictures.h>
#include <yuvpictures.h>

#include <layervideomanager.h>
#include <pixmapreader.h>

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QThread>

#include <random>

namespace Morvek::Tests {

namespace {

using BizModel::s_EchoVideoConfig;
using EchoVideo::LayerVideoManager;
using EchoVideo::PixmapReader;
using EchoVideo::sLayerSource;
using EchoVideo::sLayerVideoConfig;

/** The service, reading an active device of one source. */
class ReaderSubject : public StartStopSubject
{
public:
    explicit ReaderSubject(const std::shared_ptr<BizModel::Device> &pDevice)
        : m_active(pDevice)
    {
        pDevice->deviceConfig().EchoVideoCfg.FPS = 100;
    }

    void start() override { PixmapReader::instance()->restartRead(); }
    void stop() override { PixmapReader::instance()->stopRead(); }

private:
    const ActiveDevice m_active;
};

class MjpegSubject : public StartStopSubject
{
public:
    MjpegSubject()
    {
        m_server.stream(mjpegPart(jpegBytes(solidPicture(QSize(64, 48), Qt::red))), 5);
    }
    void start() override { m_reader.start(); }
    void stop() override { m_reader.stop(); }

private:
    MjpegServer m_server;
    ReaderSubject m_reader{makeMjpegDevice(m_server.port())};
};

class CaptureSubject : public StartStopSubject
{
public:
    CaptureSubject() { m_segment.writeFrame(uchar(0x55)); }
    void start() override { m_reader.start(); }
    void stop() override { m_reader.stop(); }

private:
    SegmentName m_name;
    CaptureSegment m_segment{m_name.name()};
    ReaderSubject m_reader{makeDevice(s_EchoVideoConfig::LocalDVI)};
};

class YuvSubject : public StartStopSubject
{
public:
    void start() override { m_reader.start(); }
    void stop() override { m_reader.stop(); }

private:
    std::shared_ptr<BizModel::Device> makeFileDevice() const
    {
        const auto pDevice = makeDevice(s_EchoVideoConfig::LocalFile);
        const QString strPath = m_folder.filePath(QStringLiteral("frames.yuv"));
        if (!writeYuvFile(strPath, 3))
            qFatal("cannot write a file of frames");
        pDevice->deviceConfig().EchoVideoCfg.VideoSourcePath = strPath;
        return pDevice;
    }

    QTemporaryDir m_folder;
    ReaderSubject m_reader{makeFileDevice()};
};

/** A manager of its own for every cycle, with three layers. */
class ManagerSubject : public StartStopSubject
{
public:
    void start() override
    {
        m_manager = std::make_unique<LayerVideoManager>(
            [](auto &&, auto &&, const QSize &size, QImage &picture) {
                picture = QImage(size, QImage::Format_RGB32);
                picture.fill(Qt::green);
                return true;
            });
        for (quint8 nLayer = 1; nLayer <= 3; ++nLayer) {
            sLayerVideoConfig layerCfg;
            layerCfg.m_LayerIdentifies.layerId = nLayer;
            layerCfg.m_LayerItem.m_boundingRect = QRectF(0, 0, 160, 90);
            layerCfg.m_LayerSource.m_eLayerSourceType = sLayerSource::Input;
            m_manager->setLayerVideoConfig(layerCfg);
        }
        m_manager->startManager(true);
    }

    void stop() override
    {
        m_manager->stopManager();
        m_manager.reset();
    }

private:
    const ActiveDevice m_active{makeDevice(s_EchoVideoConfig::Invalid)};
    std::unique_ptr<LayerVideoManager> m_manager;
};

// Sleeps are too coarse for what comes within microseconds.
void passMicroseconds(int nMicroseconds)
{
    if (nMicroseconds > 1000)
        QThread::usleep(unsigned(nMicroseconds));
    QElapsedTimer timer;
    timer.start();
    while (nMicroseconds <= 1000 && timer.nsecsElapsed() < nMicroseconds * 1000) {}
}

} // namespace

QStringList startStopSubjectNames()
{
    return {QStringLiteral("mjpeg"), QStringLiteral("capture"), QStringLiteral("yuv"),
            QStringLiteral("manager")};
}

std::unique_ptr<StartStopSubject> makeStartStopSubject(const QString &strName)
{
    if (strName == QLatin1String("mjpeg"))
        return std::make_unique<MjpegSubject>();
    if (strName == QLatin1String("capture"))
        return std::make_unique<CaptureSubject>();
    if (strName == QLatin1String("yuv"))
        return std::make_unique<YuvSubject>();
    return std::make_unique<ManagerSubject>();
}

void runStartStopCycles(StartStopSubject &subject, const QString &strName, int nCycles,
                        double slack, BoundTable &table)
{
    std::mt19937 dice(4711);
    const auto cycle = [&](int i) {
        subject.start();
        const int nLongest = i % 2 == 0 ? 200 : 20000;
        passMicroseconds(std::uniform_int_distribution<int>(0, nLongest)(dice));
        subject.stop();
    };
    for (int i = 0; i < 100 + nCycles / 20; ++i)
        cycle(i);
    const sRestFigures before = measureRest();
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < nCycles; ++i)
        cycle(i);
    const double seconds = double(timer.elapsed()) / 1000;
    const sRestFigures after = measureRest(before);

    constexpr double MiB = 1024 * 1024;
    const double memory = double(after.m_nMemory - before.m_nMemory) / MiB;
    table.tell(strName + QStringLiteral(": cycles"), nCycles, QString(),
               QStringLiteral("%1 s").arg(seconds));
    // A sanitizer keeps memory of its own.
    if (IsSanitized)
        table.tell(strName + QStringLiteral(": memory gained"), memory, QStringLiteral("MiB"));
    else
        table.add({strName + QStringLiteral(": memory gained"),
                   memory,
                   slack,
                   QStringLiteral("MiB"),
                   {}});
    table.add({strName + QStringLiteral(": threads gained"),
               double(after.m_nThreads - before.m_nThreads),
               0,
               {},
               {}});
    table.add({strName + QStringLiteral(": descriptors gained"),
               double(after.m_nFiles - before.m_nFiles),
               0,
               {},
               {}});
}

} // namespace Morvek::Tests
