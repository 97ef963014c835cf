#ifndef MORVEK_BIZMODEL_DEVICE_H
#define MORVEK_BIZMODEL_DEVICE_H

#include "deviceconfig.h"
#include "morvekbizmodel_export.h"

#include <QMutex>
#include <QString>

#include <atomic>

namespace Morvek::BizModel {

/**
 * One device under control.
 *
 * Every operation may be called on any thread. The record behind deviceConfig() carries no lock:
 * whoever changes a field while others read it answers for that field.
 */
class MORVEK_BIZMODEL_EXPORT Device
{
public:
    /** A device of the given model, offline and without an address. */
    explicit Device(quint16 modelId = 0);
    virtual ~Device();

    /** The device's configuration, to be read and changed in place; valid as long as the device. */
    s_DeviceConfig &deviceConfig();
    /** Network address in any form that a socket accepts. */
    QString IPAddress() const;
    /** Whether the device is reachable. */
    bool onlineFlag() const;
    quint16 modelId() const;

    void setIPAddress(const QString &strAddress);
    /** Sets the flag alone; DeviceList::setDeviceOnline() also tells the listeners. */
    void setOnlineFlag(bool isOnline);

private:
    Q_DISABLE_COPY(Device)

    s_DeviceConfig m_deviceConfig;
    mutable QMutex m_mtxAddress;
    QString m_strAddress; // guarded by m_mtxAddress
    std::atomic_bool m_isOnline{false};
    const quint16 m_nModelId;
};

} // namespace Morvek::BizModel

#endif // MORVEK_BIZMODEL_DEVICE_H
