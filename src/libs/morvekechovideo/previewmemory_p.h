#ifndef MORVEK_ECHOVIDEO_PREVIEWMEMORY_P_H
#define MORVEK_ECHOVIDEO_PREVIEWMEMORY_P_H

#include "canvaspool_p.h"
#include "layervideoconfig.h"
#include "quickdrawing/alphamaps_p.h"

#include <QImage>
#include <QSize>

#include <map>
#include <optional>

namespace Morvek::EchoVideo::Internal {

/** Everything that a preview is made of; equal makings give equal previews. */
struct sPreviewMaking
{
    sLayerItem m_item;
    sLayerSource m_source;
    sLayerBorder m_border;
    sLayerMask m_mask;
    QString m_strAlphaMapFile;
    std::optional<sFileIdentity> m_alphaMap; ///< of the file, if there is one
    qint64 m_nMarkKey = 0;                   ///< of the frozen mark, if it is drawn
    qint64 m_nPictureKey = 0;                ///< of the source's picture, if it is not tiny
    QImage m_tinyPicture;                    ///< a copy of the source's picture, if it is tiny
};

/** Exact, also where Qt compares roughly. */
bool operator==(const sPreviewMaking &left, const sPreviewMaking &right);

/**
 * What a layer's next preview is to be made of.
 *
 * A picture is told by its identity, which changes whenever its pixels may have changed. Tiny ones,
 * the placeholders, are made anew each time and are told by their pixels.
 *
 * @param picture  of the source, as the callback left it
 * @return nothing where equal makings could give different previews, or more than a preview: for a
 *         layer without a size, which warns each time, and for an alpha map that cannot be told
 *         from another
 * @thread render
 */
std::optional<sPreviewMaking> previewMaking(const sLayerVideoConfig &layerVideoCfg,
                                            const QImage &picture);

/**
 * Remembers what the layers' latest previews were made of: as long as nothing changes, a layer has
 * the preview already that rendering it once more would give.
 *
 * The previews themselves stay where they are, in the layers' records; canvases() reuses those that
 * are there no more. @thread one render thread
 */
class PreviewMemory
{
public:
    /** Whether the record holds the preview that this making gives. */
    bool hasPreview(const sLayerVideoConfig &layerVideoCfg, const sPreviewMaking &making) const;
    /** Remembers what a layer's preview was made of. */
    void remember(const sLayerUniqueIdentifies &layerIdentifis, const sPreviewMaking &making,
                  const QImage &preview);
    /** Memory of previews that were delivered. */
    CanvasPool &canvases() { return m_canvases; }
    /**
     * The picture that a callback starts from; made once for as many layers of one size as follow
     * each other. Who draws into it gets a copy.
     */
    QImage blackPicture(const QSize &size);

private:
    struct sKeyLess
    {
        bool operator()(const sLayerUniqueIdentifies &left,
                        const sLayerUniqueIdentifies &right) const;
    };
    struct sMemory
    {
        sPreviewMaking m_making;
        qint64 m_nPreviewKey = 0;
    };

    std::map<sLayerUniqueIdentifies, sMemory, sKeyLess> m_memories;
    CanvasPool m_canvases;
    QImage m_blackPicture;
};

} // namespace Morvek::EchoVideo::Internal

#endif // MORVEK_ECHOVIDEO_PREVIEWMEMORY_P_H
