#ifndef MORVEK_ECHOCANVAS_DEVICESTATEOBSERVER_H
#define MORVEK_ECHOCANVAS_DEVICESTATEOBSERVER_H

#include "devicesession.h"
#include "logcollector.h"

#include <QString>
#include <QtGlobal>

namespace Morvek::Tools {

/** What is known about the way from the device to here. */
enum class eDeviceState {
    Offline,    ///< the host says that it cannot be reached
    Stopped,    ///< nothing is read, as the host wants it
    Paused,     ///< the same, for a while
    Connecting, ///< no picture has come yet
    Streaming,  ///< pictures come
    MadeUp,     ///< a file cannot be played: what comes are stripes of the library's own
    Silent,     ///< the same picture for a while; nothing was logged about it
    BackingOff  ///< the library waits before it connects again
};

/** The device's state, with everything that explains it. */
struct sDeviceStatus
{
    eDeviceState m_eState = eDeviceState::Connecting;
    int m_nSecondsLeft = 0; ///< until the next attempt, while backing off
    QString m_strReason;    ///< what the library last said about it; empty if nothing
};

/**
 * Tells the device's state from what a host can see: what it asked for, the library's log lines, and
 * whether new pictures come. All times are those of steadyMs().
 */
class DeviceStateObserver
{
public:
    /** As long as the library waits after a failed read. */
    static constexpr qint64 BackOffMs = 60000;
    /** A picture that was on its way when the connection broke may show for so long after. */
    static constexpr qint64 LatePictureMs = 700;
    /** Without a new picture for so long, the stream is silent. */
    static constexpr qint64 SilentAfterMs = 3000;

    /** What the host has asked for. */
    void setWanted(bool isOnline, eReading eWanted);
    /** The host asked the library to read anew; what it logged before no longer counts. */
    void restart(qint64 nNowMs);
    void addLog(const sLogEntry &entry);
    /** Some input has a new picture. */
    void addPicture(qint64 nNowMs);

    sDeviceStatus status(qint64 nNowMs) const;

private:
    sDeviceStatus readingStatus(qint64 nNowMs) const;

    bool m_isOnline = false;
    eReading m_eWanted = eReading::Reading;
    qint64 m_nRestartMs = 0;
    qint64 m_nPictureMs = 0; // 0: none since the restart, or since the connection broke
    qint64 m_nBackOffMs = 0; // when it began; 0 while there is none
    QString m_strReason;     // the library's last complaint since the restart
};

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_DEVICESTATEOBSERVER_H
