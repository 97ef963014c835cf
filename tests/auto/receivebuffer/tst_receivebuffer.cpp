// The receive buffer: what it answers about its bytes, against searches through all of them, and what
// it does with memory and time.

#include <headersearch_p.h>

#include <cuttingreceiver.h>
#include <plainreceiver.h>
#include <testpictures.h>

#include <QElapsedTimer>
#include <QtTest>

#include <algorithm>
#include <random>

using namespace Morvek::EchoVideo::Internal;
using namespace Morvek::Tests;

namespace {

constexpr int MiB = 1024 * 1024;

void append(ReceiveBuffer &buffer, const QByteArray &bytes)
{
    QBuffer source;
    source.setData(bytes);
    source.open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    buffer.appendAllOf(source);
}

/** The same bytes in a buffer that remembers and in one that is searched as a whole. */
class Pair
{
public:
    void append(const QByteArray &bytes)
    {
        ::append(m_buffer, bytes);
        m_plain += bytes;
    }
    void removeFront(int nBytes)
    {
        m_buffer.removeFront(nBytes);
        m_plain.remove(0, nBytes);
    }
    int size() const { return m_plain.size(); }
    bool isSame() const { return m_buffer.toByteArray() == m_plain; }
    bool isSameHeader(int from)
    {
        int nExpected = from;
        while (nExpected >= 0 && m_plain.mid(nExpected, 14) != "Content-Length")
            --nExpected;
        return m_buffer.lastHeader(from) == nExpected;
    }
    bool isSameNewLine(int from)
    {
        return m_buffer.firstNewLine(from) == m_plain.indexOf("\r\n", from);
    }

private:
    ReceiveBuffer m_buffer;
    QByteArray m_plain;
};

QByteArray stream(int nPictureBytes, int nPictures)
{
    QByteArray picture(nPictureBytes, '\0');
    std::mt19937 random(5);
    std::generate(picture.begin(), picture.end(), [&] { return char(random()); });
    return mjpegPart(picture).repeated(nPictures);
}

/** The shortest of a few runs, in ns. */
qint64 timeOfReading(const QByteArray &bytes, int nReadBytes)
{
    qint64 nShortest = std::numeric_limits<qint64>::max();
    for (int nRun = 0; nRun < 3; ++nRun) {
        CuttingReceiver receiver;
        QElapsedTimer timer;
        timer.start();
        for (int nAt = 0; nAt < bytes.size(); nAt += nReadBytes)
            receiver.read(bytes.mid(nAt, nReadBytes));
        nShortest = std::min(nShortest, timer.nsecsElapsed());
    }
    return nShortest;
}

} // namespace

Q_DECLARE_METATYPE(eSearchForm)

class TestReceiveBuffer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void answersAreThoseOfAWholeSearch();
    void everyFormOfTheSearchFindsTheLastWord_data();
    void everyFormOfTheSearchFindsTheLastWord();
    void everyFormOfTheSearchFindsALoneWord_data();
    void everyFormOfTheSearchFindsALoneWord();
    void wordInTwoReadsIsFound();
    void lineEndInTwoReadsIsFound();
    void headerThatIsCutIsGone();
    void sourceThatGivesLessLeavesNothingBehind();
    void roomOfAnOrdinaryPictureIsKept();
    void roomOfAHugePictureIsGivenBack();
    void cutRoomIsUsedAgain();
    void smallReadsCostLittleMoreThanLargeOnes_data();
    void smallReadsCostLittleMoreThanLargeOnes();
};

void TestReceiveBuffer::answersAreThoseOfAWholeSearch()
{
    const QList<QByteArray> pieces{
        "Content-Length", "Content-", "Length",           "C", "\r\n", "\r", "\n",
        ": 12\r\n\r\n",   "abcdef",   QByteArray(40, '-')};
    constexpr int SequenceCount = 20000;
    std::mt19937 random(41);
    const auto below = [&random](int nEnd) { return int(random() % unsigned(nEnd)); };
    for (int nSequence = 0; nSequence < SequenceCount; ++nSequence) {
        Pair pair;
        for (int nStep = below(30); nStep >= 0; --nStep) {
            for (int nPieces = below(5); nPieces > 0; --nPieces)
                pair.append(pieces[below(pieces.size())]);
            if (below(4) == 0)
                pair.removeFront(below(pair.size() + 1));
            const int nAt = below(pair.size() + 1);
            const bool isSame = pair.isSame() && pair.isSameHeader(pair.size() - 1)
                             && pair.isSameHeader(nAt - 1) && pair.isSameNewLine(nAt)
                             && pair.isSameNewLine(below(pair.size() + 2));
            if (!isSame)
                QFAIL(qPrintable(QStringLiteral("sequence %1, index %2").arg(nSequence).arg(nAt)));
        }
    }
}

void TestReceiveBuffer::everyFormOfTheSearchFindsTheLastWord_data()
{
    QTest::addColumn<eSearchForm>("eForm");
    QTest::newRow("portable") << eSearchForm::Portable;
    QTest::newRow("AVX2") << eSearchForm::Avx2;
}

// In bytes that consist of its letters mostly, in every length and from every alignment; what lies
// beside them is the word.
void TestReceiveBuffer::everyFormOfTheSearchFindsTheLastWord()
{
    QFETCH(eSearchForm, eForm);
    if (!isSearchFormSupported(eForm))
        QSKIP("this processor cannot run the form");

    const QByteArray word = "Content-Length";
    std::mt19937 random(3);
    for (int nBytes = 0; nBytes < 400; ++nBytes) {
        for (int nTry = 0; nTry < 50; ++nTry) {
            QByteArray bytes(nBytes, '\0');
            std::generate(bytes.begin(), bytes.end(), [&] { return word[int(random() % 14)]; });
            for (int nWords = int(random() % 3); nWords > 0 && nBytes >= word.size(); --nWords)
                bytes.replace(int(random() % unsigned(nBytes - 13)), word.size(), word);
            const QByteArray memory = word.left(nTry % 14) + bytes + word.mid(1);
            const char *const pBegin = memory.constData() + nTry % 14;
            const char *const pFound = lastHeaderIn(pBegin, pBegin + nBytes, eForm);
            QCOMPARE(pFound ? int(pFound - pBegin) : -1, bytes.lastIndexOf(word));
        }
    }
}

void TestReceiveBuffer::everyFormOfTheSearchFindsALoneWord_data()
{
    everyFormOfTheSearchFindsTheLastWord_data();
}

// At every place of bytes that have no letter of it, and in every length of them.
void TestReceiveBuffer::everyFormOfTheSearchFindsALoneWord()
{
    QFETCH(eSearchForm, eForm);
    if (!isSearchFormSupported(eForm))
        QSKIP("this processor cannot run the form");

    const QByteArray word = "Content-Length";
    constexpr int LongestBytes = 600;
    for (int nWordAt = 0; nWordAt <= LongestBytes - word.size(); ++nWordAt) {
        QByteArray bytes(LongestBytes, '.');
        bytes.replace(nWordAt, word.size(), word);
        for (int nBytes = 0; nBytes <= LongestBytes; ++nBytes) {
            const char *const pFound =
                lastHeaderIn(bytes.constData(), bytes.constData() + nBytes, eForm);
            const bool isWhole = nWordAt + word.size() <= nBytes;
            if (pFound != (isWhole ? bytes.constData() + nWordAt : nullptr))
                QFAIL(qPrintable(QStringLiteral("word at %1 of %2").arg(nWordAt).arg(nBytes)));
        }
    }
}

void TestReceiveBuffer::wordInTwoReadsIsFound()
{
    const QByteArray word = "Content-Length";
    for (int nSplit = 0; nSplit <= word.size(); ++nSplit) {
        ReceiveBuffer buffer;
        append(buffer, "..." + word.left(nSplit));
        QCOMPARE(buffer.lastHeader(buffer.size() - 1), nSplit == word.size() ? 3 : -1);
        append(buffer, word.mid(nSplit) + "...");
        QCOMPARE(buffer.lastHeader(buffer.size() - 1), 3);
    }
}

void TestReceiveBuffer::lineEndInTwoReadsIsFound()
{
    ReceiveBuffer buffer;
    append(buffer, "abc\r");
    QCOMPARE(buffer.firstNewLine(0), -1);
    append(buffer, "\n");
    QCOMPARE(buffer.firstNewLine(0), 3);
    QCOMPARE(buffer.firstNewLine(4), -1);
}

void TestReceiveBuffer::headerThatIsCutIsGone()
{
    ReceiveBuffer buffer = QByteArray("Content-Length Content-Length ");
    QCOMPARE(buffer.lastHeader(29), 15);
    QCOMPARE(buffer.lastHeader(14), 0);
    buffer.removeFront(1);
    QCOMPARE(buffer.lastHeader(28), 14);
    QCOMPARE(buffer.lastHeader(13), -1);
    buffer.removeFront(15);
    QCOMPARE(buffer.lastHeader(13), -1);
}

void TestReceiveBuffer::sourceThatGivesLessLeavesNothingBehind()
{
    class Failing : public QBuffer
    {
    protected:
        qint64 readData(char *, qint64) override { return -1; }
    };
    Failing source;
    source.setData("lost");
    QVERIFY(source.open(QIODevice::ReadOnly | QIODevice::Unbuffered));
    ReceiveBuffer buffer = QByteArray("kept");
    buffer.appendAllOf(source);
    QCOMPARE(buffer.toByteArray(), QByteArray("kept"));
}

void TestReceiveBuffer::roomOfAnOrdinaryPictureIsKept()
{
    CuttingReceiver receiver;
    const QByteArray part = mjpegPart(QByteArray(2 * MiB, 'x'));
    receiver.read(part);
    const char *const pRoom = receiver.m_buffer.m_bytes.constData();
    for (int nRead = 0; nRead < 5; ++nRead)
        receiver.read(part);
    QCOMPARE(receiver.m_pictures.size(), 6);
    QCOMPARE(static_cast<const void *>(receiver.m_buffer.m_bytes.constData()),
             static_cast<const void *>(pRoom));
}

void TestReceiveBuffer::roomOfAHugePictureIsGivenBack()
{
    CuttingReceiver receiver;
    receiver.read(mjpegPart(QByteArray(40 * MiB, 'x')));
    QVERIFY(receiver.m_buffer.m_bytes.capacity() > 40 * MiB);
    receiver.read("--b\r\n");
    QCOMPARE(receiver.m_pictures.size(), 1);
    QVERIFY(receiver.m_buffer.m_bytes.capacity() < MiB);
}

void TestReceiveBuffer::cutRoomIsUsedAgain()
{
    CuttingReceiver receiver;
    const QByteArray bytes = stream(MiB, 20);
    for (int nAt = 0; nAt < bytes.size(); nAt += 65536)
        receiver.read(bytes.mid(nAt, 65536));
    QCOMPARE(receiver.m_pictures.size(), 20);
    QVERIFY(receiver.m_buffer.m_bytes.capacity() <= 4 * MiB);
}

void TestReceiveBuffer::smallReadsCostLittleMoreThanLargeOnes_data()
{
    QTest::addColumn<QByteArray>("bytes");

    const QByteArray never = "Content-Length: 1000000000";
    QTest::newRow("pictures of 5 MB") << stream(5000000, 2);
    QTest::newRow("a picture that never ends, without a line end")
        << never + QByteArray(6000000, 'x');
    QTest::newRow("an older line without an end before it")
        << never + QByteArray(3000000, 'x') + "\r\n" + never + QByteArray(3000000, 'x');
    QTest::newRow("headers, each of them of an endless picture")
        << (never + "\r\n\r\n").repeated(200000);
}

// Searched anew after each read, these take a hundred times as long and more.
void TestReceiveBuffer::smallReadsCostLittleMoreThanLargeOnes()
{
    QFETCH(QByteArray, bytes);

    const qint64 nLarge = timeOfReading(bytes, 256 * 1024);
    const qint64 nSmall = timeOfReading(bytes, 1400);
    QVERIFY2(nSmall < 30 * nLarge,
             qPrintable(QStringLiteral("%1 ns, %2 ns").arg(nSmall).arg(nLarge)));
}

QTEST_APPLESS_MAIN(TestReceiveBuffer)
#include "tst_receivebuffer.moc"
