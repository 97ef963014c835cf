#include "pixmapreaderlocalyuv_p.h"

#include "echofps_p.h"
#include "echoframe_p.h"
#include "outofmemory_p.h"
#include "yuvconversion_p.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QPixmap>

#include <algorithm>
#include <cstring>
#include <limits>
#include <random>

namespace Morvek::EchoVideo::Internal {

using Morvek::BizModel::Device;
using Morvek::BizModel::s_EchoVideoConfig;

namespace {

constexpr int BytesPerFrame = EchoFrameSize.width() * EchoFrameSize.height() * 3 / 2;
constexpr qint64 BytesPerPicture = qint64(EchoFrameSize.width()) * EchoFrameSize.height() * 4;
// By design a position in the file has 32 bits.
constexpr int LastFrameIndex = std::numeric_limits<qint32>::max() / BytesPerFrame;
constexpr int PassesPerRateLog = 1000;

// The format in which a pixmap takes over a picture without converting it.
QImage::Format pictureFormat()
{
    // Without a GUI application a pixmap would abort the process.
    if (!qobject_cast<QGuiApplication *>(QCoreApplication::instance()))
        return QImage::Format_RGB32;
    const QImage::Format eFormat = QPixmap(1, 1).toImage().format();
    const bool hasAlpha =
        eFormat == QImage::Format_ARGB32 || eFormat == QImage::Format_ARGB32_Premultiplied;
    return hasAlpha ? eFormat : QImage::Format_RGB32;
}

QString configuredPath(const s_EchoVideoConfig &videoCfg)
{
    if (!videoCfg.VideoSourcePath.isEmpty())
        return videoCfg.VideoSourcePath;
    return QCoreApplication::applicationDirPath() + QStringLiteral("/frame300.yuv");
}

} // namespace

LocalYUVReader::LocalYUVReader(QImage &image)
    : Reader(image)
{}

LocalYUVReader::~LocalYUVReader() = default;

void LocalYUVReader::readTask()
{
    const std::shared_ptr<Device> pDevice = device().lock();
    if (!pDevice)
        return;
    const s_EchoVideoConfig &videoCfg = pDevice->deviceConfig().EchoVideoCfg;
    const QString strFilePath = configuredPath(videoCfg);
    qDebug() << "----->Start read yuv file";
    YuvFilePlayer player(strFilePath);
    m_image = QImage();
    PassRateLog rateLog;

    // While the device is offline a stop does not end the task, by design.
    while (!m_isStopRead || !pDevice->onlineFlag()) {
        const QDateTime dtStartFrame = QDateTime::currentDateTime();
        bool isReadable = true;
        survivesOutOfMemory([&] {
            isReadable = drawNextPicture(player);
            if (isReadable && m_cbReadVideoFinished)
                m_cbReadVideoFinished();
        });
        if (!isReadable)
            return;
        waitForNextPass(EchoFps::load(videoCfg),
                        dtStartFrame.msecsTo(QDateTime::currentDateTime()));
        rateLog.countPass();
    }
}

// In place, although others hold pictures cut from m_image: the callback cuts deep copies, on this
// thread. Returns false when the file can no longer be read.
bool LocalYUVReader::drawNextPicture(YuvFilePlayer &player)
{
    if (m_image.isNull()) {
        // The first time, and for as long as there was no memory for it.
        m_image = QImage(EchoFrameSize, pictureFormat());
        m_image.fill(NoSignalVideo); // for a file that is cut before its first frame was read
    }
    if (player.isValid() && m_image.sizeInBytes() >= BytesPerPicture)
        return player.readFrame(m_image);
    drawRandomStripes(m_image);
    return true;
}

YuvFilePlayer::YuvFilePlayer(const QString &strFilePath)
    : m_file(strFilePath)
{
    open();
    const qint64 nFrames = m_file.size() / BytesPerFrame;
    m_nFrames = int(std::min<qint64>(nFrames, std::numeric_limits<int>::max()));
    qDebug() << "Total Size:" << m_file.size() << "\tBytes Per Frames:" << BytesPerFrame
             << "\tNum Frames:" << m_nFrames;
}

void YuvFilePlayer::open()
{
    // Opening a pipe, or reading a device, could wait for ever, where no stop reaches.
    const QFileInfo info(m_file);
    const bool isPlayable = !info.exists() || info.isFile();
    if (isPlayable && m_file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return;
    const QString strReason =
        isPlayable ? m_file.errorString() : QStringLiteral("Not a regular file");
    qWarning().noquote()
        << QStringLiteral("Cannot open %1 for reading: %2").arg(nativePath(), strReason);
}

QString YuvFilePlayer::nativePath() const
{
    return QDir::toNativeSeparators(m_file.fileName());
}

bool YuvFilePlayer::isValid() const
{
    return m_file.isOpen() && m_nFrames > 0;
}

bool YuvFilePlayer::readFrame(QImage &picture)
{
    m_frame.resize(BytesPerFrame); // here, where running out of memory costs one picture
    const bool isWhole = m_file.seek(qint64(m_nFrameIndex) * BytesPerFrame)
                      && m_file.read(m_frame.data(), BytesPerFrame) == BytesPerFrame;
    if (m_file.error() != QFileDevice::NoError) {
        qWarning().noquote()
            << QStringLiteral("Cannot read %1: %2").arg(nativePath(), m_file.errorString());
        return false;
    }
    if (isWhole) {
        const sYuvFrame frame{reinterpret_cast<const uchar *>(m_frame.constData()),
                              EchoFrameSize.width(), EchoFrameSize.height()};
        convertYUV420ToRGB(frame, picture.bits(), picture.bytesPerLine());
    }
    ++m_nFrameIndex;
    if (m_nFrameIndex >= m_nFrames || m_nFrameIndex > LastFrameIndex)
        m_nFrameIndex = 0;
    return true;
}

void PassRateLog::countPass()
{
    if (m_nPasses == 0)
        m_dtStartTime = QDateTime::currentDateTime();
    if (++m_nPasses < PassesPerRateLog)
        return;
    const qint64 nSeconds = m_dtStartTime.secsTo(QDateTime::currentDateTime());
    if (nSeconds != 0)
        qDebug().noquote()
            << QStringLiteral("read local yuv file fps %1").arg(m_nPasses / nSeconds);
    m_nPasses = 0;
}

void drawRandomStripes(QImage &picture)
{
    std::random_device device;
    std::uniform_int_distribution<int> component(0, 255);
    drawStripes(picture, [&] { return component(device); });
}

void drawStripes(QImage &picture, const std::function<int()> &nextComponent)
{
    if (picture.isNull())
        return;
    for (int x = 0; x < picture.width(); ++x) {
        // One after the other, because the order in which arguments are evaluated is not defined.
        const int nRed = nextComponent();
        const int nGreen = nextComponent();
        const int nBlue = nextComponent();
        const int nAlpha = nextComponent();
        picture.setPixelColor(x, 0, QColor(nRed, nGreen, nBlue, nAlpha));
    }
    for (int y = 1; y < picture.height(); ++y)
        std::memcpy(picture.scanLine(y), picture.constScanLine(0), size_t(picture.bytesPerLine()));
}

} // namespace Morvek::EchoVideo::Internal
