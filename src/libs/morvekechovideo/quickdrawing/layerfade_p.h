#ifndef MORVEK_ECHOVIDEO_LAYERFADE_P_H
#define MORVEK_ECHOVIDEO_LAYERFADE_P_H

#include "alphamaps_p.h"
#include "borderfade_p.h"

#include <QtGlobal>

#include <algorithm>
#include <vector>

namespace Morvek::EchoVideo::Internal {

/** The alpha of every pixel of a layer, row by row. */
class LayerFade
{
public:
    virtual ~LayerFade() = default;

    /** The alphas of row y, 0 to 255; valid until the next call. */
    virtual const uchar *row(int y) = 0;
    /** Whether two rows are known to be the same. */
    virtual bool areAlike(int y1, int y2) const = 0;
    /** From here to steadyEnd() all pixels of a row have one alpha. */
    int steadyBegin() const { return m_nSteadyBegin; }
    int steadyEnd() const { return m_nSteadyEnd; }

protected:
    LayerFade(int nSteadyBegin, int nSteadyEnd)
        : m_nSteadyBegin(nSteadyBegin)
        , m_nSteadyEnd(nSteadyEnd)
    {}
    Q_DISABLE_COPY(LayerFade)

private:
    const int m_nSteadyBegin;
    const int m_nSteadyEnd;
};

/** Leaves everything as it is. */
class NoLayerFade : public LayerFade
{
public:
    explicit NoLayerFade(int nWidth)
        : LayerFade(0, nWidth)
        , m_alphas(size_t(nWidth), 255)
    {}

    const uchar *row(int /*y*/) override { return m_alphas.data(); }
    bool areAlike(int /*y1*/, int /*y2*/) const override { return true; }

private:
    const std::vector<uchar> m_alphas;
};

/** A soft or halo border. */
class BorderLayerFade : public LayerFade
{
public:
    explicit BorderLayerFade(const BorderFade &border)
        : LayerFade(border.steadyBegin(), border.steadyEnd())
        , m_border(border)
    {}

    const uchar *row(int y) override { return m_border.row(y); }
    bool areAlike(int y1, int y2) const override
    {
        return m_border.rowNumber(y1) == m_border.rowNumber(y2);
    }

private:
    BorderFade m_border;
};

/** An alpha map, which is mirrored together with its layer's picture. */
class MapLayerFade : public LayerFade
{
public:
    /** @param plane  alphas of the unmirrored layer, which outlives this */
    MapLayerFade(const AlphaMaps::sPlane &plane, int nWidth, bool isHori, bool isVert)
        : LayerFade(nWidth, nWidth)
        , m_plane(plane)
        , m_isHori(isHori)
        , m_isVert(isVert)
        , m_alphas(size_t(nWidth))
    {}

    const uchar *row(int y) override
    {
        const size_t nWidth = m_alphas.size();
        const uchar *const pRow = m_plane.m_alphas.data() + nWidth * mapRow(y);
        if (!m_isHori)
            return pRow;
        std::reverse_copy(pRow, pRow + nWidth, m_alphas.begin());
        return m_alphas.data();
    }
    bool areAlike(int y1, int y2) const override
    {
        return m_plane.m_rows[mapRow(y1)] == m_plane.m_rows[mapRow(y2)];
    }

private:
    size_t mapRow(int y) const
    {
        return m_isVert ? m_plane.m_rows.size() - 1 - size_t(y) : size_t(y);
    }

    const AlphaMaps::sPlane &m_plane;
    const bool m_isHori;
    const bool m_isVert;
    std::vector<uchar> m_alphas;
};

} // namespace Morvek::EchoVideo::Internal

#endif // MORVEK_ECHOVIDEO_LAYERFADE_P_H
