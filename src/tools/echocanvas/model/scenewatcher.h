#ifndef MORVEK_ECHOCANVAS_SCENEWATCHER_H
#define MORVEK_ECHOCANVAS_SCENEWATCHER_H

#include "scene.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QFileSystemWatcher>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>

#include <optional>

namespace Morvek::Tools {

/**
 * Reads a scene file anew whenever its text changes, also where an editor writes another file and
 * gives it this one's name, or removes it for a while, or where that happens to its folder.
 *
 * What is not a file, such as a pipe, is never opened: that may block for ever.
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
    /** What tells a file from another one without reading it. */
    struct sTrace
    {
        qint64 m_nChangedMs = 0;
        qint64 m_nSize = -1; // -1: there is none
        bool operator==(const sTrace &other) const
        {
            return m_nChangedMs == other.m_nChangedMs && m_nSize == other.m_nSize;
        }
    };

    void wait();
    void lookForTraces();
    void look();
    void follow();
    void unfollow();
    sTrace presentTrace() const;
    bool isFile() const;
    QByteArray presentText() const;
    std::optional<sScene> readText(const QByteArray &text, QStringList &problems) const;

    QString m_strFileName;
    QByteArray m_knownText;
    bool m_isBroken = false;
    QFileSystemWatcher m_watcher;
    QTimer m_settling;       // an editor writes more than once
    QElapsedTimer m_waiting; // since the first of the changes that settle
    QTimer m_tracing;        // for what the system does not tell
    sTrace m_trace;
};

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_SCENEWATCHER_H
