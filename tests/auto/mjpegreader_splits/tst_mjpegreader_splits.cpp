// Every split of a stream of two pictures, through the reader's own receiving: from the bytes that a
// socket has to what the decoder is given, with the time set by hand.

#include <pixmapreaderremotemjpeg_p.h>

#include <fedsocket.h>
#include <handclock.h>
#include <plainreceiver.h>
#include <testpictures.h>

#include <QtTest>

using namespace Morvek::EchoVideo::Internal;
using namespace Morvek::Tests;

namespace {

constexpr int Due = 80; // ms after a picture, the next is handed over

const QByteArray First("first picture");
const QByteArray Second("the second");

QByteArray stream()
{
    return mjpegPart(First) + mjpegPart(Second);
}

// The reader, the reference beside it, and what the decoder would be given.
class Receiving
{
public:
    Receiving()
        : m_reader(m_image)
    {}

    void begin()
    {
        HandClock::set(0);
        m_reader.m_time = QTime::currentTime();
        m_reader.m_MJPEGBuffer.clear();
        m_received = ReceiveBuffer();
        m_plain = PlainReceiver();
    }

    /** Returns false where reader and reference part. */
    bool read(const QByteArray &bytes, int nMsLater = Due)
    {
        HandClock::advance(nMsLater);
        m_socket.feed(bytes);
        m_plain.read(bytes.toStdString());
        return m_reader.receive(m_socket, m_received)
            && m_received.toByteArray().toStdString() == m_plain.m_buffer;
    }

    QByteArray handedOver() const { return m_reader.m_MJPEGBuffer; }

    QByteArray cutByTheReference() const
    {
        QByteArray pictures;
        for (const std::string &picture : m_plain.m_pictures)
            pictures += QByteArray::fromStdString(picture);
        return pictures;
    }

private:
    QImage m_image;
    RemoteMJPEGReader m_reader; // never started
    FedSocket m_socket;
    ReceiveBuffer m_received;
    PlainReceiver m_plain;
};

} // namespace

class TestMjpegReaderSplits : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everySplitHandsOverWhatTheReferenceCuts();
    void oneByteReadsHandOverWhatTheReferenceCuts();
    void pictureThatComesTooSoonIsDropped_data();
    void pictureThatComesTooSoonIsDropped();
    void twoPicturesBeforeTheDecoderRunsAreOneBlock();
};

void TestMjpegReaderSplits::everySplitHandsOverWhatTheReferenceCuts()
{
    const QByteArray bytes = stream();
    Receiving receiving;
    int nBoth = 0;
    for (int i = 0; i <= bytes.size(); ++i) {
        for (int j = i; j <= bytes.size(); ++j) {
            receiving.begin();
            const bool isSame = receiving.read(bytes.left(i)) && receiving.read(bytes.mid(i, j - i))
                             && receiving.read(bytes.mid(j))
                             && receiving.handedOver() == receiving.cutByTheReference();
            if (!isSame)
                QFAIL(qPrintable(QStringLiteral("split at %1 and %2").arg(i).arg(j)));
            nBoth += receiving.handedOver() == First + Second;
        }
    }
    // Wherever a split lies between the pictures, and none in a header.
    QVERIFY(nBoth > bytes.size());
}

void TestMjpegReaderSplits::oneByteReadsHandOverWhatTheReferenceCuts()
{
    Receiving receiving;
    receiving.begin();
    for (const char byte : stream())
        QVERIFY(receiving.read(QByteArray(1, byte)));
    QCOMPARE(receiving.handedOver(), receiving.cutByTheReference());
}

void TestMjpegReaderSplits::pictureThatComesTooSoonIsDropped_data()
{
    QTest::addColumn<int>("msLater");
    QTest::addColumn<QByteArray>("handedOver");

    QTest::newRow("at once") << 0 << First;
    QTest::newRow("79 ms later") << 79 << First;
    QTest::newRow("80 ms later") << 80 << First + Second;
    QTest::newRow("over midnight") << 100 << First + Second;
}

void TestMjpegReaderSplits::pictureThatComesTooSoonIsDropped()
{
    QFETCH(int, msLater);
    QFETCH(QByteArray, handedOver);

    Receiving receiving;
    receiving.begin();
    if (msLater == 100) {
        HandClock::set(HandClock::MsPerDay - Due - 50);
        receiving.read("", 0);
    }
    QVERIFY(receiving.read(mjpegPart(First)));
    QVERIFY(receiving.read(mjpegPart(Second), msLater));
    QCOMPARE(receiving.handedOver(), handedOver);
}

void TestMjpegReaderSplits::twoPicturesBeforeTheDecoderRunsAreOneBlock()
{
    Receiving receiving;
    receiving.begin();
    QVERIFY(receiving.read(mjpegPart(First)));
    QCOMPARE(receiving.handedOver(), First);
    QVERIFY(receiving.read(mjpegPart(Second)));
    QCOMPARE(receiving.handedOver(), First + Second);
}

QTEST_GUILESS_MAIN(TestMjpegReaderSplits)
#include "tst_mjpegreader_splits.moc"
