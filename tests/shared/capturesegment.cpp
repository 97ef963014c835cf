#include "capturesegment.h"

#include <QAtomicInt>
#include <QCoreApplication>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cstring>

namespace Morvek::Tests {

using namespace ShmCap;

namespace {

void store(std::uint64_t &nTarget, quint64 nValue)
{
    __atomic_store_n(&nTarget, nValue, __ATOMIC_RELEASE);
}

} // namespace

QByteArray uniqueSegmentName()
{
    static QAtomicInt nCount;
    return "/morvek_test_" + QByteArray::number(QCoreApplication::applicationPid()) + '_'
         + QByteArray::number(nCount.fetchAndAddRelaxed(1));
}

SegmentName::SegmentName(const QByteArray &baName)
    : m_baName(baName)
    , m_baPreviousName(qgetenv(SegmentNameVariable))
{
    qputenv(SegmentNameVariable, m_baName);
}

SegmentName::~SegmentName()
{
    if (m_baPreviousName.isNull())
        qunsetenv(SegmentNameVariable);
    else
        qputenv(SegmentNameVariable, m_baPreviousName);
}

CaptureSegment::CaptureSegment(const QByteArray &baName, quint32 nSlots)
    : m_baName(baName)
    , m_nSlots(nSlots)
{
    const size_t nBytes = segmentSize(nSlots);
    shm_unlink(m_baName.constData());
    m_hFile = shm_open(m_baName.constData(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    // Waits, because a reader may try the lock at this moment.
    if (m_hFile == -1 || flock(m_hFile, LOCK_EX) != 0 || ftruncate(m_hFile, off_t(nBytes)) != 0)
        return;
    void *const pBytes = mmap(nullptr, nBytes, PROT_READ | PROT_WRITE, MAP_SHARED, m_hFile, 0);
    if (pBytes == MAP_FAILED)
        return;
    m_pBytes = static_cast<uchar *>(pBytes);
    m_isAlive = true;
    header().m_nVersion = SegmentVersion;
    header().m_nWidth = FrameWidth;
    header().m_nHeight = FrameHeight;
    header().m_nBytesPerLine = BytesPerLine;
    header().m_nSlots = nSlots;
    store(header().m_nMagic, SegmentMagic);
}

CaptureSegment::~CaptureSegment()
{
    if (m_isAlive)
        shm_unlink(m_baName.constData());
    die();
}

void CaptureSegment::writeFrame(uchar nByte)
{
    beginFrame(nByte, 0);
    finishFrame();
}

void CaptureSegment::writeFrame(const QImage &picture)
{
    const QImage frame = picture.convertToFormat(QImage::Format_RGB888);
    beginFrame(0, 0);
    uchar *pTarget = slot(quint32(m_nFrame % m_nSlots));
    for (int y = 0; y < frame.height(); ++y, pTarget += BytesPerLine)
        std::memcpy(pTarget, frame.constScanLine(y), BytesPerLine);
    store(header().m_nSlotSequence[m_nFrame % m_nSlots], 2 * m_nFrame);
    store(header().m_nNewestFrame, m_nFrame);
}

void CaptureSegment::beginFrame(uchar nByte, size_t nBytes)
{
    ++m_nFrame;
    m_nByte = nByte;
    store(header().m_nSlotSequence[m_nFrame % m_nSlots], 2 * m_nFrame - 1);
    std::atomic_thread_fence(std::memory_order_release); // no byte before the mark
    std::memset(slot(quint32(m_nFrame % m_nSlots)), nByte, nBytes);
}

void CaptureSegment::finishFrame()
{
    std::memset(slot(quint32(m_nFrame % m_nSlots)), m_nByte, FrameBytes);
    store(header().m_nSlotSequence[m_nFrame % m_nSlots], 2 * m_nFrame);
    store(header().m_nNewestFrame, m_nFrame);
}

sSegmentHeader &CaptureSegment::header()
{
    return *reinterpret_cast<sSegmentHeader *>(m_pBytes);
}

uchar *CaptureSegment::slot(quint32 nSlot)
{
    return m_pBytes + slotOffset(nSlot);
}

void CaptureSegment::resize(size_t nBytes)
{
    if (ftruncate(m_hFile, off_t(nBytes)) != 0)
        qFatal("the shared memory cannot be resized");
}

void CaptureSegment::die()
{
    m_isAlive = false;
    // A mapping keeps the lock as well as the descriptor does.
    if (m_pBytes)
        munmap(m_pBytes, segmentSize(m_nSlots));
    m_pBytes = nullptr;
    if (m_hFile != -1)
        close(m_hFile);
    m_hFile = -1;
}

} // namespace Morvek::Tests
