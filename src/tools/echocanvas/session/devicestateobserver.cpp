#include "devicestateobserver.h"

namespace Morvek::Tools {

namespace {

bool saysReadFailed(const QString &strText)
{
    return strText.startsWith(QLatin1String("Read echo video from"))
        && strText.contains(QLatin1String("timeout."));
}

/** A reader whose file cannot be opened shows moving stripes, which are pictures all the same. */
bool saysFileIsMissing(const QString &strText)
{
    return strText.startsWith(QLatin1String("Cannot open"));
}

/** Whether a line is about the way from the device to here. */
bool concernsDevice(const sLogEntry &entry)
{
    static const char *const Beginnings[] = {"Read echo video from", "Connect to",
                                             "shm_cap_init",         "Read Local Shared Memory",
                                             "Cannot open",          "Cannot read"};
    if (entry.m_eType != QtWarningMsg)
        return false;
    for (const char *const pBeginning : Beginnings) {
        if (entry.m_strText.startsWith(QLatin1String(pBeginning)))
            return true;
    }
    return false;
}

} // namespace

void DeviceStateObserver::setWanted(bool isOnline, eReading eWanted)
{
    m_isOnline = isOnline;
    m_eWanted = eWanted;
}

void DeviceStateObserver::restart(qint64 nNowMs)
{
    m_nRestartMs = nNowMs;
    m_nPictureMs = 0;
    m_nBackOffMs = 0;
    m_strReason.clear();
}

void DeviceStateObserver::addLog(const sLogEntry &entry)
{
    if (entry.m_nSteadyMs < m_nRestartMs || !concernsDevice(entry))
        return;
    m_strReason = entry.m_strText.simplified();
    m_nBackOffMs = saysReadFailed(entry.m_strText) ? entry.m_nSteadyMs : 0;
    if (m_nBackOffMs > 0)
        m_nPictureMs = 0;
}

void DeviceStateObserver::addPicture(qint64 nNowMs)
{
    if (m_nBackOffMs > 0 && nNowMs - m_nBackOffMs < LatePictureMs)
        return;
    m_nPictureMs = nNowMs;
    m_nBackOffMs = 0;
    if (!saysFileIsMissing(m_strReason))
        m_strReason.clear();
}

sDeviceStatus DeviceStateObserver::status(qint64 nNowMs) const
{
    sDeviceStatus status;
    if (!m_isOnline)
        status.m_eState = eDeviceState::Offline;
    else if (m_eWanted == eReading::Stopped)
        status.m_eState = eDeviceState::Stopped;
    else if (m_eWanted == eReading::Paused)
        status.m_eState = eDeviceState::Paused;
    else
        return readingStatus(nNowMs);
    return status;
}

sDeviceStatus DeviceStateObserver::readingStatus(qint64 nNowMs) const
{
    sDeviceStatus status;
    status.m_strReason = m_strReason;
    const qint64 nLeftMs = m_nBackOffMs > 0 ? m_nBackOffMs + BackOffMs - nNowMs : 0;
    if (nLeftMs > 0) {
        status.m_eState = eDeviceState::BackingOff;
        status.m_nSecondsLeft = int((nLeftMs + 999) / 1000);
    } else if (m_nPictureMs == 0) {
        status.m_eState = eDeviceState::Connecting;
    } else if (saysFileIsMissing(m_strReason)) {
        status.m_eState = eDeviceState::MadeUp;
    } else if (nNowMs - m_nPictureMs >= SilentAfterMs) {
        status.m_eState = eDeviceState::Silent;
    } else {
        status.m_eState = eDeviceState::Streaming;
    }
    return status;
}

} // namespace Morvek::Tools
