#include "inputobserver.h"

#include <cstring>

namespace Morvek::Tools {

namespace {

// What the library hands out where there is no picture is this small.
constexpr QSize PlaceholderSize(2, 2);

// What compression leaves of black, and how far neighbours reach into a tile.
constexpr int BlackLevel = 8;
constexpr int RimShare = 16;

bool isBlackRow(const QRgb *pRow, int nBegin, int nEnd)
{
    for (int x = nBegin; x < nEnd; ++x) {
        const QRgb pixel = pRow[x];
        if (qRed(pixel) > BlackLevel || qGreen(pixel) > BlackLevel || qBlue(pixel) > BlackLevel)
            return false;
    }
    return true;
}

/** As QImage's own comparison, but over whole rows: it runs for every input at every tick. */
bool isSamePicture(const QImage &left, const QImage &right)
{
    if (left.size() != right.size() || left.format() != right.format())
        return false;
    if (left.isNull() || left.cacheKey() == right.cacheKey())
        return true;
    const auto nBytes = std::size_t(left.width()) * std::size_t(left.depth()) / 8;
    for (int y = 0; y < left.height(); ++y) {
        if (std::memcmp(left.constScanLine(y), right.constScanLine(y), nBytes) != 0)
            return false;
    }
    return true;
}

QString secondsText(qint64 nMs)
{
    return QStringLiteral("%1 s").arg(nMs / 1000);
}

} // namespace

bool isBlack(const QImage &picture)
{
    if (picture.isNull())
        return false;
    if (picture.depth() != 32)
        return isBlack(picture.convertToFormat(QImage::Format_RGB32));
    const int nSide = picture.width() / RimShare;
    const int nRim = picture.height() / RimShare;
    for (int y = nRim; y < picture.height() - nRim; ++y) {
        const auto *const pRow = reinterpret_cast<const QRgb *>(picture.constScanLine(y));
        if (!isBlackRow(pRow, nSide, picture.width() - nSide))
            return false;
    }
    return true;
}

bool InputObserver::look(const sInputLook &look)
{
    const bool isFirst = m_nFirstMs < 0;
    if (isFirst)
        m_nFirstMs = m_nChangedMs = look.m_nNowMs;
    const bool isNew = !isSamePicture(m_picture, look.m_picture);
    if (isNew) {
        m_picture = look.m_picture;
        m_isBlack = isBlack(m_picture);
        m_nChangedMs = look.m_nNowMs;
    }
    const bool isReal = look.m_isKnown && m_picture.size() != PlaceholderSize && !m_isBlack;
    // The picture of the first look may be one that another device has left behind.
    const bool isNewAndReal = isNew && isReal && !isFirst;
    // Nor is the first picture after none a change: one that hangs comes anew, too.
    const bool isChange = isNewAndReal && m_wasReal;
    m_hasChanged = (m_hasChanged && m_wasReal) || isChange;
    m_wasReal = isReal;
    if (isChange)
        m_changes.push_back(look.m_nNowMs);
    while (!m_changes.empty() && m_changes.front() <= look.m_nNowMs - RateWindowMs)
        m_changes.pop_front();
    // An input that was just looked at for the first time has no full window behind it.
    const qint64 nWindow = qBound<qint64>(1000, look.m_nNowMs - m_nFirstMs, RateWindowMs);
    m_status.m_rate = double(m_changes.size()) * 1000.0 / double(nWindow);
    m_status.m_nUnchangedMs = look.m_nNowMs - m_nChangedMs;
    judge(look);
    return isNewAndReal;
}

void InputObserver::judge(const sInputLook &look)
{
    if (look.m_eDevice == eDeviceState::Offline)
        setState(eInputState::Unknown, QStringLiteral("device offline"),
                 QStringLiteral("The device is offline, so nothing is known of its picture."));
    else if (look.m_isOverloaded)
        setState(
            eInputState::Overloaded, QStringLiteral("too strong"),
            QStringLiteral("The device model says that the signal is more than can be shown: lower "
                           "the output of the source."));
    else if (!look.m_isActive)
        setState(eInputState::NoSignal, QStringLiteral("not connected"),
                 QStringLiteral("The device model says that nothing is connected: look at the "
                                "cable."));
    else if (look.m_eDevice == eDeviceState::Stopped)
        // The pictures that a reader leaves behind when it ends are black.
        setState(eInputState::Unknown, QStringLiteral("not read"),
                 QStringLiteral("Reading is stopped, so nothing is known of its picture."));
    else if (look.m_eDevice == eDeviceState::MadeUp)
        setState(eInputState::Unknown, QStringLiteral("no video"),
                 QStringLiteral("The file cannot be played: these stripes are the library's own."));
    else if (!look.m_isKnown || m_picture.isNull())
        setState(eInputState::Unknown, QStringLiteral("no picture yet"),
                 QStringLiteral("No picture has come yet."));
    else if (m_isBlack)
        judgeBlack(look);
    else
        judgePicture(look);
}

/** Before the first picture of a device, the library hands out black too. */
void InputObserver::judgeBlack(const sInputLook &look)
{
    if (look.m_eDevice == eDeviceState::Connecting)
        setState(eInputState::Unknown, QStringLiteral("nothing yet"),
                 QStringLiteral("Nothing but black since reading began: no picture has come, or no "
                                "signal."));
    else
        setState(
            eInputState::NoSignal, QStringLiteral("black picture"),
            QStringLiteral("Its part of the echo video is black: no signal, or a source that shows "
                           "black."));
}

void InputObserver::judgePicture(const sInputLook &look)
{
    const qint64 nUnchangedMs = look.m_nNowMs - m_nChangedMs;
    const QString strSince = secondsText(nUnchangedMs);
    const bool isOut =
        look.m_eDevice == eDeviceState::BackingOff || look.m_eDevice == eDeviceState::Connecting;
    if (nUnchangedMs < StaleAfterMs && m_hasChanged)
        setState(eInputState::Live, QString(), QStringLiteral("Its picture changes."));
    else if (nUnchangedMs < StaleAfterMs)
        setState(eInputState::Unknown, QStringLiteral("waiting"),
                 QStringLiteral("Waiting whether its picture changes."));
    else if (look.m_eDevice == eDeviceState::Paused)
        setState(eInputState::Stale, QStringLiteral("reading paused"),
                 QStringLiteral("Reading is paused: this is the last picture, of %1 ago.")
                     .arg(strSince));
    else if (isOut)
        setState(eInputState::Stale, QStringLiteral("no connection"),
                 QStringLiteral("Nothing comes from the device: this is its last picture, of %1 "
                                "ago.")
                     .arg(strSince));
    else
        setState(
            eInputState::Stale, QStringLiteral("same for %1").arg(strSince),
            QStringLiteral("The same picture for %1: a still picture, or it hangs.").arg(strSince));
}

void InputObserver::setState(eInputState eState, const QString &strBrief, const QString &strReason)
{
    m_status.m_eState = eState;
    m_status.m_strBrief = strBrief;
    m_status.m_strReason = strReason;
}

} // namespace Morvek::Tools
