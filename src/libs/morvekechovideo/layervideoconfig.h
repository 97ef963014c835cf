#ifndef MORVEK_ECHOVIDEO_LAYERVIDEOCONFIG_H
#define MORVEK_ECHOVIDEO_LAYERVIDEOCONFIG_H

#include <layerenum.h>
#include <protomodel.h>

#include <QColor>
#include <QDateTime>
#include <QImage>
#include <QRect>
#include <QRectF>
#include <QSize>
#include <QString>

#include <array>

namespace Morvek::EchoVideo {

/** The key of one layer on one screen; two keys are equal when all five fields are. */
using sLayerUniqueIdentifies = Morvek::ProtoModel::s_ScreenLayerId;

/** A layer's geometry and look. */
struct sLayerItem
{
    enum Mirroring : qint32 {
        NoMirroring = 0,
        Hori = 1, ///< left and right exchanged
        Vert = 2, ///< top and bottom exchanged
        Both = 3
    };

    /** The layer's rectangle on its canvas; m_boundingRect.toRect().size() is the preview's size. */
    QRectF m_boundingRect;
    /** Carried with the record; has no effect on the preview. */
    QColor m_defaultColor;
    /** Shows where there is no picture; its alpha scales the whole layer's. */
    QColor m_layerColor = Qt::white;
    /** Carried with the record; has no effect on the preview. */
    QString m_strLayerCapacity;
    /** Carried with the record; has no effect on the preview. */
    QString m_strLayerType;
    /** Mirrors picture and layer colour; mask, border, mark and opacity stay as configured. */
    Mirroring m_mirroringType = NoMirroring;
    /** Shows the picture in shades of gray. */
    bool m_bMonoColorEnabled = false;
    /** Shows the picture with inverted colours; after the gray, where both are set. */
    bool m_bReverseColorEnabled = false;
    /** Carried with the record; has no effect on the preview. */
    bool m_bBackgroundEnable = false;
    /** Draws LayerVideoManager::m_frozenIcon in the bottom-right corner. */
    bool m_isFrozen = false;
    /** Opacity of the layer in percent, 0 to 100. */
    int m_opacity = 100;
};

/** A layer's border. */
struct sLayerBorder
{
    /** Colour of hard and halo borders; its alpha also shapes the halo. */
    QColor m_borderColor = QColor(50, 50, 50, 100);
    /** Thickness in pixels: width for left and right, height for top and bottom. */
    QSize m_borderSize = QSize(50, 50);
    /** Hard_in, Soft and Halo_in are drawn; every other style leaves the preview as it is. */
    Morvek::BizModel::Enum::Layer::BorderType m_borderType =
        Morvek::BizModel::Enum::Layer::BorderType::Invalid;
};

/** Where a layer's picture comes from. */
struct sLayerSource
{
    enum eLayerSourceType : qint32 {
        NoSource = 0, ///< the layer shows its colour
        Input = 1,    ///< a live input of the device
        PVW = 2,      ///< the device's preview
        PGM = 3       ///< the device's program
    };

    eLayerSourceType m_eLayerSourceType = NoSource;
    /** Shows only m_rectLayerSourceIntercept of the source. */
    bool m_bLayerSourceIntercept = false;
    /** The shown part, in pixels of the source at m_sizeLayerSource. */
    QRect m_rectLayerSourceIntercept;
    QString m_strLayerSourceName;
    /** The source's number, for the host's callback to interpret. */
    quint32 m_nLayerSourceKeyNo = 255;
    /** The source's full picture size in pixels. */
    QSize m_sizeLayerSource = QSize(0, 0);
};

/** A layer's mask: the part of the preview that is kept. */
struct sLayerMask
{
    bool m_bMaskEnable = false;
    /** Insets in pixels, in the order top, bottom, left, right. */
    std::array<double, 4> m_maskSize = {0.0, 0.0, 0.0, 0.0};
};

/** A picture whose alpha shapes the layer. */
struct sLayerAlphaMap
{
    /** File in any format that Qt reads; each preview shows it as it is then. Empty for none. */
    QString m_strAlphaMapFile;
};

/**
 * One layer's render configuration.
 *
 * To change a layer, fetch its record with LayerVideoManager::findLayerVideoConfig(), change what
 * is to change, and write the record back: the bookkeeping fields then survive.
 */
struct sLayerVideoConfig
{
    /** A render thread has taken the record and its preview is not stored yet. */
    bool m_isRendering = false;
    /** At least one preview was stored since the record was added. */
    bool m_isFirstRendered = false;
    /** When the layer was last taken for rendering or last finished. */
    QDateTime m_lastUpdateDateTime = QDateTime::currentDateTime();
    sLayerUniqueIdentifies m_LayerIdentifies;
    sLayerItem m_LayerItem;
    sLayerBorder m_LayerBorder;
    sLayerSource m_LayerSource;
    sLayerMask m_LayerMask;
    sLayerAlphaMap m_LayerAlphaMap;
    /** The last finished preview. */
    QImage m_LayerVideoCanvas;
    /** The layer shows live video; matters only while the manager runs without an input signal. */
    bool m_isHasVideoSignal = false;
    /** Carried with the record; LayerVideoManager::setRenderEnable() is what pauses rendering. */
    bool m_isAllowRender = true;
};

/** One finished preview. */
struct sLayerVideo
{
    sLayerUniqueIdentifies m_LayerIdentifies;
    QImage m_imgCanvas;
};

} // namespace Morvek::EchoVideo

#endif // MORVEK_ECHOVIDEO_LAYERVIDEOCONFIG_H
