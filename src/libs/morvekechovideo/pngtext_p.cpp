#include "pngtext_p.h"

#include <QtEndian>

#include <initializer_list>

namespace Morvek::EchoVideo::Internal {

namespace {

constexpr char Signature[] = "\x89PNG\r\n\x1a\n";
constexpr int LengthBytes = 4; // of a chunk's data; then its name, the data and a checksum
constexpr int NameBytes = 4;
constexpr int ChecksumBytes = 4;

bool isText(const QByteArray &baName)
{
    for (const char *pText : {"tEXt", "zTXt", "iTXt", "iCCP"}) {
        if (baName == pText)
            return true;
    }
    return false;
}

} // namespace

qint64 pngTextBytes(const QByteArray &baPicture)
{
    if (!baPicture.startsWith(Signature))
        return 0;
    qint64 nBytes = 0;
    qint64 iChunk = qint64(sizeof(Signature)) - 1;
    while (iChunk + LengthBytes + NameBytes <= baPicture.size()) {
        const auto nLength = qFromBigEndian<quint32>(baPicture.constData() + iChunk);
        if (isText(baPicture.mid(int(iChunk) + LengthBytes, NameBytes)))
            nBytes += nLength;
        iChunk += qint64(LengthBytes) + NameBytes + nLength + ChecksumBytes;
    }
    return nBytes;
}

} // namespace Morvek::EchoVideo::Internal
