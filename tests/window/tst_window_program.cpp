#include "walldevice.h"

#include <mjpegserver.h>

#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

using namespace Morvek::Tests;

namespace {

struct sRun
{
    int m_nExitStatus = -1; // -1: crashed, or did not end
    QString m_strError;
};

} // namespace

class tst_WindowProgram : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void endsWellIfEveryLayerShowedItsDevice();
    void namesLayersThatShowedNothing();
    void saysThatTheDisplayCannotBeOpened();
    void anEmptyDisplayIsNone();
    void figuresAreNotWrittenByAWindow();

private:
    sRun run(const QStringList &arguments, const QString &strDisplay = QString());

    QTemporaryDir m_folder;
};

sRun tst_WindowProgram::run(const QStringList &arguments, const QString &strDisplay)
{
    QProcess program;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), m_folder.path());
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), m_folder.path());
    if (!strDisplay.isNull())
        environment.insert(QStringLiteral("DISPLAY"), strDisplay);
    environment.remove(QStringLiteral("WAYLAND_DISPLAY"));
    program.setProcessEnvironment(environment);
    program.start(QStringLiteral(ECHOCANVAS_PROGRAM), arguments);
    sRun result;
    if (program.waitForFinished(90000) && program.exitStatus() == QProcess::NormalExit)
        result.m_nExitStatus = program.exitCode();
    result.m_strError = QString::fromLocal8Bit(program.readAllStandardError());
    return result;
}

void tst_WindowProgram::endsWellIfEveryLayerShowedItsDevice()
{
    const WallDevice device;
    const sRun result =
        run({QStringLiteral("--device"), QStringLiteral("127.0.0.1:%1").arg(device.port()),
             QStringLiteral("--seconds"), QStringLiteral("4")});
    QCOMPARE(result.m_strError, QString());
    QCOMPARE(result.m_nExitStatus, 0);
}

void tst_WindowProgram::namesLayersThatShowedNothing()
{
    quint16 nPort = 0;
    {
        MjpegServer server;
        nPort = server.port();
    }
    const sRun result = run({QStringLiteral("--device"), QStringLiteral("127.0.0.1:%1").arg(nPort),
                             QStringLiteral("--seconds"), QStringLiteral("1")});
    QCOMPARE(result.m_nExitStatus, 1);
    QVERIFY(result.m_strError.contains(
        QStringLiteral("layer \"Mono\" of \"Main wall: picture and colour\" never showed")));
    QVERIFY(!result.m_strError.contains(QStringLiteral("\"No source\"")));
}

void tst_WindowProgram::saysThatTheDisplayCannotBeOpened()
{
    if (qEnvironmentVariable("QT_QPA_PLATFORM") == QStringLiteral("offscreen"))
        QSKIP("there is no X server here");
    const sRun result =
        run({QStringLiteral("--seconds"), QStringLiteral("1")}, QStringLiteral(":9876"));
    QCOMPARE(result.m_nExitStatus, 1);
    QVERIFY(result.m_strError.contains(QStringLiteral("the window cannot be opened")));
    QVERIFY(result.m_strError.contains(QStringLiteral("--headless")));
}

void tst_WindowProgram::anEmptyDisplayIsNone()
{
    quint16 nPort = 0;
    {
        MjpegServer server;
        nPort = server.port();
    }
    const sRun result = run({QStringLiteral("--device"), QStringLiteral("127.0.0.1:%1").arg(nPort),
                             QStringLiteral("--seconds"), QStringLiteral("0.5")},
                            QStringLiteral(""));
    QCOMPARE(result.m_nExitStatus, 1);
    QVERIFY2(result.m_strError.contains(QStringLiteral("no picture came from 127.0.0.1")),
             qPrintable(result.m_strError));
}

void tst_WindowProgram::figuresAreNotWrittenByAWindow()
{
    const QString strFile = m_folder.filePath(QStringLiteral("figures.json"));
    const sRun result =
        run({QStringLiteral("--json"), strFile, QStringLiteral("--seconds"), QStringLiteral("1")});
    QCOMPARE(result.m_nExitStatus, 2);
    QVERIFY2(result.m_strError.contains(QStringLiteral("--json")), qPrintable(result.m_strError));
}

QTEST_GUILESS_MAIN(tst_WindowProgram)
#include "tst_window_program.moc"
