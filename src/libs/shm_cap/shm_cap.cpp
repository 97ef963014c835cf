#include "shm_cap.h"

#include "shm_cap_segment.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>

namespace {

using namespace ShmCap;

constexpr int NotReady = -1;
constexpr int Ready = 0;
constexpr int NoFrame = 0;
constexpr int CopyAttempts = 3; // a writer overtakes a reader only where frames come very fast

/* The producer's shared memory, opened for one call: so one that came back is found by itself. */
class Segment
{
public:
    Segment()
    {
        const char *pName = std::getenv(SegmentNameVariable);
        if (!pName || !*pName)
            pName = DefaultSegmentName;
        m_nFile = shm_open(pName, O_RDONLY | O_CLOEXEC, 0);
    }

    ~Segment()
    {
        if (m_nFile != -1)
            close(m_nFile);
    }

    Segment(const Segment &) = delete;
    Segment &operator=(const Segment &) = delete;

    bool isUsable()
    {
        if (m_nFile == -1 || !hasProducer() || !readHeader())
            return false;
        return m_header.m_nMagic == SegmentMagic && m_header.m_nVersion == SegmentVersion
            && m_header.m_nWidth == FrameWidth && m_header.m_nHeight == FrameHeight
            && m_header.m_nBytesPerLine == BytesPerLine && m_header.m_nSlots >= 2
            && m_header.m_nSlots <= LargestSlotCount;
    }

    /* Copies the newest frame; false unless it is whole. */
    bool readFrame(unsigned char *pBuffer)
    {
        for (int i = 0; i < CopyAttempts; ++i) {
            if (!readHeader() || m_header.m_nNewestFrame == 0)
                return false;
            const std::uint64_t nFrame = m_header.m_nNewestFrame;
            const auto nSlot = static_cast<std::uint32_t>(nFrame % m_header.m_nSlots);
            if (!isWhole(nFrame, nSlot))
                continue;
            // Header, frame, header: in this order also where a processor reads ahead.
            std::atomic_thread_fence(std::memory_order_acquire);
            if (!readAt(pBuffer, FrameBytes, slotOffset(nSlot)))
                return false;
            std::atomic_thread_fence(std::memory_order_acquire);
            if (readHeader() && isWhole(nFrame, nSlot))
                return true;
        }
        return false;
    }

private:
    /* A living producer holds a lock that nobody else can take. */
    bool hasProducer() const
    {
        if (flock(m_nFile, LOCK_SH | LOCK_NB) == 0) {
            flock(m_nFile, LOCK_UN);
            return false;
        }
        return errno == EWOULDBLOCK;
    }

    bool isWhole(std::uint64_t nFrame, std::uint32_t nSlot) const
    {
        return m_header.m_nSlotSequence[nSlot] == 2 * nFrame;
    }

    bool readHeader()
    {
        const std::uint32_t nSlots = m_header.m_nSlots;
        if (!readAt(&m_header, sizeof m_header, 0))
            return false;
        // What was checked once must not change under the reader's feet.
        return nSlots == 0 || m_header.m_nSlots == nSlots;
    }

    bool readAt(void *pTarget, std::size_t nBytes, std::size_t nOffset) const
    {
        auto *pByte = static_cast<unsigned char *>(pTarget);
        while (nBytes > 0) {
            const ssize_t nRead = pread(m_nFile, pByte, nBytes, static_cast<off_t>(nOffset));
            if (nRead < 0 && errno == EINTR)
                continue;
            if (nRead <= 0)
                return false;
            pByte += nRead;
            nOffset += static_cast<std::size_t>(nRead);
            nBytes -= static_cast<std::size_t>(nRead);
        }
        return true;
    }

    int m_nFile = -1;
    sSegmentHeader m_header{};
};

} // namespace

int cap_framebuffer_init(int /*device*/)
{
    return Segment().isUsable() ? Ready : NotReady;
}

int cap_get_framebuffer_data(unsigned char *buffer, int size)
{
    if (!buffer || size != static_cast<int>(FrameBytes))
        return NoFrame;
    Segment segment;
    return segment.isUsable() && segment.readFrame(buffer) ? size : NoFrame;
}
