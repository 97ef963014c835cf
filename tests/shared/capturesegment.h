#ifndef MORVEK_TESTS_CAPTURESEGMENT_H
#define MORVEK_TESTS_CAPTURESEGMENT_H

#include <shm_cap_segment.h>

#include <QByteArray>
#include <QImage>
#include <QtGlobal>

#include <cstddef>

namespace Morvek::Tests {

/** A name that no other capture on this machine has. */
QByteArray uniqueSegmentName();

/** Lets the capture library of this process use a name while it lives. */
class SegmentName
{
public:
    explicit SegmentName(const QByteArray &baName = uniqueSegmentName());
    ~SegmentName();

    const QByteArray &name() const { return m_baName; }

private:
    Q_DISABLE_COPY(SegmentName)

    const QByteArray m_baName;
    const QByteArray m_baPreviousName;
};

/**
 * A producer of captured frames as the segment's header has it, and one with knobs. Everything is
 * carried out at once, on the caller's thread.
 */
class CaptureSegment
{
public:
    /** Creates the shared memory, in the place of what had the name; no frame is in it yet. */
    explicit CaptureSegment(const QByteArray &baName, quint32 nSlots = ShmCap::SlotCount);
    /** Ends as a producer should: the memory is removed under its name. */
    ~CaptureSegment();

    bool isValid() const { return m_pBytes != nullptr; }

    /** Writes a frame whose bytes are all the same. */
    void writeFrame(uchar nByte);
    /** Writes a picture of 1920 x 1080 pixels of any format. */
    void writeFrame(const QImage &picture);
    /** Begins a frame whose bytes are all the same, and writes so many of them. */
    void beginFrame(uchar nByte, size_t nBytes = ShmCap::FrameBytes / 2);
    /** Writes the rest of the frame that was begun. */
    void finishFrame();

    /** For wrong values; whoever reads meanwhile sees them at once. */
    ShmCap::sSegmentHeader &header();
    uchar *slot(quint32 nSlot);
    /** Gives the memory another size. */
    void resize(size_t nBytes);
    /** Dies: the memory stays, nobody holds its lock, and nothing more can be written. */
    void die();

private:
    Q_DISABLE_COPY(CaptureSegment)

    const QByteArray m_baName;
    const quint32 m_nSlots;
    int m_hFile = -1;
    uchar *m_pBytes = nullptr;
    quint64 m_nFrame = 0; // the last one that was begun
    uchar m_nByte = 0;    // of the frame that was begun
    bool m_isAlive = false;
};

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_CAPTURESEGMENT_H
