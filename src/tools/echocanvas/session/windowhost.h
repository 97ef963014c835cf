#ifndef MORVEK_ECHOCANVAS_WINDOWHOST_H
#define MORVEK_ECHOCANVAS_WINDOWHOST_H

#include "builtinpictures.h"
#include "devicesession.h"
#include "logcollector.h"
#include "scenedocument.h"
#include "sessionmonitor.h"

#include <QObject>
#include <QSet>
#include <QStringList>

#include <functional>

namespace Morvek::Tools {

/**
 * Everything of the window but its widgets: the scene, the session that plays it and follows every
 * edit, and what watches the session.
 *
 * @thread main
 */
class WindowHost : public QObject
{
    Q_OBJECT

public:
    /** Changes a scene that was read from a file, as the command line wants it. */
    using Adjustment = std::function<void(sScene &)>;

    /** @param scene  adjusted already. @param strFileName  its file; empty for the built-in one */
    WindowHost(const sScene &scene, const QString &strFileName, Adjustment adjust = {});

    /** Starts the session. @return false if the library refused to start */
    bool start() { return m_session.start(); }

    SceneDocument &document() { return m_document; }
    DeviceSession &session() { return m_session; }
    SessionMonitor &monitor() { return m_monitor; }
    LogCollector &log() { return m_log; }

    /**
     * Plays another scene, adjusted like the first one; blocks where the devices are other ones.
     *
     * The active device's place among the devices stays, where the scene has as many, and so does
     * what the user asked for: online or not, reading, rendering.
     */
    void setScene(const sScene &scene, const QString &strFileName);
    /**
     * What keeps the run from being a success: layers of the present scene that were never rendered
     * since it is played, and those with a source that never showed a picture of the device. Empty
     * if nothing does.
     */
    QStringList shortcomings() const;

private:
    sScene resolved(const sScene &scene);
    void takeLayer(const LayerKey &key);
    void takeScreens();
    void forgetRemovedLayers();
    void takeDevices();
    void notePreview(const LayerKey &key);

    LogCollector m_log; // first, so that it hears everything
    const Adjustment m_adjust;
    SceneDocument m_document;
    BuiltInAlphaMaps m_alphaMaps;
    DeviceSession m_session;
    SessionMonitor m_monitor;
    QSet<int> m_rendered;   // layers that had a preview
    QSet<int> m_fromStream; // and those whose source had a picture of the device then
};

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_WINDOWHOST_H
