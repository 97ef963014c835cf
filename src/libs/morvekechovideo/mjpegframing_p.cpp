#include "mjpegframing_p.h"

#include "headersearch_p.h"
#include "receivebuffer_p.h"

#include <algorithm>
#include <limits>

namespace Morvek::EchoVideo::Internal {

namespace {

constexpr int NewLineLength = 2;

bool isBlank(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

/*
 * Reads "Content-Length:", optional blanks and a decimal number with an optional sign, as a formatted
 * scan of the line would; unlike such a scan it does not wrap a number that is too long.
 * Returns 0 for anything else and for a negative number.
 */
qint64 announcedLength(const char *pLine, const char *pEnd)
{
    pLine += HeaderTitleLength;
    if (pLine >= pEnd || *pLine != ':')
        return 0;
    pLine = std::find_if_not(pLine + 1, pEnd, isBlank);
    bool isNegative = false;
    if (pLine != pEnd && (*pLine == '+' || *pLine == '-'))
        isNegative = *pLine++ == '-';
    constexpr qint64 LongestPicture = std::numeric_limits<qint32>::max();
    qint64 nLength = 0;
    for (; pLine != pEnd && *pLine >= '0' && *pLine <= '9'; ++pLine)
        nLength = std::min(nLength * 10 + (*pLine - '0'), LongestPicture);
    return isNegative ? 0 : nLength;
}

// Where the text after the next line end begins; 1 when there is none, which callers rely on.
qint64 afterNewLine(ReceiveBuffer &buffer, qint64 from)
{
    return qint64(buffer.firstNewLine(from)) + NewLineLength;
}

} // namespace

int cutPicture(ReceiveBuffer &baMJPEG, int iStart, const PictureHandler &handler)
{
    const int iNext = baMJPEG.lastHeader(iStart - 1);
    if (iNext == -1) {
        // One byte is kept: the search position of the next call is never before it.
        baMJPEG.removeFront(std::max(iStart, 1) - 1);
        return -1;
    }

    // By design a line end that is still missing counts as one just before the buffer: the length is
    // then read from all bytes that follow the header, or the picture taken from the buffer's front.
    const qint64 iEnd = afterNewLine(baMJPEG, iNext);
    const qint64 nLineEnd = iEnd < iNext ? baMJPEG.size() : iEnd;
    const qint64 totalLen =
        announcedLength(baMJPEG.constData() + iNext, baMJPEG.constData() + nLineEnd);
    const qint64 iDataStart = afterNewLine(baMJPEG, iEnd);
    if (iDataStart + totalLen > baMJPEG.size())
        return iNext;

    handler(baMJPEG.constData() + iDataStart, int(totalLen));
    baMJPEG.removeFront(int(iDataStart + totalLen));
    return -1;
}

} // namespace Morvek::EchoVideo::Internal
