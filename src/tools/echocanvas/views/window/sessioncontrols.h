#ifndef MORVEK_ECHOCANVAS_SESSIONCONTROLS_H
#define MORVEK_ECHOCANVAS_SESSIONCONTROLS_H

#include "windowhost.h"

#include <QElapsedTimer>
#include <QObject>

class QAction;
class QActionGroup;
class QComboBox;
class QLabel;
class QMenu;
class QSpinBox;
class QToolBar;

namespace Morvek::Tools {

/** Everything that a host can ask of the library, as a menu and a tool bar that stay in step. */
class SessionControls : public QObject
{
    Q_OBJECT

public:
    /** @param host  must outlive the controls */
    SessionControls(WindowHost &host, QMenu &menu, QToolBar &bar);

    /** Asks for the raw file that is to be played, and plays it. */
    void chooseFile();
    /** Plays this raw file from now on; an edit of the scene like any other. */
    void playFile(const QString &strFileName);

private:
    void addActions(QMenu &menu);
    void addReadingActions(QMenu &menu);
    void addRenderingActions(QMenu &menu);
    void addFields(QToolBar &bar);
    void addToBar(QToolBar &bar);
    void refresh();
    void refreshDevices();
    void showStatus();
    int fpsGesture();
    void editDevice(const std::function<void(sSceneDevice &)> &change, int nGesture = 0);

    WindowHost &m_host;
    QLabel *m_pStatus;
    QComboBox *m_pDevice;
    QComboBox *m_pSource;
    QSpinBox *m_pFps;
    QAction *m_pOnline = nullptr;
    QAction *m_pNextDevice = nullptr;
    QAction *m_pRead = nullptr;
    QAction *m_pPause = nullptr;
    QAction *m_pStop = nullptr;
    QAction *m_pReconnect = nullptr;
    QAction *m_pRendering = nullptr;
    QAction *m_pRenderEnabled = nullptr;
    int m_nFpsGesture = 0;
    QElapsedTimer m_sinceFps; // was last turned
};

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_SESSIONCONTROLS_H
