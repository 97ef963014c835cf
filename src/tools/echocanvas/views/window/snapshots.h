#ifndef MORVEK_ECHOCANVAS_SNAPSHOTS_H
#define MORVEK_ECHOCANVAS_SNAPSHOTS_H

#include <QImage>
#include <QString>

namespace Morvek::Tools {

/** What became of a snapshot. */
struct sSnapshot
{
    QString m_strFile;  ///< empty if it could not be written
    QString m_strError; ///< empty if it could
};

/**
 * Writes a picture as PNG, under a name with the time that no file has yet.
 *
 * @param strFolder  made if it does not exist
 * @param strName    what it shows; becomes a part of the file's name
 */
sSnapshot writeSnapshot(const QString &strFolder, const QString &strName, const QImage &picture);

/** Where snapshots go unless the command line says otherwise: in the user's pictures. */
QString defaultSnapshotFolder();

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_SNAPSHOTS_H
