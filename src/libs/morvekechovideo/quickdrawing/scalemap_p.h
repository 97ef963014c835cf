#ifndef MORVEK_ECHOVIDEO_SCALEMAP_P_H
#define MORVEK_ECHOVIDEO_SCALEMAP_P_H

#include <Qt>
#include <QtGlobal>

#include <map>
#include <optional>
#include <tuple>
#include <vector>

namespace Morvek::EchoVideo::Internal {

/** For each column (or row) of a scaled picture, the column (or row) of the picture it shows. */
using ScaleMap = std::vector<int>;

/** The two ways in which a picture is scaled; they round differently. */
enum class eScaling {
    Drawn, ///< QPainter::drawImage() into a rectangle of another size
    Copied ///< QImage::scaled() with Qt::FastTransformation
};

/** One axis of a scaling. */
struct sScaling
{
    eScaling m_scaling = eScaling::Drawn;
    Qt::Orientation m_orientation = Qt::Horizontal;
    int m_nDepth = 32; ///< bits of a pixel: 8, 24 or 32; each has its own routine
    int m_nFrom = 0;   ///< pixels of the picture, at least 1
    int m_nTo = 0;     ///< pixels of the scaled picture, at least 1

    auto asTuple() const
    {
        return std::make_tuple(m_scaling, m_orientation, m_nDepth, m_nFrom, m_nTo);
    }
    bool operator<(const sScaling &other) const { return asTuple() < other.asTuple(); }
};

/**
 * Asks the raster engine which pixels it picks, by scaling a picture of numbers.
 *
 * Nearest-pixel scaling picks columns and rows independently of each other, so two such maps are the
 * whole of a scaling, and nobody here needs to know how the engine rounds.
 *
 * @return empty where the engine gave no answer for every position; nothing where memory ran out
 * @thread any
 */
std::optional<ScaleMap> askForScaleMap(const sScaling &scaling);

/** Keeps the maps that a thread's layers ask for again and again. @thread one */
class ScaleMaps
{
public:
    /** The map of this scaling, asked for once; valid until the next call of forgetIfLarge(). */
    const ScaleMap &find(const sScaling &scaling);
    /** Forgets all maps once they are more than a wall of layers needs. */
    void forgetIfLarge();

private:
    std::map<sScaling, ScaleMap> m_maps;
    size_t m_nPositions = 0;
};

} // namespace Morvek::EchoVideo::Internal

#endif // MORVEK_ECHOVIDEO_SCALEMAP_P_H
