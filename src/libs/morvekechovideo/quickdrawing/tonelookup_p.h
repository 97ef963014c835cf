#ifndef MORVEK_ECHOVIDEO_TONELOOKUP_P_H
#define MORVEK_ECHOVIDEO_TONELOOKUP_P_H

#include <QColor>

namespace Morvek::EchoVideo::Internal {

/** Ways of looking up many values; all give the same pixels. */
enum class eToneForm {
    Plain,     ///< one after the other
    Avx512Vbmi ///< 64 at once, on processors that can
};

/** Whether this machine has the form. @thread any */
bool isToneFormSupported(eToneForm eForm);

/** The quickest one of this machine. @thread any */
eToneForm bestToneForm();

/**
 * Replaces each pixel's red, green and blue by what the table says of them, and its alpha.
 *
 * @param pTones   of the 256 values of a channel
 * @param nAlpha   of all pixels afterwards, 0 to 255
 * @param nPixels  0 or more
 * @param eForm    one that this machine has
 */
void lookUpTones(const uchar *pTones, int nAlpha, QRgb *pPixels, int nPixels,
                 eToneForm eForm = bestToneForm());

} // namespace Morvek::EchoVideo::Internal

#endif // MORVEK_ECHOVIDEO_TONELOOKUP_P_H
