#include "receivebuffer_p.h"

#include "headersearch_p.h"

#include <QIODevice>

#include <algorithm>
#include <cstring>

namespace Morvek::EchoVideo::Internal {

namespace {

constexpr qint64 MostAtOnce = 256 * 1024 * 1024; // bytes; the rest is left for the next read

// The first CR LF in these bytes, or their last byte, behind which a line feed may follow.
const char *firstNewLineIn(const char *pBegin, const char *pEnd)
{
    for (const char *pNext = pBegin; pNext < pEnd - 1; ++pNext) {
        pNext = static_cast<const char *>(std::memchr(pNext, '\r', std::size_t(pEnd - 1 - pNext)));
        if (!pNext)
            break;
        if (pNext[1] == '\n')
            return pNext;
    }
    return std::max(pBegin, pEnd - 1);
}

} // namespace

ReceiveBuffer::ReceiveBuffer(const QByteArray &bytes)
    : m_bytes(bytes)
{}

void ReceiveBuffer::appendAllOf(QIODevice &source)
{
    const int nOffered = int(std::min(source.bytesAvailable(), MostAtOnce));
    makeRoom(nOffered);
    const int nBefore = m_bytes.size();
    m_bytes.resize(nBefore + nOffered);
    const qint64 nRead = source.read(m_bytes.data() + nBefore, nOffered);
    if (nRead != nOffered)
        m_bytes.resize(nBefore + int(std::max<qint64>(nRead, 0)));
}

void ReceiveBuffer::removeFront(int nBytes)
{
    m_nCut += nBytes;
    m_nFront += nBytes;
}

// What is left moves only if as much was cut off, or will have been added, since it moved last: each
// byte moves once or twice, however many reads there are.
void ReceiveBuffer::makeRoom(int nBytes)
{
    const bool isMostlyCut = m_nCut > 0 && m_nCut >= size();
    const bool isRoomKept = m_bytes.capacity() <= LargestKeptRoom;
    if (isMostlyCut && isRoomKept) {
        const int nLeft = size();
        std::memmove(m_bytes.data(), constData(), std::size_t(nLeft));
        m_bytes.resize(nLeft);
        m_nCut = 0;
    }
    const bool isWideEnough = m_bytes.size() + nBytes <= m_bytes.capacity();
    if (isWideEnough && (isRoomKept || !isMostlyCut))
        return;
    QByteArray bytes;
    bytes.reserve(2 * (size() + nBytes));
    bytes.append(constData(), size());
    m_bytes.swap(bytes);
    m_nCut = 0;
}

int ReceiveBuffer::lastHeader(int from)
{
    searchNewBytes();
    const qint64 nLast = m_nFront + from;
    if (m_nNewestHeader < m_nFront)
        return -1;
    if (m_nNewestHeader <= nLast)
        return int(m_nNewestHeader - m_nFront);
    if (m_nOlderHeader < m_nFront)
        return -1;
    if (m_nOlderHeader <= nLast)
        return int(m_nOlderHeader - m_nFront);
    // Not asked by a reader, which looks at the newest two.
    const char *const pFound = lastHeaderIn(constData(), constData() + from + HeaderTitleLength);
    return pFound ? int(pFound - constData()) : -1;
}

void ReceiveBuffer::searchNewBytes()
{
    const qint64 nEnd = m_nFront + size();
    if (m_nSearched == nEnd)
        return;
    const qint64 nFirst = std::max(m_nFront, m_nSearched - (HeaderTitleLength - 1));
    m_nSearched = nEnd;
    const char *const pNew = constData() + (nFirst - m_nFront);
    const char *const pNewest = lastHeaderIn(pNew, constData() + size());
    if (!pNewest)
        return;
    const char *const pOlder = lastHeaderIn(pNew, pNewest);
    m_nOlderHeader = pOlder ? m_nFront + (pOlder - constData()) : m_nNewestHeader;
    m_nNewestHeader = m_nFront + (pNewest - constData());
}

int ReceiveBuffer::firstNewLine(qint64 from)
{
    if (from >= size())
        return -1;
    sGap &gap = gapAround(m_nFront + from);
    const char *const pEnd = constData() + size();
    const char *const pFound = firstNewLineIn(constData() + (gap.m_nEnd - m_nFront), pEnd);
    gap.m_nEnd = m_nFront + (pFound - constData());
    return pEnd - pFound > 1 ? int(pFound - constData()) : -1;
}

// A gap that the place lies in, or just behind; a new one, empty, if there is none.
ReceiveBuffer::sGap &ReceiveBuffer::gapAround(qint64 nPlace)
{
    const auto isAround = [nPlace](const sGap &gap) {
        return gap.m_nBegin <= nPlace && nPlace <= gap.m_nEnd;
    };
    const auto itKnown = std::find_if(m_gaps.begin(), m_gaps.end(), isAround);
    if (itKnown != m_gaps.end())
        return *itKnown;
    sGap &gap = m_gaps[m_nOldestGap];
    m_nOldestGap = (m_nOldestGap + 1) % m_gaps.size();
    gap = {nPlace, nPlace};
    return gap;
}

} // namespace Morvek::EchoVideo::Internal
