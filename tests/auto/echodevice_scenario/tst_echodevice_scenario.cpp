// The device simulator, as a process, with a scenario: what its clients get, and wrong scenarios.

#include "deviceprocess.h"
#include "plainstream.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <memory>

using namespace Morvek::Tests;

namespace {

constexpr int WaitMs = 20000;
constexpr int SilentMs = 400; // several pictures long

/** The simulator at work, its pictures small and quick. */
class ScenarioProcess
{
public:
    explicit ScenarioProcess(const QByteArray &scenario, const QStringList &arguments = {})
    {
        QFile file(fileName());
        file.open(QIODevice::WriteOnly);
        file.write(scenario);
        file.close();
        m_pDevice = std::make_unique<DeviceProcess>(
            QStringList{"--scenario", fileName(), "--fps", "30", "--tiles", "4", "--quality", "20"}
            + arguments);
    }

    DeviceProcess &device() { return *m_pDevice; }
    QString fileName() const { return m_folder.filePath(QStringLiteral("scenario.json")); }

private:
    QTemporaryDir m_folder;
    std::unique_ptr<DeviceProcess> m_pDevice;
};

QByteArray oneFault(const QByteArray &keys)
{
    return "{ \"faults\": [ { " + keys + " } ] }";
}

/** What a connection brought to its end. */
struct sConnectionEnd
{
    QByteArray m_bytes;
    int m_nError = 0; ///< 0: it was closed, not broken off
};

// Without Qt, which does not tell a connection that was closed from one that was broken off.
sConnectionEnd readToTheEnd(quint16 nPort)
{
    const int hSocket = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const timeval patience{WaitMs / 1000, 0};
    setsockopt(hSocket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(nPort);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    sConnectionEnd end;
    if (connect(hSocket, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
        end.m_nError = errno;
    char bytes[65536];
    while (end.m_nError == 0) {
        const ssize_t nRead = recv(hSocket, bytes, sizeof bytes, 0);
        if (nRead < 0)
            end.m_nError = errno;
        if (nRead <= 0)
            break;
        end.m_bytes.append(bytes, int(nRead));
    }
    close(hSocket);
    return end;
}

QJsonObject summaryOf(DeviceProcess &device)
{
    device.sendSignal(SIGTERM);
    if (!device.waitForEnd() || device.exitStatus() != 0)
        return {};
    return QJsonDocument::fromJson(device.output()).object();
}

} // namespace

class tst_EchoDeviceScenario : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void picturesAreGoodUpToTheFault();
    void splitPictureArrivesWhole_data();
    void splitPictureArrivesWhole();
    void connectionEndsAsTheScenarioSays_data();
    void connectionEndsAsTheScenarioSays();
    void timeSinceTheStartCountsForAllConnections();
    void silenceIsKept();
    void muteConnectionStaysSilentAlone();
    void refusalEnds();
    void floodBringsLargePictures();
    void faultsFromASeedArePlayed();
    void wrongScenarioIsAFailure();
    void missingScenarioIsAFailure();
    void scenarioWithoutAStreamIsRefused_data();
    void scenarioWithoutAStreamIsRefused();
};

void tst_EchoDeviceScenario::picturesAreGoodUpToTheFault()
{
    ScenarioProcess process(oneFault(R"("fault": "trailing_header", "at": 3)"), {"--json", "-"});
    QVERIFY2(process.device().waitForListening(), process.device().errors());
    PlainStream stream;
    QVERIFY(stream.connectTo(process.device().address(), process.device().port()));
    QVERIFY(stream.next() && stream.next());
    QVERIFY(!stream.next());
    QCOMPARE(stream.error(), QStringLiteral("not a length: X-Timestamp: 12.5"));
    const QJsonObject summary = summaryOf(process.device());
    QCOMPARE(summary.value("faultsPlayed").toInt(-1), 1);
    QCOMPARE(summary.value("clients").toInt(-1), 1);
}

void tst_EchoDeviceScenario::splitPictureArrivesWhole_data()
{
    QTest::addColumn<QByteArray>("keys");

    QTest::newRow("somewhere") << QByteArray(R"("fault": "split")");
    QTest::newRow("before its start") << QByteArray(R"("fault": "split", "byte": 0)");
    QTest::newRow("behind its end") << QByteArray(R"("fault": "split", "byte": 67108864)");
    QTest::newRow("many pieces") << QByteArray(R"("fault": "one_byte_writes", "bytes": 50)");
}

void tst_EchoDeviceScenario::splitPictureArrivesWhole()
{
    QFETCH(QByteArray, keys);

    ScenarioProcess process(oneFault(keys + R"(, "at": 2, "every": 2)"));
    QVERIFY2(process.device().waitForListening(), process.device().errors());
    PlainStream stream;
    QVERIFY(stream.connectTo(process.device().address(), process.device().port()));
    for (int i = 0; i < 5; ++i)
        QVERIFY2(stream.next(), qPrintable(stream.error()));
}

void tst_EchoDeviceScenario::connectionEndsAsTheScenarioSays_data()
{
    QTest::addColumn<QByteArray>("keys");
    QTest::addColumn<int>("error");
    QTest::addColumn<int>("bytesMore"); // than two pictures

    QTest::newRow("close") << QByteArray(R"("fault": "close", "at": 3)") << 0 << 0;
    QTest::newRow("reset") << QByteArray(R"("fault": "reset", "at": 3)") << ECONNRESET << 0;
    QTest::newRow("flap") << QByteArray(R"("fault": "flap", "bytes": 321, "at": 3)") << ECONNRESET
                          << 321;
    QTest::newRow("refuse") << QByteArray(R"("fault": "refuse", "at": 3)") << ECONNRESET << 0;
}

void tst_EchoDeviceScenario::connectionEndsAsTheScenarioSays()
{
    QFETCH(QByteArray, keys);
    QFETCH(int, error);
    QFETCH(int, bytesMore);

    ScenarioProcess process(oneFault(keys));
    QVERIFY2(process.device().waitForListening(), process.device().errors());
    const sConnectionEnd end = readToTheEnd(process.device().port());
    QCOMPARE(end.m_nError, error);
    QVERIFY(end.m_bytes.startsWith("--morvek-echo-picture\r\n"));
    const int iLength = end.m_bytes.lastIndexOf("Content-Length: ") + 16;
    const int iPicture = end.m_bytes.indexOf("\r\n\r\n", iLength) + 4;
    const int nLength = end.m_bytes.mid(iLength, iPicture - 4 - iLength).toInt();
    QCOMPARE(end.m_bytes.size(), iPicture + nLength + 2 + bytesMore);
    QCOMPARE(end.m_bytes.count("Content-Length: "), 2);
}

void tst_EchoDeviceScenario::timeSinceTheStartCountsForAllConnections()
{
    ScenarioProcess process(
        oneFault(R"("fault": "reset", "clock": "start", "at": 0, "every": 300)"));
    QVERIFY2(process.device().waitForListening(), process.device().errors());
    for (int i = 0; i < 2; ++i)
        QCOMPARE(readToTheEnd(process.device().port()).m_nError, ECONNRESET);
}

void tst_EchoDeviceScenario::silenceIsKept()
{
    ScenarioProcess process(oneFault(R"("fault": "silence", "ms": 600, "at": 2)"));
    QVERIFY2(process.device().waitForListening(), process.device().errors());
    PlainStream stream;
    QVERIFY(stream.connectTo(process.device().address(), process.device().port()));
    QVERIFY(stream.next());
    QElapsedTimer timer;
    timer.start();
    QVERIFY2(stream.next(), qPrintable(stream.error()));
    QVERIFY2(timer.elapsed() >= SilentMs, qPrintable(QString::number(timer.elapsed())));
}

void tst_EchoDeviceScenario::muteConnectionStaysSilentAlone()
{
    ScenarioProcess process(oneFault(R"("fault": "mute", "at": 1, "connection": 1)"));
    QVERIFY2(process.device().waitForListening(), process.device().errors());
    PlainStream silent;
    QVERIFY(silent.connectTo(process.device().address(), process.device().port()));
    QVERIFY(!silent.socket().waitForReadyRead(SilentMs));
    PlainStream other;
    QVERIFY(other.connectTo(process.device().address(), process.device().port()));
    QVERIFY(other.next() && other.next());
    QCOMPARE(silent.socket().bytesAvailable(), qint64(0));
    QCOMPARE(silent.socket().state(), QAbstractSocket::ConnectedState);
}

void tst_EchoDeviceScenario::refusalEnds()
{
    ScenarioProcess process(oneFault(R"("fault": "refuse", "ms": 2000, "at": 1, "connection": 1)"));
    QVERIFY2(process.device().waitForListening(), process.device().errors());
    QCOMPARE(readToTheEnd(process.device().port()).m_nError, ECONNRESET);
    QCOMPARE(readToTheEnd(process.device().port()).m_nError, ECONNREFUSED);
    std::unique_ptr<PlainStream> pStream;
    const auto isAccepted = [&] {
        pStream = std::make_unique<PlainStream>();
        return pStream->connectTo(process.device().address(), process.device().port());
    };
    QTRY_VERIFY_WITH_TIMEOUT(isAccepted(), WaitMs);
    QVERIFY2(pStream->next(), qPrintable(pStream->error()));
}

void tst_EchoDeviceScenario::floodBringsLargePictures()
{
    ScenarioProcess process(
        oneFault(R"("fault": "flood", "ms": 60000, "fps": 1000, "bytes": 300000, "at": 1)"),
        {"--fps", "1"});
    QVERIFY2(process.device().waitForListening(), process.device().errors());
    PlainStream stream;
    QVERIFY(stream.connectTo(process.device().address(), process.device().port()));
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < 60; ++i) {
        const auto part = stream.next();
        QVERIFY2(part, qPrintable(stream.error()));
        QCOMPARE(part->m_picture.size(), 300000);
    }
    // At the rate of its other pictures it would take a minute.
    QVERIFY2(timer.elapsed() < 30000, qPrintable(QString::number(timer.elapsed())));
}

void tst_EchoDeviceScenario::faultsFromASeedArePlayed()
{
    ScenarioProcess process(
        R"({ "seed": 5, "random": { "percent": 100, "faults": [ { "fault": "empty_picture" } ] } })",
        {"--frames", "4", "--json", "-"});
    QVERIFY2(process.device().waitForListening(), process.device().errors());
    const sConnectionEnd end = readToTheEnd(process.device().port());
    QCOMPARE(end.m_bytes.count("Content-Length: 0\r\n\r\n\r\n"), 4);
    QVERIFY(process.device().waitForEnd());
    const QJsonObject summary = QJsonDocument::fromJson(process.device().output()).object();
    QCOMPARE(summary.value("faultsPlayed").toInt(-1), 4);
    QCOMPARE(summary.value("picturesMade").toInt(-1), 4);
}

void tst_EchoDeviceScenario::wrongScenarioIsAFailure()
{
    ScenarioProcess process(R"({ "seed": -1, "fault": [] })");
    QVERIFY(process.device().waitForEnd());
    QCOMPARE(process.device().exitStatus(), 1);
    QCOMPARE(process.device().output(), QByteArray());
    const QByteArray start = "echodevice: " + process.fileName().toLocal8Bit();
    QCOMPARE(process.device().errors(),
             start + ": seed: expected a whole number from 0 to 2147483647, found -1\n" + start
                 + ": fault: unknown key, expected one of: faults, random, seed\n");
}

void tst_EchoDeviceScenario::missingScenarioIsAFailure()
{
    DeviceProcess device({"--scenario", "/no/such/file.json"});
    QVERIFY(device.waitForEnd());
    QCOMPARE(device.exitStatus(), 1);
    const QByteArray errors = device.errors();
    QVERIFY2(errors.startsWith("echodevice: /no/such/file.json: expected a file that can be read"),
             errors);
}

void tst_EchoDeviceScenario::scenarioWithoutAStreamIsRefused_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("message");

    QTest::newRow("no name") << QStringList{"--scenario="}
                             << QByteArray("--scenario '': expected a file name");
    QTest::newRow("shared memory alone")
        << QStringList{"--scenario", "s.json", "--shm"}
        << QByteArray("--scenario 's.json': expected a stream to play it on, by --port");
}

void tst_EchoDeviceScenario::scenarioWithoutAStreamIsRefused()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, message);

    // Not by DeviceProcess, which adds a port.
    QProcess process;
    process.start(QStringLiteral(ECHODEVICE_PROGRAM), arguments);
    QVERIFY(process.waitForFinished(WaitMs));
    QCOMPARE(process.exitCode(), 2);
    const QByteArray errors = process.readAllStandardError();
    QVERIFY2(errors.startsWith("echodevice: " + message), errors);
}

QTEST_GUILESS_MAIN(tst_EchoDeviceScenario)
#include "tst_echodevice_scenario.moc"
