#include "windowbench.h"

#include <builtinpictures.h>
#include <scenereader.h>

#include <QDir>
#include <QMenu>
#include <QtTest>

#include <utility>

namespace Morvek::Tests {

using namespace Morvek::Tools;

namespace {

WarningTrap *trap = nullptr;

} // namespace

WarningTrap::WarningTrap()
{
    trap = this;
    m_previousHandler = qInstallMessageHandler(handle);
}

WarningTrap::~WarningTrap()
{
    qInstallMessageHandler(m_previousHandler);
    trap = nullptr;
}

void WarningTrap::handle(QtMsgType eType, const QMessageLogContext &context, const QString &strText)
{
    const bool isWarning = eType == QtWarningMsg || eType == QtCriticalMsg;
    // The decoder's own words about a picture that was cut short with its connection count, too.
    const bool isLibrarys = QByteArray(context.file).contains("morvekechovideo")
                         || strText.contains(QStringLiteral("JPEG"));
    if (isWarning && !isLibrarys) {
        QMutexLocker locker(&trap->m_mutex);
        trap->m_warnings.append(strText);
    }
    if (isWarning ? !isLibrarys : eType == QtFatalMsg)
        trap->m_previousHandler(eType, context, strText);
}

QStringList WarningTrap::warnings() const
{
    QMutexLocker locker(&m_mutex);
    return m_warnings;
}

sScene sceneOf(quint16 nPort, quint16 nOtherPort)
{
    QStringList problems;
    sScene scene = readSceneFile(QString(), problems).value();
    scene.m_device.m_nPort = nPort;
    scene.m_otherDevices.first().m_nPort = nOtherPort;
    return scene;
}

WindowBench::WindowBench(const QString &strSceneFile)
    : m_settings(m_folder.filePath(QStringLiteral("settings.ini")), QSettings::IniFormat)
    , m_otherDevice(16, 4)
{
    EchoVideo::LayerVideoManager::m_frozenIcon = frozenIcon();
    const quint16 nPort = m_device.port();
    const quint16 nOtherPort = m_otherDevice.port();
    const auto adjust = [nPort, nOtherPort](sScene &scene) {
        scene.m_device.m_nPort = nPort;
        if (!scene.m_otherDevices.isEmpty())
            scene.m_otherDevices.first().m_nPort = nOtherPort;
    };
    QStringList problems;
    sScene scene = readSceneFile(strSceneFile, problems).value();
    adjust(scene);
    m_pHost = std::make_unique<WindowHost>(scene, strSceneFile, adjust);
    m_pWindow = std::make_unique<MainWindow>(*m_pHost, m_settings,
                                             m_folder.filePath(QStringLiteral("snapshots")));
}

bool WindowBench::open()
{
    if (!m_pHost->start())
        return false;
    m_pWindow->show();
    return QTest::qWaitForWindowExposed(m_pWindow.get(), Patience);
}

bool WindowBench::waitUntilLive()
{
    return QTest::qWaitFor(
        [this] {
            for (int nInput = 0; nInput < m_pHost->monitor().inputCount(); ++nInput) {
                const InputTile *const pTile = m_pWindow->wall().tile(nInput);
                const bool isShown = pTile && pTile->stateText() == QStringLiteral("● live");
                if (inputState(nInput) != eInputState::Live || !isShown)
                    return false;
            }
            return m_pHost->shortcomings().isEmpty() && deviceState() == eDeviceState::Streaming;
        },
        Patience);
}

bool WindowBench::waitUntilPainted()
{
    qint64 nPaints = -1;
    return QTest::qWaitFor(
        [&] { return std::exchange(nPaints, canvas().paintFigures().m_nPaints) == nPaints; },
        Patience);
}

QAction &WindowBench::action(const QString &strText) const
{
    const QList<QAction *> actions = m_pWindow->findChildren<QAction *>();
    for (QAction *const pAction : actions) {
        if (pAction->text().remove(QLatin1Char('&')) == strText)
            return *pAction;
    }
    qFatal("no action is called %s", qPrintable(strText));
}

LayerKey WindowBench::key(int nScreen, int nLayer) const
{
    return m_pHost->document()
        .scene()
        .m_screens[nScreen]
        .m_layers[nLayer]
        .m_config.m_LayerIdentifies;
}

void WindowBench::takeScreenshot(const QString &strName)
{
    const QDir folder(QStringLiteral(SCREENSHOT_FOLDER));
    folder.mkpath(QStringLiteral("."));
    m_pWindow->grab().save(folder.filePath(strName + QStringLiteral(".png")));
}

} // namespace Morvek::Tests
