#ifndef MORVEK_ECHOCANVAS_SCENEFILES_H
#define MORVEK_ECHOCANVAS_SCENEFILES_H

#include "recentfiles.h"
#include "scenewatcher.h"
#include "windowhost.h"

#include <QObject>

class QAction;
class QMenu;
class QWidget;

namespace Morvek::Tools {

class MessageBanner;

/** Opening, saving and following scene files, with the menu for it. */
class SceneFiles : public QObject
{
    Q_OBJECT

public:
    /** All must outlive this. @param window  parent of the dialogs */
    SceneFiles(WindowHost &host, QSettings &settings, QMenu &menu, MessageBanner &banner,
               QWidget &window);

    /** Opens a file; what is wrong with it is told, and the present scene stays. */
    bool open(const QString &strFileName);
    /** Saves, and asks before it replaces what somebody else has written meanwhile. */
    bool save();
    /** Asks what to do with edits that are not saved. @return false to stay */
    bool mayDiscard();

Q_SIGNALS:
    /** What was done, for the status bar. */
    void told(const QString &strText);

private:
    void addActions(QMenu &menu);
    void finishEdit();
    void askAndOpen();
    bool askAndSave();
    bool saveAs(const QString &strFileName);
    void reload();
    void openBuiltIn();
    void fillRecentMenu();
    void slotFileChanged(const sScene &scene);
    void slotFileBroken(const QStringList &problems);

    WindowHost &m_host;
    RecentFiles m_recentFiles;
    MessageBanner &m_banner;
    QWidget &m_window;
    SceneWatcher m_watcher;
    bool m_isOtherOnDisk = false; // than what is shown here, and than what was once read
    QMenu *m_pRecentMenu = nullptr;
    QAction *m_pReload = nullptr;
};

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_SCENEFILES_H
