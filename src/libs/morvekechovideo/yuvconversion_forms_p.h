#ifndef MORVEK_ECHOVIDEO_YUVCONVERSION_FORMS_P_H
#define MORVEK_ECHOVIDEO_YUVCONVERSION_FORMS_P_H

#include "yuvconversion_p.h"

#if defined(__x86_64__) || defined(__i386__)
#    define MORVEK_HAS_X86_YUV_FORMS 1
#else
#    define MORVEK_HAS_X86_YUV_FORMS 0
#endif

namespace Morvek::EchoVideo::Internal {

#if MORVEK_HAS_X86_YUV_FORMS
/*
 * The fast forms convert whole blocks from the left and return how many pixels that were; the plain
 * form does the rest of the row.
 */
int convertYuvBlocksSse2(const sYuvRowPair &rows, int nWidth);
int convertYuvBlocksAvx2(const sYuvRowPair &rows, int nWidth);
#endif

} // namespace Morvek::EchoVideo::Internal

#endif // MORVEK_ECHOVIDEO_YUVCONVERSION_FORMS_P_H
