#ifndef MORVEK_TESTS_WINDOWBENCH_H
#define MORVEK_TESTS_WINDOWBENCH_H

#include "walldevice.h"

#include <canvaspane.h>
#include <canvasview.h>
#include <inputtile.h>
#include <inputwall.h>
#include <mainwindow.h>
#include <messagebanner.h>
#include <scenefiles.h>
#include <windowhost.h>

#include <QAction>
#include <QMutex>
#include <QSettings>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

namespace Morvek::Tests {

/** Long enough for anything that the window does by itself, on a busy machine, in ms. */
constexpr int Patience = 30000;

/** Collects every warning while it lives, but for those that reading a device brings about. */
class WarningTrap
{
public:
    WarningTrap();
    ~WarningTrap();
    QStringList warnings() const;

private:
    Q_DISABLE_COPY(WarningTrap)
    static void handle(QtMsgType eType, const QMessageLogContext &context, const QString &strText);

    mutable QMutex m_mutex;
    QStringList m_warnings; // guarded by m_mutex
    QtMessageHandler m_previousHandler;
};

/** The built-in scene, read from these devices. */
Tools::sScene sceneOf(quint16 nPort, quint16 nOtherPort);

/** A window with two devices, settings and folders of its own. */
class WindowBench
{
public:
    /** @param strSceneFile  played in the place of the built-in scene, at the same devices */
    explicit WindowBench(const QString &strSceneFile = QString());

    WallDevice &device() { return m_device; }
    WallDevice &otherDevice() { return m_otherDevice; }
    Tools::WindowHost &host() { return *m_pHost; }
    Tools::MainWindow &window() { return *m_pWindow; }
    Tools::CanvasView &canvas() { return m_pWindow->canvas().view(); }
    QString folder() const { return m_folder.path(); }
    QSettings &settings() { return m_settings; }

    /** Starts the session and shows the window. @return whether both worked */
    bool open();
    /** Waits until every input is live, and said to be, and every layer has shown a picture. */
    bool waitUntilLive();
    /** Waits until the canvas, whose layers no longer change, is not painted any more. */
    bool waitUntilPainted();
    Tools::eDeviceState deviceState() const { return m_pHost->monitor().deviceStatus().m_eState; }
    Tools::eInputState inputState(int nInput) const
    {
        return m_pHost->monitor().input(nInput).status().m_eState;
    }
    /** The action that a menu calls so; a test without it cannot go on. */
    QAction &action(const QString &strText) const;
    /** A widget of the window by its object name. */
    template <typename Widget>
    Widget &widget(const char *pName) const
    {
        auto *const pWidget = m_pWindow->findChild<Widget *>(QLatin1String(pName));
        if (!pWidget)
            qFatal("no widget is called %s", pName);
        return *pWidget;
    }
    /** Key of a layer by its place in the scene, from 0. */
    Tools::LayerKey key(int nScreen, int nLayer) const;
    /** Writes what the window looks like, for people to look at. */
    void takeScreenshot(const QString &strName);

private:
    QTemporaryDir m_folder;
    QSettings m_settings;
    WallDevice m_device;
    WallDevice m_otherDevice;
    std::unique_ptr<Tools::WindowHost> m_pHost;
    std::unique_ptr<Tools::MainWindow> m_pWindow;
};

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_WINDOWBENCH_H
