#include <scenarioreader.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

using namespace Morvek::Tools;

namespace {

const QString FileName = QStringLiteral("bad.json");

// A scenario of one fault with these keys.
QByteArray oneFault(const QByteArray &keys)
{
    return "{ \"faults\": [ { " + keys + " } ] }";
}

const QList<const char *> &faultNames()
{
    static const QList<const char *> names{"split",
                                           "one_byte_writes",
                                           "trailing_header",
                                           "wrong_length",
                                           "negative_length",
                                           "huge_length",
                                           "missing_length",
                                           "lower_case_header",
                                           "missing_line_end",
                                           "boundary_in_picture",
                                           "truncated_picture",
                                           "truncated_jpeg",
                                           "other_picture",
                                           "dimension_bomb",
                                           "scan_bomb",
                                           "text_bomb",
                                           "empty_picture",
                                           "random_bytes",
                                           "silence",
                                           "mute",
                                           "close",
                                           "reset",
                                           "refuse",
                                           "flap",
                                           "flood"};
    return names;
}

sScenario readGood(const QByteArray &json)
{
    sScenario scenario;
    QString strError;
    if (!readScenario(json, &scenario, &strError))
        qWarning("%s", qPrintable(strError));
    return scenario;
}

sFault readFault(const QByteArray &keys)
{
    const sScenario scenario = readGood(oneFault(keys + ", \"at\": 1"));
    return scenario.m_faults.isEmpty() ? sFault() : scenario.m_faults.constFirst().m_fault;
}

} // namespace

class tst_ScenarioReader : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void emptyScenarioHasDefaults();
    void readsEveryKeyOfTheWhole();
    void readsWhenAFaultComes();
    void everyFaultHasItsName_data();
    void everyFaultHasItsName();
    void readsTheKeysOfFaults();
    void everyLineHasItsName();
    void valuesAtTheirLimitsAreTaken_data();
    void valuesAtTheirLimitsAreTaken();
    void wrongScenariosNameFileKeyAndExpectation_data();
    void wrongScenariosNameFileKeyAndExpectation();
    void everyProblemIsReported();
    void fileThatCannotBeReadIsAProblem();
    void everyScenarioOfTheTestsIsRight();
    void documentationShowsARightScenario();
};

void tst_ScenarioReader::emptyScenarioHasDefaults()
{
    const sScenario scenario = readGood("{}");
    QCOMPARE(scenario.m_nSeed, 1u);
    QVERIFY(scenario.m_faults.isEmpty());
    QCOMPARE(scenario.m_nPercent, 0);
    QVERIFY(scenario.m_randomFaults.isEmpty());
}

void tst_ScenarioReader::readsEveryKeyOfTheWhole()
{
    const sScenario scenario = readGood(R"({
        "seed": 77,
        "faults": [ { "fault": "close", "at": 2 }, { "fault": "mute", "at": 3 } ],
        "random": { "percent": 40, "faults": [ { "fault": "silence", "ms": 9 } ] } })");
    QCOMPARE(scenario.m_nSeed, 77u);
    QCOMPARE(scenario.m_faults.size(), 2);
    QCOMPARE(scenario.m_faults[0].m_fault.m_eFault, eFault::Close);
    QCOMPARE(scenario.m_faults[1].m_fault.m_eFault, eFault::Mute);
    QCOMPARE(scenario.m_nPercent, 40);
    QCOMPARE(scenario.m_randomFaults.size(), 1);
    QCOMPARE(scenario.m_randomFaults[0].m_eFault, eFault::Silence);
    QCOMPARE(scenario.m_randomFaults[0].m_nMs.value_or(0), 9);
}

void tst_ScenarioReader::readsWhenAFaultComes()
{
    const sScenario scenario = readGood(R"({ "faults": [
        { "fault": "close", "at": 2 },
        { "fault": "close", "clock": "picture", "at": 5, "every": 6, "connection": 7 },
        { "fault": "close", "clock": "connection", "at": 0, "every": 8, "connection": 9 },
        { "fault": "close", "clock": "start", "at": 1000, "every": 10 } ] })");
    QCOMPARE(scenario.m_faults.size(), 4);
    const auto planned = [&](int i) {
        const sPlannedFault &fault = scenario.m_faults[i];
        return QList<int>{int(fault.m_eClock), fault.m_nAt, fault.m_nEvery, fault.m_nConnection};
    };
    QCOMPARE(planned(0), (QList<int>{int(eClock::Picture), 2, 0, 0}));
    QCOMPARE(planned(1), (QList<int>{int(eClock::Picture), 5, 6, 7}));
    QCOMPARE(planned(2), (QList<int>{int(eClock::Connection), 0, 8, 9}));
    QCOMPARE(planned(3), (QList<int>{int(eClock::Start), 1000, 10, 0}));
}

void tst_ScenarioReader::everyFaultHasItsName_data()
{
    QTest::addColumn<int>("fault");

    const QList<const char *> &names = faultNames();
    QCOMPARE(names.size(), int(eFault::Flood) + 1);
    for (int i = 0; i < names.size(); ++i)
        QTest::newRow(names[i]) << i;
}

void tst_ScenarioReader::everyFaultHasItsName()
{
    QFETCH(int, fault);

    const QByteArray name = QTest::currentDataTag();
    QCOMPARE(int(readFault("\"fault\": \"" + name + "\"").m_eFault), fault);
    QCOMPARE(isInPicture(eFault(fault)), fault <= int(eFault::EmptyPicture));
}

void tst_ScenarioReader::readsTheKeysOfFaults()
{
    const sFault bare = readFault(R"("fault": "flood")");
    QVERIFY(!bare.m_nMs && !bare.m_nFps && !bare.m_nBytes);
    const sFault flood = readFault(R"("fault": "flood", "ms": 1, "fps": 2, "bytes": 3)");
    QCOMPARE(flood.m_nMs.value_or(0), 1);
    QCOMPARE(flood.m_nFps.value_or(0), 2);
    QCOMPARE(flood.m_nBytes.value_or(0), 3);
    const sFault split = readFault(R"("fault": "split", "byte": 4, "ms": 5)");
    QCOMPARE(split.m_nByte.value_or(0), 4);
    QCOMPARE(split.m_nMs.value_or(0), 5);
    for (const char *pFault :
         {"one_byte_writes", "random_bytes", "flap", "truncated_picture", "truncated_jpeg"}) {
        const QByteArray name(pFault);
        QCOMPARE(readFault("\"fault\": \"" + name + "\", \"bytes\": 6").m_nBytes.value_or(0), 6);
    }
    QCOMPARE(readFault(R"("fault": "refuse", "ms": 7)").m_nMs.value_or(0), 7);
    QCOMPARE(readFault(R"("fault": "wrong_length", "by": -8)").m_nBy.value_or(0), -8);
    QCOMPARE(readFault(R"("fault": "huge_length", "length": 9)").m_nLength.value_or(0), 9);
    QVERIFY(readFault(R"("fault": "boundary_in_picture")").m_isWithHeader);
    QVERIFY(!readFault(R"("fault": "boundary_in_picture", "header": false)").m_isWithHeader);
    const sFault other = readFault(R"("fault": "other_picture", "format": "bmp", "size": [3, 4])");
    QCOMPARE(other.m_baFormat, QByteArray("bmp"));
    QCOMPARE(other.m_size.value_or(QSize()), QSize(3, 4));
    const sFault bomb = readFault(R"("fault": "dimension_bomb", "format": "gif", "size": [5, 6])");
    QCOMPARE(bomb.m_baFormat, QByteArray("gif"));
    QCOMPARE(bomb.m_size.value_or(QSize()), QSize(5, 6));
    const sFault scans = readFault(R"("fault": "scan_bomb", "scans": 10, "size": [7, 8])");
    QCOMPARE(scans.m_nScans.value_or(0), 10);
    QCOMPARE(scans.m_size.value_or(QSize()), QSize(7, 8));
    QCOMPARE(readFault(R"("fault": "text_bomb", "texts": 11)").m_nTexts.value_or(0), 11);
}

void tst_ScenarioReader::everyLineHasItsName()
{
    const QList<QByteArray> names{"boundary", "type", "length", "picture"};
    for (int i = 0; i < names.size(); ++i) {
        const sFault fault =
            readFault("\"fault\": \"missing_line_end\", \"line\": \"" + names[i] + "\"");
        QVERIFY(fault.m_eLine.has_value());
        QCOMPARE(int(*fault.m_eLine), i);
    }
    QVERIFY(!readFault(R"("fault": "missing_line_end")").m_eLine.has_value());
}

void tst_ScenarioReader::valuesAtTheirLimitsAreTaken_data()
{
    QTest::addColumn<QByteArray>("keys");

    const auto addRow = [](const char *pKeys) { QTest::newRow(pKeys) << QByteArray(pKeys); };
    addRow(R"("fault": "close", "at": 1)");
    addRow(R"("fault": "close", "at": 2147483647)");
    addRow(R"("fault": "close", "clock": "start", "at": 0, "every": 1)");
    addRow(R"("fault": "close", "clock": "connection", "at": 86400000, "every": 86400000)");
    addRow(R"("fault": "split", "at": 1, "byte": 0, "ms": 86400000)");
    addRow(R"("fault": "flood", "at": 1, "fps": 1000, "bytes": 67108864)");
    addRow(R"("fault": "truncated_jpeg", "at": 1, "bytes": 0)");
    addRow(R"("fault": "wrong_length", "at": 1, "by": -67108864)");
    addRow(R"("fault": "huge_length", "at": 1, "length": 2147483647)");
    addRow(R"("fault": "other_picture", "at": 1, "size": [4096, 1])");
    addRow(R"("fault": "dimension_bomb", "at": 1, "size": [65535, 1])");
    addRow(R"("fault": "scan_bomb", "at": 1, "scans": 20000, "size": [1, 65535])");
    addRow(R"("fault": "text_bomb", "at": 1, "texts": 1000)");
}

void tst_ScenarioReader::valuesAtTheirLimitsAreTaken()
{
    QFETCH(QByteArray, keys);

    sScenario scenario;
    QString strError;
    QVERIFY2(readScenario(oneFault(keys), &scenario, &strError), qPrintable(strError));
    QCOMPARE(scenario.m_faults.size(), 1);
}

void tst_ScenarioReader::wrongScenariosNameFileKeyAndExpectation_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("problem");

    const auto addRow = [](const char *pName, const QByteArray &json, const char *pProblem) {
        QTest::newRow(pName) << json << QString::fromLatin1(pProblem);
    };
    const auto addFault = [](const QByteArray &keys, const char *pProblem) {
        QTest::newRow(keys.constData())
            << oneFault(keys) << QStringLiteral("faults[0].") + QString::fromLatin1(pProblem);
    };
    addRow("no JSON", "{\n  \"seed\": 1,\n}", "line 3: expected JSON, found an error: ");
    addRow("nothing", "", "line 1: expected JSON");
    addRow("an array", "[ ]", "(whole file): expected an object, found an array of 0");
    addRow("unknown key", R"({ "sede": 1 })",
           "sede: unknown key, expected one of: faults, random, seed");
    addRow("negative seed", R"({ "seed": -1 })",
           "seed: expected a whole number from 0 to 2147483647, found -1");
    addRow("broken seed", R"({ "seed": 1.5 })", "seed: expected a whole number");
    addRow("no faults", R"({ "faults": [] })",
           "faults: expected an array of 1 to 1000 objects, found an array of 0");
    addRow("faults of another kind", R"({ "faults": {} })",
           "faults: expected an array of 1 to 1000 objects, found an object");
    addRow("fault of another kind", R"({ "faults": [ 5 ] })",
           "faults[0]: expected an object, found 5");
    addRow("random of another kind", R"({ "random": 5 })", "random: expected an object, found 5");
    addRow("random without a percentage", R"({ "random": { "faults": [ { "fault": "mute" } ] } })",
           "random.percent: expected a whole number from 1 to 100, found nothing");
    addRow("random beyond all",
           R"({ "random": { "percent": 101, "faults": [ { "fault": "mute" } ] } })",
           "random.percent: expected a whole number from 1 to 100, found 101");
    addRow("random without faults", R"({ "random": { "percent": 1 } })",
           "random.faults: expected an array of 1 to 1000 objects, found nothing");
    addRow("random fault with a time",
           R"({ "random": { "percent": 1, "faults": [ { "fault": "mute", "at": 3 } ] } })",
           "random.faults[0].at: unknown key, expected one of: fault");
    addRow("unknown key in random",
           R"({ "random": { "percent": 1, "seed": 2, "faults": [ { "fault": "mute" } ] } })",
           "random.seed: unknown key, expected one of: faults, percent");
    addFault(R"("at": 1)", "fault: expected one of \"split\", \"one_byte_writes\"");
    addFault(R"("fault": "boom", "at": 1)", "fault: expected one of \"split\"");
    addFault(R"("fault": 3, "at": 1)", "fault: expected one of \"split\"");
    addFault(R"("fault": "close")",
             "at: expected a whole number from 1 to 2147483647, found nothing");
    addFault(R"("fault": "close", "at": 0)", "at: expected a whole number from 1 to 2147483647");
    addFault(R"("fault": "close", "clock": "start", "at": -1)",
             "at: expected a whole number from 0 to 86400000, found -1");
    addFault(R"("fault": "close", "clock": "start", "at": 86400001)",
             "at: expected a whole number from 0 to 86400000");
    addFault(R"("fault": "close", "clock": "day", "at": 1)",
             "clock: expected one of \"picture\", \"connection\", \"start\", found \"day\"");
    addFault(R"("fault": "close", "at": 1, "every": 0)", "every: expected a whole number from 1");
    addFault(R"("fault": "close", "at": 1, "connection": 0)",
             "connection: expected a whole number from 1");
    addFault(R"("fault": "close", "clock": "start", "at": 1, "connection": 1)",
             "connection: unknown key, expected one of: at, clock, every, fault");
    addFault(R"("fault": "close", "at": 1, "ms": 1)", "ms: unknown key");
    addFault(R"("fault": "silence", "at": 1, "bytes": 1)", "bytes: unknown key");
    addFault(R"("fault": "silence", "at": 1, "ms": 0)",
             "ms: expected a whole number from 1 to 86400000, found 0");
    addFault(R"("fault": "split", "at": 1, "byte": -1)", "byte: expected a whole number from 0");
    addFault(R"("fault": "flap", "at": 1, "bytes": 0)",
             "bytes: expected a whole number from 1 to 67108864, found 0");
    addFault(R"("fault": "flood", "at": 1, "bytes": 67108865)", "bytes: expected a whole number");
    addFault(R"("fault": "flood", "at": 1, "fps": 1001)",
             "fps: expected a whole number from 1 to 1000, found 1001");
    addFault(R"("fault": "wrong_length", "at": 1, "by": "1")",
             "by: expected a whole number from -67108864 to 67108864, found \"1\"");
    addFault(R"("fault": "huge_length", "at": 1, "length": 2147483648)",
             "length: expected a whole number from 1 to 2147483647");
    addFault(
        R"("fault": "missing_line_end", "at": 1, "line": "empty")",
        "line: expected one of \"boundary\", \"type\", \"length\", \"picture\", found \"empty\"");
    addFault(R"("fault": "boundary_in_picture", "at": 1, "header": 1)",
             "header: expected true or false, found 1");
    addFault(R"("fault": "other_picture", "at": 1, "format": "gif")",
             "format: expected one of \"png\", \"bmp\", \"ppm\", \"jpeg\", found \"gif\"");
    addFault(R"("fault": "other_picture", "at": 1, "size": [4097, 1])",
             "size[0]: expected a whole number from 1 to 4096, found 4097");
    addFault(
        R"("fault": "dimension_bomb", "at": 1, "format": "webp")",
        "format: expected one of \"jpeg\", \"png\", \"bmp\", \"gif\", \"ppm\", found \"webp\"");
    addFault(R"("fault": "dimension_bomb", "at": 1, "size": [1, 65536])",
             "size[1]: expected a whole number from 1 to 65535, found 65536");
    addFault(R"("fault": "scan_bomb", "at": 1, "size": [1])", "size: expected [width, height]");
    addFault(R"("fault": "scan_bomb", "at": 1, "scans": 20001)",
             "scans: expected a whole number from 1 to 20000, found 20001");
    addFault(R"("fault": "text_bomb", "at": 1, "texts": 0)",
             "texts: expected a whole number from 1 to 1000, found 0");
}

void tst_ScenarioReader::wrongScenariosNameFileKeyAndExpectation()
{
    QFETCH(QByteArray, json);
    QFETCH(QString, problem);

    sScenario scenario;
    QString strError;
    QVERIFY(!readScenario(json, &scenario, &strError, FileName));
    QVERIFY2(strError.startsWith(QStringLiteral("bad.json: ") + problem), qPrintable(strError));
    QVERIFY2(!strError.contains(QLatin1Char('\n')), qPrintable(strError));
}

void tst_ScenarioReader::everyProblemIsReported()
{
    sScenario scenario;
    QString strError;
    QVERIFY(!readScenario(R"({ "seed": -1, "faults": [ { "fault": "close", "at": 0 },
                              { "fault": "boom", "at": 0, "unknown": 1 } ], "x": 1 })",
                          &scenario, &strError));
    const QStringList lines = strError.split(QLatin1Char('\n'));
    const QStringList starts{
        QStringLiteral("scenario: seed: "), QStringLiteral("scenario: faults[0].at: "),
        QStringLiteral("scenario: faults[1].fault: "), QStringLiteral("scenario: faults[1].at: "),
        QStringLiteral("scenario: x: ")};
    QCOMPARE(lines.size(), starts.size());
    for (int i = 0; i < lines.size(); ++i)
        QVERIFY2(lines[i].startsWith(starts[i]), qPrintable(lines[i]));
}

void tst_ScenarioReader::fileThatCannotBeReadIsAProblem()
{
    const QTemporaryDir folder;
    const QString strFile = folder.filePath(QStringLiteral("none.json"));
    sScenario scenario;
    QString strError;
    QVERIFY(!readScenarioFile(strFile, &scenario, &strError));
    QVERIFY2(strError.startsWith(strFile + QStringLiteral(": expected a file that can be read: ")),
             qPrintable(strError));
}

void tst_ScenarioReader::everyScenarioOfTheTestsIsRight()
{
    const QDir folder(QStringLiteral(SCENARIO_FOLDER));
    const QStringList files = folder.entryList({QStringLiteral("*.json")});
    QVERIFY(files.size() > 40);
    for (const QString &strFile : files) {
        sScenario scenario;
        QString strError;
        QVERIFY2(readScenarioFile(folder.filePath(strFile), &scenario, &strError),
                 qPrintable(strError));
        QCOMPARE(strError, QString());
        QVERIFY(!scenario.m_faults.isEmpty() || scenario.m_nPercent > 0);
    }
}

void tst_ScenarioReader::documentationShowsARightScenario()
{
    QFile file(QStringLiteral(SCENARIO_FOLDER "/../../docs/scenario.md"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray text = file.readAll();
    const int iStart = text.indexOf("```json\n") + 8;
    const sScenario scenario = readGood(text.mid(iStart, text.indexOf("```\n", iStart) - iStart));
    QCOMPARE(scenario.m_nSeed, 7u);
    QCOMPARE(scenario.m_faults.size(), 3);
    QCOMPARE(scenario.m_nPercent, 10);
    for (const char *pName : faultNames())
        QVERIFY2(text.contains("| `" + QByteArray(pName) + "` |"), pName);
}

QTEST_GUILESS_MAIN(tst_ScenarioReader)
#include "tst_scenarioreader.moc"
