#ifndef MORVEK_ECHOCANVAS_SCENE_H
#define MORVEK_ECHOCANVAS_SCENE_H

#include <deviceconfig.h>
#include <layervideomanager.h>

#include <QColor>
#include <QList>
#include <QPoint>
#include <QRect>
#include <QSize>
#include <QString>

namespace Morvek::Tools {

/** The device that a scene is played on. */
struct sSceneDevice
{
    QString m_strName;    ///< for people; empty for one made of address and port
    QString m_strAddress; ///< host name or address, IPv6 without brackets
    quint16 m_nPort = 0;
    int m_nFps = 25;   ///< previews a second and layer, 0 to 255; 0 leaves the rate to the library
    int m_nTiles = 16; ///< inputs in the echo picture, one of supportedTileCounts()
    BizModel::s_EchoVideoConfig::eVideoSourceType m_eSourceType =
        BizModel::s_EchoVideoConfig::RemoteTCP;
    QString m_strFile; ///< raw YUV file; empty for the library's default

    /** What to call it: its name, or where its pictures come from. */
    QString title() const;
};

/** One layer: what the library renders, and what only the host knows about it. */
struct sSceneLayer
{
    QString m_strName;
    QPoint m_position;                     ///< top-left corner on the screen's canvas, in pixels
    EchoVideo::sLayerVideoConfig m_config; ///< its bounding rectangle starts at (0, 0)

    QSize size() const { return m_config.m_LayerItem.m_boundingRect.toRect().size(); }
    QRect canvasRect() const { return QRect(m_position, size()); }
    bool hasSource() const
    {
        return m_config.m_LayerSource.m_eLayerSourceType != EchoVideo::sLayerSource::NoSource;
    }
    /** Number of the input it shows, from 0; without meaning for a layer without source. */
    int input() const { return int(m_config.m_LayerSource.m_nLayerSourceKeyNo); }
};

/** One screen: a canvas and its layers, the lowest first. */
struct sSceneScreen
{
    QString m_strName;
    QSize m_size; ///< of the canvas, in pixels
    QColor m_background;
    QList<sSceneLayer> m_layers;
};

/**
 * Everything that the example host shows. As it is read, screen and layer ids count from 1, in file
 * order; edits leave every id as it is.
 */
struct sScene
{
    sSceneDevice m_device;              ///< the one that is active first
    QList<sSceneDevice> m_otherDevices; ///< others that a host can switch to
    QList<sSceneScreen> m_screens;

    /** All devices, the first one first. */
    QList<sSceneDevice> devices() const { return QList<sSceneDevice>{m_device} + m_otherDevices; }
    /** Inputs that a layer may show: as many as the device with the most of them has. */
    int inputCount() const;
    /** One of them, to be changed in place. @param nDevice  0 to devices().size() - 1 */
    sSceneDevice &device(int nDevice)
    {
        return nDevice == 0 ? m_device : m_otherDevices[nDevice - 1];
    }
};

/** Whether all that a scene file says about them is the same. */
bool operator==(const sSceneDevice &left, const sSceneDevice &right);
bool operator==(const sSceneLayer &left, const sSceneLayer &right);

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_SCENE_H
