#include <hostoptions.h>

#include <QtTest>

using namespace Morvek::Tools;

namespace {

sHostOptions options(const QStringList &arguments)
{
    return readHostOptions(QStringList(QStringLiteral("echocanvas")) + arguments);
}

QStringList words(const char *pLine)
{
    return QString::fromLatin1(pLine).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

} // namespace

class tst_HostOptions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void commandLinesAreReadAsMeant();
    void devicesAreReadWithAndWithoutBrackets();
    void moreDevicesAreTheOtherOnes();
    void wrongCommandLinesAreRefused_data();
    void wrongCommandLinesAreRefused();
    void actionsWithoutARun();
};

void tst_HostOptions::commandLinesAreReadAsMeant()
{
    const sHostOptions plain = options({});
    QCOMPARE(plain.m_action, sHostOptions::eAction::Run);
    QVERIFY(!plain.m_isHeadless);
    QCOMPARE(plain.m_seconds, 5.0);
    QVERIFY(!plain.m_hasSeconds);
    QCOMPARE(int(plain.m_nPort), 0);
    QVERIFY(plain.m_strOutFolder.isEmpty() && plain.m_strJsonFile.isEmpty());

    const sHostOptions full = options(words(
        "--headless --device host.example:65535 --scene a.json --seconds 0.5 --out o --json -"));
    QCOMPARE(full.m_action, sHostOptions::eAction::Run);
    QVERIFY(full.m_isHeadless);
    QCOMPARE(full.m_strAddress, QStringLiteral("host.example"));
    QCOMPARE(full.m_nPort, quint16(65535));
    QCOMPARE(full.m_strSceneFile, QStringLiteral("a.json"));
    QCOMPARE(full.m_seconds, 0.5);
    QVERIFY(full.m_hasSeconds);
    QCOMPARE(full.m_strOutFolder, QStringLiteral("o"));
    QCOMPARE(full.m_strJsonFile, QStringLiteral("-"));
}

void tst_HostOptions::devicesAreReadWithAndWithoutBrackets()
{
    QCOMPARE(options(words("--device 10.1.2.3:1")).m_strAddress, QStringLiteral("10.1.2.3"));
    const sHostOptions local = options(words("--device [fe80::1%lo]:8554"));
    QCOMPARE(local.m_strAddress, QStringLiteral("fe80::1%lo"));
    QCOMPARE(local.m_nPort, quint16(8554));
    QVERIFY(local.m_otherDevices.isEmpty());
}

void tst_HostOptions::moreDevicesAreTheOtherOnes()
{
    const sHostOptions found = options(words("--device a:1 --device [::1]:2 --device c:3"));
    QCOMPARE(found.m_strAddress, QStringLiteral("a"));
    QCOMPARE(found.m_nPort, quint16(1));
    QCOMPARE(found.m_otherDevices.size(), 2);
    QCOMPARE(found.m_otherDevices[0].m_strAddress, QStringLiteral("::1"));
    QCOMPARE(found.m_otherDevices[0].m_nPort, quint16(2));
    QCOMPARE(found.m_otherDevices[1].m_strAddress, QStringLiteral("c"));
    QCOMPARE(options(words("--device a:1 --device b")).m_action, sHostOptions::eAction::Refuse);

    QStringList many;
    for (int nDevice = 1; nDevice <= 16; ++nDevice)
        many.append({QStringLiteral("--device"), QStringLiteral("a:%1").arg(nDevice)});
    QCOMPARE(options(many).m_otherDevices.size(), 15);
    QCOMPARE(options(many).m_action, sHostOptions::eAction::Run);
    many.append({QStringLiteral("--device"), QStringLiteral("a:17")});
    QCOMPARE(options(many).m_action, sHostOptions::eAction::Refuse);
    QVERIFY(options(many).m_strError.contains(QStringLiteral("16 devices at most")));
}

void tst_HostOptions::wrongCommandLinesAreRefused_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("mentioned");
    const auto row = [](const QStringList &arguments, const char *pMentioned) {
        QTest::newRow(qPrintable(arguments.join(QLatin1Char(' '))))
            << arguments << QString::fromLatin1(pMentioned);
    };
    row(words("--nonsense"), "nonsense");
    row(words("scene.json"), "scene.json");
    row(words("--seconds"), "seconds");
    row(words("--seconds 0"), "--seconds");
    row(words("--seconds -3"), "--seconds");
    row(words("--seconds nan"), "--seconds");
    row(words("--seconds 1e9"), "--seconds");
    row(words("--seconds soon"), "\"soon\"");
    row(words("--device host"), "--device");
    row(words("--device host:0"), "--device");
    row(words("--device host:65536"), "--device");
    row(words("--device :80"), "--device");
    row(words("--device ::1:80"), "--device");
    row(words("--device [::1]"), "--device");
    row({QStringLiteral("--out"), QString()}, "--out");
    row({QStringLiteral("--scene"), QString()}, "--scene");
    row({QStringLiteral("--json"), QString()}, "--json");
    row(words("--help --nonsense"), "nonsense");
}

void tst_HostOptions::wrongCommandLinesAreRefused()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, mentioned);
    const sHostOptions read = options(arguments);
    QCOMPARE(read.m_action, sHostOptions::eAction::Refuse);
    QVERIFY2(read.m_strError.contains(mentioned), qPrintable(read.m_strError));
}

void tst_HostOptions::actionsWithoutARun()
{
    QCOMPARE(options(words("--help")).m_action, sHostOptions::eAction::PrintHelp);
    QCOMPARE(options(words("-h --headless")).m_action, sHostOptions::eAction::PrintHelp);
    QCOMPARE(options(words("--version")).m_action, sHostOptions::eAction::PrintVersion);
    QCOMPARE(options(words("--print-scene")).m_action, sHostOptions::eAction::PrintScene);
    const QString strHelp = hostHelpText();
    for (const char *pOption : {"--headless", "--device", "--scene", "--seconds", "--out", "--json",
                                "--print-scene", "--help", "--version"})
        QVERIFY2(strHelp.contains(QLatin1String(pOption)), pOption);
}

QTEST_MAIN(tst_HostOptions)
#include "tst_hostoptions.moc"
