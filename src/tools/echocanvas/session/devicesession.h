#ifndef MORVEK_ECHOCANVAS_DEVICESESSION_H
#define MORVEK_ECHOCANVAS_DEVICESESSION_H

#include "scene.h"
#include "sessiondevices.h"

#include <input.h>
#include <layervideomanager.h>
#include <screen.h>

#include <QImage>
#include <QList>
#include <QObject>
#include <QTimer>
#include <QVector>

#include <memory>
#include <vector>

namespace Morvek::Tools {

/** What the input video service is to do, as the host last asked. */
enum class eReading { Reading, Paused, Stopped };

/**
 * What a host does with the library: a device model, the input video service, one manager.
 *
 * Everything here is for the main thread. There is one service in a process, so there is one
 * session at a time.
 *
 * A reader whose device is offline may not end before the device is online again. So whatever stops
 * a reader here (the end, a stop, another device, another source) sets the device online for as
 * long as that takes.
 */
class DeviceSession : public QObject
{
    Q_OBJECT

public:
    /** Builds the device model of the scene, offline, and registers every layer. */
    explicit DeviceSession(const sScene &scene, QObject *parent = nullptr);
    /** Stops, and takes the devices out of the model again. */
    ~DeviceSession() override;

    /**
     * Brings the devices online and starts reading and rendering.
     *
     * @return false if the library refused to start
     */
    bool start();
    /** Stops rendering and reading; blocks until the reader has ended, about a second at most. */
    void stop();

    int activeDevice() const { return m_nActive; }
    const sSessionDevice &device() const { return m_devices[std::size_t(m_nActive)]; }
    /** Reads another device in the place of this one; blocks like stop(). @param nDevice  from 0 */
    void setActiveDevice(int nDevice);
    /** Tells the library that the active device can be reached, or that it no longer can. */
    void setOnline(bool isOnline);
    /**
     * Takes over changed devices; blocks like stop() where the reader must be started anew, which
     * is not so for another rate.
     */
    void setDevices(const QList<sSceneDevice> &devices);

    eReading reading() const { return m_eReading; }
    /** Starts, resumes, pauses or stops reading; blocks like stop() for Stopped. */
    void setReading(eReading eWanted);
    /** Wakes a reader that waits before its next attempt to connect. */
    void reconnectNow();

    bool isRendering() const { return m_isRendering; }
    /** Starts or stops the render thread. @return false if the library refused to start */
    bool setRendering(bool isRendering);
    bool isRenderEnabled() const { return m_isRenderEnabled; }
    /** Lets the render thread go on, or wait. */
    void setRenderEnabled(bool isEnabled);

    /** Registers a layer, or changes it by reading its record, changing it and writing it back. */
    void setLayer(const sSceneLayer &layer);
    void removeLayer(const EchoVideo::sLayerUniqueIdentifies &layer);
    /** Makes the layers those of these screens, and forgets all others. */
    void setScreens(const QList<sSceneScreen> &screens);

    /** The layer's newest preview; null while there is none. */
    QImage preview(const EchoVideo::sLayerUniqueIdentifies &layer);
    /** How many inputs the active device has. */
    int inputCount() const;
    /** An input of the device model, to be asked and changed. @param nInput  0 to inputCount() - 1 */
    BizModel::Input &input(int nInput) const { return *m_inputs[nInput]; }
    /**
     * The newest picture of an input.
     *
     * @param picture  receives it, or a placeholder
     * @return whether the input can be shown at all
     */
    bool inputPicture(int nInput, QImage &picture) const;
    /** The newest picture of every input, a placeholder where there is none. */
    QVector<QImage> inputPictures() const;

Q_SIGNALS:
    /** A new preview of this layer can be fetched. */
    void previewFinished(Morvek::EchoVideo::sLayerUniqueIdentifies layer);
    /** Something that this class answers questions about has changed. */
    void changed();
    /** The library is about to be asked to read anew: what it logged before no longer counts. */
    void readingRestarted();

private:
    using Inputs = QVector<std::shared_ptr<BizModel::Input>>;

    sSessionDevice &active() { return m_devices[std::size_t(m_nActive)]; }
    void buildDevices(const QList<sSceneDevice> &devices);
    void replaceDevices(const QList<sSceneDevice> &devices);
    void forgetDevices();
    void endReader();
    void resumeReader();
    void wakeRenderer();
    void look();
    void wakeSleepyRenderer();
    void startLostReader();
    void forgetScreen(quint8 nScreenId);
    static EchoVideo::LayerVideoManager::ReadInputVideoFrameCallback
    inputCallback(const Inputs &inputs);

    const Inputs m_inputs; // never changes, so that render threads need no lock
    std::vector<sSessionDevice> m_devices;
    int m_nActive = 0;
    QList<std::shared_ptr<BizModel::Screen>> m_screens;
    QList<EchoVideo::sLayerUniqueIdentifies> m_layers;
    EchoVideo::LayerVideoManager m_manager;
    eReading m_eReading = eReading::Reading;
    QTimer m_watch;                // looks whether previews and ticks come
    bool m_hasNewPreviews = false; // since the last look
    int m_nLooksWithoutTick = 0;
    bool m_isStarted = false;
    bool m_isRendering = false;
    bool m_isRenderEnabled = true;
};

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_DEVICESESSION_H
