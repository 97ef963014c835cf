// The stand-in capture library with a producer in another process, which may be killed.

#include <shm_cap.h>
#include <shm_cap_segment.h>

#include "capturesegment.h"
#include "producerprocess.h"

#include <QtTest>

#include <sys/mman.h>

#include <cstring>
#include <vector>

using namespace Morvek::Tests;
using namespace ShmCap;

namespace {

constexpr int NotReady = -1;

/** The byte that a whole frame is made of; -1 if there is no frame, -2 if it is made of several. */
int frameByte()
{
    std::vector<uchar> frame(FrameBytes);
    if (cap_get_framebuffer_data(frame.data(), int(FrameBytes)) != int(FrameBytes))
        return -1;
    return std::memcmp(frame.data(), frame.data() + 1, FrameBytes - 1) == 0 ? frame[0] : -2;
}

} // namespace

class TestShmCapProcesses : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { shm_unlink(m_name.name().constData()); }

    void framesOfAnotherProcessAreRead();
    void aKilledProducerIsNoProducer_data();
    void aKilledProducerIsNoProducer();
    void aProducerThatEndsLeavesNothing();

private:
    const SegmentName m_name;
};

void TestShmCapProcesses::framesOfAnotherProcessAreRead()
{
    ProducerProcess producer(m_name.name());
    QVERIFY(producer.command("solid", 7));
    QVERIFY(cap_framebuffer_init(0) != NotReady);
    QCOMPARE(frameByte(), 7);
    QVERIFY(producer.command("solid", 8));
    QCOMPARE(frameByte(), 8);
}

void TestShmCapProcesses::aKilledProducerIsNoProducer_data()
{
    QTest::addColumn<bool>("isInTheMiddle");
    QTest::newRow("between two frames") << false;
    QTest::newRow("in the middle of a frame") << true;
}

void TestShmCapProcesses::aKilledProducerIsNoProducer()
{
    QFETCH(bool, isInTheMiddle);
    {
        ProducerProcess producer(m_name.name());
        QVERIFY(producer.command("solid", 7));
        if (isInTheMiddle)
            QVERIFY(producer.command("begin", 8));
        QCOMPARE(frameByte(), 7);
        producer.kill();
    }
    QCOMPARE(frameByte(), -1);
    QCOMPARE(cap_framebuffer_init(0), NotReady);

    ProducerProcess next(m_name.name());
    QVERIFY(next.command("begin", 9));
    QVERIFY(cap_framebuffer_init(0) != NotReady);
    QCOMPARE(frameByte(), -1); // and not the dead one's
    QVERIFY(next.command("solid", 10));
    QCOMPARE(frameByte(), 10);
}

void TestShmCapProcesses::aProducerThatEndsLeavesNothing()
{
    ProducerProcess producer(m_name.name());
    QVERIFY(producer.command("solid", 7));
    QCOMPARE(frameByte(), 7);
    producer.end();
    QCOMPARE(frameByte(), -1);
    QCOMPARE(cap_framebuffer_init(0), NotReady);
    QCOMPARE(shm_unlink(m_name.name().constData()), -1); // gone already
}

QTEST_GUILESS_MAIN(TestShmCapProcesses)
#include "tst_shmcap_processes.moc"
