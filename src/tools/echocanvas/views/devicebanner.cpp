#include "devicebanner.h"

#include "statelook.h"

namespace Morvek::Tools {

namespace {

constexpr qint64 PatienceMs = 2000; // that a device is given to send its first picture

/** What the state means for the pictures that are seen. */
QString consequenceOf(eDeviceState eState)
{
    switch (eState) {
    case eDeviceState::Offline:
        return QStringLiteral("The host has told the library that the device cannot be reached: "
                              "nothing is read, and layers show no video.");
    case eDeviceState::Stopped:
    case eDeviceState::Paused:
        return QStringLiteral("The layers show the last pictures that came.");
    case eDeviceState::Connecting:
        return QStringLiteral("No picture has come yet.");
    case eDeviceState::Silent:
        return QStringLiteral(
            "The layers show the last picture. The library reports no failure: "
            "the device sends the same one again and again, or has just stopped.");
    case eDeviceState::BackingOff:
        return QStringLiteral("The connection has failed; the layers show the last pictures.");
    case eDeviceState::Streaming:
        break;
    }
    return QString();
}

QString actionFor(eDeviceState eState)
{
    switch (eState) {
    case eDeviceState::Offline:
        return QStringLiteral("&Go online (F6)");
    case eDeviceState::Stopped:
    case eDeviceState::Paused:
        return QStringLiteral("&Go on reading (F7)");
    case eDeviceState::BackingOff:
        return QStringLiteral("Re&connect now (F9)");
    default:
        return QString();
    }
}

} // namespace

DeviceBanner::DeviceBanner(WindowHost &host, QWidget *pParent)
    : MessageBanner(pParent)
    , m_host(host)
{
    m_sinceState.start();
    connect(&m_host.monitor(), &SessionMonitor::sampled, this, &DeviceBanner::refresh);
    connect(&m_host.session(), &DeviceSession::changed, this, &DeviceBanner::refresh);
    connect(this, &MessageBanner::dismissed, this, [this] { m_isDismissed = true; });
    connect(this, &MessageBanner::accepted, this, &DeviceBanner::act);
}

/** A start of reading takes a moment, which is no reason to push the canvas about. */
bool DeviceBanner::needsWords(const sDeviceStatus &status) const
{
    if (status.m_eState == eDeviceState::Connecting)
        return m_sinceState.elapsed() >= PatienceMs;
    return status.m_eState != eDeviceState::Streaming;
}

void DeviceBanner::refresh()
{
    const sDeviceStatus status = m_host.monitor().deviceStatus();
    if (status.m_eState != m_eState) {
        m_eState = status.m_eState;
        m_sinceState.start();
        m_isDismissed = false;
    }
    if (!needsWords(status) || m_isDismissed) {
        hide();
        return;
    }
    const sStateLook look = lookOf(status, palette());
    const QString strTitle =
        QStringLiteral("%1: %2").arg(m_host.session().device().m_settings.title(), look.m_strWord);
    QStringList lines{consequenceOf(m_eState)};
    if (!status.m_strReason.isEmpty())
        lines.append(QStringLiteral("The library says: ") + status.m_strReason);
    const QString strShown = strTitle + lines.join(QLatin1Char('\n'));
    if (strShown == m_strShown && isVisible())
        return;
    m_strShown = strShown;
    tell(strTitle, lines, actionFor(m_eState), look.m_strSign);
}

void DeviceBanner::act()
{
    if (m_eState == eDeviceState::Offline)
        m_host.session().setOnline(true);
    else if (m_eState == eDeviceState::BackingOff)
        m_host.session().reconnectNow();
    else
        m_host.session().setReading(eReading::Reading);
}

} // namespace Morvek::Tools
