#ifndef MORVEK_ECHOVIDEO_BORDERFADE_P_H
#define MORVEK_ECHOVIDEO_BORDERFADE_P_H

#include <QSize>
#include <QtGlobal>

#include <vector>

namespace Morvek::EchoVideo::Internal {

/**
 * The alpha of every pixel of a soft or halo border, row by row.
 *
 * An alpha is a product of one value of the pixel's column and one of its row, and both are constant
 * from the border's thickness inward: most rows are alike, and so are most pixels of a row.
 */
class BorderFade
{
public:
    enum eKind { Soft, Halo };

    /**
     * @param size        of the layer, in pixels
     * @param borderSize  thickness in pixels: width for left and right, height for top and bottom
     * @param opacity     of a halo's colour, 0 to 1; 1 for a soft border
     */
    BorderFade(eKind kind, const QSize &size, const QSize &borderSize, qreal opacity);

    /** The alphas, 0 to 255, of row y; valid until the next call. */
    const uchar *row(int y);
    /** Rows of the same number are alike. */
    qreal rowNumber(int y) const { return m_rows[size_t(quarterIndex(y, m_rows.size()))]; }
    /** From here to steadyEnd() all pixels of a row have one alpha. */
    int steadyBegin() const { return m_nSteadyBegin; }
    int steadyEnd() const { return m_nSteadyEnd; }

private:
    // The right and the bottom half are the left and the top one, mirrored.
    static int quarterIndex(int nIndex, size_t nQuarter)
    {
        return nIndex < int(nQuarter) ? nIndex : 2 * int(nQuarter) - 1 - nIndex;
    }
    uchar alpha(qreal column, qreal row) const;

    eKind m_kind;
    std::vector<qreal> m_columns; // of the left half
    std::vector<qreal> m_rows;    // of the top half
    std::vector<uchar> m_alphas;  // of the row asked for last
    qreal m_lastRow = -1;         // no row's number
    int m_nSteadyBegin = 0;
    int m_nSteadyEnd = 0;
};

} // namespace Morvek::EchoVideo::Internal

#endif // MORVEK_ECHOVIDEO_BORDERFADE_P_H
