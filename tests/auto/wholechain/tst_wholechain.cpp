#include <echolayout.h>
#include <sanitized.h>
#include <tilestamp.h>

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QtTest>

using namespace Morvek::Tools;

namespace {

constexpr int Patience = 60000; // ms; generous, for sanitizers and busy machines
constexpr int DeviceFps = 20;
constexpr double LongestAge = 15000; // ms

/** The device simulator as a process of its own. */
class DeviceProcess
{
public:
    explicit DeviceProcess(int nTiles, const QString &strAddress = QStringLiteral("127.0.0.1"))
    {
        m_process.setProcessChannelMode(QProcess::SeparateChannels);
        m_process.start(QStringLiteral(ECHODEVICE_PROGRAM),
                        {QStringLiteral("--address"), strAddress, QStringLiteral("--port"),
                         QStringLiteral("0"), QStringLiteral("--fps"), QString::number(DeviceFps),
                         QStringLiteral("--tiles"), QString::number(nTiles)});
        while (!m_process.canReadLine() && m_process.waitForReadyRead(Patience)) {}
        m_strLine = QString::fromLocal8Bit(m_process.readLine()).trimmed();
    }
    ~DeviceProcess()
    {
        m_process.terminate();
        if (!m_process.waitForFinished(Patience))
            m_process.kill();
    }

    /** HOST:PORT; empty if it does not listen. */
    QString address() const
    {
        const QString strStart = QStringLiteral("listening on ");
        return m_strLine.startsWith(strStart) ? m_strLine.mid(strStart.size()) : QString();
    }

private:
    QProcess m_process;
    QString m_strLine;
};

/** What became of one run of the example host. */
struct sOutcome
{
    int m_nExitCode = -1;
    QByteArray m_output;
    QString m_strErrors;
};

sOutcome runCanvas(const QStringList &arguments)
{
    QProcess process;
    process.start(QStringLiteral(ECHOCANVAS_PROGRAM), arguments);
    sOutcome outcome;
    if (process.waitForFinished(Patience) && process.exitStatus() == QProcess::NormalExit)
        outcome.m_nExitCode = process.exitCode();
    outcome.m_output = process.readAllStandardOutput();
    outcome.m_strErrors = QString::fromLocal8Bit(process.readAllStandardError());
    return outcome;
}

// How long a run is that takes so many seconds at most to show everything.
QString seconds(int nSeconds)
{
    return QString::number(nSeconds * Morvek::Tests::SanitizerTimeFactor);
}

QStringList words(const QString &strLine)
{
    return strLine.split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

QJsonObject readJson(const QString &strFile)
{
    QFile file(strFile);
    return file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll()).object()
                                          : QJsonObject();
}

QJsonObject layerNamed(const QJsonObject &report, const char *pName)
{
    const QJsonArray layers = report[QStringLiteral("layers")].toArray();
    for (const QJsonValue &layer : layers) {
        if (layer[QStringLiteral("layer")].toString() == QLatin1String(pName))
            return layer.toObject();
    }
    return QJsonObject();
}

/** The input that a picture of a whole tile shows; -1 if that cannot be read. */
int shownInput(const QImage &picture)
{
    const auto stamp =
        readTileStamp(picture, QRectF(picture.rect()), QDateTime::currentMSecsSinceEpoch());
    return stamp ? stamp->m_nInput : -1;
}

/** A port of this machine on which nothing listens. */
quint16 closedPort()
{
    QTcpServer server;
    return server.listen(QHostAddress::LocalHost) ? server.serverPort() : 0;
}

bool hasIPv6()
{
    return QTcpServer().listen(QHostAddress::LocalHostIPv6);
}

QString writeFile(const QString &strName, const QByteArray &text)
{
    QFile file(strName);
    if (file.open(QIODevice::WriteOnly))
        file.write(text);
    return strName;
}

} // namespace

class tst_WholeChain : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyLayerOfTheBuiltInSceneShowsItsInput();
    void picturesShowWhatTheReportSays();
    void figuresArePlausible();
    void ownSceneOverIPv6();
    void withoutADeviceItFails();
    void aDeviceWithOtherTilesIsFoundOut();
    void aFolderThatCannotBeMadeIsAFailure();
    void wrongCommandLinesExitWithTwo_data();
    void wrongCommandLinesExitWithTwo();
    void wrongScenesExitWithOne();
    void informationIsPrinted();

    void initTestCase();

private:
    QTemporaryDir m_folder;
    QJsonObject m_report; // of the built-in scene
};

void tst_WholeChain::initTestCase()
{
    QVERIFY(m_folder.isValid());
    DeviceProcess device(16);
    QVERIFY(!device.address().isEmpty());
    const QString strJson = m_folder.filePath(QStringLiteral("report.json"));
    const sOutcome outcome =
        runCanvas({QStringLiteral("--headless"), QStringLiteral("--device"), device.address(),
                   QStringLiteral("--seconds"), seconds(4), QStringLiteral("--out"),
                   m_folder.filePath(QStringLiteral("out")), QStringLiteral("--json"), strJson});
    QVERIFY2(outcome.m_nExitCode == 0, qPrintable(outcome.m_strErrors));
    QVERIFY2(outcome.m_output.contains("layers rendered"), outcome.m_output.constData());
    m_report = readJson(strJson);
    QVERIFY(!m_report.isEmpty());
}

void tst_WholeChain::everyLayerOfTheBuiltInSceneShowsItsInput()
{
    const QJsonArray layers = m_report[QStringLiteral("layers")].toArray();
    QVERIFY(layers.size() >= 8);
    int nByStamp = 0;
    for (const QJsonValue &layer : layers) {
        const QString strName = layer[QStringLiteral("layer")].toString();
        const bool hasSource = !layer[QStringLiteral("input")].isNull();
        QVERIFY2(layer[QStringLiteral("previews")].toInt() > 0, qPrintable(strName));
        QVERIFY2(!hasSource || layer[QStringLiteral("fromStream")].toInt() > 0,
                 qPrintable(strName));
        QVERIFY2(layer[QStringLiteral("showsInput")].toString() == QStringLiteral("ok"),
                 qPrintable(strName));
        nByStamp += layer[QStringLiteral("provedBy")].toString() == QStringLiteral("stamp");
    }
    QVERIFY(nByStamp * 2 >= layers.size());
    QCOMPARE(m_report[QStringLiteral("ok")], QJsonValue(true));
    QCOMPARE(m_report[QStringLiteral("failures")].toArray(), QJsonArray());
}

void tst_WholeChain::picturesShowWhatTheReportSays()
{
    const QJsonArray layers = m_report[QStringLiteral("layers")].toArray();
    for (const QJsonValue &layer : layers) {
        const QImage picture(layer[QStringLiteral("picture")].toString());
        const QJsonArray size = layer[QStringLiteral("size")].toArray();
        QCOMPARE(picture.size(), QSize(size[0].toInt(), size[1].toInt()));
    }
    const auto picture = [this](const char *pName) {
        return QImage(layerNamed(m_report, pName)[QStringLiteral("picture")].toString());
    };
    QCOMPARE(shownInput(picture("As it comes")), 0);
    QCOMPARE(shownInput(picture("Mirrored left to right")), -1);
    QCOMPARE(shownInput(picture("Mirrored left to right").mirrored(true, false)), 2);
    QCOMPARE(shownInput(picture("Mirrored top to bottom").mirrored(false, true)), 3);
    QCOMPARE(shownInput(picture("Mirrored both ways").mirrored(true, true)), 4);
    QVERIFY(picture("Mono").convertToFormat(QImage::Format_RGB32).allGray());
    QVERIFY(!picture("As it comes").convertToFormat(QImage::Format_RGB32).allGray());
    QCOMPARE(picture("No source").pixelColor(100, 100), QColor(0x2a, 0x7f, 0x8e));
    QCOMPARE(qAlpha(picture("Alpha map").pixel(2, 2)), 0);
    QCOMPARE(qAlpha(picture("Mask").pixel(240, 10)), 0);
    QCOMPARE(picture("Hard border").pixelColor(3, 100), QColor(0xe8, 0xa3, 0x3d));

    const QJsonArray canvases = m_report[QStringLiteral("canvases")].toArray();
    QCOMPARE(canvases.size(), 2);
    const QImage first(canvases[0][QStringLiteral("picture")].toString());
    QCOMPARE(first.size(), QSize(1920, 1080));
    QCOMPARE(first.copy(60, 100, 480, 270), picture("As it comes").convertToFormat(first.format()));
    QCOMPARE(QImage(canvases[1][QStringLiteral("picture")].toString()).size(), QSize(1920, 1080));
    QCOMPARE(QDir(m_folder.filePath(QStringLiteral("out"))).entryList(QDir::Files).size(),
             layers.size() + canvases.size());
}

void tst_WholeChain::figuresArePlausible()
{
    const QJsonObject totals = m_report[QStringLiteral("totals")].toObject();
    const auto figure = [&totals](const char *pKey) {
        return totals[QLatin1String(pKey)].toDouble(-1);
    };
    QCOMPARE(figure("layers"), figure("rendered"));
    QCOMPARE(figure("withSource"), figure("fromStream"));
    QVERIFY(figure("previews") > figure("layers"));
    QVERIFY(figure("firstPreviewMs") > 0);
    QVERIFY(figure("allLayersMs") >= figure("firstPreviewMs"));
    const double duration = m_report[QStringLiteral("seconds")].toDouble();
    QVERIFY(duration >= 4);
    QVERIFY(figure("allLayersMs") <= duration * 1000);
    QVERIFY(figure("picturesSeen") >= 2);
    QVERIFY(figure("picturesSent") >= figure("picturesSeen"));
    QVERIFY(figure("picturesSent") <= (duration + 1) * DeviceFps);
    QVERIFY(figure("cpuSecondsPerSecond") > 0);
    QVERIFY(figure("residentBytes") > 1e6);
    const QJsonObject ages = totals[QStringLiteral("ageMs")].toObject();
    const double median = ages[QStringLiteral("median")].toDouble(-1);
    const double p95 = ages[QStringLiteral("p95")].toDouble(-1);
    const double worst = ages[QStringLiteral("worst")].toDouble(-1);
    QVERIFY(median >= 0 && median <= p95 && p95 <= worst);
    QVERIFY2(worst < LongestAge, qPrintable(QString::number(worst)));
}

void tst_WholeChain::ownSceneOverIPv6()
{
    if (!hasIPv6())
        QSKIP("this machine has no IPv6 on loopback");
    DeviceProcess device(4, QStringLiteral("::1"));
    QVERIFY2(device.address().startsWith(QStringLiteral("[::1]:")), qPrintable(device.address()));
    QImage map(8, 8, QImage::Format_ARGB32);
    map.fill(QColor(0, 0, 0, 128));
    QVERIFY(map.save(m_folder.filePath(QStringLiteral("half.png"))));
    const QString strScene = writeFile(m_folder.filePath(QStringLiteral("own.json")), R"({
        "device": { "address": "192.0.2.1", "port": 1, "tiles": 4, "source": "mjpeg" },
        "screens": [ { "name": "one", "size": [640, 360], "layers": [
            { "name": "plain", "rect": [0, 0, 320, 180], "source": { "type": "input", "input": 3 } },
            { "name": "shaped", "rect": [320, 0, 320, 180], "alphaMap": "half.png",
              "source": { "type": "input", "input": 2 } } ] } ] })");
    const sOutcome outcome =
        runCanvas(words(QStringLiteral("--headless --seconds %1 --json - --device %2 --scene %3")
                            .arg(seconds(3), device.address(), strScene))
                  << QStringLiteral("--out") << m_folder.filePath(QStringLiteral("own")));
    QVERIFY2(outcome.m_nExitCode == 0, qPrintable(outcome.m_strErrors));
    // On standard output the figures stand alone.
    const QJsonObject report = QJsonDocument::fromJson(outcome.m_output).object();
    QCOMPARE(report[QStringLiteral("device")].toString(), device.address());
    QCOMPARE(layerNamed(report, "plain")[QStringLiteral("provedBy")].toString(),
             QStringLiteral("stamp"));
    const QJsonObject shaped = layerNamed(report, "shaped");
    QCOMPARE(shaped[QStringLiteral("provedBy")].toString(), QStringLiteral("likeness"));
    QCOMPARE(shaped[QStringLiteral("showsInput")].toString(), QStringLiteral("ok"));
    const QImage picture(shaped[QStringLiteral("picture")].toString());
    QVERIFY(qAbs(qAlpha(picture.pixel(160, 90)) - 128) <= 1);
}

void tst_WholeChain::withoutADeviceItFails()
{
    const quint16 nPort = closedPort();
    QVERIFY(nPort != 0);
    const QString strJson = m_folder.filePath(QStringLiteral("nothing.json"));
    const sOutcome outcome =
        runCanvas(words(QStringLiteral("--headless --seconds 0.5 --device 127.0.0.1:%1 --json %2")
                            .arg(nPort)
                            .arg(strJson)));
    QCOMPARE(outcome.m_nExitCode, 1);
    const QString strLine =
        QStringLiteral("echocanvas: no picture came from 127.0.0.1:%1").arg(nPort);
    QVERIFY2(outcome.m_strErrors.contains(strLine), qPrintable(outcome.m_strErrors));
    const QJsonObject report = readJson(strJson);
    QCOMPARE(report[QStringLiteral("ok")], QJsonValue(false));
    QCOMPARE(report[QStringLiteral("totals")][QStringLiteral("fromStream")].toInt(-1), 0);
    // Without a stream there are previews all the same.
    QVERIFY(report[QStringLiteral("totals")][QStringLiteral("rendered")].toInt() > 0);
}

void tst_WholeChain::aDeviceWithOtherTilesIsFoundOut()
{
    DeviceProcess device(9);
    QVERIFY(!device.address().isEmpty());
    const QString strJson = m_folder.filePath(QStringLiteral("tiles.json"));
    const sOutcome outcome =
        runCanvas(words(QStringLiteral("--headless --seconds %1 --device %2 --json %3")
                            .arg(seconds(2), device.address(), strJson)));
    QCOMPARE(outcome.m_nExitCode, 1);
    QVERIFY2(outcome.m_strErrors.contains(QStringLiteral("\"As it comes\": does not show input 0")),
             qPrintable(outcome.m_strErrors));
    const QJsonObject totals = readJson(strJson)[QStringLiteral("totals")].toObject();
    QCOMPARE(totals[QStringLiteral("fromStream")], totals[QStringLiteral("withSource")]);
    QCOMPARE(totals[QStringLiteral("inputWrong")], totals[QStringLiteral("withSource")]);
}

void tst_WholeChain::aFolderThatCannotBeMadeIsAFailure()
{
    const QString strFile = writeFile(m_folder.filePath(QStringLiteral("file")), "x");
    const sOutcome outcome = runCanvas(
        words(QStringLiteral("--headless --seconds 0.1 --device 127.0.0.1:%1 --out %2/out --json "
                             "%2/report.json")
                  .arg(closedPort())
                  .arg(strFile)));
    QCOMPARE(outcome.m_nExitCode, 1);
    QVERIFY2(outcome.m_strErrors.contains(QStringLiteral("cannot make the folder ") + strFile),
             qPrintable(outcome.m_strErrors));
    QVERIFY2(outcome.m_strErrors.contains(QStringLiteral("cannot write ") + strFile),
             qPrintable(outcome.m_strErrors));
}

void tst_WholeChain::wrongCommandLinesExitWithTwo_data()
{
    QTest::addColumn<QStringList>("arguments");
    for (const char *pLine : {"--nonsense", "scene.json", "--seconds", "--seconds never",
                              "--device nowhere", "--help --nonsense"})
        QTest::newRow(pLine) << words(QString::fromLatin1(pLine));
}

void tst_WholeChain::wrongCommandLinesExitWithTwo()
{
    QFETCH(QStringList, arguments);
    const sOutcome outcome = runCanvas(arguments);
    QCOMPARE(outcome.m_nExitCode, 2);
    QCOMPARE(outcome.m_output, QByteArray());
    QVERIFY2(outcome.m_strErrors.contains(QStringLiteral("--help")),
             qPrintable(outcome.m_strErrors));
}

void tst_WholeChain::wrongScenesExitWithOne()
{
    const QString strScene = writeFile(m_folder.filePath(QStringLiteral("broken.json")), R"({
        "device": { "address": "127.0.0.1", "port": 1, "tiles": 4, "source": "mjpeg" },
        "screens": [ { "name": "one", "size": [640, 360], "layers": [
            { "name": "plain", "rect": [0, 0, 320, 180], "opacity": "full" } ] } ] })");
    const sOutcome outcome = runCanvas({QStringLiteral("--scene"), strScene});
    QCOMPARE(outcome.m_nExitCode, 1);
    const QString strLine = QStringLiteral("%1: screens[0].layers[0].opacity: expected a whole "
                                           "number from 0 to 100, found \"full\"")
                                .arg(strScene);
    QVERIFY2(outcome.m_strErrors.contains(strLine), qPrintable(outcome.m_strErrors));
    QCOMPARE(runCanvas({QStringLiteral("--scene"), strScene + QLatin1Char('x')}).m_nExitCode, 1);
}

void tst_WholeChain::informationIsPrinted()
{
    const sOutcome help = runCanvas({QStringLiteral("--help")});
    QCOMPARE(help.m_nExitCode, 0);
    QVERIFY(help.m_output.contains("--headless") && help.m_output.contains("--print-scene"));
    const sOutcome version = runCanvas({QStringLiteral("--version")});
    QCOMPARE(version.m_nExitCode, 0);
    QVERIFY(version.m_output.startsWith("echocanvas 1."));
    const sOutcome scene = runCanvas({QStringLiteral("--print-scene")});
    QCOMPARE(scene.m_nExitCode, 0);
    const QJsonObject json = QJsonDocument::fromJson(scene.m_output).object();
    QCOMPARE(json[QStringLiteral("screens")].toArray().size(), 2);
}

QTEST_MAIN(tst_WholeChain)
#include "tst_wholechain.moc"
