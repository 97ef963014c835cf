// The device simulator, as a process: its command line, its end and its summary.

#include "deviceprocess.h"
#include "plainstream.h"

#include <QDir>
#include <QFile>
#include <QHostAddress>
#include <QImage>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>

using namespace Morvek::Tests;

namespace {

QJsonObject jsonObject(const QByteArray &text)
{
    return QJsonDocument::fromJson(text).object();
}

} // namespace

class tst_EchoDeviceCommandLine : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void signalEndsTheRunCleanly_data();
    void signalEndsTheRunCleanly();
    void summaryCanBeJson_data();
    void summaryCanBeJson();

    void wrongCommandLineIsRefused_data();
    void wrongCommandLineIsRefused();
    void valuesAtTheirLimitsAreTaken_data();
    void valuesAtTheirLimitsAreTaken();
    void helpAndVersionAreShown_data();
    void helpAndVersionAreShown();
    void usedPortIsAFailure();
    void unwritableSummaryIsAFailure_data();
    void unwritableSummaryIsAFailure();
};

// ---- the end

void tst_EchoDeviceCommandLine::signalEndsTheRunCleanly_data()
{
    QTest::addColumn<int>("signal");
    QTest::addColumn<bool>("isStreaming");
    QTest::newRow("SIGINT while nobody listens") << SIGINT << false;
    QTest::newRow("SIGTERM while nobody listens") << SIGTERM << false;
    QTest::newRow("SIGINT while streaming") << SIGINT << true;
    QTest::newRow("SIGTERM while streaming") << SIGTERM << true;
}

void tst_EchoDeviceCommandLine::signalEndsTheRunCleanly()
{
    QFETCH(int, signal);
    QFETCH(bool, isStreaming);
    QTemporaryDir folder;
    const QString strFile = folder.filePath(QStringLiteral("summary.json"));
    DeviceProcess device({"--json", strFile});
    QVERIFY2(device.waitForListening(), device.errors());
    PlainStream stream;
    if (isStreaming) {
        QVERIFY(stream.connectTo(device.address(), device.port()));
        QVERIFY(stream.next().has_value() && stream.next().has_value());
    }
    device.sendSignal(signal);
    QVERIFY(device.waitForEnd());
    QCOMPARE(device.exitStatus(), 0);
    QVERIFY(device.output().startsWith(isStreaming ? "made " : "made 0 pictures"));
    QCOMPARE(device.errors(), QByteArray());
    QFile file(strFile);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QJsonObject summary = jsonObject(file.readAll());
    QCOMPARE(summary.value("clients").toInt(-1), isStreaming ? 1 : 0);
    QVERIFY(summary.value("picturesSent").toInt(-1) >= (isStreaming ? 2 : 0));
    QVERIFY(summary.value("picturesMade").toInt() >= summary.value("picturesSent").toInt());
}

void tst_EchoDeviceCommandLine::summaryCanBeJson_data()
{
    QTest::addColumn<bool>("isToFile");
    QTest::newRow("standard output") << false;
    QTest::newRow("file") << true;
}

void tst_EchoDeviceCommandLine::summaryCanBeJson()
{
    QFETCH(bool, isToFile);
    QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("summary.json")));
    DeviceProcess device(
        {"--frames", "3", "--fps", "30", "--json", isToFile ? file.fileName() : "-"});
    QVERIFY2(device.waitForListening(), device.errors());
    PlainStream stream;
    QVERIFY(stream.connectTo(device.address(), device.port()));
    qint64 received = 0;
    while (const std::optional<sStreamPart> part = stream.next()) {
        received += part->m_headerLines.join("\r\n").size() + 4 + part->m_picture.size() + 2;
    }
    QVERIFY(device.waitForEnd());
    QCOMPARE(device.exitStatus(), 0);
    const QByteArray output = device.output();
    QCOMPARE(output.startsWith("made 3 pictures"), isToFile);
    QVERIFY(file.open(QIODevice::ReadOnly) == isToFile);
    const QJsonObject summary = jsonObject(isToFile ? file.readAll() : output);
    QCOMPARE(summary.value("picturesMade").toInt(), 3);
    QCOMPARE(summary.value("picturesSent").toInt(), 3);
    QCOMPARE(summary.value("picturesSkipped").toInt(-1), 0);
    QCOMPARE(summary.value("clients").toInt(), 1);
    QCOMPARE(qint64(summary.value("bytesSent").toDouble()), received);
    const int duration = summary.value("durationMs").toInt();
    QVERIFY2(duration >= 60 && duration < 20000, qPrintable(QString::number(duration)));
}

// ---- the command line

void tst_EchoDeviceCommandLine::wrongCommandLineIsRefused_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("message");
    const auto addRow = [](const char *option, const char *value, const char *expected) {
        QTest::addRow("--%s '%s'", option, value)
            << QStringList{QStringLiteral("--%1=%2").arg(option, value)}
            << QStringLiteral("--%1 '%2': expected %3").arg(option, value, expected);
    };
    for (const char *value : {"", "host", "localhost", "127.0.0.1:80", "256.0.0.1", ":::"}) {
        addRow("address", value, "an IPv4 or IPv6 address");
    }
    for (const char *value : {"", "-1", "65536", "http", "80.0", "0x50", " 80", "99999999999"}) {
        addRow("port", value, "a whole number from 0 to 65535");
    }
    for (const char *value : {"", "0", "61", "-12", "12.5", "fast"}) {
        addRow("fps", value, "a whole number from 1 to 60");
    }
    for (const char *value : {"", "0", "1", "5", "36", "four", "-4"}) {
        addRow("tiles", value, "4, 9, 16 or 25");
    }
    for (const char *value : {"", "0", "101", "80%"}) {
        addRow("quality", value, "a whole number from 1 to 100");
    }
    for (const char *value : {"", "16", "-1", "3;4", "3,", "3, 4"}) {
        addRow("no-signal", value, "inputs from 0 to 15, with commas between them");
        addRow("still", value, "inputs from 0 to 15, with commas between them");
    }
    for (const char *value : {"", "-1", "2147483648", "many"}) {
        addRow("frames", value, "a whole number from 0 to 2147483647");
    }
    addRow("json", "", "a file name, or - for standard output");
    QTest::newRow("unknown option") << QStringList{"--speed", "3"} << "speed";
    QTest::newRow("value missing") << QStringList{"--fps"} << "fps";
    QTest::newRow("value for a switch") << QStringList{"--help=all"} << "help";
    QTest::newRow("argument") << QStringList{"5000"} << "'5000': expected nothing but options";
    QTest::newRow("second value wrong")
        << QStringList{"--fps", "5", "--tiles", "5"} << "--tiles '5'";
}

void tst_EchoDeviceCommandLine::wrongCommandLineIsRefused()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, message);
    QProcess process;
    process.start(QStringLiteral(ECHODEVICE_PROGRAM), arguments);
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 2);
    const QString errors = QString::fromUtf8(process.readAllStandardError());
    QVERIFY2(errors.startsWith("echodevice: ") && errors.contains(message), qPrintable(errors));
    QCOMPARE(process.readAllStandardOutput(), QByteArray());
}

void tst_EchoDeviceCommandLine::valuesAtTheirLimitsAreTaken_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("lowest") << QStringList{"--fps", "1", "--quality", "1", "--tiles", "4"};
    QTest::newRow("highest") << QStringList{"--fps",   "60", "--quality", "100",
                                            "--tiles", "25", "--frames",  "2147483647"};
    QTest::newRow("first and last inputs")
        << QStringList{"--tiles", "9", "--no-signal", "0,8", "--still", "8,0"};
}

void tst_EchoDeviceCommandLine::valuesAtTheirLimitsAreTaken()
{
    QFETCH(QStringList, arguments);
    DeviceProcess device(arguments);
    QVERIFY2(device.waitForListening(), device.errors());
    PlainStream stream;
    QVERIFY(stream.connectTo(device.address(), device.port()));
    const std::optional<sStreamPart> part = stream.next();
    QVERIFY2(part.has_value(), qPrintable(stream.error()));
    QCOMPARE(QImage::fromData(part->m_picture).size(), QSize(1920, 1080));
}

void tst_EchoDeviceCommandLine::helpAndVersionAreShown_data()
{
    QTest::addColumn<QString>("argument");
    QTest::addColumn<QStringList>("expected");
    const QStringList options = {"--address", "--port",   "--fps",  "--tiles",
                                 "--quality", "--frames", "--json", "--version"};
    QTest::newRow("--help") << "--help" << options;
    QTest::newRow("-h") << "-h" << options;
    QTest::newRow("--version") << "--version" << QStringList{"echodevice ", "."};
    QTest::newRow("-v") << "-v" << QStringList{"echodevice ", "."};
}

void tst_EchoDeviceCommandLine::helpAndVersionAreShown()
{
    QFETCH(QString, argument);
    QFETCH(QStringList, expected);
    QProcess process;
    process.start(QStringLiteral(ECHODEVICE_PROGRAM), {argument});
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitCode(), 0);
    const QString output = QString::fromUtf8(process.readAllStandardOutput());
    for (const QString &text : qAsConst(expected)) {
        QVERIFY2(output.contains(text), qPrintable(output));
    }
    QCOMPARE(process.readAllStandardError(), QByteArray());
}

void tst_EchoDeviceCommandLine::usedPortIsAFailure()
{
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost));
    const QString place = QStringLiteral("127.0.0.1:%1").arg(server.serverPort());
    DeviceProcess device({"--port", QString::number(server.serverPort())});
    QVERIFY(device.waitForEnd());
    QCOMPARE(device.exitStatus(), 1);
    const QString errors = QString::fromUtf8(device.errors());
    QVERIFY2(errors.startsWith("echodevice: cannot listen on " + place), qPrintable(errors));
    QCOMPARE(device.output(), QByteArray());
}

void tst_EchoDeviceCommandLine::unwritableSummaryIsAFailure_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<bool>("isSeenAtOnce");
    QTest::newRow("no such folder") << "/no/such/folder/summary.json" << true;
    QTest::newRow("folder") << QDir::tempPath() << true;
    if (QFile::exists(QStringLiteral("/dev/full"))) {
        QTest::newRow("disk full") << "/dev/full" << false;
    }
}

void tst_EchoDeviceCommandLine::unwritableSummaryIsAFailure()
{
    QFETCH(QString, file);
    QFETCH(bool, isSeenAtOnce);
    DeviceProcess device({"--json", file});
    QCOMPARE(device.waitForListening(), !isSeenAtOnce);
    if (!isSeenAtOnce) {
        device.sendSignal(SIGTERM);
    }
    QVERIFY(device.waitForEnd());
    QCOMPARE(device.exitStatus(), 1);
    const QString errors = QString::fromUtf8(device.errors());
    QVERIFY2(errors.startsWith("echodevice: --json '" + file + "': cannot write"),
             qPrintable(errors));
}

QTEST_GUILESS_MAIN(tst_EchoDeviceCommandLine)

#include "tst_echodevice_commandline.moc"
