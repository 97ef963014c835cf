#ifndef MORVEK_ECHOCANVAS_SCENEWATCHER_H
#define MORVEK_ECHOCANVAS_SCENEWATCHER_H

#include "scene.h"

#include <QByteArray>
#include <QFileSystemWatcher>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>

namespace Morvek::Tools {

/**
 * Reads a scene file anew whenever its text changes, also where an editor writes another file and
 * gives it this one's name, or removes it for a while.
 *
 * @thread main
 */
class SceneWatcher : public QObject
{
    Q_OBJECT

public:
    explicit SceneWatcher(QObject *parent = nullptr);

    /** Follows this file from now on; none if empty. Its present text is taken as known. */
    void watch(const QString &strFileName);
    QString fileName() const { return m_strFileName; }

Q_SIGNALS:
    /** The file has another text, which is a scene. */
    void changed(const Morvek::Tools::sScene &scene);
    /** The file has another text, or none, and is no scene; one line for everything wrong. */
    void broken(const QStringList &problems);

private:
    void look();
    void follow();
    QByteArray presentText() const;

    QString m_strFileName;
    QByteArray m_knownText;
    bool m_isBroken = false;
    QFileSystemWatcher m_watcher;
    QTimer m_settling; // an editor writes more than once
};

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_SCENEWATCHER_H
