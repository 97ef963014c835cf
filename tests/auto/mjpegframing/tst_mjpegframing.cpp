// Cutting pictures out of the byte stream: single cuts and short streams, with their results written
// down.

#include <cuttingreceiver.h>

#include <QtTest>

using Morvek::EchoVideo::Internal::cutPicture;
using Morvek::EchoVideo::Internal::ReceiveBuffer;
using Morvek::Tests::CuttingReceiver;

namespace {

constexpr int WholeBuffer = -1; // for the start of a search

} // namespace

class TestMjpegFraming : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cutsOnePicture_data();
    void cutsOnePicture();
    void readsTheLength_data();
    void readsTheLength();
    void lengthsAboveTheBufferStayIncomplete_data();
    void lengthsAboveTheBufferStayIncomplete();
    void nothingBehindTheBufferIsRead_data();
    void nothingBehindTheBufferIsRead();
    void handlerSeesThePictureInTheBuffer();
    void twoCutsAfterEachRead_data();
    void twoCutsAfterEachRead();
};

void TestMjpegFraming::cutsOnePicture_data()
{
    QTest::addColumn<QByteArray>("buffer");
    QTest::addColumn<int>("start");
    QTest::addColumn<int>("result");
    QTest::addColumn<QByteArray>("rest");
    QTest::addColumn<bool>("isCut");
    QTest::addColumn<QByteArray>("picture");

    const QByteArray none;
    const auto complete = [](const char *pName, const QByteArray &buffer, const QByteArray &picture,
                             const QByteArray &rest) {
        QTest::newRow(pName) << buffer << WholeBuffer << -1 << rest << true << picture;
    };
    const auto without = [&](const char *pName, const QByteArray &buffer, int nStart,
                             const QByteArray &rest) {
        QTest::newRow(pName) << buffer << nStart << -1 << rest << false << none;
    };
    const auto incomplete = [&](const char *pName, const QByteArray &buffer, int nResult) {
        QTest::newRow(pName) << buffer << WholeBuffer << nResult << buffer << false << none;
    };

    complete("one picture", "Content-Length: 3\r\n\r\nabc", "abc", "");
    complete("bytes behind the picture stay", "Content-Length: 3\r\n\r\nabcREST", "abc", "REST");
    complete("bytes before the header go", "--b\r\nX: 1\r\nContent-Length: 3\r\n\r\nabc", "abc",
             "");
    complete("the newest of two, the older goes",
             "Content-Length: 1\r\n\r\nAContent-Length: 1\r\n\r\nB", "B", "");
    complete("empty picture", "Content-Length: 0\r\n\r\nrest", "", "rest");
    complete("header within a picture counts as the newest",
             "Content-Length: 30\r\n\r\n..Content-Length: 1\r\n\r\nX.", "X", ".");
    complete("a header line behind the length line shifts the picture",
             "Content-Length: 4\r\nX: y\r\n\r\nabcd", "\r\nab", "cd");

    without("nothing received", "", WholeBuffer, "");
    without("no header keeps the last byte", "abcdef", WholeBuffer, "f");
    without("a header cut off keeps the last byte", "abcContent-Lengt", WholeBuffer, "t");
    without("the word in another case is no header", "Content-length: 1\r\n\r\nX", WholeBuffer,
            "X");
    without("no header before the start keeps one byte before it", "abcContent-Length: 1\r\n\r\nX",
            3, "cContent-Length: 1\r\n\r\nX");
    without("a search from index 0 keeps everything", "Content-Length: 1\r\n\r\nX", 0,
            "Content-Length: 1\r\n\r\nX");
    without("a search from a header at index 1 keeps everything", "-Content-Length: 1\r\n\r\nX", 1,
            "-Content-Length: 1\r\n\r\nX");
    QTest::newRow("a header one byte before the start is found")
        << QByteArray("Content-Length: 1\r\n\r\nX") << 1 << -1 << QByteArray() << true
        << QByteArray("X");
    QTest::newRow("a search from the second header finds the first")
        << QByteArray("Content-Length: 1\r\n\r\nAContent-Length: 9\r\n\r\nB") << 22 << -1
        << QByteArray("Content-Length: 9\r\n\r\nB") << true << QByteArray("A");

    incomplete("one byte is missing", "Content-Length: 4\r\n\r\nabc", 0);
    incomplete("the picture is missing", "--b\r\nContent-Length: 4\r\n\r\n", 5);
    incomplete("one byte of the newest is missing",
               "Content-Length: 1\r\n\r\nAContent-Length: 2\r\n\r\nB", 22);

    // A line end that is missing counts as one just before index 1.
    complete("unfinished header at index 0 has one byte to read a length from",
             "Content-Length: 12", "", "ontent-Length: 12");
    complete("unfinished header at index 1 has none", "-Content-Length: 12", "",
             "Content-Length: 12");
    complete("unfinished header further on is read to the end of the buffer",
             "--Content-Length: 12", "-Content-Len", "gth: 12");
    complete("empty line missing, the picture is taken from index 1", "xContent-Length: 3\r\nabc",
             "Con", "tent-Length: 3\r\nabc");
    complete("unfinished header behind an earlier line end", "--b\r\nContent-Length: 2", "Co",
             "ntent-Length: 2");
    incomplete("unfinished header that announces more than there is", "--Content-Length: 99", 2);
    complete("line feeds alone end no line", "Content-Length: 3\n\nabc\r\n", "ont",
             "ent-Length: 3\n\nabc\r\n");
    complete("carriage returns alone end no line", "Content-Length: 3\r\rabc\r\n", "ont",
             "ent-Length: 3\r\rabc\r\n");
}

void TestMjpegFraming::cutsOnePicture()
{
    QFETCH(QByteArray, buffer);
    QFETCH(int, start);
    QFETCH(int, result);
    QFETCH(QByteArray, rest);
    QFETCH(bool, isCut);
    QFETCH(QByteArray, picture);

    QList<QByteArray> pictures;
    const int nStart = start == WholeBuffer ? buffer.size() : start;
    ReceiveBuffer received = buffer;
    QCOMPARE(cutPicture(received, nStart,
                        [&](const char *pData, int nLength) {
                            pictures.append(QByteArray(pData, nLength));
                        }),
             result);
    QCOMPARE(received.toByteArray(), rest);
    QCOMPARE(pictures.size(), isCut ? 1 : 0);
    if (isCut)
        QCOMPARE(pictures.first(), picture);
}

void TestMjpegFraming::readsTheLength_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<int>("length");

    QTest::newRow("as written by devices") << QByteArray("Content-Length: 7") << 7;
    QTest::newRow("no blank") << QByteArray("Content-Length:7") << 7;
    QTest::newRow("many blanks") << QByteArray("Content-Length: \t  7") << 7;
    QTest::newRow("blanks of every kind") << QByteArray("Content-Length: \v\f\r \n7") << 7;
    QTest::newRow("blank behind the number") << QByteArray("Content-Length: 7 ") << 7;
    QTest::newRow("plus sign") << QByteArray("Content-Length: +7") << 7;
    QTest::newRow("leading zeros") << QByteArray("Content-Length: 000000000000007") << 7;
    QTest::newRow("text behind the number") << QByteArray("Content-Length: 7;q=1") << 7;
    QTest::newRow("fraction") << QByteArray("Content-Length: 7.9") << 7;
    QTest::newRow("two digits") << QByteArray("Content-Length: 12") << 12;
    QTest::newRow("zero byte behind the number") << QByteArray("Content-Length: 1\0002", 19) << 1;

    QTest::newRow("no number") << QByteArray("Content-Length: abc") << 0;
    QTest::newRow("nothing") << QByteArray("Content-Length:") << 0;
    QTest::newRow("no colon") << QByteArray("Content-Length 7") << 0;
    QTest::newRow("blank before the colon") << QByteArray("Content-Length : 7") << 0;
    QTest::newRow("another word") << QByteArray("Content-Lengths: 7") << 0;
    QTest::newRow("hexadecimal") << QByteArray("Content-Length: 0x7") << 0;
    QTest::newRow("sign alone") << QByteArray("Content-Length: +") << 0;
    QTest::newRow("blank behind the sign") << QByteArray("Content-Length: + 7") << 0;
    QTest::newRow("two signs") << QByteArray("Content-Length: +-7") << 0;
    QTest::newRow("zero byte before the number") << QByteArray("Content-Length: \0007", 18) << 0;
    QTest::newRow("minus one") << QByteArray("Content-Length: -1") << 0;
    QTest::newRow("most negative") << QByteArray("Content-Length: -2147483648") << 0;
    QTest::newRow("7 modulo 2^32, negative") << QByteArray("Content-Length: -4294967289") << 0;
    QTest::newRow("below 64 bits") << QByteArray("Content-Length: -99999999999999999999999") << 0;
}

void TestMjpegFraming::readsTheLength()
{
    QFETCH(QByteArray, line);
    QFETCH(int, length);

    const QByteArray data = "0123456789abcdef";
    CuttingReceiver receiver;
    receiver.read(line + "\r\n\r\n" + data);
    QCOMPARE(receiver.m_pictures, QList<QByteArray>{data.left(length)});
    QCOMPARE(receiver.m_buffer.toByteArray(), data.mid(length));
}

void TestMjpegFraming::lengthsAboveTheBufferStayIncomplete_data()
{
    QTest::addColumn<QByteArray>("number");

    QTest::newRow("more than is received") << QByteArray("205");
    // With 32 bits, the end of the picture would wrap to a negative position.
    QTest::newRow("largest number of 32 bits") << QByteArray("2147483647");
    QTest::newRow("one above") << QByteArray("2147483648");
    QTest::newRow("100 modulo 2^32") << QByteArray("4294967396");
    QTest::newRow("100 modulo 2^64") << QByteArray("18446744073709551716");
    QTest::newRow("forty digits") << QByteArray(40, '9');
}

void TestMjpegFraming::lengthsAboveTheBufferStayIncomplete()
{
    QFETCH(QByteArray, number);

    const QByteArray older = "Content-Length: 2\r\n\r\nAA";
    const QByteArray newest = "Content-Length: " + number + "\r\n\r\n" + QByteArray(200, 'x');
    CuttingReceiver receiver;
    receiver.read(older + newest);
    QCOMPARE(receiver.m_pictures, QList<QByteArray>{"AA"});
    QCOMPARE(receiver.m_buffer.toByteArray(), newest);

    receiver.read("more");
    QCOMPARE(receiver.m_pictures.size(), 1);
    QVERIFY(receiver.m_buffer.toByteArray().endsWith(newest.right(200) + "more"));
}

void TestMjpegFraming::nothingBehindTheBufferIsRead_data()
{
    QTest::addColumn<QByteArray>("buffer");
    QTest::addColumn<QByteArray>("behind");
    QTest::addColumn<QList<QByteArray>>("pictures");

    QTest::newRow("the rest of a header") << QByteArray("a line\r\nContent-Len")
                                          << QByteArray("gth: 0\r\n\r\n") << QList<QByteArray>();
    // Without a line end the picture is the empty one at the front, whatever its length.
    QTest::newRow("the length") << QByteArray("Content-Length") << QByteArray(":3\r\n\r\nabc")
                                << QList<QByteArray>({QByteArray()});
    QTest::newRow("a digit of the length")
        << QByteArray("Content-Length:") << QByteArray("3") << QList<QByteArray>({QByteArray()});
}

void TestMjpegFraming::nothingBehindTheBufferIsRead()
{
    QFETCH(QByteArray, buffer);
    QFETCH(QByteArray, behind);

    const QByteArray memory = buffer + behind;
    ReceiveBuffer view = QByteArray::fromRawData(memory.constData(), buffer.size());
    QList<QByteArray> cut;
    cutPicture(view, view.size(),
               [&](const char *pData, int nLength) { cut.append(QByteArray(pData, nLength)); });
    QTEST(cut, "pictures");
}

void TestMjpegFraming::handlerSeesThePictureInTheBuffer()
{
    const QByteArray before = "--b\r\nContent-Length: 3\r\n\r\nabcREST";
    ReceiveBuffer buffer = before;
    int nCalls = 0;
    cutPicture(buffer, buffer.size(), [&](const char *pData, int nLength) {
        ++nCalls;
        QCOMPARE(buffer.toByteArray(), before);
        QCOMPARE(int(pData - buffer.constData()), before.indexOf("abc"));
        QCOMPARE(nLength, 3);
    });
    QCOMPARE(nCalls, 1);
    QCOMPARE(buffer.toByteArray(), QByteArray("REST"));
}

void TestMjpegFraming::twoCutsAfterEachRead_data()
{
    QTest::addColumn<QList<QByteArray>>("reads");
    QTest::addColumn<QList<QByteArray>>("pictures");
    QTest::addColumn<QByteArray>("rest");

    using Bytes = QList<QByteArray>;
    QTest::newRow("one picture ends, the next begins")
        << Bytes{"--b\r\nContent-Length: 4\r\n\r\nAA", "AA\r\n--b\r\nContent-Length: 4\r\n\r\nBB"}
        << Bytes{"AAAA"} << QByteArray("\r\n--b\r\nContent-Length: 4\r\n\r\nBB");
    QTest::newRow("and ends with a later read")
        << Bytes{"--b\r\nContent-Length: 4\r\n\r\nAA", "AA\r\n--b\r\nContent-Length: 4\r\n\r\nBB",
                 "BB\r\n"}
        << Bytes{"AAAA", "BBBB"} << QByteArray("\r\n");
    QTest::newRow("two complete pictures in one read")
        << Bytes{"Content-Length: 1\r\n\r\nA\r\nContent-Length: 1\r\n\r\nB"} << Bytes{"B"}
        << QByteArray();
    QTest::newRow("two complete pictures and the start of a third")
        << Bytes{"Content-Length: 1\r\n\r\nAContent-Length: 1\r\n\r\nBContent-Length: 2\r\n\r\nC"}
        << Bytes{"B"} << QByteArray("Content-Length: 2\r\n\r\nC");
    QTest::newRow("the first incomplete picture keeps one byte before its header")
        << Bytes{"--b\r\nContent-Length: 2\r\n\r\nA"} << Bytes{}
        << QByteArray("\nContent-Length: 2\r\n\r\nA");
    QTest::newRow("a header split between two reads loses its picture")
        << Bytes{"--b\r\nContent-Len", "gth: 4\r\n\r\nAAAA",
                 "\r\n--b\r\nContent-Length: 1\r\n\r\nB"}
        << Bytes{"B"} << QByteArray();
    QTest::newRow("a header split behind its word")
        << Bytes{"--b\r\nContent-Length", ": 4\r\n\r\nAAAA"} << Bytes{"", "AAAA"} << QByteArray();
    QTest::newRow("a boundary alone keeps its last byte")
        << Bytes{"\r\n--b\r\n"} << Bytes{} << QByteArray("\n");
}

void TestMjpegFraming::twoCutsAfterEachRead()
{
    QFETCH(QList<QByteArray>, reads);
    QFETCH(QList<QByteArray>, pictures);
    QFETCH(QByteArray, rest);

    CuttingReceiver receiver;
    for (const QByteArray &bytes : qAsConst(reads))
        receiver.read(bytes);
    QCOMPARE(receiver.m_pictures, pictures);
    QCOMPARE(receiver.m_buffer.toByteArray(), rest);
}

QTEST_APPLESS_MAIN(TestMjpegFraming)
#include "tst_mjpegframing.moc"
