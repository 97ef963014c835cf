// The stand-in capture library: its two functions against a producer in the same process.

#include <shm_cap.h>
#include <shm_cap_segment.h>

#include "capturesegment.h"
#include "picturecompare.h"
#include "processfigures.h"
#include "testpictures.h"

#include <QImage>
#include <QtTest>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <vector>

using namespace Morvek::Tests;
using namespace ShmCap;

namespace {

constexpr int NotReady = -1;
constexpr uchar Untouched = 0xee;

/** A buffer for one frame, and what came of the last attempt to fill it. */
class Frame
{
public:
    /** Whether a whole frame was copied. */
    bool read()
    {
        return cap_get_framebuffer_data(m_bytes.data(), int(FrameBytes)) == int(FrameBytes);
    }
    bool isFilledWith(uchar nByte) const
    {
        return m_bytes[0] == nByte
            && std::memcmp(m_bytes.data(), m_bytes.data() + 1, FrameBytes - 1) == 0;
    }
    uchar *data() { return m_bytes.data(); }

private:
    std::vector<uchar> m_bytes = std::vector<uchar>(FrameBytes, Untouched);
};

using Change = std::function<void(sSegmentHeader &)>;

} // namespace

Q_DECLARE_METATYPE(Change)

class TestShmCap : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void withoutAProducerThereIsNoCapture();
    void aProducerMakesTheCaptureReady();
    void theDeviceNumberDoesNotMatter();
    void aWholeFrameIsCopied();
    void everyFrameIsCopiedUntilTheNextOne_data();
    void everyFrameIsCopiedUntilTheNextOne();
    void aFrameThatIsBeingWrittenIsNotSeen();
    void aFrameThatIsBeingReplacedIsNotSeen();
    void thereIsNoFrameBeforeTheFirst();

    void anotherSizeGetsNothing_data();
    void anotherSizeGetsNothing();
    void noBufferGetsNothing();
    void aSegmentOfAnotherKindIsNotUsed_data();
    void aSegmentOfAnotherKindIsNotUsed();
    void aFrameNumberWithoutItsSlotGetsNothing_data();
    void aFrameNumberWithoutItsSlotGetsNothing();
    void aSegmentCutShortIsSurvived_data();
    void aSegmentCutShortIsSurvived();

    void aDeadProducerIsNoProducer();
    void aProducerThatCameBackIsFound();
    void aNewSegmentTakesTheOldOnesPlace();
    void aProducerRemovesItsSegment();

    void theNameComesFromTheEnvironment();
    void theDefaultNameIsUsedWithoutOne_data();
    void theDefaultNameIsUsedWithoutOne();
    void nothingStaysOpenBetweenCalls();

private:
    std::unique_ptr<SegmentName> m_pName;
};

void TestShmCap::init()
{
    m_pName = std::make_unique<SegmentName>();
}

void TestShmCap::cleanup()
{
    shm_unlink(m_pName->name().constData()); // what a dead producer left
    m_pName.reset();
}

void TestShmCap::withoutAProducerThereIsNoCapture()
{
    Frame frame;
    QCOMPARE(cap_framebuffer_init(0), NotReady);
    QCOMPARE(cap_framebuffer_init(0), NotReady);
    QVERIFY(!frame.read());
}

void TestShmCap::aProducerMakesTheCaptureReady()
{
    QCOMPARE(cap_framebuffer_init(0), NotReady);
    const CaptureSegment segment(m_pName->name());
    QVERIFY(segment.isValid());
    QVERIFY(cap_framebuffer_init(0) != NotReady);
    QVERIFY(cap_framebuffer_init(0) != NotReady);
}

void TestShmCap::theDeviceNumberDoesNotMatter()
{
    const CaptureSegment segment(m_pName->name());
    QCOMPARE(cap_framebuffer_init(1), cap_framebuffer_init(0));
    QCOMPARE(cap_framebuffer_init(-1), cap_framebuffer_init(0));
}

void TestShmCap::aWholeFrameIsCopied()
{
    CaptureSegment segment(m_pName->name());
    const QImage expected = gradientPicture(QSize(1920, 1080), 9, QImage::Format_RGB888);
    segment.writeFrame(expected);
    Frame frame;
    QVERIFY(frame.read()); // with or without cap_framebuffer_init()
    COMPARE_PICTURES(QImage(frame.data(), 1920, 1080, 1920 * 3, QImage::Format_RGB888), expected);
}

void TestShmCap::everyFrameIsCopiedUntilTheNextOne_data()
{
    QTest::addColumn<quint32>("nSlots");
    QTest::newRow("fewest slots") << quint32(2);
    QTest::newRow("three slots") << quint32(3);
    QTest::newRow("most slots") << LargestSlotCount;
}

void TestShmCap::everyFrameIsCopiedUntilTheNextOne()
{
    QFETCH(quint32, nSlots);
    CaptureSegment segment(m_pName->name(), nSlots);
    Frame frame;
    for (uchar nByte = 1; nByte <= 2 * nSlots + 1; ++nByte) {
        segment.writeFrame(nByte);
        for (int i = 0; i < 2; ++i) {
            QVERIFY(frame.read());
            QVERIFY(frame.isFilledWith(nByte));
        }
    }
}

void TestShmCap::aFrameThatIsBeingWrittenIsNotSeen()
{
    CaptureSegment segment(m_pName->name());
    Frame frame;
    segment.beginFrame(1);
    QVERIFY(!frame.read());
    segment.finishFrame();
    QVERIFY(frame.read());
    QVERIFY(frame.isFilledWith(1));
    segment.beginFrame(2);
    QVERIFY(frame.read());
    QVERIFY(frame.isFilledWith(1)); // the newest that is whole
    segment.finishFrame();
    QVERIFY(frame.read());
    QVERIFY(frame.isFilledWith(2));
}

// A producer that was overtaken by nobody, and yet writes into the slot of the newest frame.
void TestShmCap::aFrameThatIsBeingReplacedIsNotSeen()
{
    CaptureSegment segment(m_pName->name(), 2);
    Frame frame;
    segment.writeFrame(1);
    segment.header().m_nSlotSequence[1] = 2 * 3 - 1; // frame 3 follows 1 in its slot
    QVERIFY(!frame.read());
    segment.header().m_nSlotSequence[1] = 2 * 3;
    QVERIFY(!frame.read()); // whole, but another one
    segment.header().m_nNewestFrame = 3;
    QVERIFY(frame.read());
}

void TestShmCap::thereIsNoFrameBeforeTheFirst()
{
    const CaptureSegment segment(m_pName->name());
    Frame frame;
    QVERIFY(cap_framebuffer_init(0) != NotReady);
    QVERIFY(!frame.read());
    QVERIFY(frame.isFilledWith(Untouched));
}

void TestShmCap::anotherSizeGetsNothing_data()
{
    QTest::addColumn<int>("nSize");
    QTest::newRow("nothing") << 0;
    QTest::newRow("negative") << -1;
    QTest::newRow("one byte less") << int(FrameBytes) - 1;
    QTest::newRow("one byte more") << int(FrameBytes) + 1;
    QTest::newRow("four bytes a pixel") << 1920 * 1080 * 4;
    QTest::newRow("greatest") << std::numeric_limits<int>::max();
    QTest::newRow("smallest") << std::numeric_limits<int>::min();
}

void TestShmCap::anotherSizeGetsNothing()
{
    QFETCH(int, nSize);
    CaptureSegment segment(m_pName->name());
    segment.writeFrame(5);
    Frame frame;
    QVERIFY(cap_get_framebuffer_data(frame.data(), nSize) != nSize || nSize == 0);
    QVERIFY(frame.isFilledWith(Untouched));
    QVERIFY(frame.read());
}

void TestShmCap::noBufferGetsNothing()
{
    CaptureSegment segment(m_pName->name());
    segment.writeFrame(5);
    QVERIFY(cap_get_framebuffer_data(nullptr, int(FrameBytes)) != int(FrameBytes));
}

void TestShmCap::aSegmentOfAnotherKindIsNotUsed_data()
{
    QTest::addColumn<Change>("change");
    const auto row = [](const char *pName, Change change) { QTest::newRow(pName) << change; };
    row("not ready yet", [](auto &header) { header.m_nMagic = 0; });
    row("another magic", [](auto &header) { ++header.m_nMagic; });
    row("an older version", [](auto &header) { --header.m_nVersion; });
    row("a newer version", [](auto &header) { ++header.m_nVersion; });
    row("another width", [](auto &header) { header.m_nWidth = 1280; });
    row("another height", [](auto &header) { header.m_nHeight = 720; });
    row("rows with padding", [](auto &header) { header.m_nBytesPerLine += 4; });
    row("no slot", [](auto &header) { header.m_nSlots = 0; });
    row("a single slot", [](auto &header) { header.m_nSlots = 1; });
    row("too many slots", [](auto &header) { header.m_nSlots = LargestSlotCount + 1; });
    row("far too many slots", [](auto &header) { header.m_nSlots = 0xffffffffu; });
}

void TestShmCap::aSegmentOfAnotherKindIsNotUsed()
{
    QFETCH(Change, change);
    CaptureSegment segment(m_pName->name());
    segment.writeFrame(5);
    const sSegmentHeader good = segment.header();
    Frame frame;
    QVERIFY(cap_framebuffer_init(0) != NotReady);
    change(segment.header());
    QCOMPARE(cap_framebuffer_init(0), NotReady);
    QVERIFY(!frame.read());
    segment.header() = good;
    QVERIFY(cap_framebuffer_init(0) != NotReady);
    QVERIFY(frame.read());
}

void TestShmCap::aFrameNumberWithoutItsSlotGetsNothing_data()
{
    QTest::addColumn<quint64>("nNewestFrame");
    QTest::newRow("none") << quint64(0);
    QTest::newRow("not written yet") << quint64(2);
    QTest::newRow("in the same slot, later") << quint64(4);
    QTest::newRow("greatest") << std::numeric_limits<quint64>::max();
    QTest::newRow("half of the greatest") << std::numeric_limits<quint64>::max() / 2 + 2;
}

void TestShmCap::aFrameNumberWithoutItsSlotGetsNothing()
{
    QFETCH(quint64, nNewestFrame);
    CaptureSegment segment(m_pName->name());
    segment.writeFrame(5);
    segment.header().m_nNewestFrame = nNewestFrame;
    Frame frame;
    QVERIFY(!frame.read());
    segment.header().m_nNewestFrame = 1;
    QVERIFY(frame.read());
}

void TestShmCap::aSegmentCutShortIsSurvived_data()
{
    QTest::addColumn<int>("nBytes");
    QTest::addColumn<bool>("isReady");
    QTest::newRow("to nothing") << 0 << false;
    QTest::newRow("inside the header") << int(sizeof(sSegmentHeader)) - 1 << false;
    QTest::newRow("after the header") << int(sizeof(sSegmentHeader)) << true;
    QTest::newRow("before the frame") << int(slotOffset(1)) << true;
    QTest::newRow("inside the frame") << int(slotOffset(1) + FrameBytes / 2) << true;
    QTest::newRow("one byte before its end") << int(slotOffset(1) + FrameBytes) - 1 << true;
}

void TestShmCap::aSegmentCutShortIsSurvived()
{
    QFETCH(int, nBytes);
    QFETCH(bool, isReady);
    CaptureSegment segment(m_pName->name());
    segment.writeFrame(5); // in slot 1
    Frame frame;
    QVERIFY(frame.read());
    segment.resize(size_t(nBytes));
    QCOMPARE(cap_framebuffer_init(0) != NotReady, isReady);
    QVERIFY(!frame.read());
}

void TestShmCap::aDeadProducerIsNoProducer()
{
    CaptureSegment segment(m_pName->name());
    segment.writeFrame(5);
    Frame frame;
    QVERIFY(frame.read());
    segment.die();
    QCOMPARE(cap_framebuffer_init(0), NotReady);
    QVERIFY(!frame.read());
}

void TestShmCap::aProducerThatCameBackIsFound()
{
    Frame frame;
    CaptureSegment first(m_pName->name());
    first.writeFrame(5);
    QVERIFY(cap_framebuffer_init(0) != NotReady);
    QVERIFY(frame.read());
    first.die();
    QVERIFY(!frame.read());

    CaptureSegment second(m_pName->name(), 2);
    QVERIFY(cap_framebuffer_init(0) != NotReady);
    QVERIFY(!frame.read()); // it has none yet
    second.writeFrame(6);
    QVERIFY(frame.read()); // without another cap_framebuffer_init()
    QVERIFY(frame.isFilledWith(6));
}

void TestShmCap::aNewSegmentTakesTheOldOnesPlace()
{
    Frame frame;
    CaptureSegment first(m_pName->name());
    first.writeFrame(5);
    QVERIFY(frame.read());
    CaptureSegment second(m_pName->name());
    second.writeFrame(6);
    first.writeFrame(7); // to where nobody looks any more
    QVERIFY(frame.read());
    QVERIFY(frame.isFilledWith(6));
    first.die();
    QVERIFY(frame.read());
    QVERIFY(frame.isFilledWith(6));
}

void TestShmCap::aProducerRemovesItsSegment()
{
    const int hSegment = [this] {
        const CaptureSegment segment(m_pName->name());
        return shm_open(m_pName->name().constData(), O_RDONLY | O_CLOEXEC, 0);
    }();
    QVERIFY(hSegment != -1);
    close(hSegment);
    QCOMPARE(shm_open(m_pName->name().constData(), O_RDONLY | O_CLOEXEC, 0), -1);
    QCOMPARE(cap_framebuffer_init(0), NotReady);
}

void TestShmCap::theNameComesFromTheEnvironment()
{
    CaptureSegment segment(m_pName->name());
    segment.writeFrame(5);
    Frame frame;
    QVERIFY(frame.read());
    {
        const SegmentName otherName;
        QCOMPARE(cap_framebuffer_init(0), NotReady);
        QVERIFY(!frame.read());
        CaptureSegment other(otherName.name());
        other.writeFrame(6);
        QVERIFY(frame.read());
        QVERIFY(frame.isFilledWith(6));
    }
    QVERIFY(frame.read());
    QVERIFY(frame.isFilledWith(5));
}

void TestShmCap::theDefaultNameIsUsedWithoutOne_data()
{
    QTest::addColumn<bool>("isSet");
    QTest::newRow("no variable") << false;
    QTest::newRow("empty variable") << true;
}

void TestShmCap::theDefaultNameIsUsedWithoutOne()
{
    QFETCH(bool, isSet);
    const SegmentName name(QByteArray(""));
    if (!isSet)
        qunsetenv(SegmentNameVariable);
    QCOMPARE(qEnvironmentVariableIsSet(SegmentNameVariable), isSet);
    if (cap_framebuffer_init(0) != NotReady)
        QSKIP("another producer uses the default name on this machine");
    CaptureSegment segment(DefaultSegmentName);
    segment.writeFrame(5);
    Frame frame;
    QVERIFY(cap_framebuffer_init(0) != NotReady);
    QVERIFY(frame.read());
    QVERIFY(frame.isFilledWith(5));
}

void TestShmCap::nothingStaysOpenBetweenCalls()
{
    CaptureSegment segment(m_pName->name());
    segment.writeFrame(5);
    const int nOpen = openFileCount();
    Frame frame;
    for (int i = 0; i < 10; ++i) {
        QVERIFY(cap_framebuffer_init(0) != NotReady);
        QVERIFY(frame.read());
    }
    segment.die();
    for (int i = 0; i < 10; ++i) {
        QCOMPARE(cap_framebuffer_init(0), NotReady);
        QVERIFY(!frame.read());
    }
    QCOMPARE(openFileCount(), nOpen - 1); // the producer's own
}

QTEST_GUILESS_MAIN(TestShmCap)
#include "tst_shmcap.moc"
