// Cutting pictures out of whole byte streams, in reads of every size, against a second, plain
// implementation.

#include <mjpegframing_p.h>

#include <testpictures.h>

#include <QtTest>

#include <algorithm>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

using Morvek::EchoVideo::Internal::cutPicture;
using Morvek::Tests::mjpegPart;

namespace {

// The cut in the words of its description: on std::string, with the C library's formatted scan, and
// with copies of everything.
class ReferenceCutter
{
public:
    std::string m_buffer;
    std::vector<std::string> m_pictures;

    void read(const std::string &bytes)
    {
        m_buffer += bytes;
        const long long header = cut((long long)m_buffer.size());
        if (header != -1)
            cut(header);
    }

private:
    long long behindLineEnd(long long from) const
    {
        const std::size_t found = m_buffer.find("\r\n", std::size_t(from));
        const long long index = found == std::string::npos ? -1 : (long long)found;
        return index + 2;
    }

    long long cut(long long start)
    {
        std::size_t header = std::string::npos;
        if (start - 1 >= 0)
            header = m_buffer.rfind("Content-Length", std::size_t(start - 1));
        if (header == std::string::npos) {
            m_buffer = m_buffer.substr(std::size_t(std::max(start, 1LL) - 1));
            return -1;
        }
        const long long end = behindLineEnd((long long)header);
        const long long lineLength = end - (long long)header;
        const std::string line = lineLength < 0 ? m_buffer.substr(header)
                                                : m_buffer.substr(header, std::size_t(lineLength));
        long long length = 0;
        if (std::sscanf(line.c_str(), "Content-Length: %lld\r\n", &length) != 1)
            length = 0;
        if (length < 0)
            length = 0;
        if (length > 2147483647LL)
            length = 2147483647LL;
        const long long data = behindLineEnd(end);
        if (data + length > (long long)m_buffer.size())
            return (long long)header;
        m_pictures.push_back(m_buffer.substr(std::size_t(data), std::size_t(length)));
        m_buffer.erase(0, std::size_t(data + length));
        return -1;
    }
};

// A receive buffer that is treated as a reader treats it: two cuts after each read.
class Receiver
{
public:
    QByteArray m_buffer;
    QList<QByteArray> m_pictures;

    void read(const QByteArray &bytes)
    {
        m_buffer.append(bytes);
        const int iHeader = cut(m_buffer.size());
        if (iHeader != -1)
            cut(iHeader);
    }

private:
    int cut(int iStart)
    {
        return cutPicture(m_buffer, iStart, [this](const char *pData, int nLength) {
            m_pictures.append(QByteArray(pData, nLength));
        });
    }
};

// Feeds both with the same reads; tells after which they differ, -1 for none.
int firstDifference(const std::vector<std::string> &reads, Receiver *pReceiver = nullptr)
{
    Receiver local;
    Receiver &receiver = pReceiver ? *pReceiver : local;
    ReferenceCutter reference;
    for (std::size_t i = 0; i < reads.size(); ++i) {
        receiver.read(QByteArray::fromStdString(reads[i]));
        reference.read(reads[i]);
        const bool isSame = receiver.m_buffer.toStdString() == reference.m_buffer
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
        Receiver receiver;
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
    constexpr int StreamCount = 20000;
    std::mt19937 random(20150521);
    int nPictures = 0;
    int nLongestBuffer = 0;
    for (int nStream = 0; nStream < StreamCount; ++nStream) {
        std::vector<std::string> reads(1 + random() % 12);
        for (std::string &bytes : reads) {
            for (auto nPieces = random() % 6; nPieces > 0; --nPieces)
                bytes += pieces[random() % pieces.size()];
        }
        Receiver receiver;
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
