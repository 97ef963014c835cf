#include "jpegpicture_p.h"

#include <QtGlobal>

#ifdef MORVEK_HAS_JPEG
#    include <csetjmp>
#    include <cstddef>
#    include <cstdio>

#    include <jpeglib.h>
#endif

// The colour space that is QImage::Format_RGB32 on this machine.
#if defined(MORVEK_HAS_JPEG) && defined(JCS_ALPHA_EXTENSIONS)
#    if Q_BYTE_ORDER == Q_LITTLE_ENDIAN
#        define MORVEK_PIXELS JCS_EXT_BGRA
#    else
#        define MORVEK_PIXELS JCS_EXT_ARGB
#    endif
#endif

namespace Morvek::EchoVideo::Internal {

#ifdef MORVEK_PIXELS

namespace {

enum eMarker : uchar {
    Prefix = 0xff,
    BaselineFrame = 0xc0,
    HuffmanTable = 0xc4,
    StartOfImage = 0xd8,
    StartOfScan = 0xda,
    QuantizationTable = 0xdb,
    RestartInterval = 0xdd,
    JfifHeader = 0xe0
};

// A frame header of three components of 8 bits, of which the first has two samples in either
// direction for each of the others'. Its length comes first.
bool isCommonFrame(const uchar *pSegment, int nLength)
{
    constexpr int FrameLength = 17;
    return nLength == FrameLength && pSegment[2] == 8 && pSegment[7] == 3 && pSegment[9] == 0x22
        && pSegment[12] == 0x11 && pSegment[15] == 0x11;
}

// Looks at the segments before the first scan: only those that say nothing but how to decode it.
bool isCommon(const QByteArray &baPicture)
{
    const auto *pByte = reinterpret_cast<const uchar *>(baPicture.constData());
    const uchar *const pEnd = pByte + baPicture.size();
    if (baPicture.size() < 4 || pByte[0] != Prefix || pByte[1] != StartOfImage)
        return false;
    bool isFrameCommon = false;
    for (pByte += 2; pEnd - pByte >= 4 && pByte[0] == Prefix;) {
        const uchar marker = pByte[1];
        const uchar *const pSegment = pByte + 2;
        const int nLength = pSegment[0] << 8 | pSegment[1];
        if (nLength < 2 || nLength > pEnd - pSegment)
            return false;
        if (marker == StartOfScan)
            return isFrameCommon;
        if (marker == BaselineFrame)
            isFrameCommon = isCommonFrame(pSegment, nLength);
        else if (marker != HuffmanTable && marker != QuantizationTable && marker != RestartInterval
                 && marker != JfifHeader)
            return false;
        pByte = pSegment + nLength;
    }
    return false;
}

/** A decoder whose errors end decode(); the library's own would end the process. */
struct sDecoder
{
    jpeg_decompress_struct m_jpeg = {};
    jpeg_error_mgr m_errors = {};
    std::jmp_buf m_onError;

    sDecoder() = default;
    ~sDecoder() { jpeg_destroy_decompress(&m_jpeg); }
    sDecoder(const sDecoder &) = delete;
    sDecoder &operator=(const sDecoder &) = delete;
};

[[noreturn]] void giveUp(j_common_ptr pJpeg)
{
    std::longjmp(static_cast<sDecoder *>(pJpeg->client_data)->m_onError, 1);
}

void keepSilent(j_common_ptr) {}

void prepare(sDecoder &decoder)
{
    decoder.m_jpeg.err = jpeg_std_error(&decoder.m_errors);
    decoder.m_jpeg.client_data = &decoder;
    decoder.m_errors.error_exit = giveUp;
    decoder.m_errors.output_message = keepSilent;
}

// As Qt's decoder takes it over.
void setResolution(QImage &picture, const jpeg_decompress_struct &jpeg)
{
    constexpr double CentimetresPerInch = 2.54;
    enum { DotsPerInch = 1, DotsPerCentimetre = 2 };
    if (jpeg.density_unit == DotsPerInch) {
        picture.setDotsPerMeterX(int(100.0 * jpeg.X_density / CentimetresPerInch));
        picture.setDotsPerMeterY(int(100.0 * jpeg.Y_density / CentimetresPerInch));
    } else if (jpeg.density_unit == DotsPerCentimetre) {
        picture.setDotsPerMeterX(int(100.0 * jpeg.X_density));
        picture.setDotsPerMeterY(int(100.0 * jpeg.Y_density));
    }
}

void readRows(jpeg_decompress_struct &jpeg, QImage &picture)
{
    uchar *const pPixels = picture.bits();
    const std::ptrdiff_t nStep = picture.bytesPerLine();
    while (jpeg.output_scanline < jpeg.output_height) {
        constexpr unsigned RowsAtOnce = 16;
        JSAMPROW rows[RowsAtOnce];
        const unsigned nRows = qMin(RowsAtOnce, jpeg.output_height - jpeg.output_scanline);
        for (unsigned i = 0; i < nRows; ++i)
            rows[i] = pPixels + std::ptrdiff_t(jpeg.output_scanline + i) * nStep;
        jpeg_read_scanlines(&jpeg, rows, nRows);
    }
}

// Everything with a destructor is the caller's: an error jumps out of here.
bool decode(sDecoder &decoder, const QByteArray &baPicture, QImage &picture)
{
    jpeg_decompress_struct &jpeg = decoder.m_jpeg;
    if (setjmp(decoder.m_onError) != 0)
        return false;
    jpeg_create_decompress(&jpeg);
    jpeg.client_data = &decoder;
    jpeg_mem_src(&jpeg, reinterpret_cast<const uchar *>(baPicture.constData()),
                 static_cast<unsigned long>(baPicture.size()));
    jpeg_read_header(&jpeg, TRUE);
    if (jpeg.jpeg_color_space != JCS_YCbCr)
        return false;
    jpeg.out_color_space = MORVEK_PIXELS;
    jpeg_start_decompress(&jpeg);
    picture = QImage(int(jpeg.output_width), int(jpeg.output_height), QImage::Format_RGB32);
    if (picture.isNull())
        return false;
    setResolution(picture, jpeg);
    readRows(jpeg, picture);
    jpeg_finish_decompress(&jpeg);
    // What is damaged or cut short is Qt's to make the best of.
    return decoder.m_errors.num_warnings == 0;
}

} // namespace

QImage decodeCommonJpeg(const QByteArray &baPicture)
{
    if (!isCommon(baPicture))
        return QImage();
    sDecoder decoder;
    prepare(decoder);
    QImage picture;
    return decode(decoder, baPicture, picture) ? picture : QImage();
}

#else

QImage decodeCommonJpeg(const QByteArray &)
{
    return QImage();
}

#endif

} // namespace Morvek::EchoVideo::Internal
