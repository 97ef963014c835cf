#ifndef MORVEK_ECHOCANVAS_LAYERMARKS_H
#define MORVEK_ECHOCANVAS_LAYERMARKS_H

#include "scene.h"

#include <QColor>
#include <QString>

namespace Morvek::Tools {

class SessionMonitor;

/** What the canvas says on a layer whose picture is not what an operator would take it for. */
struct sLayerMark
{
    QString m_strText; ///< with a sign before it; empty where the layer needs no mark
    QColor m_color;    ///< of the text, which stands on near black
    QString m_strTip;  ///< a sentence on the layer's picture, also where there is no mark

    bool operator==(const sLayerMark &other) const
    {
        return m_strText == other.m_strText && m_color == other.m_color
            && m_strTip == other.m_strTip;
    }
};

/**
 * What is to be said of a layer now: of its input's state, and whether it is frozen.
 *
 * @param isRendered  whether layers are rendered at all
 */
sLayerMark markOf(const sSceneLayer &layer, const SessionMonitor &monitor, bool isRendered);

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_LAYERMARKS_H
