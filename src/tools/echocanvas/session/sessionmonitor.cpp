#include "sessionmonitor.h"

#include "processload.h"

#include <pixmapreader.h>

#include <QDateTime>

namespace Morvek::Tools {

namespace {

constexpr qint64 LookIntervalMs = 40;
constexpr qint64 StampIntervalMs = 1000; // of one input; the probe's is read at every picture
constexpr double BytesPerMiB = 1024.0 * 1024.0;

} // namespace

SessionMonitor::SessionMonitor(DeviceSession &session, LogCollector &log, QObject *parent)
    : QObject(parent)
    , m_session(session)
    , m_log(log)
    , m_nLogRead(log.count())
{
    m_clock.start();
    m_cpuAtSample = processCpuSeconds();
    followSession();
    connect(EchoVideo::PixmapReader::instance(),
            &EchoVideo::PixmapReader::inputVideoImageCopyFinished, this, &SessionMonitor::slotTick,
            Qt::QueuedConnection);
    connect(&m_log, &LogCollector::arrived, this, &SessionMonitor::readLog);
    connect(&m_session, &DeviceSession::changed, this, &SessionMonitor::followSession);
    connect(&m_session, &DeviceSession::readingRestarted, this,
            [this] { m_device.restart(steadyMs()); });
    connect(&m_session, &DeviceSession::previewFinished, this, [this] { ++m_nPreviews; });
    connect(&m_sampling, &QTimer::timeout, this, &SessionMonitor::sample);
    m_sampling.start(Series::SampleIntervalMs);
}

sDeviceStatus SessionMonitor::deviceStatus() const
{
    return m_device.status(steadyMs());
}

void SessionMonitor::slotTick()
{
    // Ticks that have queued up while something else took its time are one.
    if (m_clock.elapsed() - m_nLookedMs >= LookIntervalMs)
        look();
}

void SessionMonitor::look()
{
    m_nLookedMs = m_clock.elapsed();
    m_hasNewPicture = false;
    for (int nInput = 0; nInput < inputCount(); ++nInput)
        lookAt(nInput, m_nLookedMs);
    Q_EMIT looked();
}

void SessionMonitor::lookAt(int nInput, qint64 nNowMs)
{
    sInput &input = m_inputs[std::size_t(nInput)];
    const BizModel::Input &modelInput = m_session.input(nInput);
    sInputLook look;
    look.m_nNowMs = nNowMs;
    look.m_isKnown = m_session.inputPicture(nInput, look.m_picture);
    look.m_isActive = modelInput.isActive();
    look.m_isOverloaded = modelInput.isOverLoad();
    look.m_eDevice = deviceStatus().m_eState;
    const bool isNew = input.m_observer.look(look);
    if (!isNew)
        return;
    // However many inputs show something new, it is one picture of the device.
    if (!m_hasNewPicture) {
        m_hasNewPicture = true;
        ++m_nPictures;
        m_device.addPicture(steadyMs());
    }
    if (nNowMs - input.m_nStampMs >= StampIntervalMs || (isProbe(nInput) && input.m_hasStamp))
        readStamp(input, nInput, nNowMs);
}

/** Whether an input is the first that is live: frame numbers are followed by one input alone. */
bool SessionMonitor::isProbe(int nInput) const
{
    for (int nBefore = 0; nBefore < nInput; ++nBefore) {
        if (input(nBefore).status().m_eState == eInputState::Live)
            return false;
    }
    return true;
}

void SessionMonitor::readStamp(sInput &input, int nInput, qint64 nNowMs)
{
    const QImage picture = input.m_observer.picture();
    const qint64 nWallClockMs = QDateTime::currentMSecsSinceEpoch();
    const auto stamp = readTileStamp(picture, QRectF(picture.rect()), nWallClockMs);
    input.m_nStampMs = nNowMs;
    input.m_hasStamp = stamp.has_value();
    input.m_nAgeMs.reset();
    if (!stamp)
        return;
    input.m_nAgeMs = nWallClockMs - stamp->m_nTimeMs;
    if (isProbe(nInput))
        m_frames.add(stamp->m_nFrame);
}

void SessionMonitor::readLog()
{
    const QList<sLogEntry> entries = m_log.entriesAfter(m_nLogRead);
    for (const sLogEntry &entry : entries) {
        m_device.addLog(entry);
        m_nLogRead = entry.m_nNumber;
    }
}

void SessionMonitor::followSession()
{
    m_device.setWanted(m_session.device().m_isOnline, m_session.reading());
    if (m_nDevice == m_session.activeDevice() && inputCount() == m_session.inputCount()) {
        look(); // not at the next tick, which may never come
        return;
    }
    m_nDevice = m_session.activeDevice();
    m_inputs = std::vector<sInput>(std::size_t(m_session.inputCount()));
    m_frames = FrameCounter();
    m_nDroppedAtSample = 0;
}

void SessionMonitor::sample()
{
    look(); // where no ticks come, time goes on all the same
    const qint64 nNowMs = m_clock.elapsed();
    const double seconds = double(qMax<qint64>(1, nNowMs - m_nSampledMs)) / 1000.0;
    const double cpu = processCpuSeconds();
    const bool isStreaming = deviceStatus().m_eState == eDeviceState::Streaming;
    std::optional<double> age;
    for (int nInput = inputCount() - 1; nInput >= 0 && isStreaming; --nInput) {
        if (const auto nAgeMs = ageMs(nInput); nAgeMs && isProbe(nInput))
            age = double(*nAgeMs);
    }
    addSample(eFigure::Pictures, m_nPictures / seconds);
    addSample(eFigure::Dropped, double(m_frames.dropped() - m_nDroppedAtSample) / seconds);
    addSample(eFigure::Previews, m_nPreviews / seconds);
    addSample(eFigure::Age, age);
    addSample(eFigure::Cpu, 100.0 * (cpu - m_cpuAtSample) / seconds);
    addSample(eFigure::Memory, double(residentBytes()) / BytesPerMiB);
    m_nPictures = 0;
    m_nPreviews = 0;
    m_nDroppedAtSample = m_frames.dropped();
    m_cpuAtSample = cpu;
    m_nSampledMs = nNowMs;
    Q_EMIT sampled();
}

void SessionMonitor::addSample(eFigure eWhich, std::optional<double> value)
{
    m_series[std::size_t(eWhich)].add(value);
}

} // namespace Morvek::Tools
