// From a local producer to previews, each side a process: shared memory and raw YUV files.

#include <tilestamp.h>

#include <QDateTime>
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

namespace {

constexpr int Patience = 60000; // ms

QJsonObject reportOf(QProcess &canvas)
{
    return QJsonDocument::fromJson(canvas.readAllStandardOutput()).object();
}

/** Layers of a report that do not show their input. */
QStringList wrongLayers(const QJsonObject &report)
{
    QStringList names;
    const QJsonArray layers = report[QStringLiteral("layers")].toArray();
    for (const QJsonValue &layer : layers) {
        if (layer[QStringLiteral("showsInput")].toString() != QStringLiteral("ok"))
            names.append(layer[QStringLiteral("layer")].toString());
    }
    return names;
}

} // namespace

class TestLocalChain : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void layersShowTheirInputsFromSharedMemory();
    void aProducerThatIsKilledAndComesBackIsSeenAgain();
    void layersShowTheirInputsFromAFile();
    void aFileThatCannotBeUsedShowsStripes();
    void aSourceThatNobodyKnowsIsAWrongCommandLine();

private:
    static void startCanvas(QProcess &canvas, const QStringList &arguments);
    static void startProducer(QProcess &device);

    QTemporaryDir m_folder;
};

void TestLocalChain::init()
{
    qputenv("MORVEK_SHM_CAP_NAME", "/morvek_chain_" + QByteArray::number(QCoreApplication::applicationPid()));
}

void TestLocalChain::startCanvas(QProcess &canvas, const QStringList &arguments)
{
    canvas.start(
        QStringLiteral(ECHOCANVAS_PROGRAM),
        QStringList({QStringLiteral("--headless"), QStringLiteral("--json"), QStringLiteral("-")})
            + arguments);
    QVERIFY(canvas.waitForStarted(Patience));
}

void TestLocalChain::startProducer(QProcess &device)
{
    device.start(QStringLiteral(ECHODEVICE_PROGRAM), {QStringLiteral("--shm")});
    while (!device.canReadLine() && device.waitForReadyRead(Patience)) {}
    QVERIFY(device.readLine().startsWith("writing to shared memory"));
}

void TestLocalChain::layersShowTheirInputsFromSharedMemory()
{
    QProcess device;
    startProducer(device);
    QProcess canvas;
    startCanvas(canvas, {QStringLiteral("--source"), QStringLiteral("shm"),
                         QStringLiteral("--seconds"), QStringLiteral("4")});
    QVERIFY(canvas.waitForFinished(Patience));
    const QJsonObject report = reportOf(canvas);
    QVERIFY(!report[QStringLiteral("layers")].toArray().isEmpty());
    QCOMPARE(wrongLayers(report), QStringList());
    QCOMPARE(canvas.exitCode(), 0);
    device.terminate();
    QVERIFY(device.waitForFinished(Patience));
}

void TestLocalChain::aProducerThatIsKilledAndComesBackIsSeenAgain()
{
    QProcess first;
    startProducer(first);
    QProcess canvas;
    const QString strOut = m_folder.filePath(QStringLiteral("killed"));
    startCanvas(canvas,
                {QStringLiteral("--source"), QStringLiteral("shm"), QStringLiteral("--seconds"),
                 QStringLiteral("8"), QStringLiteral("--out"), strOut});
    // In the middle of the run: what comes after must be the second producer's.
    QVERIFY(!canvas.waitForFinished(3000));
    first.kill();
    QVERIFY(first.waitForFinished(Patience));
    const qint64 nSecondStartMs = QDateTime::currentMSecsSinceEpoch();
    QProcess second;
    startProducer(second);
    QVERIFY(canvas.waitForFinished(Patience));
    const qint64 nEndMs = QDateTime::currentMSecsSinceEpoch();
    second.terminate();
    QVERIFY(second.waitForFinished(Patience));

    const QJsonObject report = reportOf(canvas);
    QCOMPARE(wrongLayers(report), QStringList());
    QCOMPARE(canvas.exitCode(), 0);
    // What is shown in the end was made after the first producer had died.
    const QImage preview(strOut + QStringLiteral("/screen-1-layer-01-as-it-comes.png"));
    const auto stamp = Morvek::Tools::readTileStamp(preview, QRectF(preview.rect()), nEndMs);
    QVERIFY(stamp);
    QVERIFY2(stamp->m_nTimeMs >= nSecondStartMs,
             qPrintable(QString::number(stamp->m_nTimeMs - nSecondStartMs)));
}

void TestLocalChain::layersShowTheirInputsFromAFile()
{
    const QString strFile = m_folder.filePath(QStringLiteral("echo.yuv"));
    QCOMPARE(QProcess::execute(QStringLiteral(ECHODEVICE_PROGRAM),
                               {QStringLiteral("--yuv"), strFile, QStringLiteral("--frames"),
                                QStringLiteral("30")}),
             0);
    QProcess canvas;
    startCanvas(canvas, {QStringLiteral("--yuv"), strFile, QStringLiteral("--seconds"),
                         QStringLiteral("4")});
    QVERIFY(canvas.waitForFinished(Patience));
    QCOMPARE(wrongLayers(reportOf(canvas)), QStringList());
    QCOMPARE(canvas.exitCode(), 0);
}

void TestLocalChain::aFileThatCannotBeUsedShowsStripes()
{
    const QString strOut = m_folder.filePath(QStringLiteral("stripes"));
    QProcess canvas;
    startCanvas(canvas, {QStringLiteral("--yuv"), m_folder.filePath(QStringLiteral("none.yuv")),
                         QStringLiteral("--seconds"), QStringLiteral("3"), QStringLiteral("--out"),
                         strOut});
    QVERIFY(canvas.waitForFinished(Patience));
    QCOMPARE(canvas.exitCode(), 1); // no layer shows its input
    const QImage preview(strOut + QStringLiteral("/screen-1-layer-01-as-it-comes.png"));
    QCOMPARE(preview.size(), QSize(480, 270));
    int nColours = 1;
    for (int x = 1; x < preview.width(); ++x) {
        nColours += preview.pixel(x, 0) != preview.pixel(x - 1, 0);
        QCOMPARE(preview.pixel(x, 269), preview.pixel(x, 0)); // vertical
    }
    QVERIFY(nColours > 400);
}

void TestLocalChain::aSourceThatNobodyKnowsIsAWrongCommandLine()
{
    QProcess canvas;
    startCanvas(canvas, {QStringLiteral("--source"), QStringLiteral("tape")});
    QVERIFY(canvas.waitForFinished(Patience));
    QCOMPARE(canvas.exitCode(), 2);
    QVERIFY(canvas.readAllStandardError().contains("mjpeg, shm or yuv"));
}

QTEST_GUILESS_MAIN(TestLocalChain)
#include "tst_localchain.moc"
