#include "bombpictures.h"

#include <QBuffer>
#include <QImage>
#include <QImageWriter>
#include <QtEndian>

namespace Morvek::Tools {

namespace {

QByteArray smallPicture(const char *pFormat, bool isProgressive = false)
{
    QImage picture(64, 48, QImage::Format_RGB32);
    picture.fill(Qt::darkCyan);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, pFormat);
    writer.setProgressiveScanWrite(isProgressive);
    writer.write(picture);
    return bytes;
}

template <typename Number>
QByteArray bigEndian(Number number)
{
    QByteArray bytes(sizeof(Number), '\0');
    qToBigEndian(number, bytes.data());
    return bytes;
}

template <typename Number>
QByteArray littleEndian(Number number)
{
    QByteArray bytes(sizeof(Number), '\0');
    qToLittleEndian(number, bytes.data());
    return bytes;
}

// As PNG wants it behind each chunk.
quint32 checksum(const QByteArray &bytes)
{
    quint32 nSum = 0xffffffff;
    for (const char byte : bytes) {
        nSum ^= uchar(byte);
        for (int nBit = 0; nBit < 8; ++nBit)
            nSum = nSum >> 1 ^ (nSum & 1 ? 0xedb88320 : 0);
    }
    return ~nSum;
}

QByteArray claimingJpeg(QByteArray jpeg, const QSize &size)
{
    constexpr int SizeInFrame = 5; // behind marker, length and precision
    int iFrame = jpeg.indexOf("\xff\xc0");
    if (iFrame == -1)
        iFrame = jpeg.indexOf("\xff\xc2");
    return jpeg.replace(iFrame + SizeInFrame, 4,
                        bigEndian(quint16(size.height())) + bigEndian(quint16(size.width())));
}

QByteArray claimingPng(QByteArray png, const QSize &size)
{
    constexpr int Header = 12; // its name, behind signature and length
    constexpr int HeaderSize = 17;
    png.replace(Header + 4, 8,
                bigEndian(quint32(size.width())) + bigEndian(quint32(size.height())));
    return png.replace(Header + HeaderSize, 4, bigEndian(checksum(png.mid(Header, HeaderSize))));
}

QByteArray claimingBmp(QByteArray bmp, const QSize &size)
{
    constexpr int SizeInHeader = 18;
    return bmp.replace(SizeInHeader, 8,
                       littleEndian(qint32(size.width())) + littleEndian(qint32(size.height())));
}

// There is no writer of this format: a screen and a picture in one colour, whose data end at once.
QByteArray claimingGif(const QSize &size)
{
    const QByteArray extent =
        littleEndian(quint16(size.width())) + littleEndian(quint16(size.height()));
    return "GIF89a" + extent + QByteArray("\x80\0\0\0\0\0\xff\xff\xff", 9) + ","
         + QByteArray(4, '\0') + extent + QByteArray("\0\2\2\x44\1\0;", 7);
}

QByteArray pngChunk(const QByteArray &name, const QByteArray &data)
{
    return bigEndian(quint32(data.size())) + name + data + bigEndian(checksum(name + data));
}

} // namespace

QByteArray dimensionBomb(const QByteArray &baFormat, const QSize &size)
{
    if (baFormat == "png")
        return claimingPng(smallPicture("png"), size);
    if (baFormat == "bmp")
        return claimingBmp(smallPicture("bmp"), size);
    if (baFormat == "gif")
        return claimingGif(size);
    if (baFormat == "ppm")
        return "P6\n" + QByteArray::number(size.width()) + ' ' + QByteArray::number(size.height())
             + "\n255\nfew pixels";
    return claimingJpeg(smallPicture("jpeg"), size);
}

QByteArray scanBomb(int nScans, const QSize &size)
{
    const QByteArray scanMarker("\xff\xda");
    const QByteArray jpeg = claimingJpeg(smallPicture("jpeg", true), size);
    const int iLastScan = jpeg.lastIndexOf(scanMarker);
    const int iEnd = jpeg.lastIndexOf("\xff\xd9");
    const int nMore = qMax(0, nScans - jpeg.count(scanMarker));
    return jpeg.left(iEnd) + jpeg.mid(iLastScan, iEnd - iLastScan).repeated(nMore) + jpeg.mid(iEnd);
}

QByteArray textBomb(int nTexts)
{
    constexpr int FirstChunkEnd = 33;
    constexpr int LongestText = 7'900'000;
    constexpr int LengthBytes = 4; // that are before what is compressed
    const QByteArray text = qCompress(QByteArray(LongestText, 'x'), 9).mid(LengthBytes);
    const QByteArray chunk = pngChunk("zTXt", QByteArray("text\0\0", 6) + text);
    return smallPicture("png").insert(FirstChunkEnd, chunk.repeated(nTexts));
}

} // namespace Morvek::Tools
