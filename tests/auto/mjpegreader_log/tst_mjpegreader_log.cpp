// Every line that the MJPEG reader logs, letter for letter, with its level and context.

#include <readerprobe.h>

#include <logcapture.h>
#include <rawdevices.h>

#include <QRegularExpression>
#include <QTcpServer>
#include <QtTest>

using namespace Morvek::Tests;

namespace {

const QString StartLine = QStringLiteral("RemoteMJPEGReader readTask start");

QString endLine(const char *pIsStopRead, const char *pOnlineFlag)
{
    return QStringLiteral("RemoteMJPEGReader readTask end, m_isStopRead is  %1 , pDevice is not "
                          "NULL,onlineFlag is  %2")
        .arg(QLatin1String(pIsStopRead), QLatin1String(pOnlineFlag));
}

QStringList texts(const LogCapture &log)
{
    QStringList result;
    const QList<sLogLine> lines = log.lines();
    for (const sLogLine &line : lines)
        result.append(line.m_strText);
    return result;
}

} // namespace

class TestMjpegReaderLog : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void startAndEndAreLoggedOnce();
    void endTellsThatTheDeviceIsOffline();
    void missingDeviceHasNoEndLine();
    void refusedConnectionIsAWarning();
    void unansweredConnectionIsAWarning();
    void closedConnectionIsAWarning();
    void silentConnectionIsAWarning();
    void addressOfIPv6IsLoggedAsItIs();
    void everyLineHasItsContext();
};

void TestMjpegReaderLog::startAndEndAreLoggedOnce()
{
    LogCapture log;
    MjpegServer server;
    ReaderProbe probe(server.port());
    QVERIFY(probe.connectTo(server));
    server.send(colorPart(Qt::red));
    QTRY_VERIFY(probe.isShowing(Qt::red));
    probe.stop();
    QCOMPARE(texts(log), (QStringList{StartLine, endLine("true", "true")}));
    QCOMPARE(log.lines().first().m_eType, QtDebugMsg);
    QCOMPARE(log.lines().last().m_eType, QtDebugMsg);
}

void TestMjpegReaderLog::endTellsThatTheDeviceIsOffline()
{
    LogCapture log;
    MjpegServer server;
    ReaderProbe probe(server.port());
    probe.device()->setOnlineFlag(false);
    probe.start();
    QTRY_VERIFY(probe.reader().isFinished());
    QCOMPARE(texts(log), (QStringList{StartLine, endLine("false", "false")}));
}

void TestMjpegReaderLog::missingDeviceHasNoEndLine()
{
    LogCapture log;
    ReaderProbe probe(1);
    probe.reader().restartRead({});
    QTRY_VERIFY(probe.reader().isFinished());
    QCOMPARE(texts(log), QStringList{StartLine});
}

void TestMjpegReaderLog::refusedConnectionIsAWarning()
{
    LogCapture log;
    MjpegServer server;
    server.refuse();
    ReaderProbe probe(server.port());
    probe.start();
    QTRY_COMPARE(log.lines().size(), 2);
    QCOMPARE(log.lines().last().m_strText,
             QStringLiteral("Connect to  \"127.0.0.1\" : %1  mjpeg server timeout. "
                            "\"Connection refused\"")
                 .arg(server.port()));
    QCOMPARE(log.lines().last().m_eType, QtWarningMsg);
}

void TestMjpegReaderLog::unansweredConnectionIsAWarning()
{
    LogCapture log;
    const UnansweringDevice device;
    ReaderProbe probe(device.port());
    probe.start();
    QTRY_COMPARE(log.lines().size(), 2);
    const QRegularExpression text(
        QStringLiteral("^Connect to  \"127\\.0\\.0\\.1\" : %1  mjpeg server timeout\\. "
                       "\".*timed out\"$")
            .arg(device.port()));
    QVERIFY2(text.match(log.lines().last().m_strText).hasMatch(),
             qPrintable(log.lines().last().m_strText));
    QCOMPARE(log.lines().last().m_eType, QtWarningMsg);
}

void TestMjpegReaderLog::closedConnectionIsAWarning()
{
    LogCapture log;
    MjpegServer server;
    ReaderProbe probe(server.port());
    QVERIFY(probe.connectTo(server));
    server.closeConnections();
    QTRY_COMPARE(log.lines().size(), 2);
    QCOMPARE(log.lines().last().m_strText,
             QStringLiteral("Read echo video from  \"127.0.0.1\" : %1  timeout. "
                            "\"The remote host closed the connection\"")
                 .arg(server.port()));
    QCOMPARE(log.lines().last().m_eType, QtWarningMsg);
    probe.stop();
    QCOMPARE(log.lines().size(), 3);
}

void TestMjpegReaderLog::silentConnectionIsAWarning()
{
    LogCapture log;
    MjpegServer server;
    ReaderProbe probe(server.port());
    QVERIFY(probe.connectTo(server));
    server.stopStream();
    QTRY_COMPARE(log.lines().size(), 2);
    const QRegularExpression text(
        QStringLiteral("^Read echo video from  \"127\\.0\\.0\\.1\" : %1  timeout\\. "
                       "\".*timed out\"$")
            .arg(server.port()));
    QVERIFY2(text.match(log.lines().last().m_strText).hasMatch(),
             qPrintable(log.lines().last().m_strText));
    QCOMPARE(log.lines().last().m_eType, QtWarningMsg);
    probe.stop();
    QCOMPARE(log.lines().size(), 3);
}

void TestMjpegReaderLog::addressOfIPv6IsLoggedAsItIs()
{
    if (!QTcpServer().listen(QHostAddress::LocalHostIPv6))
        QSKIP("this machine has no IPv6", "");
    LogCapture log;
    MjpegServer server(QHostAddress::LocalHostIPv6);
    server.refuse();
    ReaderProbe probe(server.port(), QStringLiteral("::1"));
    probe.start();
    QTRY_COMPARE(log.lines().size(), 2);
    QVERIFY(log.lines().last().m_strText.startsWith(
        QStringLiteral("Connect to  \"::1\" : %1  mjpeg").arg(server.port())));
}

void TestMjpegReaderLog::everyLineHasItsContext()
{
    LogCapture log;
    MjpegServer server;
    ReaderProbe probe(server.port());
    QVERIFY(probe.connectTo(server));
    server.closeConnections();
    QTRY_COMPARE(log.lines().size(), 2);
    server.refuse();
    const auto isRefused = [&] {
        probe.reader().pauseRead();
        probe.start();
        return log.count(QStringLiteral("Connect to")) > 0;
    };
    QTRY_VERIFY(isRefused());
    probe.stop();

    const QList<sLogLine> lines = log.lines();
    QVERIFY(lines.size() >= 4);
    for (const sLogLine &line : lines) {
        QCOMPARE(line.m_strCategory, QStringLiteral("default"));
        QVERIFY2(line.m_strFile.startsWith(QLatin1String("src/libs/morvekechovideo/")),
                 qPrintable(line.m_strFile));
        QVERIFY(line.m_strFile.endsWith(QLatin1String(".cpp")));
        QVERIFY2(line.m_strFunction.contains(QLatin1String("RemoteMJPEGReader::")),
                 qPrintable(line.m_strFunction));
        QVERIFY(line.m_nLine > 0);
        QVERIFY(line.m_hThread != QThread::currentThreadId());
    }
}

QTEST_GUILESS_MAIN(TestMjpegReaderLog)
#include "tst_mjpegreader_log.moc"
