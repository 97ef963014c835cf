#include "statelook.h"

namespace Morvek::Tools {

namespace {

enum class eMood { Good, Waiting, Bad, Neutral };

QColor colorOf(eMood eWhich, const QPalette &palette)
{
    const bool isLightOnDark = isDark(palette);
    switch (eWhich) {
    case eMood::Good:
        return isLightOnDark ? QColor(94, 214, 120) : QColor(22, 120, 48);
    case eMood::Waiting:
        return isLightOnDark ? QColor(255, 190, 76) : QColor(156, 90, 0);
    case eMood::Bad:
        return isLightOnDark ? QColor(255, 118, 110) : QColor(184, 28, 28);
    case eMood::Neutral:
        break;
    }
    return isLightOnDark ? QColor(176, 184, 196) : QColor(86, 92, 102);
}

sStateLook look(const QString &strSign, const QString &strWord, eMood eWhich,
                const QPalette &palette)
{
    return {strSign, strWord, colorOf(eWhich, palette)};
}

} // namespace

bool isDark(const QPalette &palette)
{
    return palette.color(QPalette::Window).lightness()
         < palette.color(QPalette::WindowText).lightness();
}

sStateLook lookOf(eInputState eState, const QPalette &palette)
{
    switch (eState) {
    case eInputState::Live:
        return look(QStringLiteral("●"), QStringLiteral("live"), eMood::Good, palette);
    case eInputState::Stale:
        return look(QStringLiteral("◆"), QStringLiteral("stale"), eMood::Waiting, palette);
    case eInputState::NoSignal:
        return look(QStringLiteral("○"), QStringLiteral("no signal"), eMood::Bad, palette);
    case eInputState::Overloaded:
        return look(QStringLiteral("▲"), QStringLiteral("overloaded"), eMood::Bad, palette);
    case eInputState::Unknown:
        break;
    }
    return look(QStringLiteral("?"), QStringLiteral("unknown"), eMood::Neutral, palette);
}

sStateLook lookOf(const sDeviceStatus &status, const QPalette &palette)
{
    switch (status.m_eState) {
    case eDeviceState::Streaming:
        return look(QStringLiteral("●"), QStringLiteral("streaming"), eMood::Good, palette);
    case eDeviceState::Silent:
        return look(QStringLiteral("◆"), QStringLiteral("no new picture"), eMood::Waiting, palette);
    case eDeviceState::MadeUp:
        return look(QStringLiteral("▲"), QStringLiteral("no file"), eMood::Bad, palette);
    case eDeviceState::Connecting:
        return look(QStringLiteral("◌"), QStringLiteral("connecting"), eMood::Waiting, palette);
    case eDeviceState::BackingOff:
        return look(QStringLiteral("▲"),
                    QStringLiteral("no connection, retry in %1 s").arg(status.m_nSecondsLeft),
                    eMood::Bad, palette);
    case eDeviceState::Offline:
        return look(QStringLiteral("○"), QStringLiteral("offline"), eMood::Bad, palette);
    case eDeviceState::Paused:
        return look(QStringLiteral("‖"), QStringLiteral("paused"), eMood::Neutral, palette);
    case eDeviceState::Stopped:
        break;
    }
    return look(QStringLiteral("■"), QStringLiteral("stopped"), eMood::Neutral, palette);
}

} // namespace Morvek::Tools
