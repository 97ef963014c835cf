#include "faultyparts.h"

#include "bombpictures.h"
#include "streampart.h"

#include <QBuffer>
#include <QImage>

namespace Morvek::Tools {

namespace {

constexpr char LengthTitle[] = "Content-Length: ";
constexpr int LengthLine = 2; // of a part's lines
constexpr int EmptyLine = 3;

QByteArray withLength(const QByteArray &picture, const QByteArray &length)
{
    sStreamPart part = streamPart(picture);
    part.m_lines[LengthLine] = LengthTitle + length;
    return part.bytes();
}

QByteArray withoutLength(const QByteArray &picture)
{
    sStreamPart part = streamPart(picture);
    part.m_lines.removeAt(LengthLine);
    return part.bytes();
}

QByteArray withLowerCase(const QByteArray &picture)
{
    sStreamPart part = streamPart(picture);
    for (QByteArray &line : part.m_lines)
        line = line.toLower();
    return part.bytes();
}

QByteArray withTrailingHeader(const QByteArray &picture)
{
    sStreamPart part = streamPart(picture);
    part.m_lines.insert(EmptyLine, "X-Timestamp: 12.5");
    return part.bytes();
}

QByteArray withWrongLength(const sFault &fault, const QByteArray &picture, QRandomGenerator &random)
{
    const int nDrawn = random.bounded(1, 1001) * (random.bounded(2) == 0 ? 1 : -1);
    const int nBy = fault.m_nBy.value_or(nDrawn);
    return withLength(picture, QByteArray::number(qMax(0, picture.size() + nBy)));
}

QByteArray withHugeLength(const sFault &fault, const QByteArray &picture)
{
    return withLength(picture, fault.m_nLength ? QByteArray::number(*fault.m_nLength)
                                               : QByteArray("99999999999999999999"));
}

QByteArray withoutLineEnd(const sFault &fault, const QByteArray &picture, QRandomGenerator &random)
{
    const auto eDrawn = eLine(random.bounded(int(eLine::Picture) + 1));
    const eLine eWithout = fault.m_eLine.value_or(eDrawn);
    QByteArray bytes = streamPart(picture).bytes();
    if (eWithout == eLine::Picture) {
        bytes.chop(2);
        return bytes;
    }
    int iLineEnd = bytes.indexOf("\r\n");
    for (int nLine = 0; nLine < int(eWithout); ++nLine)
        iLineEnd = bytes.indexOf("\r\n", iLineEnd + 2);
    return bytes.remove(iLineEnd, 2);
}

// In a comment, so that the picture stays one.
QByteArray withBoundaryInside(const sFault &fault, const QByteArray &picture)
{
    constexpr int StartMarker = 2;
    QByteArray text = "\r\n--morvek-echo-picture\r\n";
    if (fault.m_isWithHeader)
        text += "Content-Type: image/jpeg\r\nContent-Length: 5\r\n\r\nhello\r\n";
    const QByteArray comment =
        QByteArray("\xff\xfe\0", 3) + char(text.size() + 2) + text; // shorter than 256 bytes
    return streamPart(QByteArray(picture).insert(StartMarker, comment)).bytes();
}

QByteArray truncated(const sFault &fault, const QByteArray &picture, QRandomGenerator &random)
{
    const int nKept = fault.m_nBytes.value_or(random.bounded(qMax(1, picture.size())));
    sStreamPart part = streamPart(picture);
    part.m_picture.truncate(nKept);
    QByteArray bytes = part.bytes();
    bytes.chop(2); // what follows begins right where the picture breaks off
    return bytes;
}

// One of the places in a picture where a marker or the length behind it breaks off.
int drawnMarkerEnd(const QByteArray &picture, QRandomGenerator &random)
{
    QList<int> markers;
    for (int i = picture.indexOf('\xff'); i != -1; i = picture.indexOf('\xff', i + 1)) {
        if (i + 1 < picture.size() && picture[i + 1] != '\0')
            markers.append(i);
    }
    return markers.isEmpty() ? 0 : markers[random.bounded(markers.size())] + random.bounded(1, 4);
}

QByteArray withTruncatedJpeg(const sFault &fault, const QByteArray &picture,
                             QRandomGenerator &random)
{
    const int nKept = fault.m_nBytes ? *fault.m_nBytes : drawnMarkerEnd(picture, random);
    return streamPart(picture.left(nKept)).bytes();
}

QByteArray otherPicture(const sFault &fault, const QByteArray &picture)
{
    const QImage scaled = QImage::fromData(picture).scaled(fault.m_size.value_or(QSize(320, 240)));
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    scaled.save(&buffer, fault.m_baFormat.isEmpty() ? "png" : fault.m_baFormat.constData());
    return streamPart(bytes).bytes();
}

QByteArray dimensionBombPart(const sFault &fault)
{
    const QByteArray baFormat = fault.m_baFormat.isEmpty() ? "jpeg" : fault.m_baFormat;
    return streamPart(dimensionBomb(baFormat, fault.m_size.value_or(QSize(65500, 65500)))).bytes();
}

QByteArray scanBombPart(const sFault &fault)
{
    return streamPart(
               scanBomb(fault.m_nScans.value_or(5000), fault.m_size.value_or(QSize(4000, 4000))))
        .bytes();
}

} // namespace

QByteArray faultyPart(const sFault &fault, const QByteArray &picture, QRandomGenerator &random)
{
    switch (fault.m_eFault) {
    case eFault::TrailingHeader:
        return withTrailingHeader(picture);
    case eFault::WrongLength:
        return withWrongLength(fault, picture, random);
    case eFault::NegativeLength:
        return withLength(picture, QByteArray::number(-picture.size()));
    case eFault::HugeLength:
        return withHugeLength(fault, picture);
    case eFault::MissingLength:
        return withoutLength(picture);
    case eFault::LowerCaseHeader:
        return withLowerCase(picture);
    case eFault::MissingLineEnd:
        return withoutLineEnd(fault, picture, random);
    case eFault::BoundaryInPicture:
        return withBoundaryInside(fault, picture);
    case eFault::TruncatedPicture:
        return truncated(fault, picture, random);
    case eFault::TruncatedJpeg:
        return withTruncatedJpeg(fault, picture, random);
    case eFault::OtherPicture:
        return otherPicture(fault, picture);
    case eFault::DimensionBomb:
        return dimensionBombPart(fault);
    case eFault::ScanBomb:
        return scanBombPart(fault);
    case eFault::TextBomb:
        return streamPart(textBomb(fault.m_nTexts.value_or(900))).bytes();
    case eFault::EmptyPicture:
        return streamPart({}).bytes();
    default:
        return streamPart(picture).bytes();
    }
}

QByteArray randomBytes(const sFault &fault, QRandomGenerator &random, int nMost)
{
    QByteArray bytes(fault.m_nBytes ? *fault.m_nBytes : random.bounded(1, nMost + 1), '\0');
    for (char &byte : bytes)
        byte = char(random.bounded(256));
    return bytes;
}

QByteArray paddedPart(const QByteArray &picture, int nBytes)
{
    const int nPadding = qMax(0, nBytes - picture.size());
    return streamPart(picture + QByteArray(nPadding, '\0')).bytes();
}

} // namespace Morvek::Tools
