#ifndef MORVEK_ECHOCANVAS_DEVICESESSION_H
#define MORVEK_ECHOCANVAS_DEVICESESSION_H

#include "scene.h"

#include <device.h>
#include <input.h>
#include <layervideomanager.h>
#include <screen.h>

#include <QImage>
#include <QObject>
#include <QVector>

#include <memory>

namespace Morvek::Tools {

/**
 * What a host does with the library: a device model, the input video service, one manager.
 *
 * Everything here is for the main thread. There is one service in a process, so there is one
 * session at a time.
 */
class DeviceSession : public QObject
{
    Q_OBJECT

public:
    /** Builds the device model of the scene, offline, and registers every layer. */
    explicit DeviceSession(const sScene &scene, QObject *parent = nullptr);
    /** Stops, and takes the device out of the model again. */
    ~DeviceSession() override;

    /**
     * Brings the device online and starts reading and rendering.
     *
     * @return false if the library refused to start
     */
    bool start();
    /** Stops rendering and reading; blocks until the reader has ended, about a second at most. */
    void stop();
    /** Tells the library that the device can be reached, or that it no longer can. */
    void setOnline(bool isOnline);

    /** The layer's newest preview; null while there is none. */
    QImage preview(const EchoVideo::sLayerUniqueIdentifies &layer);
    /** The newest picture of every input, a placeholder where there is none. */
    QVector<QImage> inputPictures() const;

Q_SIGNALS:
    /** A new preview of this layer can be fetched. */
    void previewFinished(Morvek::EchoVideo::sLayerUniqueIdentifies layer);

private:
    using Inputs = QVector<std::shared_ptr<BizModel::Input>>;

    void buildDevice(const sSceneDevice &device);
    void registerLayers(const sScene &scene);
    void wakeRenderer();
    static EchoVideo::LayerVideoManager::ReadInputVideoFrameCallback
    inputCallback(const Inputs &inputs);

    const Inputs m_inputs; // never changes, so that render threads need no lock
    std::shared_ptr<BizModel::Device> m_pDevice;
    QList<std::shared_ptr<BizModel::Screen>> m_screens;
    EchoVideo::sLayerUniqueIdentifies m_firstLayer;
    EchoVideo::LayerVideoManager m_manager;
    bool m_isStarted = false;
};

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_DEVICESESSION_H
