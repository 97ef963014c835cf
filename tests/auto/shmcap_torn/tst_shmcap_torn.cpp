// The stand-in capture library while frames are written as fast as they can be: no frame that is
// delivered is made of two.

#include <shm_cap.h>
#include <shm_cap_segment.h>

#include "capturesegment.h"

#include <QtTest>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

using namespace Morvek::Tests;
using namespace ShmCap;

namespace {

constexpr int Readers = 2;
constexpr int FramesOfEachReader = 40;
constexpr int Burst = 24; // frames without a break

/** What one reader got. */
struct sFigures
{
    std::atomic_int m_nCalls{0};
    std::atomic_int m_nDelivered{0};
    std::atomic_int m_nRefused{0};
    std::atomic_int m_nTorn{0};
    std::atomic_int m_nOlder{0}; // than one that was delivered before
};

void readFrames(sFigures &figures)
{
    std::vector<uchar> frame(FrameBytes);
    int nLast = 0;
    while (figures.m_nDelivered < FramesOfEachReader) {
        const bool isWhole =
            cap_get_framebuffer_data(frame.data(), int(FrameBytes)) == int(FrameBytes);
        ++figures.m_nCalls;
        if (!isWhole) {
            ++figures.m_nRefused;
            continue;
        }
        ++figures.m_nDelivered;
        figures.m_nTorn += std::memcmp(frame.data(), frame.data() + 1, FrameBytes - 1) != 0;
        // The bytes count up and begin again after 255; between two frames that are delivered one
        // after the other, far less than half a round passes.
        figures.m_nOlder += figures.m_nDelivered > 1 && uchar(frame[0] - nLast) > 0xe0;
        nLast = frame[0];
    }
}

/** Waits until every reader that still reads has made a whole call meanwhile. */
void letEveryReaderCall(const std::array<sFigures, Readers> &figures)
{
    std::array<int, Readers> calls{};
    for (size_t i = 0; i < Readers; ++i)
        calls[i] = figures[i].m_nCalls;
    for (size_t i = 0; i < Readers; ++i) {
        while (figures[i].m_nCalls < calls[i] + 2 && figures[i].m_nDelivered < FramesOfEachReader)
            std::this_thread::yield();
    }
}

} // namespace

class TestShmCapTorn : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void noDeliveredFrameIsTorn_data();
    void noDeliveredFrameIsTorn();
};

void TestShmCapTorn::noDeliveredFrameIsTorn_data()
{
    QTest::addColumn<quint32>("nSlots");
    QTest::newRow("two slots") << quint32(2);
    QTest::newRow("three slots") << quint32(3);
    QTest::newRow("16 slots") << LargestSlotCount;
}

void TestShmCapTorn::noDeliveredFrameIsTorn()
{
    QFETCH(quint32, nSlots);
    const SegmentName name;
    CaptureSegment segment(name.name(), nSlots);
    QVERIFY(segment.isValid());
    segment.writeFrame(0);

    std::array<sFigures, Readers> figures;
    std::vector<std::thread> readers;
    for (sFigures &figure : figures)
        readers.emplace_back([&figure] { readFrames(figure); });
    int nWritten = 0;
    const auto isDone = [&] {
        return std::all_of(figures.begin(), figures.end(), [](const sFigures &figure) {
            return figure.m_nDelivered >= FramesOfEachReader;
        });
    };
    while (!isDone()) {
        for (int i = 0; i < Burst; ++i)
            segment.writeFrame(uchar(++nWritten));
        // A break, in which a call must succeed however slow the machine.
        letEveryReaderCall(figures);
    }
    for (std::thread &reader : readers)
        reader.join();

    for (const sFigures &figure : figures) {
        qInfo("%d frames written, %d delivered, %d refused", nWritten, figure.m_nDelivered.load(),
              figure.m_nRefused.load());
        QCOMPARE(figure.m_nTorn.load(), 0);
        QCOMPARE(figure.m_nOlder.load(), 0);
        QCOMPARE(figure.m_nDelivered.load(), FramesOfEachReader);
    }
}

QTEST_GUILESS_MAIN(TestShmCapTorn)
#include "tst_shmcap_torn.moc"
