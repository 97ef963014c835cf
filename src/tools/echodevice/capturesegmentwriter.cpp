#include "capturesegmentwriter.h"

#include <shm_cap/shm_cap_segment.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>

namespace Morvek::Tools {

using namespace ShmCap;

namespace {

QByteArray segmentName(const QString &strName)
{
    QByteArray name = strName.toLocal8Bit();
    if (name.isEmpty())
        name = qgetenv(SegmentNameVariable);
    if (name.isEmpty())
        name = DefaultSegmentName;
    return name.startsWith('/') ? name : '/' + name;
}

sSegmentHeader &headerOf(uchar *pSegment)
{
    return *reinterpret_cast<sSegmentHeader *>(pSegment);
}

// Another process reads these numbers at any time.
template <typename Number>
void publish(Number &target, Number value)
{
    __atomic_store_n(&target, value, __ATOMIC_RELEASE);
}

} // namespace

CaptureSegmentWriter::~CaptureSegmentWriter()
{
    if (m_pSegment) {
        shm_unlink(m_name.constData());
        munmap(m_pSegment, segmentSize(SlotCount));
    }
    if (m_nFile != -1)
        close(m_nFile);
}

bool CaptureSegmentWriter::open(const QString &strName)
{
    m_name = segmentName(strName);
    if (isTaken()) {
        m_strError = QStringLiteral("another producer writes to shared memory %1").arg(name());
        return false;
    }
    shm_unlink(m_name.constData());
    return create();
}

bool CaptureSegmentWriter::isTaken() const
{
    const int nFile = shm_open(m_name.constData(), O_RDONLY | O_CLOEXEC, 0);
    if (nFile == -1)
        return false;
    const bool isLocked = flock(nFile, LOCK_SH | LOCK_NB) == -1 && errno == EWOULDBLOCK;
    close(nFile);
    return isLocked;
}

bool CaptureSegmentWriter::create()
{
    m_nFile = shm_open(m_name.constData(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    if (m_nFile == -1)
        return fail("create");
    if (flock(m_nFile, LOCK_EX) == -1)
        return fail("lock");
    const std::size_t nBytes = segmentSize(SlotCount);
    // Allocated now: memory that is missing later would end this process in the middle of a frame.
    const int nError = posix_fallocate(m_nFile, 0, off_t(nBytes));
    if (nError != 0) {
        errno = nError;
        return fail("allocate");
    }
    void *const pSegment = mmap(nullptr, nBytes, PROT_READ | PROT_WRITE, MAP_SHARED, m_nFile, 0);
    if (pSegment == MAP_FAILED)
        return fail("map");
    m_pSegment = static_cast<uchar *>(pSegment);
    sSegmentHeader &header = headerOf(m_pSegment);
    header.m_nVersion = SegmentVersion;
    header.m_nWidth = FrameWidth;
    header.m_nHeight = FrameHeight;
    header.m_nBytesPerLine = BytesPerLine;
    header.m_nSlots = SlotCount;
    publish(header.m_nMagic, SegmentMagic);
    return true;
}

bool CaptureSegmentWriter::fail(const char *pWhat)
{
    m_strError = QStringLiteral("cannot %1 shared memory %2: %3")
                     .arg(QLatin1String(pWhat), name(), QString::fromLocal8Bit(strerror(errno)));
    if (m_nFile != -1)
        shm_unlink(m_name.constData());
    return false;
}

void CaptureSegmentWriter::write(const QImage &picture)
{
    const QImage frame = picture.convertToFormat(QImage::Format_RGB888);
    if (!isOpen() || frame.sizeInBytes() != qsizetype(FrameBytes))
        return;
    ++m_nFrame;
    sSegmentHeader &header = headerOf(m_pSegment);
    const auto nSlot = quint32(m_nFrame % SlotCount);
    std::uint64_t &sequence = header.m_nSlotSequence[nSlot];
    publish<std::uint64_t>(sequence, 2 * m_nFrame - 1);
    std::atomic_thread_fence(std::memory_order_seq_cst);
    std::memcpy(m_pSegment + slotOffset(nSlot), frame.constBits(), FrameBytes);
    publish<std::uint64_t>(sequence, 2 * m_nFrame);
    publish<std::uint64_t>(header.m_nNewestFrame, m_nFrame);
}

} // namespace Morvek::Tools
