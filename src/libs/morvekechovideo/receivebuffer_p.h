#ifndef MORVEK_ECHOVIDEO_RECEIVEBUFFER_P_H
#define MORVEK_ECHOVIDEO_RECEIVEBUFFER_P_H

#include <QByteArray>

#include <array>

QT_BEGIN_NAMESPACE
class QIODevice;
QT_END_NAMESPACE

namespace Morvek::EchoVideo::Internal {

/** Bytes; room for pictures is kept from one to the next up to this, far above a device's pictures. */
constexpr int LargestKeptRoom = 32 * 1024 * 1024;

/**
 * What was received of a stream and is not cut off yet, with what is known about these bytes.
 *
 * A picture comes in hundreds of reads, after each of which the same two questions are asked about
 * the same bytes. Each byte is looked at once: what was found stays true while bytes are only added
 * at the end and cut off at the front. Cutting off moves nothing; the room is used again as soon as
 * that costs no more than the cuts gained. Answers are those of a search through all the bytes.
 *
 * All indexes count from the first byte that is left. One thread at a time.
 */
class ReceiveBuffer
{
public:
    ReceiveBuffer() = default;
    /** Implicit: bytes are a buffer about which nothing is known yet. */
    ReceiveBuffer(const QByteArray &bytes);

    /** Bytes that are left. */
    int size() const { return m_bytes.size() - m_nCut; }
    /** The first of them. */
    const char *constData() const { return m_bytes.constData() + m_nCut; }
    /** A copy of what is left. */
    QByteArray toByteArray() const { return QByteArray(constData(), size()); }

    /**
     * Adds all that the source has.
     * @throw std::bad_alloc  without memory for it; some of it may then be missing
     */
    void appendAllOf(QIODevice &source);
    /** Cuts off the first nBytes, which are no more than there are. */
    void removeFront(int nBytes);

    /** Where the last "Content-Length" that starts at or before from does; -1 if none does. */
    int lastHeader(int from);
    /** Where the first CR LF at or after from starts, from >= 0; -1 if there is none. */
    int firstNewLine(qint64 from);

private:
    /** No line end starts at these places; they count from the first byte ever received. */
    struct sGap
    {
        qint64 m_nBegin = 0;
        qint64 m_nEnd = 0;
    };

    void makeRoom(int nBytes);
    void searchNewBytes();
    sGap &gapAround(qint64 nPlace);

    QByteArray m_bytes; // of which the first m_nCut are cut off
    int m_nCut = 0;
    // Places in the stream, counted from the first byte ever received.
    qint64 m_nFront = 0;    // the first byte that is left
    qint64 m_nSearched = 0; // headers that start and end before this are known
    qint64 m_nNewestHeader = -1;
    qint64 m_nOlderHeader = -1; // the one before it
    std::array<sGap, 4> m_gaps; // behind two headers, behind their lines
    std::size_t m_nOldestGap = 0;
};

} // namespace Morvek::EchoVideo::Internal

#endif // MORVEK_ECHOVIDEO_RECEIVEBUFFER_P_H
