#include "yuvfilewriter.h"

namespace Morvek::Tools {

namespace {

constexpr int Half = 1 << 15; // of the 16-bit fixed point, for rounding

uchar lumaOf(QRgb pixel)
{
    return uchar(
        16 + ((11966 * qRed(pixel) + 40254 * qGreen(pixel) + 4064 * qBlue(pixel) + Half) >> 16));
}

// The four pixels that share one sample of either chroma, as sums.
struct sBlock
{
    int m_nRed = 0;
    int m_nGreen = 0;
    int m_nBlue = 0;

    void add(QRgb pixel)
    {
        m_nRed += qRed(pixel);
        m_nGreen += qGreen(pixel);
        m_nBlue += qBlue(pixel);
    }

    uchar cr() const { return sample(28784 * m_nRed - 26145 * m_nGreen - 2639 * m_nBlue); }
    uchar cb() const { return sample(-6596 * m_nRed - 22188 * m_nGreen + 28784 * m_nBlue); }

    static uchar sample(int nSumOfFour) { return uchar(128 + ((nSumOfFour / 4 + Half) >> 16)); }
};

} // namespace

QByteArray yuvFrame(const QImage &picture)
{
    const QImage source = picture.convertToFormat(QImage::Format_RGB32);
    const int nWidth = source.width();
    const int nHeight = source.height();
    QByteArray frame(nWidth * nHeight * 3 / 2, Qt::Uninitialized);
    auto *pLuma = reinterpret_cast<uchar *>(frame.data());
    uchar *pCr = pLuma + nWidth * nHeight;
    uchar *pCb = pCr + nWidth * nHeight / 4;
    for (int y = 0; y < nHeight; y += 2) {
        const auto *pUpper = reinterpret_cast<const QRgb *>(source.constScanLine(y));
        const auto *pLower = reinterpret_cast<const QRgb *>(source.constScanLine(y + 1));
        for (int x = 0; x < nWidth; x += 2) {
            sBlock block;
            for (const int i : {x, x + 1}) {
                pLuma[i] = lumaOf(pUpper[i]);
                pLuma[nWidth + i] = lumaOf(pLower[i]);
                block.add(pUpper[i]);
                block.add(pLower[i]);
            }
            *pCr++ = block.cr();
            *pCb++ = block.cb();
        }
        pLuma += 2 * nWidth;
    }
    return frame;
}

bool YuvFileWriter::open(const QString &strFile)
{
    m_file.setFileName(strFile);
    return m_file.open(QIODevice::WriteOnly | QIODevice::Truncate);
}

bool YuvFileWriter::write(const QImage &picture)
{
    const QByteArray frame = yuvFrame(picture);
    return m_file.write(frame) == frame.size();
}

bool YuvFileWriter::flush()
{
    return m_file.flush();
}

QString YuvFileWriter::errorString() const
{
    return QStringLiteral("--yuv '%1': cannot write the file: %2")
        .arg(m_file.fileName(), m_file.errorString());
}

} // namespace Morvek::Tools
