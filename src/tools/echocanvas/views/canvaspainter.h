#ifndef MORVEK_ECHOCANVAS_CANVASPAINTER_H
#define MORVEK_ECHOCANVAS_CANVASPAINTER_H

#include "scene.h"

#include <QImage>
#include <QList>

namespace Morvek::Tools {

/**
 * Draws a screen: its background, the previews at their layers' places, and the names below them.
 *
 * @param previews  one for each layer, in their order; nothing is drawn for a null one
 * @return the canvas; without the texts on a machine without fonts
 * @thread main
 */
QImage paintedCanvas(const sSceneScreen &screen, const QList<QImage> &previews);

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_CANVASPAINTER_H
