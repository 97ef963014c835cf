// Cutting pictures out of whole byte streams, in reads of every size, against a second, plain
// implementation.

#include <cuttingreceiver.h>
#include <plainreceiver.h>
#include <testpictures.h>

#include <QtTest>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

using Morvek::Tests::CuttingReceiver;
using Morvek::Tests::mjpegPart;
using Morvek::Tests::PlainReceiver;

namespace {

// Feeds both with the same reads; tells after which they differ, -1 for none.
int firstDifference(const std::vector<std::string> &reads, CuttingReceiver *pReceiver = nullptr)
{
    CuttingReceiver local;
    CuttingReceiver &receiver = pReceiver ? *pReceiver : local;
    PlainReceiver reference;
    for (std::size_t i = 0; i < reads.size(); ++i) {
        receiver.read(QByteArray::fromStdString(reads[i]));
        reference.read(reads[i]);
        const bool isSame = receiver.m_buffer.toByteArray().toStdString() == reference.m_buffer
                         && std::equal(receiver.m_pictures.cbegin(), receiver.m_pictures.cend(),
                                       reference.m_pictures.cbegin(), reference.m_pictures.cend(),
                                       [](const QByteArray &left, const std::string &right) {
                                           return left.toStdString() == right;
                                       });
        if (!isSame)
            return int(i);
    }
    return -1;
}

} // namespace

class TestMjpegFramingStreams : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everySplitOfTwoPicturesEqualsTheReference();
    void splitOutsideTheHeadersLosesNothing();
    void byteByByteEqualsTheReference();
    void randomStreamsEqualTheReference();
};

void TestMjpegFramingStreams::everySplitOfTwoPicturesEqualsTheReference()
{
    const std::string stream = (mjpegPart("first picture") + mjpegPart("the second")).toStdString();
    for (std::size_t i = 0; i <= stream.size(); ++i) {
        for (std::size_t j = i; j <= stream.size(); ++j) {
            const std::vector<std::string> reads{stream.substr(0, i), stream.substr(i, j - i),
                                                 stream.substr(j)};
            const int nRead = firstDifference(reads);
            QVERIFY2(
                nRead == -1,
                qPrintable(
                    QStringLiteral("split at %1 and %2, after read %3").arg(i).arg(j).arg(nRead)));
        }
    }
}

void TestMjpegFramingStreams::splitOutsideTheHeadersLosesNothing()
{
    const QByteArray first = mjpegPart("first picture");
    const QByteArray stream = first + mjpegPart("the second");
    const int nSecondHeader = stream.lastIndexOf("Content-Length");
    const int nSecondData = stream.lastIndexOf("the second");
    int nSplits = 0;
    for (int i = first.indexOf("first picture"); i < stream.size(); ++i) {
        if (i > nSecondHeader && i < nSecondData)
            continue;
        CuttingReceiver receiver;
        receiver.read(stream.left(i));
        receiver.read(stream.mid(i));
        // Where one read completes both pictures, the older is surplus by design.
        const bool isOneRead = i < first.size() - 2 || i >= stream.size() - 2;
        const QList<QByteArray> expected = isOneRead
                                             ? QList<QByteArray>{"the second"}
                                             : QList<QByteArray>{"first picture", "the second"};
        QVERIFY2(receiver.m_pictures == expected, qPrintable(QString::number(i)));
        ++nSplits;
    }
    QVERIFY(nSplits > 50);
}

void TestMjpegFramingStreams::byteByByteEqualsTheReference()
{
    const std::string stream = (mjpegPart("first picture") + mjpegPart("the second")).toStdString();
    std::vector<std::string> reads;
    for (const char c : stream)
        reads.emplace_back(1, c);
    QCOMPARE(firstDifference(reads), -1);
}

void TestMjpegFramingStreams::randomStreamsEqualTheReference()
{
    const std::vector<std::string> pieces{"Content-Length",
                                          "Content-Length: ",
                                          "Content-Length: 5\r\n\r\n",
                                          "Content-Length: 0\r\n\r\n",
                                          "Content-Length: 40\r\n",
                                          "Content-",
                                          "Length",
                                          ":",
                                          " ",
                                          "-",
                                          "+",
                                          "7",
                                          "12",
                                          "4294967296",
                                          "99999999999999999999",
                                          "\r\n",
                                          "\r\n\r\n",
                                          "\r",
                                          "\n",
                                          "--b\r\n",
                                          "C",
                                          "abcde",
                                          std::string("\0\xff\xd8", 3),
                                          "X: y\r\n"};
    constexpr int StreamCount = 100000;
    std::mt19937 random(20150521);
    int nPictures = 0;
    int nLongestBuffer = 0;
    for (int nStream = 0; nStream < StreamCount; ++nStream) {
        std::vector<std::string> reads(1 + random() % 12);
        for (std::string &bytes : reads) {
            for (auto nPieces = random() % 6; nPieces > 0; --nPieces)
                bytes += pieces[random() % pieces.size()];
        }
        CuttingReceiver receiver;
        const int nRead = firstDifference(reads, &receiver);
        QVERIFY2(nRead == -1,
                 qPrintable(QStringLiteral("stream %1, after read %2").arg(nStream).arg(nRead)));
        nPictures += receiver.m_pictures.size();
        nLongestBuffer = std::max(nLongestBuffer, receiver.m_buffer.size());
    }
    // Otherwise the streams would not try what they are for.
    QVERIFY(nPictures > StreamCount);
    QVERIFY(nLongestBuffer > 100);
}

QTEST_APPLESS_MAIN(TestMjpegFramingStreams)
#include "tst_mjpegframing_streams.moc"
