#ifndef MORVEK_BIZMODEL_DEVICECONFIG_H
#define MORVEK_BIZMODEL_DEVICECONFIG_H

#include <QString>
#include <QtGlobal>

namespace Morvek::BizModel {

/** How a device delivers its echo video: the composite picture of all its live inputs. */
struct s_EchoVideoConfig
{
    enum eVideoSourceType : qint32 {
        Invalid = 0,   ///< no echo video
        LocalDVI = 1,  ///< local framebuffer capture
        LocalFile = 2, ///< raw YUV file
        LocalTCP = 3,  ///< MJPEG stream over TCP
        RemoteTCP = 4  ///< MJPEG stream over TCP
    };

    quint16 RemotePort = 0; ///< TCP port of the device's MJPEG server
    eVideoSourceType ECVideoSourceType = Invalid;
    eVideoSourceType PCVideoSourceType = Invalid;
    quint8 ConnectorIndex = 255;
    quint8 SlotIndex = 255;
    QString VideoSourcePath; ///< file to play when the source is LocalFile
    quint8 FPS = 15;         ///< pictures a second; 0 lets each user choose a rate of its own
};

using EchoVideoConfig = s_EchoVideoConfig;

/** The part of a device's configuration that concerns its echo video. */
struct s_DeviceConfig
{
    quint8 InputSlotStartIndex = 0;
    quint8 InputSlotCount = 0;
    quint8 MaxConnectorCountOfSingleCard = 0;
    s_EchoVideoConfig EchoVideoCfg;
};

} // namespace Morvek::BizModel

#endif // MORVEK_BIZMODEL_DEVICECONFIG_H
