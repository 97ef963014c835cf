#ifndef MORVEK_ECHOCANVAS_LAYERFIGURES_H
#define MORVEK_ECHOCANVAS_LAYERFIGURES_H

#include "agecounts.h"
#include "scene.h"

#include <tilestamp.h>

#include <QImage>
#include <QList>
#include <QSet>

#include <optional>

namespace Morvek::Tools {

/**
 * Which pictures of the device were seen, by the 16-bit frame numbers in their stamps. Remembers no
 * more of them than can still be told from those that come.
 */
class SeenFrames
{
public:
    void add(quint32 nFrame);
    /** Different pictures seen. */
    qint64 seen() const { return m_nSeen; }
    /** Pictures the device made from the first to the last that were seen, both included. */
    qint64 sent() const;

private:
    void forgetOld();

    QSet<qint64> m_frames; // the latest, counted on where the number wraps
    qint64 m_nSeen = 0;
    qint64 m_nFirst = 0;
    qint64 m_nLast = 0;
};

/** Counts what becomes of one layer's previews. */
class LayerFigures
{
public:
    /** @param placeholders  what the layer looks like without a picture; empty without source */
    LayerFigures(const sSceneLayer &layer, const QList<QImage> &placeholders);

    /**
     * Takes a preview that was just fetched.
     *
     * @param nElapsedMs  since the start
     * @param nNowMs      the clock, ms since the epoch
     * @return the stamp in the preview, if it could be read
     */
    std::optional<sTileStamp> addPreview(const QImage &preview, qint64 nElapsedMs, qint64 nNowMs);

    const sSceneLayer &layer() const { return m_layer; }
    QImage lastPreview() const { return m_lastPreview; }
    bool isLegible() const { return m_isLegible; }
    /** All previews, placeholders included. */
    int previews() const { return m_nPreviews; }
    /** Previews from the first on that showed more than a placeholder. */
    int genuine() const { return m_nGenuine; }
    /** When the first of these came, in ms since the start; -1 while there was none. */
    qint64 firstMs() const { return m_nFirstMs; }
    /** Genuine previews a second, between the first and the last of them. */
    double rate() const;
    /** Ages of the pictures in the previews whose stamp was read, in ms. */
    const AgeCounts &ages() const { return m_ages; }
    /** Stamps that named the right input, and those that named another one. */
    int rightStamps() const { return m_nRightStamps; }
    int wrongStamps() const { return m_nWrongStamps; }

private:
    bool isPlaceholder(const QImage &preview) const;
    std::optional<sTileStamp> readStamp(qint64 nNowMs);

    const sSceneLayer m_layer;
    const bool m_isLegible;
    QList<QImage> m_placeholders; // dropped at the first genuine preview
    QImage m_lastPreview;
    int m_nPreviews = 0;
    int m_nGenuine = 0;
    qint64 m_nFirstMs = -1;
    qint64 m_nLastMs = -1;
    AgeCounts m_ages;
    int m_nRightStamps = 0;
    int m_nWrongStamps = 0;
};

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_LAYERFIGURES_H
