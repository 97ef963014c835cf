#ifndef MORVEK_ECHOCANVAS_SCENEREADER_H
#define MORVEK_ECHOCANVAS_SCENEREADER_H

#include "scene.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

class QIODevice;

namespace Morvek::Tools {

/** Name under which messages speak of the scene that is compiled in. */
extern const char *const BuiltInSceneName;
/** Beginning of an alpha map's name that the program draws itself, such as "builtin:ellipse". */
extern const char *const BuiltInPrefix;

/** All that a device has to read, but no more than readScene() takes and a little. */
QByteArray readSceneText(QIODevice &device);

/** The scene that is compiled in, as its JSON text. */
QByteArray builtInSceneText();

/**
 * Reads a scene.
 *
 * @param text         the JSON text, of 64 MiB at most; docs/scene.md explains it
 * @param strFileName  the text's file, for messages and for files named relative to it
 * @param problems     receives one line for everything that is wrong, with file, key and what was
 *                     expected there
 * @return nothing if anything was wrong
 */
std::optional<sScene> readScene(const QByteArray &text, const QString &strFileName,
                                QStringList &problems);

/** Reads the scene of a file; of an empty name, the one that is compiled in. */
std::optional<sScene> readSceneFile(const QString &strFileName, QStringList &problems);

/** The source that a scene or an option calls by this name: mjpeg, shm or yuv. */
std::optional<BizModel::s_EchoVideoConfig::eVideoSourceType>
sourceTypeNamed(const QString &strName);
/** What a scene calls this source; empty for one that no scene can have. */
QString sourceTypeName(BizModel::s_EchoVideoConfig::eVideoSourceType eType);

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_SCENEREADER_H
