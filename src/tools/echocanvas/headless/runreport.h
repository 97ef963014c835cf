#ifndef MORVEK_ECHOCANVAS_RUNREPORT_H
#define MORVEK_ECHOCANVAS_RUNREPORT_H

#include "agecounts.h"

#include <QList>
#include <QSize>
#include <QString>
#include <QStringList>

namespace Morvek::Tools {

/** Whether a layer shows what it should. */
enum class eInputVerdict {
    Right,     ///< its input; its colour, if it has no source
    Wrong,     ///< something else, or nothing
    NotLegible ///< cannot be told
};

/** What a verdict rests on. */
enum class eInputProof {
    None,
    Stamp,    ///< the stamps in the layer's previews
    Likeness, ///< its input's picture gives the preview that is most alike, and has its stamp
    Colour    ///< equality with the preview of a layer without source
};

/** Ages of pictures, in milliseconds; all 0 where none is known. */
struct sAges
{
    bool m_isKnown = false;
    qint64 m_nMedianMs = 0;
    qint64 m_nP95Ms = 0;
    qint64 m_nWorstMs = 0;
};

/** Median, 95th percentile and worst of these ages in milliseconds. */
sAges summarised(const AgeCounts &ages);

/** One layer's figures. */
struct sLayerReport
{
    QString m_strScreen;
    QString m_strLayer;
    QSize m_size;
    int m_nInput = -1;      ///< from 0; -1 without source
    int m_nPreviews = 0;    ///< fetched, placeholders included
    int m_nGenuine = 0;     ///< fetched, showing more than a placeholder
    double m_rate = 0;      ///< genuine previews a second
    qint64 m_nFirstMs = -1; ///< from the start to the first genuine preview; -1 without one
    sAges m_ages;
    eInputVerdict m_verdict = eInputVerdict::NotLegible;
    eInputProof m_proof = eInputProof::None;
    QString m_strPicture; ///< file of the layer's last preview; empty if none was written

    bool hasSource() const { return m_nInput >= 0; }
};

/** One screen's canvas. */
struct sCanvasReport
{
    QString m_strScreen;
    QString m_strPicture; ///< file; empty if none was written
};

/** Everything that one run found out. */
struct sRunReport
{
    QString m_strDevice; ///< host:port, or what is read in its place
    int m_nTiles = 0;
    int m_nFps = 0;
    double m_seconds = 0; ///< from the start to the end of the measurement
    QList<sLayerReport> m_layers;
    QList<sCanvasReport> m_canvases;
    sAges m_ages;             ///< over all layers
    qint64 m_nFramesSeen = 0; ///< different pictures of the device seen in previews
    qint64 m_nFramesSent = 0; ///< pictures that the device made from the first to the last of these
    double m_cpuPerSecond = 0;
    qint64 m_nResidentBytes = 0;
    QStringList m_problems; ///< what else went wrong

    int previews() const;
    /** Layers with at least one preview. */
    int rendered() const;
    /** Layers with a source, and those of them that showed a picture of the stream. */
    int withSource() const;
    int fromStream() const;
    /** Layers with this verdict. */
    int count(eInputVerdict verdict) const;
    /** Milliseconds until the first layer, and until every layer, had its first genuine preview. */
    qint64 firstMs() const;
    qint64 allMs() const;
};

/** One line for everything because of which the run has failed; empty if it has succeeded. */
QStringList failures(const sRunReport &report);

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_RUNREPORT_H
