#ifndef MORVEK_TESTS_TESTDEVICE_H
#define MORVEK_TESTS_TESTDEVICE_H

#include <device.h>
#include <deviceconfig.h>

#include <QString>

#include <memory>

namespace Morvek::Tests {

/** Model number of every device made here; its grid's rectangles are known to the device list. */
constexpr quint16 TestModelId = 4711;

/**
 * A device of nColumns x nColumns inputs, numbered from 0, with the rectangles of gridRect().
 * Neither online nor active nor known to the device list.
 */
std::shared_ptr<Morvek::BizModel::Device>
makeDevice(Morvek::BizModel::s_EchoVideoConfig::eVideoSourceType eSource, int nColumns = 2);

/** The same, reading MJPEG from a port of this machine. */
std::shared_ptr<Morvek::BizModel::Device>
makeMjpegDevice(quint16 nPort, int nColumns = 2,
                const QString &strAddress = QStringLiteral("127.0.0.1"));

/** Makes a device active while it lives; leaves no device active afterwards. */
class ActiveDevice
{
public:
    explicit ActiveDevice(const std::shared_ptr<Morvek::BizModel::Device> &pDevice,
                          bool isOnline = true);
    ~ActiveDevice();

private:
    Q_DISABLE_COPY(ActiveDevice)
    const std::shared_ptr<Morvek::BizModel::Device> m_pDevice;
};

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_TESTDEVICE_H
