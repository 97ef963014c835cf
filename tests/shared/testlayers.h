#ifndef MORVEK_TESTS_TESTLAYERS_H
#define MORVEK_TESTS_TESTLAYERS_H

#include <layervideomanager.h>

#include <QImage>
#include <QMetaType>
#include <QPainter>
#include <QRectF>

namespace Morvek::Tests {

/** Number of every layer made here, as messages name it. */
constexpr quint8 TestLayerId = 7;

/** The record of a plain layer with an input as its source. */
inline Morvek::EchoVideo::sLayerVideoConfig pictureLayer(const QRectF &boundingRect)
{
    Morvek::EchoVideo::sLayerVideoConfig cfg;
    cfg.m_LayerIdentifies.layerId = TestLayerId;
    cfg.m_LayerItem.m_boundingRect = boundingRect;
    cfg.m_LayerSource.m_eLayerSourceType = Morvek::EchoVideo::sLayerSource::Input;
    return cfg;
}

/** The same, at its canvas's origin. */
inline Morvek::EchoVideo::sLayerVideoConfig pictureLayer(int nWidth, int nHeight)
{
    return pictureLayer(QRectF(0, 0, nWidth, nHeight));
}

/** A layer with a border. */
inline Morvek::EchoVideo::sLayerVideoConfig
borderedLayer(const QRectF &rect, Morvek::BizModel::Enum::Layer::BorderType type,
              const QSize &thickness, const QColor &color = Qt::green)
{
    Morvek::EchoVideo::sLayerVideoConfig cfg = pictureLayer(rect);
    cfg.m_LayerBorder.m_borderType = type;
    cfg.m_LayerBorder.m_borderSize = thickness;
    cfg.m_LayerBorder.m_borderColor = color;
    return cfg;
}

/** A callback that answers with this picture. */
inline Morvek::EchoVideo::LayerVideoManager::ReadInputVideoFrameCallback
answering(const QImage &picture)
{
    return [picture](auto &&, auto &&, auto &&, QImage &frame) {
        frame = picture;
        return true;
    };
}

/** A layer's preview over a source's picture, on a canvas and an input frame of their own. */
inline QImage preview(const Morvek::EchoVideo::sLayerVideoConfig &cfg, const QImage &picture)
{
    const Morvek::EchoVideo::LayerVideoManager manager(answering(picture));
    QImage canvas;
    QImage frame;
    manager.videoPrerender(cfg, canvas, frame);
    return canvas;
}

/** One of LayerVideoManager's drawings; all have the same arguments. */
using Drawing = void (Morvek::EchoVideo::LayerVideoManager::*)(
    QPainter *, const Morvek::EchoVideo::sLayerVideoConfig &) const;

/** A canvas after one drawing. */
inline QImage drawn(Drawing drawing, const QImage &canvas,
                    const Morvek::EchoVideo::sLayerVideoConfig &cfg)
{
    const Morvek::EchoVideo::LayerVideoManager manager({});
    QImage result = canvas;
    QPainter painter(&result);
    (manager.*drawing)(&painter, cfg);
    painter.end();
    return result;
}

} // namespace Morvek::Tests

Q_DECLARE_METATYPE(Morvek::Tests::Drawing)

#endif // MORVEK_TESTS_TESTLAYERS_H
