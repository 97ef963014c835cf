#ifndef MORVEK_ECHOVIDEO_YUVCONVERSION_P_H
#define MORVEK_ECHOVIDEO_YUVCONVERSION_P_H

#include <QtGlobal>

namespace Morvek::EchoVideo::Internal {

/*
 * Planar YUV 4:2:0 to 32-bit RGB, BT.709 limited range, in 16-bit fixed point. With Cb and Cr less
 * 128 and L = (Y - 16) x 76309:
 *     blue  = clamp((L + 138438 x Cb) >> 16)
 *     green = clamp((L -  13975 x Cb - 34925 x Cr) >> 16)
 *     red   = clamp((L + 117489 x Cr) >> 16)
 * Every form gives these values exactly. Each pixel is stored as 0xffRRGGBB in native byte order.
 */

/** The forms of the conversion, from the one that runs anywhere to the fastest. */
enum class eYuvForm { Plain, Sse2, Avx2 };

/** Two rows of luma, the row of either chroma that they share, and the two rows of pixels. */
struct sYuvRowPair
{
    const uchar *m_pUpperY = nullptr;
    const uchar *m_pLowerY = nullptr;
    const uchar *m_pCr = nullptr; ///< half as many samples as a luma row
    const uchar *m_pCb = nullptr;
    quint32 *m_pUpperPixels = nullptr;
    quint32 *m_pLowerPixels = nullptr;
};

/** A frame as it stands in a file: luma, then Cr, then Cb, rows without padding. */
struct sYuvFrame
{
    const uchar *m_pBytes = nullptr;
    int m_nWidth = 0;  ///< pixels, even
    int m_nHeight = 0; ///< pixels, even
};

/** Whether this processor can run a form. @thread any */
bool isYuvFormSupported(eYuvForm eForm);

/** The fastest form that this processor can run; found out once. @thread any */
eYuvForm bestYuvForm();

/**
 * Converts one pair of rows; no pointer needs more alignment than its type.
 *
 * @param eForm   a form that isYuvFormSupported()
 * @param nWidth  pixels in a row, even
 * @thread any
 */
void convertYuvRowPair(eYuvForm eForm, const sYuvRowPair &rows, int nWidth);

/**
 * Converts a whole frame.
 *
 * @param pPixels        receives the pixels, row by row from the top
 * @param nBytesPerLine  distance of the rows in bytes, a multiple of 4
 * @thread any
 */
void convertYUV420ToRGB(const sYuvFrame &frame, uchar *pPixels, int nBytesPerLine,
                        eYuvForm eForm = bestYuvForm());

} // namespace Morvek::EchoVideo::Internal

#endif // MORVEK_ECHOVIDEO_YUVCONVERSION_P_H
