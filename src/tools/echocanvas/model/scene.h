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
    QString m_strAddress; ///< host name or address, IPv6 without brackets
    quint16 m_nPort = 0;
    int m_nFps = 25;   ///< previews a second and layer, 0 to 255; 0 leaves the rate to the library
    int m_nTiles = 16; ///< inputs in the echo picture, one of supportedTileCounts()
    BizModel::s_EchoVideoConfig::eVideoSourceType m_eSourceType =
        BizModel::s_EchoVideoConfig::RemoteTCP;
    QString m_strFile; ///< raw YUV file; empty for the library's default
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

/** Everything that the example host shows. Screen and layer ids count from 1, in file order. */
struct sScene
{
    sSceneDevice m_device;
    QList<sSceneScreen> m_screens;
};

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_SCENE_H
