#include "layermarks.h"

#include "sessionmonitor.h"
#include "statelook.h"

#include <QStringList>

namespace Morvek::Tools {

namespace {

/** Marks stand on near black, whatever the window's palette is. */
QPalette markPalette()
{
    return QPalette(QColor(Qt::black));
}

/** What stands between the device and all layers alike is said above the canvas, and here in short. */
QString markText(const sInputStatus &status, int nInput, eDeviceState eDevice,
                 const QString &strSign)
{
    const bool isStale = status.m_eState == eInputState::Stale;
    if (eDevice == eDeviceState::Offline || eDevice == eDeviceState::Stopped)
        return QStringLiteral("○ not read");
    if (eDevice == eDeviceState::MadeUp)
        return QStringLiteral("▲ no video");
    if (isStale && eDevice != eDeviceState::Streaming)
        return strSign + QStringLiteral(" last picture");
    // An input of which nothing is known yet is no news: that is so whenever reading begins.
    if (status.m_eState == eInputState::Live || status.m_eState == eInputState::Unknown)
        return QString();
    return QStringLiteral("%1 Input %2: %3 (%4)")
        .arg(strSign, QString::number(nInput), lookOf(status.m_eState, markPalette()).m_strWord,
             status.m_strBrief);
}

sLayerMark markOfInput(const sInputStatus &status, int nInput, eDeviceState eDevice)
{
    const sStateLook look = lookOf(status.m_eState, markPalette());
    sLayerMark mark;
    mark.m_strText = markText(status, nInput, eDevice, look.m_strSign);
    mark.m_color = look.m_color;
    mark.m_strTip = QStringLiteral("Input %1 is %2. %3")
                        .arg(QString::number(nInput), look.m_strWord, status.m_strReason);
    return mark;
}

} // namespace

sLayerMark markOf(const sSceneLayer &layer, const SessionMonitor &monitor, bool isRendered)
{
    sLayerMark mark;
    if (!layer.hasSource()) {
        mark.m_strTip = QStringLiteral("Shows a colour, no input.");
    } else if (layer.input() >= monitor.inputCount()) {
        const sStateLook look = lookOf(eInputState::NoSignal, markPalette());
        mark.m_strText = QStringLiteral("%1 no input %2").arg(look.m_strSign).arg(layer.input());
        mark.m_color = look.m_color;
        mark.m_strTip = QStringLiteral("The device has no input %1.").arg(layer.input());
    } else {
        mark = markOfInput(monitor.input(layer.input()).status(), layer.input(),
                           monitor.deviceStatus().m_eState);
    }
    if (!isRendered) {
        mark.m_strText = QStringLiteral("▲ stands still");
        mark.m_color = lookOf(eInputState::NoSignal, markPalette()).m_color;
        mark.m_strTip += QStringLiteral("\nNothing is rendered: this is the layer's last preview.");
    }
    QStringList lines{layer.m_strName, mark.m_strTip};
    if (layer.m_config.m_LayerItem.m_isFrozen)
        lines.append(QStringLiteral("Frozen: the device holds this layer's picture, which the mark "
                                    "in the lower right corner says; the preview goes on."));
    mark.m_strTip = lines.join(QLatin1Char('\n'));
    return mark;
}

} // namespace Morvek::Tools
