#include "devicerun.h"

#include <chrono>
#include <cstdio>

namespace Morvek::Tools {

namespace {

using namespace std::chrono_literals;

constexpr auto LastWait = 2s;
constexpr int ProgressInterval = 1000; // ms
constexpr int UnpacedFps = 1000;       // more than can be made

QString placeText(const QHostAddress &address, quint16 nPort)
{
    const bool isIPv6 = address.protocol() == QAbstractSocket::IPv6Protocol;
    return QStringLiteral("%1:%2")
        .arg(isIPv6 ? QLatin1Char('[') + address.toString() + QLatin1Char(']') : address.toString())
        .arg(nPort);
}

} // namespace

DeviceRun::DeviceRun(const sDeviceOptions &options, QObject *parent)
    : QObject(parent)
    , m_options(options)
    , m_source(options.m_nTiles, options.m_nQuality)
    , m_pacer(isPaced() ? options.m_nFps : UnpacedFps)
{
    m_source.setFaultyInputs(options.m_dark, options.m_still);
    m_lastWait.setSingleShot(true);
    connect(&m_server, &StreamServer::clientCountChanged, this, &DeviceRun::slotClientCountChanged);
    connect(&m_pacer, &FramePacer::pictureDue, this, &DeviceRun::slotPictureDue);
    connect(&m_lastWait, &QTimer::timeout, this, &DeviceRun::finished);
}

bool DeviceRun::start()
{
    if (!openStream() || !openCapture() || !openFile())
        return false;
    m_clock.start();
    m_progress.start();
    if (m_options.m_isCapture || !m_options.m_isStreaming)
        m_pacer.start();
    return true;
}

bool DeviceRun::openStream()
{
    if (!m_options.m_isStreaming)
        return true;
    if (!PictureSource::isUsable()) {
        m_strError = QStringLiteral("cannot make JPEG pictures: Qt's JPEG plugin is missing");
        return false;
    }
    if (!m_server.listen(m_options.m_address, m_options.m_nPort)) {
        m_strError =
            QStringLiteral("cannot listen on %1: %2")
                .arg(placeText(m_options.m_address, m_options.m_nPort), m_server.errorString());
        return false;
    }
    return true;
}

bool DeviceRun::openCapture()
{
    if (!m_options.m_isCapture || m_capture.open(m_options.m_strCaptureName))
        return true;
    m_strError = m_capture.errorString();
    return false;
}

bool DeviceRun::openFile()
{
    if (m_options.m_strYuvFile.isEmpty() || m_file.open(m_options.m_strYuvFile))
        return true;
    m_strError = m_file.errorString();
    return false;
}

QStringList DeviceRun::places() const
{
    QStringList places;
    if (m_options.m_isStreaming)
        places += QStringLiteral("listening on ") + placeText(m_server.address(), m_server.port());
    if (m_options.m_isCapture)
        places += QStringLiteral("writing to shared memory ") + m_capture.name();
    if (m_file.isOpen())
        places += QStringLiteral("writing to ") + m_options.m_strYuvFile;
    return places;
}

sDeviceSummary DeviceRun::summary() const
{
    const sStreamFigures &figures = m_server.figures();
    sDeviceSummary summary;
    summary.m_nPicturesMade = m_source.pictureCount();
    summary.m_nPicturesSent = figures.m_nSent;
    summary.m_nPicturesSkipped = figures.m_nSkipped;
    summary.m_nClients = figures.m_nClients;
    summary.m_nBytesSent = figures.m_nBytes;
    summary.m_nFaultsPlayed = figures.m_nFaults;
    summary.m_nDurationMs = m_clock.isValid() ? m_clock.elapsed() : 0;
    return summary;
}

void DeviceRun::slotClientCountChanged(int nClients)
{
    if (nClients > 0 && !hasMadeAll()) {
        m_pacer.start();
    } else if (nClients == 0 && !isWithEnd() && !m_options.m_isCapture) {
        m_pacer.stop();
    }
}

void DeviceRun::slotPictureDue()
{
    if (!deliver(m_source.nextPicture()))
        return;
    if (m_file.isOpen())
        showProgress();
    if (hasMadeAll()) {
        m_pacer.stop();
        finishWhenSent();
    }
}

// Returns false, and ends the run, when the picture could not be delivered.
bool DeviceRun::deliver(const QImage &picture)
{
    if (m_server.clientCount() > 0) {
        const QByteArray jpeg = m_source.encoded(picture);
        if (jpeg.isEmpty()) {
            fail(QStringLiteral("cannot make a picture: out of memory"));
            return false;
        }
        m_server.broadcast(jpeg);
    }
    if (m_capture.isOpen())
        m_capture.write(picture);
    if (m_file.isOpen() && (!m_file.write(picture) || (hasMadeAll() && !m_file.flush()))) {
        fail(m_file.errorString());
        return false;
    }
    return true;
}

void DeviceRun::showProgress()
{
    if (m_progress.elapsed() < ProgressInterval || hasMadeAll())
        return;
    m_progress.restart();
    std::fprintf(stderr, "picture %u of %d\n", m_source.pictureCount(), m_options.m_nFrames);
}

void DeviceRun::fail(const QString &strError)
{
    m_pacer.stop();
    m_strError = strError;
    Q_EMIT finished();
}

bool DeviceRun::hasMadeAll() const
{
    return isWithEnd() && m_source.pictureCount() >= quint32(m_options.m_nFrames);
}

void DeviceRun::finishWhenSent()
{
    if (m_server.isDrained()) {
        Q_EMIT finished();
        return;
    }
    connect(&m_server, &StreamServer::drained, this, &DeviceRun::finished);
    m_lastWait.start(LastWait);
}

} // namespace Morvek::Tools
