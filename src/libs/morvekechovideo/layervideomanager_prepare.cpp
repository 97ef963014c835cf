// From a source's picture to a finished preview.

#include "layervideomanager.h"

#include "echoframe_p.h"
#include "layersize_p.h"
#include "outofmemory_p.h"
#include "pictureguard_p.h"
#include "previewmemory_p.h"
#include "quickdrawing/layerpainter_p.h"
#include "quickdrawing/plaindrawing_p.h"

#include <QDebug>
#include <QFile>
#include <QFileInfo>
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

// A part of a picture; empty where it lies outside, null for a size that is negative or that nothing
// can hold.
QImage cutOut(const QImage &picture, const QRect &rect)
{
    constexpr qint64 LargestExtent = 1 << 29;
    const qint64 nWidth = Internal::extent(rect.left(), rect.right());
    const qint64 nHeight = Internal::extent(rect.top(), rect.bottom());
    if (nWidth <= 0 || nHeight <= 0 || nWidth > LargestExtent || nHeight > LargestExtent)
        return QImage();
    // Far enough outside to be empty, and no further: Qt's own sums of the positions overflow.
    const int nLeft = qBound(-LargestExtent, qint64(rect.left()), LargestExtent);
    const int nTop = qBound(-LargestExtent, qint64(rect.top()), LargestExtent);
    return picture.copy(nLeft, nTop, int(nWidth), int(nHeight));
}

bool cropAtOnce(QImage &picture, const sLayerSource &source)
{
    return !Internal::g_isPlainDrawing
        && Internal::LayerPainter::ofThisThread().crop(source, picture);
}

// The rectangle is in pixels of the source at its full size, whatever size the callback delivered.
void cropPicture(QImage &picture, const sLayerSource &source)
{
    if (picture.isNull() || cropAtOnce(picture, source))
        return;
    const QImage scaled =
        picture.scaled(source.m_sizeLayerSource, Qt::IgnoreAspectRatio, Qt::FastTransformation);
    picture = cutOut(scaled, source.m_rectLayerSourceIntercept);
}

// Read whole before anything is decoded: memory that runs out while Qt reads from a file to see what
// it holds leaves the lock of its picture formats locked for ever.
QImage loadAlphaMap(const QString &strFile)
{
    QFile file(strFile);
    if (!QFileInfo(file).isFile() || !file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return QImage();
    return Internal::withWholePalette(QImage::fromData(file.readAll()));
}

// The colour effects and the crop of the layer's source.
void processPicture(QImage &picture, const sLayerVideoConfig &layerVideoCfg)
{
    picture = Internal::withWholePalette(picture);
    if (layerVideoCfg.m_LayerItem.m_bMonoColorEnabled)
        picture = picture.convertToFormat(QImage::Format_Grayscale8);
    if (layerVideoCfg.m_LayerItem.m_bReverseColorEnabled)
        picture.invertPixels(QImage::InvertRgb);
    if (Internal::isCropped(layerVideoCfg.m_LayerSource))
        cropPicture(picture, layerVideoCfg.m_LayerSource);
}

void drawPicture(QPainter *pPainter, const QImage &picture, const sLayerVideoConfig &layerVideoCfg)
{
    const sLayerItem &item = layerVideoCfg.m_LayerItem;
    const QString &strAlphaMapFile = layerVideoCfg.m_LayerAlphaMap.m_strAlphaMapFile;
    pPainter->save();
    if (strAlphaMapFile.isEmpty()) {
        pPainter->drawImage(item.m_boundingRect, picture);
    } else {
        pPainter->setCompositionMode(QPainter::CompositionMode_Source);
        pPainter->drawImage(item.m_boundingRect, picture);
        pPainter->setCompositionMode(QPainter::CompositionMode_DestinationIn);
        pPainter->drawImage(item.m_boundingRect, loadAlphaMap(strAlphaMapFile));
    }
    pPainter->restore();

    pPainter->save();
    pPainter->setCompositionMode(QPainter::CompositionMode_DestinationIn);
    pPainter->fillRect(item.m_boundingRect, QColor(0, 0, 0, item.m_layerColor.alpha()));
    pPainter->restore();
}

// The plain way, which draws every layer.
void drawStepByStep(const LayerVideoManager &manager, const sLayerVideoConfig &layerVideoCfg,
                    QImage &canvas, const QImage &picture)
{
    canvas.fill(layerVideoCfg.m_LayerItem.m_layerColor);
    // No part of such a rectangle can be told in pixels: the layer shows its colour.
    if (!Internal::isRepresentable(layerVideoCfg.m_LayerItem))
        return;
    {
        QPainter painter(&canvas);
        drawPicture(&painter, picture, layerVideoCfg);
    }
    // Before the decorations, which stay where they were configured.
    mirrorPicture(canvas, layerVideoCfg.m_LayerItem.m_mirroringType);
    if (canvas.isNull()) {
        Internal::warnOutOfMemory();
        return;
    }
    QPainter painter(&canvas);
    manager.drawMask(&painter, layerVideoCfg);
    manager.drawBorder(&painter, layerVideoCfg);
    manager.drawFrozenIcon(&painter, layerVideoCfg);
    manager.drawOpacity(&painter, layerVideoCfg);
}

// The quick way, with the same pixels; false for a layer that only the plain way can draw.
bool drawAtOnce(const LayerVideoManager &manager, const sLayerVideoConfig &layerVideoCfg,
                QImage &canvas, const QImage &picture, Internal::ePictureState pictureState)
{
    if (Internal::g_isPlainDrawing)
        return false;
    const sLayerItem &item = layerVideoCfg.m_LayerItem;
    const auto &mark = LayerVideoManager::m_frozenIcon;
    const bool isMarked = item.m_isFrozen && mark && !mark->isNull();
    auto &layerPainter = Internal::LayerPainter::ofThisThread();
    const Internal::sDrawnLayer drawn =
        layerPainter.draw(layerVideoCfg, isMarked, canvas, picture, pictureState, loadAlphaMap);
    if (!drawn.m_isPictureDrawn || drawn.m_isFinished)
        return drawn.m_isPictureDrawn;
    {
        QPainter painter(&canvas);
        if (!drawn.m_isBorderDrawn)
            manager.drawBorder(&painter, layerVideoCfg);
        manager.drawFrozenIcon(&painter, layerVideoCfg);
    }
    if (!drawn.m_isOpaque || !layerPainter.drawOpacity(item.m_opacity, canvas)) {
        QPainter painter(&canvas);
        manager.drawOpacity(&painter, layerVideoCfg);
    }
    return true;
}

} // namespace

void LayerVideoManager::videoPrerender(const sLayerVideoConfig &layerVideoCfg,
                                       QImage &layerVideoCanvas, QImage &inputVideoFrame) const
{
    videoPrerender(layerVideoCfg, layerVideoCanvas, inputVideoFrame, nullptr);
}

// With a memory the preview may be the one that the record holds already, and nobody looks at
// inputVideoFrame afterwards; without one it is left with the layer's effects and crop applied.
void LayerVideoManager::videoPrerender(const sLayerVideoConfig &layerVideoCfg,
                                       QImage &layerVideoCanvas, QImage &inputVideoFrame,
                                       Internal::PreviewMemory *pMemory) const
{
    const QSize size = Internal::layerSize(layerVideoCfg.m_LayerItem);
    if (pMemory && layerVideoCanvas.isNull())
        layerVideoCanvas = pMemory->canvases().take(size);
    if (layerVideoCanvas.isNull() || layerVideoCanvas.size() != size)
        layerVideoCanvas = QImage(size, QImage::Format_ARGB32);
    if (layerVideoCanvas.isNull() || layerVideoCanvas.width() <= 0
        || layerVideoCanvas.height() <= 0) {
        qWarning() << "The layer " << int(layerVideoCfg.m_LayerIdentifies.layerId)
                   << " size is invalid. reset (2x2)";
        layerVideoCanvas = QImage(2, 2, QImage::Format_ARGB32);
    }

    inputVideoFramePixmap(layerVideoCfg, inputVideoFrame);
    if (pMemory) {
        const auto making = Internal::previewMaking(layerVideoCfg, inputVideoFrame);
        if (making && !Internal::g_isPlainDrawing && pMemory->hasPreview(layerVideoCfg, *making)) {
            pMemory->canvases().add(layerVideoCanvas); // not needed
            layerVideoCanvas = layerVideoCfg.m_LayerVideoCanvas;
            return;
        }
        if (drawAtOnce(*this, layerVideoCfg, layerVideoCanvas, inputVideoFrame,
                       Internal::ePictureState::Raw)) {
            if (making)
                pMemory->remember(layerVideoCfg.m_LayerIdentifies, *making, layerVideoCanvas);
            return;
        }
    }
    processPicture(inputVideoFrame, layerVideoCfg);
    if (drawAtOnce(*this, layerVideoCfg, layerVideoCanvas, inputVideoFrame,
                   Internal::ePictureState::Processed))
        return;
    drawStepByStep(*this, layerVideoCfg, layerVideoCanvas, inputVideoFrame);
}

void LayerVideoManager::asyncVideoPrerenderTask(const sLayerVideoConfig &layerVideoCfg,
                                                QImage &layerVideoCanvas,
                                                QImage &inputVideoFrame) const
{
    asyncVideoPrerenderTask(layerVideoCfg, layerVideoCanvas, inputVideoFrame, nullptr);
}

void LayerVideoManager::asyncVideoPrerenderTask(const sLayerVideoConfig &layerVideoCfg,
                                                QImage &layerVideoCanvas, QImage &inputVideoFrame,
                                                Internal::PreviewMemory *pMemory) const
{
    const bool isRendered = Internal::survivesOutOfMemory(
        [&] { videoPrerender(layerVideoCfg, layerVideoCanvas, inputVideoFrame, pMemory); });
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
    processPicture(videoFrame, layerVideoCfg);
    drawPicture(pPainter, videoFrame, layerVideoCfg);
}

} // namespace Morvek::EchoVideo
