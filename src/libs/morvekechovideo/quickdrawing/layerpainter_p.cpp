#include "layerpainter_p.h"

#include "drawablesize_p.h"
#include "layersize_p.h"
#include "tonerows_p.h"

#include <QColorSpace>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace Morvek::EchoVideo::Internal {

using Morvek::BizModel::Enum::Layer::BorderType;

namespace {

constexpr int BytesPerPixel = 4;

bool isMirroredHori(const sLayerItem &item)
{
    return item.m_mirroringType == sLayerItem::Hori || item.m_mirroringType == sLayerItem::Both;
}

bool isMirroredVert(const sLayerItem &item)
{
    return item.m_mirroringType == sLayerItem::Vert || item.m_mirroringType == sLayerItem::Both;
}

// Whole pixels at the origin: nothing is rounded, and the picture covers the canvas.
bool coversCanvas(const QRectF &rect, const QSize &canvasSize)
{
    return rect.x() == 0 && rect.y() == 0 && rect.width() == canvasSize.width()
        && rect.height() == canvasSize.height();
}

bool isCanvasDrawable(const QImage &canvas)
{
    return canvas.format() == QImage::Format_ARGB32 && canvas.devicePixelRatio() == 1
        && isSmallEnough(canvas.size()) && canvas.width() >= ToneTable::VectorPixels;
}

sToneSteps toneSteps(const sLayerVideoConfig &cfg, bool isMarked)
{
    const BorderType borderType = cfg.m_LayerBorder.m_borderType;
    sToneSteps steps;
    bool isBorderDrawn = true;
    if (!cfg.m_LayerAlphaMap.m_strAlphaMapFile.isEmpty()) {
        steps.m_fade = sToneSteps::AlphaMapFade;
    } else if (borderType == BorderType::Soft) {
        steps.m_fade = sToneSteps::SoftFade;
    } else if (borderType == BorderType::Halo_in) {
        steps.m_fade = sToneSteps::HaloFade;
        steps.m_fadeColor = cfg.m_LayerBorder.m_borderColor;
    } else {
        isBorderDrawn = borderType != BorderType::Hard_in;
    }
    steps.m_nLayerAlpha = cfg.m_LayerItem.m_layerColor.alpha();
    steps.m_isMasked = cfg.m_LayerMask.m_bMaskEnable;
    // A halo's two halves are rounded apart from each other, the opacity along whole rows.
    steps.m_isOpacityDrawn = isBorderDrawn && !isMarked && steps.m_fade != sToneSteps::HaloFade;
    if (steps.m_isOpacityDrawn)
        steps.m_nOpacity = std::clamp(cfg.m_LayerItem.m_opacity, 0, 100);
    return steps;
}

// The engine rounds the last columns differently, and mirroring moves them to the other side.
bool areLastColumnsMirrored(const sLayerVideoConfig &cfg, const sToneSteps &steps, int nWidth)
{
    return isMirroredHori(cfg.m_LayerItem) && nWidth % ToneTable::VectorPixels != 0
        && (steps.m_nLayerAlpha != 255 || steps.m_fade == sToneSteps::AlphaMapFade);
}

// The engine rounds translucent pixels differently at the end of each of a border's four quarters,
// and opaque ones next to those that a mask cut under a halo.
bool isBorderUneven(const sToneSteps &steps, const QRect &kept, const QSize &canvasSize)
{
    const bool isHalo = steps.m_fade == sToneSteps::HaloFade;
    return (isHalo && kept.size() != canvasSize)
        || ((isHalo || steps.m_fade == sToneSteps::SoftFade) && steps.m_nLayerAlpha != 255);
}

// What the mask keeps, in pixels; nothing when the insets meet.
bool findKeptPixels(const sLayerVideoConfig &cfg, const QSize &canvasSize, QRect &kept)
{
    kept = QRect(QPoint(0, 0), canvasSize);
    if (!cfg.m_LayerMask.m_bMaskEnable)
        return true;
    const auto &[top, bottom, left, right] = cfg.m_LayerMask.m_maskSize;
    for (const double inset : {top, bottom, left, right}) {
        if (!(std::abs(inset) <= LargestExtent))
            return false;
    }
    const QRectF content(left, top, canvasSize.width() - left - right,
                         canvasSize.height() - top - bottom);
    if (content.width() > 0 && content.height() > 0)
        kept &= QRect(QPoint(qRound(content.left()), qRound(content.top())),
                      QPoint(qRound(content.right()) - 1, qRound(content.bottom()) - 1));
    else
        kept = QRect();
    return true;
}

// Made anew rather than copied, when it is about to be overwritten and somebody else holds it too.
bool ownCanvas(QImage &canvas)
{
    if (canvas.isDetached())
        return true;
    QImage fresh(canvas.size(), QImage::Format_ARGB32);
    if (fresh.isNull())
        return false;
    canvas = fresh;
    return true;
}

QRgb *lineOf(uchar *pBits, int nBytesPerLine, int y)
{
    return reinterpret_cast<QRgb *>(pBits + qptrdiff(nBytesPerLine) * y);
}

// The columns that the table does not answer for.
bool drawUnevenColumns(const sToneSteps &steps, LayerFade &fade, const QRect &kept, QImage &canvas)
{
    if (steps.leavesPicture())
        return true;
    const sColumnShares shares = shareColumns(steps, canvas.width());
    return std::all_of(shares.m_painter.begin(), shares.m_painter.end(),
                       [&](const sColumnRange &columns) {
                           return drawColumns(steps, fade, kept, columns, canvas);
                       });
}

} // namespace

LayerPainter &LayerPainter::ofThisThread()
{
    static thread_local LayerPainter painter;
    return painter;
}

void LayerPainter::forget()
{
    *this = LayerPainter();
}

bool LayerPainter::choosePixels(const sLayerVideoConfig &layerVideoCfg, const QSize &canvasSize,
                                const QImage &picture, ePictureState pictureState,
                                sPixelChoice &choice)
{
    const sLayerItem &item = layerVideoCfg.m_LayerItem;
    const sLayerSource &source = layerVideoCfg.m_LayerSource;
    if (pictureState == ePictureState::Raw)
        choice.m_effects = {item.m_bMonoColorEnabled, item.m_bReverseColorEnabled};
    if (!isSmallEnough(picture.size()) || picture.devicePixelRatio() != 1 || !isReadable(picture)
        || (choice.m_effects.m_isMono && picture.colorSpace().isValid()))
        return false;

    const int nDepth = depthOfPicture(picture, choice.m_effects);
    QSize shownSize = picture.size();
    QRect shown;
    if (pictureState == ePictureState::Raw && isCropped(source)) {
        shown = source.m_rectLayerSourceIntercept;
        if (!isSmallEnough(source.m_sizeLayerSource) || !isInside(shown, source.m_sizeLayerSource))
            return false;
        shownSize = shown.size();
    }
    const auto choose = [&](Qt::Orientation orientation, int nPicture, int nSource, int nFirst,
                            int nShown, int nCanvas, bool isMirrored, ScaleMap &pixels) {
        pixels = m_scaleMaps.find({eScaling::Drawn, orientation, nDepth, nShown, nCanvas});
        if (!shown.isNull()) {
            const ScaleMap &copied =
                m_scaleMaps.find({eScaling::Copied, orientation, nDepth, nPicture, nSource});
            if (copied.empty())
                return false;
            for (int &nPixel : pixels)
                nPixel = copied[size_t(nFirst + nPixel)];
        }
        if (isMirrored)
            std::reverse(pixels.begin(), pixels.end());
        return !pixels.empty();
    };
    m_scaleMaps.forgetIfLarge();
    ScaleMap columns;
    const bool isChosen =
        choose(Qt::Horizontal, picture.width(), source.m_sizeLayerSource.width(), shown.left(),
               shownSize.width(), canvasSize.width(), isMirroredHori(item), columns)
        && choose(Qt::Vertical, picture.height(), source.m_sizeLayerSource.height(), shown.top(),
                  shownSize.height(), canvasSize.height(), isMirroredVert(item), choice.m_rows);
    choice.m_columns = GatheredColumns(columns, picture.width());
    return isChosen;
}

std::unique_ptr<LayerFade> LayerPainter::makeFade(const sLayerVideoConfig &layerVideoCfg,
                                                  const sToneSteps &steps, const QSize &canvasSize,
                                                  const AlphaMaps::Load &loadMap)
{
    const sLayerBorder &border = layerVideoCfg.m_LayerBorder;
    switch (steps.m_fade) {
    case sToneSteps::NoFade:
        break;
    case sToneSteps::AlphaMapFade: {
        const AlphaMaps::sPlane *const pPlane =
            m_alphaMaps.find(layerVideoCfg.m_LayerAlphaMap.m_strAlphaMapFile, canvasSize, loadMap);
        if (!pPlane)
            return nullptr;
        return std::make_unique<MapLayerFade>(*pPlane, canvasSize.width(),
                                              isMirroredHori(layerVideoCfg.m_LayerItem),
                                              isMirroredVert(layerVideoCfg.m_LayerItem));
    }
    case sToneSteps::SoftFade:
        return std::make_unique<BorderLayerFade>(
            BorderFade(BorderFade::Soft, canvasSize, border.m_borderSize, 1.0));
    case sToneSteps::HaloFade:
        return std::make_unique<BorderLayerFade>(BorderFade(
            BorderFade::Halo, canvasSize, border.m_borderSize, border.m_borderColor.alphaF()));
    }
    return std::make_unique<NoLayerFade>(canvasSize.width());
}

// The picture, and what the table says of it; equal rows are drawn once.
void LayerPainter::drawRows(const ToneTable &table, const QImage &picture,
                            const sPixelChoice &choice, const QRect &kept, LayerFade &fade,
                            QImage &canvas)
{
    const int nWidth = canvas.width();
    const sColumnShares shares = shareColumns(table.steps(), nWidth);
    const bool isToned = !table.steps().leavesPicture();
    uchar *const pBits = canvas.bits();
    const int nBytesPerLine = canvas.bytesPerLine();
    int yLast = -1; // of the row that was drawn last
    for (int y = 0; y < canvas.height(); ++y) {
        QRgb *const pRow = lineOf(pBits, nBytesPerLine, y);
        const int nPictureRow = choice.m_rows[size_t(y)];
        if (y < kept.top() || y > kept.bottom()) {
            std::fill(pRow, pRow + nWidth, 0U);
            continue;
        }
        if (yLast != -1 && nPictureRow == choice.m_rows[size_t(yLast)] && fade.areAlike(y, yLast)) {
            std::memcpy(pRow, lineOf(pBits, nBytesPerLine, yLast), size_t(nWidth) * BytesPerPixel);
        } else {
            rowOfPicture(picture, nPictureRow, choice.m_columns, choice.m_effects, pRow);
            if (isToned) {
                const uchar *const pAlphas = fade.row(y);
                for (const sColumnRange &columns : shares.m_table)
                    toneRow(table, fade, pAlphas, kept, columns, pRow);
            }
        }
        yLast = y;
    }
}

sDrawnLayer LayerPainter::draw(const sLayerVideoConfig &layerVideoCfg, bool isMarked,
                               QImage &canvas, const QImage &picture, ePictureState pictureState,
                               const AlphaMaps::Load &loadMap)
{
    const QSize size = canvas.size();
    const sToneSteps steps = toneSteps(layerVideoCfg, isMarked);
    sPixelChoice choice;
    QRect kept;
    if (!isCanvasDrawable(canvas) || !coversCanvas(layerVideoCfg.m_LayerItem.m_boundingRect, size)
        || areLastColumnsMirrored(layerVideoCfg, steps, size.width())
        || !findKeptPixels(layerVideoCfg, size, kept) || isBorderUneven(steps, kept, size)
        || !choosePixels(layerVideoCfg, size, picture, pictureState, choice))
        return {};
    const std::unique_ptr<LayerFade> pFade = makeFade(layerVideoCfg, steps, size, loadMap);
    if (!pFade)
        return {};
    const ToneTable &table = m_toneTables.find(steps);
    if (!table.isValid() || !ownCanvas(canvas))
        return {};

    drawRows(table, picture, choice, kept, *pFade, canvas);
    if (!drawUnevenColumns(steps, *pFade, kept, canvas))
        return {};

    const bool isHalo = steps.m_fade == sToneSteps::HaloFade;
    sDrawnLayer drawn;
    drawn.m_isPictureDrawn = true;
    drawn.m_isBorderDrawn = steps.m_isOpacityDrawn || steps.m_fade != sToneSteps::NoFade;
    drawn.m_isOpaque = steps.m_nLayerAlpha == 255 && kept.size() == size
                    && (steps.m_fade == sToneSteps::NoFade || isHalo);
    drawn.m_isFinished =
        steps.m_isOpacityDrawn
        || (isHalo && !isMarked && drawOpacity(layerVideoCfg.m_LayerItem.m_opacity, canvas));
    return drawn;
}

bool LayerPainter::drawOpacity(int nOpacity, QImage &canvas)
{
    if (!isCanvasDrawable(canvas))
        return false;
    sToneSteps steps;
    steps.m_isOpacityDrawn = true;
    steps.m_nOpacity = std::clamp(nOpacity, 0, 100);
    if (steps.leavesPicture())
        return true;
    const ToneTable &table = m_toneTables.find(steps);
    if (!table.isValid())
        return false;
    NoLayerFade fade(canvas.width());
    uchar *const pBits = canvas.bits();
    const sColumnShares shares = shareColumns(steps, canvas.width());
    for (int y = 0; y < canvas.height(); ++y) {
        for (const sColumnRange &columns : shares.m_table)
            toneRow(table, fade, fade.row(y), canvas.rect(), columns,
                    lineOf(pBits, canvas.bytesPerLine(), y));
    }
    return drawUnevenColumns(steps, fade, canvas.rect(), canvas);
}

} // namespace Morvek::EchoVideo::Internal
