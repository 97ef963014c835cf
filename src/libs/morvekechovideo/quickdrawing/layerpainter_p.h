#ifndef MORVEK_ECHOVIDEO_LAYERPAINTER_P_H
#define MORVEK_ECHOVIDEO_LAYERPAINTER_P_H

#include "alphamaps_p.h"
#include "layerfade_p.h"
#include "layervideoconfig.h"
#include "pixelrows_p.h"
#include "scalemap_p.h"
#include "tonetable_p.h"

#include <QImage>
#include <QRect>

#include <memory>

namespace Morvek::EchoVideo::Internal {

/** Whether the colour effects and the crop were already applied to a layer's picture. */
enum class ePictureState { Raw, Processed };

/** How far a layer was drawn at one go. */
struct sDrawnLayer
{
    bool m_isPictureDrawn = false; ///< with the mask; else draw the layer step by step
    bool m_isBorderDrawn = false;  ///< or there is none
    bool m_isFinished = false;     ///< with the opacity
    bool m_isOpaque = false;       ///< every pixel of the canvas
};

/**
 * Draws the common layers at one go, row by row, instead of pass by pass.
 *
 * The pictures equal those of the painter, pixel by pixel: where a scaled pixel comes from and what
 * becomes of its colour is asked of the raster engine, once for each geometry and each sequence of
 * steps. It draws opaque pictures over whole canvases whose rectangle is one of whole pixels at the
 * origin, and leaves everything else to the painter.
 *
 * Not for two threads at once.
 */
class LayerPainter
{
public:
    /**
     * The calling thread's own; what it keeps of geometries, tones and alpha maps is bounded, and
     * stays as long as the thread. @thread any
     */
    static LayerPainter &ofThisThread();
    /** Gives back what it keeps. */
    void forget();

    /**
     * Draws as much of a layer as it can.
     *
     * @param isMarked  whether the frozen mark is drawn later on
     * @param canvas    of the layer's size; made anew when somebody else holds it as well
     * @param picture   of the source
     * @param loadMap   reads an alpha map
     */
    sDrawnLayer draw(const sLayerVideoConfig &layerVideoCfg, bool isMarked, QImage &canvas,
                     const QImage &picture, ePictureState pictureState,
                     const AlphaMaps::Load &loadMap);
    /**
     * Scales and cuts a picture in one step.
     *
     * @return false, with the picture untouched, for a crop that is not wholly inside the source, and
     *         for a translucent picture, which the raster engine rounds while it scales it
     */
    bool crop(const sLayerSource &source, QImage &picture);
    /** Scales the alpha of an opaque canvas. @return false, with nothing done, if it cannot */
    bool drawOpacity(int nOpacity, QImage &canvas);

private:
    /** Which pixel of the picture is drawn where. */
    struct sPixelChoice
    {
        GatheredColumns m_columns;
        ScaleMap m_rows;
        sColorEffects m_effects;
    };

    bool choosePixels(const sLayerVideoConfig &layerVideoCfg, const QSize &canvasSize,
                      const QImage &picture, ePictureState pictureState, sPixelChoice &choice);
    std::unique_ptr<LayerFade> makeFade(const sLayerVideoConfig &layerVideoCfg,
                                        const sToneSteps &steps, const QSize &canvasSize,
                                        const AlphaMaps::Load &loadMap);

    static void drawRows(const ToneTable &table, const QImage &picture, const sPixelChoice &choice,
                         const QRect &kept, LayerFade &fade, QImage &canvas);

    ScaleMaps m_scaleMaps;
    ToneTables m_toneTables;
    AlphaMaps m_alphaMaps;
};

} // namespace Morvek::EchoVideo::Internal

#endif // MORVEK_ECHOVIDEO_LAYERPAINTER_P_H
