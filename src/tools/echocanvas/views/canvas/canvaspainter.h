#ifndef MORVEK_ECHOCANVAS_CANVASPAINTER_H
#define MORVEK_ECHOCANVAS_CANVASPAINTER_H

#include "scene.h"

#include <QImage>
#include <QList>

class QPainter;

namespace Morvek::Tools {

/**
 * Draws a screen: its background, the previews at their layers' places, and the names below them.
 *
 * @param previews  one for each layer, in their order; nothing is drawn for a null one
 * @return the canvas; without the texts on a machine without fonts
 * @thread main
 */
QImage paintedCanvas(const sSceneScreen &screen, const QList<QImage> &previews);

/**
 * Draws what lies below a screen's layers: the background, the screen's title, and each layer's
 * frame and name, in pixels of the canvas.
 *
 * @thread main
 */
void paintBackdrop(QPainter &painter, const sSceneScreen &screen);

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_CANVASPAINTER_H
