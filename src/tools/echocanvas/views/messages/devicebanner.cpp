#include "devicebanner.h"

#include "statelook.h"

namespace Morvek::Tools {

namespace {

constexpr qint64 PatienceMs = 2000; // that a device is given to send its first picture

// Topics of notices; those of a device's state follow.
enum { Nothing, ThreadStopped, RenderingDisabled, FirstState };

/** What the state means for the pictures that are seen. */
QString consequenceOf(eDeviceState eState)
{
    switch (eState) {
    case eDeviceState::Offline:
        return QStringLiteral("You have told the library that the device cannot be reached: "
                              "nothing is read, and the layers show no video.");
    case eDeviceState::Stopped:
        return QStringLiteral("You have stopped reading: the layers show no video.");
    case eDeviceState::Paused:
        return QStringLiteral("You have paused reading: the layers show the last pictures.");
    case eDeviceState::Connecting:
        return QStringLiteral("No new picture has come since reading began.");
    case eDeviceState::MadeUp:
        return QStringLiteral("There is no file to play: the moving stripes are made up by the "
                              "library.");
    case eDeviceState::Silent:
        return QStringLiteral("The layers show the last picture. The library reports no failure: "
                              "the device sends the same one again and again, or has just "
                              "stopped.");
    case eDeviceState::BackingOff:
        return QStringLiteral("The layers show the last pictures that came.");
    case eDeviceState::Streaming:
        break;
    }
    return QString();
}

} // namespace

DeviceBanner::DeviceBanner(WindowHost &host, QWidget *pParent)
    : MessageBanner(pParent, QStringLiteral("Dismiss"))
    , m_host(host)
    , m_chooseFile([this] { Q_EMIT fileWanted(); })
{
    m_sinceState.start();
    connect(&m_host.monitor(), &SessionMonitor::sampled, this, &DeviceBanner::refresh);
    connect(&m_host.session(), &DeviceSession::changed, this, &DeviceBanner::refresh);
    connect(this, &MessageBanner::dismissed, this, [this] { m_nDismissed = m_shown.m_nTopic; });
    connect(this, &MessageBanner::accepted, this, [this] {
        const std::function<void()> act = m_shown.m_act; // which may change what is shown
        act();
    });
}

void DeviceBanner::refresh()
{
    const sDeviceStatus status = m_host.monitor().deviceStatus();
    if (status.m_eState != m_eState) {
        m_eState = status.m_eState;
        m_sinceState.start();
    }
    const sNotice notice = noticeOf(status);
    if (notice.m_nTopic != m_nDismissed)
        m_nDismissed = Nothing;
    const bool isSame =
        isVisible() && notice.m_strTitle == m_shown.m_strTitle && notice.m_lines == m_shown.m_lines;
    m_shown = notice;
    if (notice.m_nTopic == Nothing || m_nDismissed != Nothing)
        hide();
    else if (!isSame)
        tell(notice.m_strTitle, notice.m_lines, notice.m_strAction, notice.m_strSign);
}

DeviceBanner::sNotice DeviceBanner::noticeOf(const sDeviceStatus &status) const
{
    // First: what is said of the layers below would not be so while nothing is rendered.
    const sNotice rendering = renderingNotice(status);
    if (rendering.m_nTopic != Nothing || status.m_eState == eDeviceState::Streaming)
        return rendering;
    // A start of reading takes a moment, which is no reason to push the canvas about; but what was
    // wrong before stays told until it is well again.
    const bool isNews = m_shown.m_nTopic == Nothing;
    if (isNews && status.m_eState == eDeviceState::Connecting
        && m_sinceState.elapsed() < PatienceMs)
        return {};
    return deviceNotice(status);
}

DeviceBanner::sNotice DeviceBanner::deviceNotice(const sDeviceStatus &status) const
{
    DeviceSession &session = m_host.session();
    const sStateLook look = lookOf(status, palette());
    sNotice notice;
    notice.m_nTopic = FirstState + int(status.m_eState);
    notice.m_strSign = look.m_strSign;
    notice.m_strTitle =
        QStringLiteral("%1: %2").arg(session.device().m_settings.title(), look.m_strWord);
    notice.m_lines = QStringList{consequenceOf(status.m_eState)};
    if (!status.m_strReason.isEmpty())
        notice.m_lines.append(QStringLiteral("The library says: ") + status.m_strReason);
    switch (status.m_eState) {
    case eDeviceState::Offline:
        notice.m_strAction = QStringLiteral("&Go online (F6)");
        notice.m_act = [&session] { session.setOnline(true); };
        break;
    case eDeviceState::Stopped:
    case eDeviceState::Paused:
        notice.m_strAction = QStringLiteral("&Go on reading (F7)");
        notice.m_act = [&session] { session.setReading(eReading::Reading); };
        break;
    case eDeviceState::BackingOff:
    case eDeviceState::Connecting:
        notice.m_strAction = QStringLiteral("Re&connect now (F9)");
        notice.m_act = [&session] { session.reconnectNow(); };
        break;
    case eDeviceState::MadeUp:
        notice.m_strAction = QStringLiteral("&Choose a file…");
        notice.m_act = m_chooseFile;
        break;
    default:
        break;
    }
    return notice;
}

/** Whatever the device does, the canvas may stand still: the host can want that. */
DeviceBanner::sNotice DeviceBanner::renderingNotice(const sDeviceStatus &status) const
{
    DeviceSession &session = m_host.session();
    sNotice notice;
    if (session.isRendering() && session.isRenderEnabled())
        return notice;
    notice.m_strSign = QStringLiteral("▲");
    notice.m_strTitle = QStringLiteral("The canvas stands still");
    if (!session.isRendering()) {
        notice.m_nTopic = ThreadStopped;
        notice.m_lines = QStringList{QStringLiteral(
            "You have stopped the render thread: whatever the inputs below show, the layers show "
            "their last previews.")};
        notice.m_strAction = QStringLiteral("&Go on rendering (Shift+F7)");
        notice.m_act = [&session] { session.setRendering(true); };
    } else {
        notice.m_nTopic = RenderingDisabled;
        notice.m_lines = QStringList{QStringLiteral(
            "You have disabled rendering: whatever the inputs below show, the layers show their "
            "last previews.")};
        notice.m_strAction = QStringLiteral("&Go on rendering (Shift+F9)");
        notice.m_act = [&session] { session.setRenderEnabled(true); };
    }
    if (status.m_eState != eDeviceState::Streaming)
        notice.m_lines.append(
            QStringLiteral("Besides, the device: %1.").arg(lookOf(status, palette()).m_strWord));
    return notice;
}

} // namespace Morvek::Tools
