#ifndef MORVEK_ECHOVIDEO_PIXELGATHER_P_H
#define MORVEK_ECHOVIDEO_PIXELGATHER_P_H

#include <QColor>

#include <vector>

namespace Morvek::EchoVideo::Internal {

/** Ways of gathering pixels; all give the same ones. */
enum class eGatherForm {
    Plain, ///< one after the other
    Avx2   ///< eight at once, where they come from places close to each other
};

/** Whether this machine has the form. @thread any */
bool isGatherFormSupported(eGatherForm eForm);

/** The quickest one of this machine. @thread any */
eGatherForm bestGatherForm();

/** Which pixels of a row are gathered, prepared for eight at once. */
class GatheredColumns
{
public:
    /** Pixels that are gathered at once. */
    static constexpr int PixelsAtOnce = 8;
    /** Pixels of the picture that they may come from. */
    static constexpr int Window = 16;

    /**
     * @param columns   for each pixel of the row the picture's column
     * @param nPicture  columns of the picture
     */
    explicit GatheredColumns(const std::vector<int> &columns = {}, int nPicture = 0);

    /**
     * Gathers a row of pixels in 32 bits and makes them opaque.
     *
     * @param pPicture  row of the picture
     * @param inverted  bits to invert
     * @param pRow      receives as many pixels as there are columns
     */
    void gather(const QRgb *pPicture, QRgb inverted, QRgb *pRow,
                eGatherForm eForm = bestGatherForm()) const;

    /** For each pixel of the row the picture's column. */
    const std::vector<int> &columns() const { return m_columns; }

private:
    int gatherAtOnce(const QRgb *pPicture, QRgb inverted, QRgb *pRow) const;

    std::vector<int> m_columns;
    // For each eight columns where the window lies that holds them all, up to the first without one.
    std::vector<int> m_windows;
};

} // namespace Morvek::EchoVideo::Internal

#endif // MORVEK_ECHOVIDEO_PIXELGATHER_P_H
