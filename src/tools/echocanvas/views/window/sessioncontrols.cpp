#include "sessioncontrols.h"

#include "scenereader.h"
#include "statelook.h"

#include <QAction>
#include <QActionGroup>
#include <QComboBox>
#include <QFileDialog>
#include <QLabel>
#include <QMenu>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QToolBar>

namespace Morvek::Tools {

namespace {

constexpr int MaxFps = 255;
constexpr int GesturePauseMs = 1000;

void setTip(QAction &action, const char *pTip)
{
    const QString strTip = QString::fromUtf8(pTip);
    const QString strKeys = action.shortcut().toString(QKeySequence::NativeText);
    action.setToolTip(strKeys.isEmpty() ? strTip : QStringLiteral("%1 (%2)").arg(strTip, strKeys));
    action.setStatusTip(strTip);
}

QAction *addAction(QMenu &menu, const char *pText, const QKeySequence &keys, const char *pTip)
{
    QAction *const pAction = menu.addAction(QString::fromUtf8(pText));
    pAction->setShortcut(keys);
    setTip(*pAction, pTip);
    return pAction;
}

QString sourceTip(const sSceneDevice &device)
{
    const QString strTip = QStringLiteral(
        "How the echo video arrives: over the network, through the capture library's shared "
        "memory, or from a raw file");
    if (device.m_strFile.isEmpty())
        return strTip;
    return strTip + QStringLiteral("\nRaw file: ") + device.m_strFile;
}

/** Of any state, so that no button moves away under the pointer when the state changes. */
int widestStatus(const QLabel &label)
{
    sDeviceStatus status;
    status.m_eState = eDeviceState::BackingOff;
    status.m_nSecondsLeft = 60;
    const sStateLook look = lookOf(status, label.palette());
    QFont bold = label.font();
    bold.setBold(true);
    const QString strText = look.m_strSign + QLatin1Char(' ') + look.m_strWord;
    return QFontMetrics(bold).horizontalAdvance(strText) + 3 * label.margin();
}

QLabel *caption(const char *pText, QWidget *pBuddy)
{
    auto *const pLabel = new QLabel(QString::fromUtf8(pText));
    pLabel->setBuddy(pBuddy);
    pLabel->setContentsMargins(6, 0, 2, 0);
    return pLabel;
}

} // namespace

SessionControls::SessionControls(WindowHost &host, QMenu &menu, QToolBar &bar)
    : QObject(&bar)
    , m_host(host)
    , m_pStatus(new QLabel)
    , m_pDevice(new QComboBox)
    , m_pSource(new QComboBox)
    , m_pFps(new QSpinBox)
{
    addActions(menu);
    addReadingActions(menu);
    addRenderingActions(menu);
    addFields(bar);
    addToBar(bar);
    connect(&m_host.session(), &DeviceSession::changed, this, &SessionControls::refresh);
    connect(&m_host.document(), &SceneDocument::devicesChanged, this,
            &SessionControls::refreshDevices);
    connect(&m_host.document(), &SceneDocument::replaced, this, &SessionControls::refreshDevices);
    connect(&m_host.monitor(), &SessionMonitor::sampled, this, &SessionControls::showStatus);
    connect(&m_host.monitor(), &SessionMonitor::looked, this, &SessionControls::showStatus);
    refreshDevices();
}

void SessionControls::addActions(QMenu &menu)
{
    m_pOnline = addAction(menu, "Go &offline", Qt::Key_F6, "");
    connect(m_pOnline, &QAction::triggered, this,
            [this] { m_host.session().setOnline(!m_host.session().device().m_isOnline); });
    m_pNextDevice = addAction(menu, "&Next device", Qt::CTRL | Qt::Key_T,
                              "Makes the next device of the scene the active one");
    connect(m_pNextDevice, &QAction::triggered, this, [this] {
        const int nDevices = m_host.document().scene().devices().size();
        m_host.session().setActiveDevice((m_host.session().activeDevice() + 1) % nDevices);
    });
    QAction *const pFile = addAction(menu, "Play a raw &file…", Qt::CTRL | Qt::Key_R,
                                     "Reads a raw YUV file in the place of the device");
    connect(pFile, &QAction::triggered, this, &SessionControls::chooseFile);
    menu.addSeparator();
}

void SessionControls::chooseFile()
{
    const QString strFile =
        QFileDialog::getOpenFileName(m_pStatus->window(), QStringLiteral("Play a raw file"),
                                     m_host.session().device().m_settings.m_strFile,
                                     QStringLiteral("Raw YUV files (*.yuv);;All files (*)"));
    if (!strFile.isEmpty())
        playFile(strFile);
}

void SessionControls::playFile(const QString &strFileName)
{
    editDevice([&](sSceneDevice &device) {
        device.m_strFile = strFileName;
        device.m_eSourceType = BizModel::s_EchoVideoConfig::LocalFile;
    });
}

void SessionControls::addReadingActions(QMenu &menu)
{
    m_pRead = addAction(menu, "&Read", Qt::Key_F7, "Starts or resumes reading the echo video");
    m_pPause =
        addAction(menu, "&Pause reading", Qt::Key_F8, "Pauses reading; the last pictures stay");
    m_pStop = addAction(menu, "&Stop reading", Qt::SHIFT | Qt::Key_F8,
                        "Ends the reader; layers and inputs show no video any more");
    auto *const pGroup = new QActionGroup(this);
    const QList<QPair<QAction *, eReading>> actions{
        {m_pRead, eReading::Reading}, {m_pPause, eReading::Paused}, {m_pStop, eReading::Stopped}};
    for (const auto &action : actions) {
        action.first->setCheckable(true);
        pGroup->addAction(action.first);
        const eReading eWanted = action.second;
        connect(action.first, &QAction::triggered, this,
                [this, eWanted] { m_host.session().setReading(eWanted); });
    }
    m_pReconnect = addAction(menu, "Reconnect no&w", Qt::Key_F9,
                             "Breaks the connection and makes a new one, without a wait");
    connect(m_pReconnect, &QAction::triggered, this, [this] { m_host.session().reconnectNow(); });
    menu.addSeparator();
}

void SessionControls::addRenderingActions(QMenu &menu)
{
    m_pRendering = addAction(menu, "Render &thread", Qt::SHIFT | Qt::Key_F7,
                             "Starts or stops the thread that renders previews");
    m_pRendering->setCheckable(true);
    connect(m_pRendering, &QAction::triggered, this,
            [this](bool isOn) { m_host.session().setRendering(isOn); });
    m_pRenderEnabled = addAction(menu, "Rendering &enabled", Qt::SHIFT | Qt::Key_F9,
                                 "Lets the render thread go on, or wait; previews stay");
    m_pRenderEnabled->setCheckable(true);
    connect(m_pRenderEnabled, &QAction::triggered, this,
            [this](bool isOn) { m_host.session().setRenderEnabled(isOn); });
}

void SessionControls::addFields(QToolBar &)
{
    m_pStatus->setAccessibleName(QStringLiteral("State of the device"));
    m_pStatus->setMargin(4);
    m_pStatus->setMinimumWidth(widestStatus(*m_pStatus));
    m_pStatus->setObjectName(QStringLiteral("deviceState"));
    m_pDevice->setAccessibleName(QStringLiteral("Active device"));
    m_pDevice->setObjectName(QStringLiteral("device"));
    m_pDevice->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    m_pDevice->setToolTip(QStringLiteral("The device whose echo video is read"));
    connect(m_pDevice, qOverload<int>(&QComboBox::activated), this,
            [this](int nDevice) { m_host.session().setActiveDevice(nDevice); });
    m_pSource->setAccessibleName(QStringLiteral("Source of the echo video"));
    m_pSource->setObjectName(QStringLiteral("source"));
    m_pSource->addItem(QStringLiteral("MJPEG over TCP"), QStringLiteral("mjpeg"));
    m_pSource->addItem(QStringLiteral("Shared memory"), QStringLiteral("shm"));
    m_pSource->addItem(QStringLiteral("YUV file"), QStringLiteral("yuv"));
    connect(m_pSource, qOverload<int>(&QComboBox::activated), this, [this](int nSource) {
        const QString strName = m_pSource->itemData(nSource).toString();
        editDevice([&](sSceneDevice &device) {
            device.m_eSourceType = sourceTypeNamed(strName).value_or(device.m_eSourceType);
        });
    });
    m_pFps->setRange(0, MaxFps);
    m_pFps->setSuffix(QStringLiteral(" a second"));
    m_pFps->setSpecialValueText(QStringLiteral("library's"));
    m_pFps->setKeyboardTracking(false);
    m_pFps->setAccessibleName(QStringLiteral("Previews a second and layer"));
    m_pFps->setObjectName(QStringLiteral("fps"));
    m_pFps->setToolTip(QStringLiteral(
        "Previews a second and layer that are asked for; 0 leaves the rate to the library"));
    connect(m_pFps, qOverload<int>(&QSpinBox::valueChanged), this, [this](int nFps) {
        editDevice([&](sSceneDevice &device) { device.m_nFps = nFps; }, fpsGesture());
    });
}

/** Steps that follow each other faster are undone together, as in the fields of a layer. */
int SessionControls::fpsGesture()
{
    if (!m_sinceFps.isValid() || m_sinceFps.elapsed() >= GesturePauseMs)
        m_nFpsGesture = m_host.document().newGesture();
    m_sinceFps.start();
    return m_nFpsGesture;
}

void SessionControls::addToBar(QToolBar &bar)
{
    bar.addWidget(m_pStatus);
    bar.addSeparator();
    bar.addWidget(caption("Dev&ice", m_pDevice));
    bar.addWidget(m_pDevice);
    bar.addAction(m_pOnline);
    bar.addWidget(caption("So&urce", m_pSource));
    bar.addWidget(m_pSource);
    bar.addWidget(caption("Previe&ws", m_pFps));
    bar.addWidget(m_pFps);
    bar.addSeparator();
    // In short: the bar is full, and the menu has the whole words.
    m_pPause->setIconText(QStringLiteral("Pause"));
    m_pStop->setIconText(QStringLiteral("Stop"));
    m_pReconnect->setIconText(QStringLiteral("Reconnect"));
    bar.addActions({m_pRead, m_pPause, m_pStop, m_pReconnect});
    bar.addSeparator();
    bar.addActions({m_pRendering, m_pRenderEnabled});
}

void SessionControls::editDevice(const std::function<void(sSceneDevice &)> &change, int nGesture)
{
    const int nDevice = m_host.session().activeDevice();
    sSceneDevice device = m_host.document().scene().devices().value(nDevice);
    change(device);
    m_host.document().editDevice(nDevice, device, nGesture);
}

void SessionControls::refreshDevices()
{
    const QList<sSceneDevice> devices = m_host.document().scene().devices();
    const QSignalBlocker blocker(m_pDevice);
    m_pDevice->clear();
    for (const sSceneDevice &device : devices)
        m_pDevice->addItem(device.title());
    m_pNextDevice->setEnabled(devices.size() > 1);
    refresh();
}

void SessionControls::refresh()
{
    const DeviceSession &session = m_host.session();
    const QSignalBlocker blocker(m_pFps);
    const sSceneDevice &device = session.device().m_settings;
    m_pDevice->setCurrentIndex(session.activeDevice());
    m_pSource->setCurrentIndex(m_pSource->findData(sourceTypeName(device.m_eSourceType)));
    m_pSource->setToolTip(sourceTip(device));
    m_pFps->setValue(device.m_nFps);
    const bool isOnline = session.device().m_isOnline;
    // The button says what it does, not what is so: the state stands to its left.
    m_pOnline->setText(isOnline ? QStringLiteral("Go &offline") : QStringLiteral("Go &online"));
    setTip(*m_pOnline, isOnline
                           ? "Tells the library, and nobody else, that the device cannot be reached"
                           : "Tells the library, and nobody else, that the device can be reached");
    m_pRead->setText(isOnline ? QStringLiteral("&Read") : QStringLiteral("&Read once online"));
    m_pRead->setChecked(session.reading() == eReading::Reading);
    m_pPause->setChecked(session.reading() == eReading::Paused);
    m_pStop->setChecked(session.reading() == eReading::Stopped);
    m_pReconnect->setEnabled(session.reading() == eReading::Reading && session.device().m_isOnline);
    m_pRendering->setChecked(session.isRendering());
    m_pRenderEnabled->setChecked(session.isRenderEnabled());
    showStatus();
}

void SessionControls::showStatus()
{
    const sDeviceStatus status = m_host.monitor().deviceStatus();
    const sStateLook look = lookOf(status, m_pStatus->palette());
    const QString strText = QStringLiteral("<span style=\"color:%1\"><b>%2 %3</b></span>")
                                .arg(look.m_color.name(), look.m_strSign, look.m_strWord);
    if (m_pStatus->text() != strText)
        m_pStatus->setText(strText);
    m_pStatus->setToolTip(status.m_strReason.isEmpty()
                              ? QStringLiteral("State of the device, from what arrives and what "
                                               "the library logs")
                              : QStringLiteral("The library says: ") + status.m_strReason);
    m_pStatus->setAccessibleDescription(look.m_strWord);
}

} // namespace Morvek::Tools
