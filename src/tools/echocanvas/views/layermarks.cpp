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

/** An input of which nothing is known yet is no news: that is so whenever reading begins. */
bool needsMark(eInputState eState)
{
    return eState == eInputState::NoSignal || eState == eInputState::Overloaded
        || eState == eInputState::Stale;
}

} // namespace

sLayerMark markOf(const sSceneLayer &layer, const SessionMonitor &monitor)
{
    sLayerMark mark;
    QStringList lines{layer.m_strName};
    if (!layer.hasSource()) {
        lines.append(QStringLiteral("Shows a colour, no input."));
    } else if (layer.input() >= monitor.inputCount()) {
        const sStateLook look = lookOf(eInputState::NoSignal, markPalette());
        mark.m_strText = QStringLiteral("%1 no input %2").arg(look.m_strSign).arg(layer.input());
        mark.m_color = look.m_color;
        lines.append(QStringLiteral("The device has no input %1.").arg(layer.input()));
    } else {
        const sInputStatus status = monitor.input(layer.input()).status();
        const sStateLook look = lookOf(status.m_eState, markPalette());
        if (needsMark(status.m_eState))
            mark.m_strText = QStringLiteral("%1 Input %2: %3 (%4)")
                                 .arg(look.m_strSign, QString::number(layer.input()),
                                      look.m_strWord, status.m_strBrief);
        mark.m_color = look.m_color;
        lines.append(QStringLiteral("Input %1 is %2. %3")
                         .arg(QString::number(layer.input()), look.m_strWord, status.m_strReason));
    }
    if (layer.m_config.m_LayerItem.m_isFrozen)
        lines.append(QStringLiteral("Frozen: the device holds this layer's picture, which the mark "
                                    "in the lower right corner says; the preview goes on."));
    mark.m_strTip = lines.join(QLatin1Char('\n'));
    return mark;
}

} // namespace Morvek::Tools
