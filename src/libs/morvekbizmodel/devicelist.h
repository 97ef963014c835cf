#ifndef MORVEK_BIZMODEL_DEVICELIST_H
#define MORVEK_BIZMODEL_DEVICELIST_H

#include "device.h"
#include "layer.h"
#include "morvekbizmodel_export.h"
#include "screen.h"

#include <QHash>
#include <QList>
#include <QMetaType>
#include <QObject>
#include <QReadWriteLock>
#include <QRect>

#include <memory>

namespace Morvek::BizModel {

/**
 * The devices that the host knows, and which of them is active.
 *
 * Every operation may be called on any thread. Those that emit a signal do so at each call, on the
 * caller's thread and with no lock held, also for a device that was never added or is gone.
 */
class MORVEK_BIZMODEL_EXPORT DeviceList : public QObject
{
    Q_OBJECT

public:
    /** The one list of the process; created at the first call, destroyed at process exit. */
    static DeviceList *instance();

    /** The active device; empty while there is none. */
    std::weak_ptr<Device> activedDevice() const;
    /**
     * Where an input lies inside the echo picture.
     *
     * @param modelId  model of the device
     * @param index    number of the input, from 0
     * @return the rectangle in pixels of the echo picture; null for an unknown model or index
     */
    QRect echoVideoRect(quint16 modelId, const quint8 &index) const;

    /** Keeps the device alive until it is removed. */
    void addDevice(std::shared_ptr<Device> pDevice);
    /** Forgets the device; where it was the active one, none is active afterwards. */
    void removeDevice(const std::shared_ptr<Device> &pDevice);
    void setActivedDevice(std::weak_ptr<Device> wDevice);
    void setDeviceOnline(const std::shared_ptr<Device> &pDevice, bool isOnline);
    void setEchoVideoRect(quint16 modelId, quint8 index, const QRect &rect);
    /** Tells the listeners that the screen is gone; the list itself keeps no screens. */
    void removeScreen(std::weak_ptr<Device> wDevice, std::shared_ptr<Screen> pScreen);
    /** Tells the listeners that the layer is gone; the list itself keeps no layers. */
    void removeLayer(std::weak_ptr<Device> wDevice, std::weak_ptr<Screen> wScreen,
                     std::shared_ptr<Layer> pLayer);

Q_SIGNALS:
    void signalActivedDeviceChanged();
    void signalDeviceOnlineStatusChanged(std::weak_ptr<Morvek::BizModel::Device> device);
    void signalScreenRemoved(std::weak_ptr<Morvek::BizModel::Device> device,
                             std::shared_ptr<Morvek::BizModel::Screen> screen);
    void signalLayerRemoved(std::weak_ptr<Morvek::BizModel::Device> device,
                            std::weak_ptr<Morvek::BizModel::Screen> screen,
                            std::shared_ptr<Morvek::BizModel::Layer> layer);

private:
    DeviceList();
    ~DeviceList() override;

    mutable QReadWriteLock m_lock;            // guards the members below
    QList<std::shared_ptr<Device>> m_devices; // keeps the devices alive
    std::weak_ptr<Device> m_pActivedDevice;
    QHash<quint32, QRect> m_echoVideoRects; // by model and index, see rectKey()
};

} // namespace Morvek::BizModel

Q_DECLARE_METATYPE(std::weak_ptr<Morvek::BizModel::Device>)
Q_DECLARE_METATYPE(std::weak_ptr<Morvek::BizModel::Screen>)
Q_DECLARE_METATYPE(std::shared_ptr<Morvek::BizModel::Screen>)
Q_DECLARE_METATYPE(std::shared_ptr<Morvek::BizModel::Layer>)

#endif // MORVEK_BIZMODEL_DEVICELIST_H
