// From a source's picture to a finished preview.

#include "layervideomanager.h"

#include "echoframe_p.h"
#include "layersize_p.h"
#include "outofmemory_p.h"

#include <QDebug>
#include <QMetaObject>
#include <QPainter>

namespace Morvek::EchoVideo {

using Morvek::BizModel::DeviceList;

namespace {

void mirrorPicture(QImage &picture, sLayerItem::Mirroring mirroringType)
{
    const bool isHori = mirroringType == sLayerItem::Hori || mirroringType == sLayerItem::Both;
    const bool isVert = mirroringType == sLayerItem::Vert || mirroringType == sLayerItem::Both;
    if (isHori || isVert)
        picture = picture.mirrored(isHori, isVert);
}

bool isCropped(const sLayerSource &source)
{
    // A rectangle without width or height shows the whole source; a negative one shows nothing.
    return source.m_bLayerSourceIntercept && source.m_rectLayerSourceIntercept.width() != 0
        && source.m_rectLayerSourceIntercept.height() != 0;
}

// The rectangle is in pixels of the source at its full size, whatever size the callback delivered.
void cropPicture(QImage &picture, const sLayerSource &source)
{
    if (picture.isNull())
        return;
    picture =
        picture.scaled(source.m_sizeLayerSource, Qt::IgnoreAspectRatio, Qt::FastTransformation)
            .copy(source.m_rectLayerSourceIntercept);
}

} // namespace

void LayerVideoManager::videoPrerender(const sLayerVideoConfig &layerVideoCfg,
                                       QImage &layerVideoCanvas, QImage &inputVideoFrame) const
{
    const QSize size = Internal::layerSize(layerVideoCfg.m_LayerItem);
    if (layerVideoCanvas.isNull() || layerVideoCanvas.size() != size)
        layerVideoCanvas = QImage(size, QImage::Format_ARGB32);
    if (layerVideoCanvas.isNull() || layerVideoCanvas.width() <= 0
        || layerVideoCanvas.height() <= 0) {
        qWarning() << "The layer " << int(layerVideoCfg.m_LayerIdentifies.layerId)
                   << " size is invalid. reset (2x2)";
        layerVideoCanvas = QImage(2, 2, QImage::Format_ARGB32);
    }
    layerVideoCanvas.fill(layerVideoCfg.m_LayerItem.m_layerColor);

    inputVideoFramePixmap(layerVideoCfg, inputVideoFrame);
    {
        QPainter painter(&layerVideoCanvas);
        drawPreviewVideo(&painter, inputVideoFrame, layerVideoCfg);
    }
    // Before the decorations, which stay where they were configured.
    mirrorPicture(layerVideoCanvas, layerVideoCfg.m_LayerItem.m_mirroringType);
    {
        QPainter painter(&layerVideoCanvas);
        drawMask(&painter, layerVideoCfg);
        drawBorder(&painter, layerVideoCfg);
        drawFrozenIcon(&painter, layerVideoCfg);
        drawOpacity(&painter, layerVideoCfg);
    }
}

void LayerVideoManager::asyncVideoPrerenderTask(const sLayerVideoConfig &layerVideoCfg,
                                                QImage &layerVideoCanvas,
                                                QImage &inputVideoFrame) const
{
    const bool isRendered = Internal::survivesOutOfMemory(
        [&] { videoPrerender(layerVideoCfg, layerVideoCanvas, inputVideoFrame); });
    // A null preview is delivered too: without it the layer would count as being rendered for ever.
    if (!isRendered)
        layerVideoCanvas = QImage();
    QMetaObject::invokeMethod(const_cast<LayerVideoManager *>(this), "refreshLayerVideo",
                              Qt::QueuedConnection,
                              Q_ARG(sLayerUniqueIdentifies, layerVideoCfg.m_LayerIdentifies),
                              Q_ARG(QImage, layerVideoCanvas));
}

void LayerVideoManager::inputVideoFramePixmap(const sLayerVideoConfig &layerVideoCfg,
                                              QImage &inputVideoFrame) const
{
    const QSize size = Internal::layerSize(layerVideoCfg.m_LayerItem);
    const sLayerSource &source = layerVideoCfg.m_LayerSource;
    if (m_cbReadInputVideoFrame && source.m_eLayerSourceType != sLayerSource::NoSource) {
        // Whatever it answers: the picture that it leaves is the one to show.
        m_cbReadInputVideoFrame(DeviceList::instance()->activedDevice(), source, size,
                                inputVideoFrame);
    } else {
        inputVideoFrame = Internal::filledPicture(size, layerVideoCfg.m_LayerItem.m_layerColor);
    }
}

void LayerVideoManager::drawPreviewVideo(QPainter *pPainter, QImage &videoFrame,
                                         const sLayerVideoConfig &layerVideoCfg) const
{
    const sLayerItem &item = layerVideoCfg.m_LayerItem;
    if (item.m_bMonoColorEnabled)
        videoFrame = videoFrame.convertToFormat(QImage::Format_Grayscale8);
    if (item.m_bReverseColorEnabled)
        videoFrame.invertPixels(QImage::InvertRgb);
    if (isCropped(layerVideoCfg.m_LayerSource))
        cropPicture(videoFrame, layerVideoCfg.m_LayerSource);

    const QString &strAlphaMapFile = layerVideoCfg.m_LayerAlphaMap.m_strAlphaMapFile;
    pPainter->save();
    if (strAlphaMapFile.isEmpty()) {
        pPainter->drawImage(item.m_boundingRect, videoFrame);
    } else {
        pPainter->setCompositionMode(QPainter::CompositionMode_Source);
        pPainter->drawImage(item.m_boundingRect, videoFrame);
        pPainter->setCompositionMode(QPainter::CompositionMode_DestinationIn);
        pPainter->drawImage(item.m_boundingRect, QImage(strAlphaMapFile));
    }
    pPainter->restore();

    pPainter->save();
    pPainter->setCompositionMode(QPainter::CompositionMode_DestinationIn);
    pPainter->fillRect(item.m_boundingRect, QColor(0, 0, 0, item.m_layerColor.alpha()));
    pPainter->restore();
}

} // namespace Morvek::EchoVideo
