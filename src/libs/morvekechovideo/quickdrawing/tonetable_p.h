#ifndef MORVEK_ECHOVIDEO_TONETABLE_P_H
#define MORVEK_ECHOVIDEO_TONETABLE_P_H

#include <QColor>
#include <QImage>
#include <QtGlobal>

#include <array>
#include <list>
#include <tuple>
#include <vector>

namespace Morvek::EchoVideo::Internal {

/** What is drawn onto a whole layer after its picture, one step after the other. */
struct sToneSteps
{
    /** The one step whose alpha differs from pixel to pixel. */
    enum eFade : qint32 {
        NoFade,
        AlphaMapFade, ///< cuts, before everything else
        SoftFade,     ///< cuts, after the mask
        HaloFade      ///< is painted over, after the mask
    };

    eFade m_fade = NoFade;
    QColor m_fadeColor;            ///< of a halo; its alpha differs from pixel to pixel
    int m_nLayerAlpha = 255;       ///< 0 to 255, cuts after an alpha map
    bool m_isMasked = false;       ///< cuts after the layer's alpha
    bool m_isOpacityDrawn = false; ///< whether these steps end with the layer's opacity
    int m_nOpacity = 100;          ///< percent, 0 to 100

    /** Whether an opaque picture is left as it is. */
    bool leavesPicture() const
    {
        return m_fade == NoFade && m_nLayerAlpha == 255 && !m_isMasked
            && (!m_isOpacityDrawn || m_nOpacity == 100);
    }
    auto asTuple() const
    {
        return std::make_tuple(m_fade, m_fade == HaloFade ? m_fadeColor.rgb() : 0U, m_nLayerAlpha,
                               m_isMasked, m_isOpacityDrawn, m_nOpacity);
    }
};

/**
 * Draws the steps over a whole canvas, with a painter.
 *
 * @param fade  as large as the canvas, straight ARGB32; not looked at without a fade
 * @param mask  as large as the canvas, opaque where it is kept; not looked at without a mask
 */
void drawToneSteps(QImage &canvas, const sToneSteps &steps, const QImage &fade, const QImage &mask);

/**
 * What the steps make of every value of a channel, under every alpha of the fade.
 *
 * An opaque pixel's channels take their ways through the steps independently of each other; so one
 * drawing of all 256 values, made by the raster engine itself, answers for all pixels, whichever way
 * the engine rounds on this machine.
 */
class ToneTable
{
public:
    /** Pixels that the engine rounds together; it may round what is left of a row differently. */
    static constexpr int VectorPixels = 16;

    explicit ToneTable(const sToneSteps &steps);

    /** False where it could not be allocated. */
    bool isValid() const { return !m_table.isNull(); }
    /** The steps that it answers for. */
    const sToneSteps &steps() const { return m_steps; }
    /**
     * The 256 gray pixels that become of the 256 opaque grays.
     *
     * @param nFadeAlpha  0 to 255; not looked at without a fade
     */
    const QRgb *row(int nFadeAlpha) const
    {
        return m_rows[size_t(m_steps.m_fade == sToneSteps::NoFade ? 0 : nFadeAlpha)];
    }
    /** Whether all channels of a pixel become the same way, as under all steps but a halo. */
    bool isGray() const { return m_steps.m_fade != sToneSteps::HaloFade; }
    /** Where isGray(): what becomes of the 256 values of a channel, see row(). */
    const uchar *tones(int nFadeAlpha) const
    {
        return m_tones.data() + (m_steps.m_fade == sToneSteps::NoFade ? 0 : nFadeAlpha * 256);
    }
    /** The alpha of every pixel, see row(). */
    int alpha(int nFadeAlpha) const
    {
        return m_alphas[size_t(m_steps.m_fade == sToneSteps::NoFade ? 0 : nFadeAlpha)];
    }
    /** Whether this row leaves every pixel as it is. */
    bool isIdentity(int nFadeAlpha) const
    {
        return m_isIdentity[size_t(m_steps.m_fade == sToneSteps::NoFade ? 0 : nFadeAlpha)];
    }

private:
    sToneSteps m_steps;
    QImage m_table;
    std::array<const QRgb *, 256> m_rows{};
    std::array<bool, 256> m_isIdentity{};
    std::vector<uchar> m_tones; // empty for a halo
    std::array<uchar, 256> m_alphas{};
};

/** Keeps the tables that a thread's layers ask for again and again. @thread one */
class ToneTables
{
public:
    /** The table of these steps; valid until the next call. Invalid where memory ran out. */
    const ToneTable &find(const sToneSteps &steps);

private:
    std::list<ToneTable> m_tables; // the latest first
};

} // namespace Morvek::EchoVideo::Internal

#endif // MORVEK_ECHOVIDEO_TONETABLE_P_H
