#include "devicesession.h"

#include <devicelist.h>
#include <echolayout.h>
#include <pixmapreader.h>

namespace Morvek::Tools {

using BizModel::Device;
using BizModel::DeviceList;
using BizModel::Input;
using EchoVideo::LayerVideoManager;
using EchoVideo::PixmapReader;
using EchoVideo::sLayerSource;
using EchoVideo::sLayerVideoConfig;

namespace {

constexpr int WatchInterval = 500;  // ms
constexpr int LooksWithoutTick = 4; // that a reader is given to begin

/** As many as any device may have. */
QVector<std::shared_ptr<Input>> makeInputs()
{
    QVector<std::shared_ptr<Input>> inputs;
    for (int nInput = 0; nInput < supportedTileCounts().last(); ++nInput)
        inputs.append(std::make_shared<Input>(quint8(nInput)));
    return inputs;
}

bool differOnlyInRate(QList<sSceneDevice> left, const QList<sSceneDevice> &right)
{
    if (left.size() != right.size())
        return false;
    for (int nDevice = 0; nDevice < left.size(); ++nDevice)
        left[nDevice].m_nFps = right[nDevice].m_nFps;
    return left == right;
}

} // namespace

DeviceSession::DeviceSession(const sScene &scene, QObject *parent)
    : QObject(parent)
    , m_inputs(makeInputs())
    , m_manager(inputCallback(m_inputs))
{
    buildDevices(scene.devices());
    setScreens(scene.m_screens);
    connect(&m_manager, &LayerVideoManager::layerVideoRenderFinished, this,
            &DeviceSession::previewFinished);
    connect(this, &DeviceSession::previewFinished, this, [this] { m_hasNewPreviews = true; });
    connect(&m_watch, &QTimer::timeout, this, &DeviceSession::look);
}

DeviceSession::~DeviceSession()
{
    stop();
    // The manager hears of it and forgets the screens' layers.
    for (const auto &pScreen : std::as_const(m_screens))
        DeviceList::instance()->removeScreen(device().m_pDevice, pScreen);
    forgetDevices();
}

void DeviceSession::buildDevices(const QList<sSceneDevice> &devices)
{
    for (const sSceneDevice &settings : devices)
        m_devices.push_back(makeSessionDevice(settings));
    m_nActive = qBound(0, m_nActive, int(m_devices.size()) - 1);
    DeviceList::instance()->setActivedDevice(device().m_pDevice);
}

void DeviceSession::forgetDevices()
{
    for (const sSessionDevice &device : m_devices)
        DeviceList::instance()->removeDevice(device.m_pDevice);
    m_devices.clear();
}

/**
 * The callback runs on render threads, so it touches nothing but its own copy of the inputs and the
 * service, which guards its pictures itself.
 */
LayerVideoManager::ReadInputVideoFrameCallback DeviceSession::inputCallback(const Inputs &inputs)
{
    return [inputs](std::weak_ptr<Device> wDevice, const sLayerSource &source, const QSize &,
                    QImage &picture) {
        const std::shared_ptr<Device> pDevice = wDevice.lock();
        const int nInput = int(source.m_nLayerSourceKeyNo);
        // What another device, with more inputs, left behind is no picture of this one.
        const bool isKnown = pDevice && nInput >= 0 && nInput < inputCountOf(*pDevice);
        const std::shared_ptr<Input> pInput = isKnown ? inputs.value(nInput) : nullptr;
        return PixmapReader::instance()->getInputVideoFrame(pInput, picture, false);
    };
}

bool DeviceSession::start()
{
    // The service belongs to the thread that asks for it first: this one, not a render thread.
    connect(
        PixmapReader::instance(), &PixmapReader::inputVideoImageCopyFinished, this,
        [this] { m_nLooksWithoutTick = 0; }, Qt::QueuedConnection);
    m_watch.start(WatchInterval);
    m_isStarted = true;
    for (sSessionDevice &device : m_devices) {
        device.m_isOnline = true;
        DeviceList::instance()->setDeviceOnline(device.m_pDevice, true);
    }
    resumeReader();
    return setRendering(true);
}

void DeviceSession::stop()
{
    if (!m_isStarted)
        return;
    m_isStarted = false;
    m_watch.stop();
    disconnect(PixmapReader::instance(), nullptr, this, nullptr);
    setRendering(false);
    endReader();
    Q_EMIT changed();
}

void DeviceSession::setActiveDevice(int nDevice)
{
    if (nDevice == m_nActive || nDevice < 0 || nDevice >= int(m_devices.size()))
        return;
    endReader();
    m_nActive = nDevice;
    DeviceList::instance()->setActivedDevice(device().m_pDevice);
    resumeReader();
    Q_EMIT changed();
}

void DeviceSession::setOnline(bool isOnline)
{
    active().m_isOnline = isOnline;
    DeviceList::instance()->setDeviceOnline(device().m_pDevice, isOnline);
    // A service that has no reader yet does not start one because a device comes online; one that
    // the host has paused resumes.
    if (isOnline)
        resumeReader();
    Q_EMIT changed();
}

void DeviceSession::setDevices(const QList<sSceneDevice> &devices)
{
    QList<sSceneDevice> present;
    for (const sSessionDevice &device : m_devices)
        present.append(device.m_settings);
    if (present == devices)
        return;
    if (differOnlyInRate(present, devices)) {
        for (int nDevice = 0; nDevice < devices.size(); ++nDevice)
            applyFps(m_devices[std::size_t(nDevice)], devices[nDevice].m_nFps);
    } else {
        endReader();
        replaceDevices(devices);
        resumeReader();
    }
    Q_EMIT changed();
}

/** Other ones, not changed ones: render threads read a device's configuration at any time. */
void DeviceSession::replaceDevices(const QList<sSceneDevice> &devices)
{
    const std::vector<sSessionDevice> present = m_devices;
    forgetDevices();
    buildDevices(devices);
    for (std::size_t index = 0; index < m_devices.size(); ++index) {
        sSessionDevice &device = m_devices[index];
        device.m_isOnline = index < present.size() ? present[index].m_isOnline : m_isStarted;
        device.m_pDevice->setOnlineFlag(device.m_isOnline);
    }
}

void DeviceSession::setReading(eReading eWanted)
{
    m_eReading = eWanted;
    if (eWanted == eReading::Stopped)
        endReader();
    else
        resumeReader();
    Q_EMIT changed();
}

void DeviceSession::reconnectNow()
{
    if (!m_isStarted || m_eReading != eReading::Reading)
        return;
    PixmapReader::instance()->pauseRead();
    resumeReader();
}

/** Stops the reader, for which the device has to be online; what the host means is put back. */
void DeviceSession::endReader()
{
    if (m_devices.empty())
        return;
    active().m_pDevice->setOnlineFlag(true);
    PixmapReader::instance()->stopRead();
    active().m_pDevice->setOnlineFlag(device().m_isOnline);
}

/** Makes the service do what the host last asked for, whatever has become of it meanwhile. */
void DeviceSession::resumeReader()
{
    if (!m_isStarted)
        return;
    Q_EMIT readingRestarted(); // before the reader can say anything
    PixmapReader *const pService = PixmapReader::instance();
    if (m_eReading == eReading::Reading)
        pService->restartRead();
    else if (m_eReading == eReading::Paused)
        pService->pauseRead();
    else
        endReader(); // another device, or one that came online, starts a reader by itself
    wakeRenderer();
}

bool DeviceSession::setRendering(bool isRendering)
{
    if (isRendering == m_isRendering)
        return true;
    const bool isDone = isRendering ? m_manager.startManager(true) : m_manager.stopManager();
    if (isDone)
        m_isRendering = isRendering;
    Q_EMIT changed();
    return isDone;
}

void DeviceSession::setRenderEnabled(bool isEnabled)
{
    m_isRenderEnabled = isEnabled;
    m_manager.setRenderEnable(isEnabled);
    Q_EMIT changed();
}

/**
 * A render thread that found the device offline sleeps until a configuration is written: fetch one
 * and write it back as it is.
 */
void DeviceSession::wakeRenderer()
{
    sLayerVideoConfig config;
    if (!m_layers.isEmpty() && m_manager.findLayerVideoConfig(m_layers.first(), config))
        m_manager.setLayerVideoConfig(config);
}

/**
 * A wake-up that comes while the render thread is still busy with its last pass for an offline device
 * is lost, and nothing else wakes it: look whether previews come, and repeat it where none do.
 */
void DeviceSession::wakeSleepyRenderer()
{
    const bool isExpected = m_isStarted && m_isRendering && m_isRenderEnabled;
    if (isExpected && device().m_isOnline && !m_hasNewPreviews)
        wakeRenderer();
    m_hasNewPreviews = false;
}

/**
 * A reader whose device went offline ends; one that comes online again before that is through is
 * resumed, and then gone. So a reader that is wanted and does not tick is asked for again, which is
 * nothing for one that only waits.
 */
void DeviceSession::startLostReader()
{
    const bool isExpected = m_isStarted && m_eReading == eReading::Reading;
    if (isExpected && device().m_isOnline && ++m_nLooksWithoutTick >= LooksWithoutTick) {
        m_nLooksWithoutTick = 0;
        PixmapReader::instance()->restartRead();
    }
}

void DeviceSession::look()
{
    wakeSleepyRenderer();
    startLostReader();
}

int DeviceSession::inputCount() const
{
    return device().m_settings.m_nTiles;
}

bool DeviceSession::inputPicture(int nInput, QImage &picture) const
{
    return PixmapReader::instance()->getInputVideoFrame(m_inputs[nInput], picture, false);
}

QVector<QImage> DeviceSession::inputPictures() const
{
    QVector<QImage> pictures(inputCount());
    for (int nInput = 0; nInput < pictures.size(); ++nInput)
        inputPicture(nInput, pictures[nInput]);
    return pictures;
}

} // namespace Morvek::Tools
