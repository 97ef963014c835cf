#ifndef SHM_CAP_SEGMENT_H
#define SHM_CAP_SEGMENT_H

#include <cstddef>
#include <cstdint>

/*
 * The shared memory in which a producer leaves captured frames.
 *
 * A POSIX shared memory object, named by the environment variable below or else by the default:
 *
 *     offset 0                     sSegmentHeader
 *     offset FirstSlotOffset       slot 0: one frame, 1920 x 1080 x 3 bytes
 *     ... + n x SlotStride         slot n
 *
 * All numbers are in native byte order. Frames are numbered from 1; frame f stands in slot
 * f modulo m_nSlots. The writer never waits for a reader:
 *
 *  - it creates the object anew (an old one of the same name is unlinked first), takes an exclusive
 *    flock() on it for as long as it lives, and writes m_nMagic last;
 *  - for frame f it sets the slot's sequence to 2f - 1 (being written), writes the frame, sets the
 *    sequence to 2f (whole), and then m_nNewestFrame to f;
 *  - at its end it unlinks the object.
 *
 * A reader takes frame m_nNewestFrame from its slot, and has it whole only if the slot's sequence
 * was 2f before and still is after the copy. A producer whose lock is gone is dead, however that
 * came about; a producer that came back is found under the name, in a new object. Readers use
 * pread() rather than a mapping, so that an object which is cut short cannot kill them.
 */
namespace ShmCap {

constexpr char SegmentNameVariable[] = "MORVEK_SHM_CAP_NAME";
constexpr char DefaultSegmentName[] = "/morvek_shm_cap";

constexpr std::uint64_t SegmentMagic = 0x4d56'4543'484f'4631; // "MVECHOF1"
constexpr std::uint32_t SegmentVersion = 1;
constexpr std::uint32_t FrameWidth = 1920;
constexpr std::uint32_t FrameHeight = 1080;
constexpr std::uint32_t BytesPerLine = FrameWidth * 3; // red, green, blue; no padding
constexpr std::uint32_t FrameBytes = BytesPerLine * FrameHeight;
constexpr std::uint32_t SlotCount = 3;
constexpr std::uint32_t LargestSlotCount = 16;

/** What stands at the front; plain integers, to be accessed atomically where two processes meet. */
struct sSegmentHeader
{
    std::uint64_t m_nMagic; ///< SegmentMagic once the rest is valid
    std::uint32_t m_nVersion;
    std::uint32_t m_nWidth;
    std::uint32_t m_nHeight;
    std::uint32_t m_nBytesPerLine;
    std::uint32_t m_nSlots; ///< 2 to LargestSlotCount
    std::uint32_t m_nReserved;
    std::uint64_t m_nNewestFrame;                    ///< 0 before the first frame
    std::uint64_t m_nSlotSequence[LargestSlotCount]; ///< 2f: frame f is whole; odd: being written
};

constexpr std::size_t FirstSlotOffset = 4096;
constexpr std::size_t SlotStride = (std::size_t(FrameBytes) + 4095) / 4096 * 4096;

constexpr std::size_t slotOffset(std::uint32_t nSlot)
{
    return FirstSlotOffset + std::size_t(nSlot) * SlotStride;
}

constexpr std::size_t segmentSize(std::uint32_t nSlots)
{
    return slotOffset(nSlots);
}

static_assert(sizeof(sSegmentHeader) <= FirstSlotOffset);

} // namespace ShmCap

#endif // SHM_CAP_SEGMENT_H
