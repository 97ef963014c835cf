// The end of a process that still reads: in each state of a reader and by each way to end, the
// service stops its reader while the process's static objects are destroyed.

#include "mjpegserver.h"
#include "rawdevices.h"
#include "testpictures.h"

#include <deviceconfig.h>

#include <QElapsedTimer>
#include <QProcess>
#include <QtTest>

#include <algorithm>
#include <functional>
#include <memory>
#include <vector>

using namespace Morvek::Tests;
using Morvek::BizModel::s_EchoVideoConfig;

namespace {

enum eState {
    NeverStarted,
    JustStarted,
    Refused,
    RefusedByName,
    Unanswered,
    Silent,
    Streaming,
    BackingOff,
    Paused,
    PausedOffline,
    Stopped,
    PlayingFile,
    FilePaused,
    Capturing,
    RenderingStream,
    RenderingLocalStream,
    RenderingFile,
    RenderingCapture
};

constexpr int HostCount = 5;    // of each state and ending, all at the same time
constexpr int LongWait = 60000; // ms, for a state to come about
constexpr int EndLimit = 30000; // ms; a stop takes little more than one second, a back-off a minute

/** One process that reads, and what it has written. */
class Host
{
public:
    Host(const QString &strAddress, quint16 nPort, s_EchoVideoConfig::eVideoSourceType eSource)
    {
        m_process.start(QStringLiteral(MORVEK_EXIT_HOST),
                        {strAddress, QString::number(nPort), QString::number(eSource)});
    }
    ~Host()
    {
        m_process.kill();
        m_process.waitForFinished();
    }

    /** Sends a command without waiting for it. */
    void send(const QByteArray &baCommand)
    {
        m_process.write(baCommand + '\n');
        m_process.waitForBytesWritten(LongWait);
    }
    /** How many commands were carried out. */
    int doneCount()
    {
        m_baOutput += m_process.readAllStandardOutput();
        return m_baOutput.count("done\n");
    }
    QByteArray messages()
    {
        m_baMessages += m_process.readAllStandardError();
        return m_baMessages;
    }
    bool isEnded() const { return m_process.state() == QProcess::NotRunning; }
    bool isEndedWell() const
    {
        return m_process.exitStatus() == QProcess::NormalExit && m_process.exitCode() == 0;
    }

private:
    QProcess m_process;
    QByteArray m_baOutput;
    QByteArray m_baMessages;
};

s_EchoVideoConfig::eVideoSourceType sourceOf(eState eWanted)
{
    switch (eWanted) {
    case PlayingFile:
    case FilePaused:
    case RenderingFile:
        return s_EchoVideoConfig::LocalFile;
    case Capturing:
    case RenderingCapture:
        return s_EchoVideoConfig::LocalDVI;
    case RenderingLocalStream:
        return s_EchoVideoConfig::LocalTCP;
    default:
        return s_EchoVideoConfig::RemoteTCP;
    }
}

} // namespace

Q_DECLARE_METATYPE(eState)

class TestProcessExit : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void theProcessEndsWell_data();
    void theProcessEndsWell();

private:
    using Condition = std::function<bool(Host &)>;

    void startHosts(eState eWanted);
    bool reach(eState eWanted);
    bool carryOut(const QByteArray &baCommand);
    bool all(const Condition &condition);
    bool allSay(const QByteArray &baMessage);
    bool isConnected();
    bool connectSilently();
    bool isReceiving();

    QByteArray m_baPart;
    std::unique_ptr<MjpegServer> m_pServer;
    std::unique_ptr<UnansweringDevice> m_pUnanswering;
    std::vector<std::unique_ptr<Host>> m_hosts;
};

void TestProcessExit::initTestCase()
{
    m_baPart = mjpegPart(jpegBytes(gridPicture(2)));
    m_pUnanswering = std::make_unique<UnansweringDevice>();
}

void TestProcessExit::init()
{
    m_pServer = std::make_unique<MjpegServer>();
}

void TestProcessExit::cleanup()
{
    m_hosts.clear();
    m_pServer.reset();
}

// Waits until a condition holds for each host, all together no longer than LongWait.
bool TestProcessExit::all(const Condition &condition)
{
    return QTest::qWaitFor(
        [&] {
            return std::all_of(m_hosts.begin(), m_hosts.end(),
                               [&](const auto &pHost) { return condition(*pHost); });
        },
        LongWait);
}

bool TestProcessExit::carryOut(const QByteArray &baCommand)
{
    std::vector<int> done;
    for (const auto &pHost : m_hosts)
        done.push_back(pHost->doneCount());
    for (const auto &pHost : m_hosts)
        pHost->send(baCommand);
    return QTest::qWaitFor(
        [&] {
            for (std::size_t i = 0; i < m_hosts.size(); ++i) {
                if (m_hosts[i]->doneCount() == done[i])
                    return false;
            }
            return true;
        },
        LongWait);
}

bool TestProcessExit::allSay(const QByteArray &baMessage)
{
    return all([&](Host &host) { return host.messages().contains(baMessage); });
}

bool TestProcessExit::isConnected()
{
    return QTest::qWaitFor([this] { return m_pServer->acceptedCount() >= HostCount; }, LongWait);
}

// A byte now and then keeps the first connections from being given up before the last one is made.
bool TestProcessExit::connectSilently()
{
    m_pServer->stream(".", 50);
    const bool isReached = carryOut("start") && isConnected();
    m_pServer->stopStream();
    return isReached;
}

// Several pictures have been sent to each.
bool TestProcessExit::isReceiving()
{
    const int nStreamed = m_pServer->streamedCount();
    return QTest::qWaitFor([&] { return m_pServer->streamedCount() >= nStreamed + 4 * HostCount; },
                           LongWait);
}

void TestProcessExit::startHosts(eState eWanted)
{
    const QString strAddress =
        eWanted == RefusedByName ? QStringLiteral("localhost") : QStringLiteral("127.0.0.1");
    const quint16 nPort = eWanted == Unanswered ? m_pUnanswering->port() : m_pServer->port();
    const auto eSource = sourceOf(eWanted);
    for (int i = 0; i < HostCount; ++i)
        m_hosts.push_back(std::make_unique<Host>(strAddress, nPort, eSource));
}

bool TestProcessExit::reach(eState eWanted)
{
    switch (eWanted) {
    case NeverStarted:
        return carryOut("pause");
    case JustStarted: // what ends the process follows at once
        m_pServer->refuse();
        for (const auto &pHost : m_hosts)
            pHost->send("start");
        return true;
    case Refused:
    case RefusedByName:
        m_pServer->refuse();
        return carryOut("start") && allSay("mjpeg server timeout.");
    case Unanswered: // the first attempt is over, the next has begun
        return carryOut("start") && allSay("mjpeg server timeout.");
    case Silent:
        return connectSilently();
    case Streaming:
        m_pServer->stream(m_baPart, 40);
        return carryOut("start") && isConnected() && isReceiving();
    case BackingOff:
        if (!connectSilently())
            return false;
        m_pServer->closeConnections();
        return allSay("Read echo video from ");
    case Paused:
    case PausedOffline:
        return reach(Streaming) && carryOut(eWanted == Paused ? "pause" : "offline")
            && QTest::qWaitFor([this] { return m_pServer->openCount() == 0; }, LongWait);
    case Stopped:
        return reach(Streaming) && carryOut("stop");
    case PlayingFile:
        return carryOut("start") && allSay("missing.yuv");
    case FilePaused:
        return reach(PlayingFile) && carryOut("pause");
    case Capturing:
        return carryOut("start") && allSay("shm_cap_init");
    case RenderingStream:
    case RenderingLocalStream:
        return reach(Streaming) && carryOut("render");
    case RenderingFile:
        return reach(PlayingFile) && carryOut("render");
    case RenderingCapture:
        return reach(Capturing) && carryOut("render");
    }
    return false;
}

void TestProcessExit::theProcessEndsWell_data()
{
    QTest::addColumn<eState>("eWanted");
    QTest::addColumn<QByteArray>("baEnding");
    const struct
    {
        eState m_eState;
        const char *m_pName;
    } states[] = {
        {NeverStarted, "never started"},
        {JustStarted, "just started"},
        {Refused, "refused"},
        {RefusedByName, "refused, found by name"},
        {Unanswered, "connecting"},
        {Silent, "connected, silent"},
        {Streaming, "streaming"},
        {BackingOff, "backing off"},
        {Paused, "paused"},
        {PausedOffline, "paused, device offline"},
        {Stopped, "stopped"},
        {PlayingFile, "playing a file"},
        {FilePaused, "playing a file, paused"},
        {Capturing, "capturing"},
        {RenderingStream, "manager just gone, streaming"},
        {RenderingLocalStream, "manager just gone, streaming from this machine"},
        {RenderingFile, "manager just gone, playing a file"},
        {RenderingCapture, "manager just gone, capturing"},
    };
    for (const auto &state : states) {
        for (const char *pEnding : {"return", "exit", "destroy"}) {
            QTest::addRow("%s, %s", state.m_pName, pEnding)
                << state.m_eState << QByteArray(pEnding);
        }
    }
}

void TestProcessExit::theProcessEndsWell()
{
    QFETCH(eState, eWanted);
    QFETCH(QByteArray, baEnding);
    startHosts(eWanted);
    QVERIFY(reach(eWanted));

    QElapsedTimer timer;
    timer.start();
    for (const auto &pHost : m_hosts)
        pHost->send(baEnding);
    QVERIFY(all([](Host &host) { return host.isEnded(); }));
    QVERIFY(timer.elapsed() < EndLimit);
    for (const auto &pHost : m_hosts) {
        const QByteArray baMessages = pHost->messages();
        QVERIFY2(pHost->isEndedWell(), baMessages.constData());
        for (const char *pComplaint :
             {"ASSERT", "pure virtual", "QThread: Destroyed", "terminate called", "nullptr"})
            QVERIFY2(!baMessages.contains(pComplaint), baMessages.constData());
    }
}

QTEST_GUILESS_MAIN(TestProcessExit)
#include "tst_processexit.moc"
