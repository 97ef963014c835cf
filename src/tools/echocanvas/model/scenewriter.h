#ifndef MORVEK_ECHOCANVAS_SCENEWRITER_H
#define MORVEK_ECHOCANVAS_SCENEWRITER_H

#include "scene.h"

#include <QByteArray>
#include <QString>

namespace Morvek::Tools {

/**
 * A scene as the JSON text that readScene() reads, one layer a line; what has its default value is
 * left out.
 *
 * @param strFileName  the file that the text is for: files in its folder are named relative to it
 */
QByteArray sceneText(const sScene &scene, const QString &strFileName);

/**
 * Writes a scene to a file, which is replaced as a whole or stays as it was. A scene that could not
 * be read again, say because an alpha map's file is gone, is not written.
 *
 * @return what went wrong; empty if nothing did
 */
QString writeSceneFile(const sScene &scene, const QString &strFileName);

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_SCENEWRITER_H
