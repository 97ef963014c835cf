#ifndef MORVEK_ECHOCANVAS_PICTUREOUTPUT_H
#define MORVEK_ECHOCANVAS_PICTUREOUTPUT_H

#include "runreport.h"
#include "scene.h"

#include <QImage>
#include <QList>
#include <QString>

namespace Morvek::Tools {

/** File name of a screen's canvas. @param nScreen  from 1 */
QString canvasFileName(int nScreen);

/** File name of a layer's preview, such as "screen-1-layer-03-mono.png". @param nLayer  from 1 */
QString layerFileName(int nScreen, int nLayer, const QString &strLayer);

/**
 * Writes every preview and every screen's canvas as PNG files.
 *
 * @param strFolder  made if it does not exist
 * @param previews   screen by screen, in the scene's order; nothing is written for a null one
 * @param report     receives the names of the files, and a problem for each that failed
 */
void writePictures(const QString &strFolder, const sScene &scene,
                   const QList<QList<QImage>> &previews, sRunReport &report);

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_PICTUREOUTPUT_H
