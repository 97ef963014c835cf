#ifndef MORVEK_ECHOCANVAS_BUILTINPICTURES_H
#define MORVEK_ECHOCANVAS_BUILTINPICTURES_H

#include "scene.h"

#include <QImage>
#include <QPixmap>
#include <QString>
#include <QTemporaryDir>

namespace Morvek::Tools {

/** The mark of frozen layers: a snow crystal on a blue disc, 24 x 24 pixels. @thread main */
QPixmap frozenIcon();

/** An alpha map: opaque in an ellipse that touches all four edges, with a soft rim. */
QImage ellipseAlphaMap(const QSize &size);

/**
 * The alpha maps that a scene calls "builtin:...", as files.
 *
 * The library reads an alpha map from its file for every preview, so the files live as long as this
 * object does, in a temporary folder.
 */
class BuiltInAlphaMaps
{
public:
    /**
     * Writes the files that the scene needs, and puts their names in the place of the built-in ones.
     *
     * @return false if a file could not be written; errorText() then tells why
     */
    bool provide(sScene &scene);
    /** The same for one layer. */
    bool provide(sSceneLayer &layer);
    QString errorText() const { return m_strError; }

private:
    QString fileFor(const QString &strName);

    QTemporaryDir m_folder;
    QString m_strError;
};

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_BUILTINPICTURES_H
