#include <reportwriter.h>
#include <runreport.h>

#include <QJsonArray>
#include <QRegularExpression>
#include <QtTest>

using namespace Morvek::Tools;

namespace {

sLayerReport goodLayer(const QString &strName, int nInput, qint64 nFirstMs)
{
    sLayerReport layer;
    layer.m_strScreen = QStringLiteral("wall");
    layer.m_strLayer = strName;
    layer.m_size = QSize(301, 201);
    layer.m_nInput = nInput;
    layer.m_nPreviews = 10;
    layer.m_nGenuine = 8;
    layer.m_rate = 12.34567;
    layer.m_nFirstMs = nFirstMs;
    layer.m_verdict = eInputVerdict::Right;
    layer.m_proof = eInputProof::Stamp;
    return layer;
}

/** Two layers with sources and one without, all well. */
sRunReport goodReport()
{
    sRunReport report;
    report.m_strDevice = QStringLiteral("[::1]:4000");
    report.m_nTiles = 9;
    report.m_nFps = 25;
    report.m_seconds = 4.5;
    report.m_layers = {goodLayer(QStringLiteral("left"), 3, 250),
                       goodLayer(QStringLiteral("right"), 4, 150),
                       goodLayer(QStringLiteral("bare"), -1, 20)};
    report.m_layers[2].m_proof = eInputProof::Colour;
    AgeCounts ages;
    for (qint64 nAgeMs : {30, 10, 20})
        ages.add(nAgeMs);
    report.m_layers[0].m_ages = summarised(ages);
    report.m_layers[0].m_strPicture = QStringLiteral("out/left.png");
    report.m_canvases = {{QStringLiteral("wall"), QStringLiteral("out/wall.png")}};
    report.m_ages = report.m_layers[0].m_ages;
    report.m_nFramesSeen = 40;
    report.m_nFramesSent = 100;
    report.m_cpuPerSecond = 0.25;
    report.m_nResidentBytes = 3 << 20;
    return report;
}

} // namespace

class tst_RunReport : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyFailureHasItsLine();
    void reportCounts();
    void reportJsonHasTheFigures();
    void reportJsonOfAFailure();
    void reportTableHasARowForEachLayer();
};

void tst_RunReport::everyFailureHasItsLine()
{
    QCOMPARE(failures(goodReport()), QStringList());

    sRunReport report = goodReport();
    report.m_layers[0].m_verdict = eInputVerdict::NotLegible;
    QCOMPARE(failures(report), QStringList());
    report.m_layers[0].m_verdict = eInputVerdict::Wrong;
    report.m_layers[1].m_nGenuine = 0;
    report.m_layers[2].m_verdict = eInputVerdict::Wrong;
    report.m_problems = QStringList(QStringLiteral("disk full"));
    QCOMPARE(failures(report),
             (QStringList{QStringLiteral("disk full"),
                          QStringLiteral("wall, layer \"left\": does not show input 3"),
                          QStringLiteral("wall, layer \"right\": showed no picture of the stream"),
                          QStringLiteral("wall, layer \"bare\": does not show its colour")}));

    report = goodReport();
    report.m_layers[0].m_nGenuine = report.m_layers[1].m_nGenuine = 0;
    report.m_layers[2].m_nPreviews = 0;
    QCOMPARE(failures(report),
             (QStringList{QStringLiteral("no picture came from [::1]:4000"),
                          QStringLiteral("wall, layer \"bare\": was not rendered")}));
}

void tst_RunReport::reportCounts()
{
    sRunReport report = goodReport();
    QCOMPARE(report.previews(), 30);
    QCOMPARE(report.rendered(), 3);
    QCOMPARE(report.withSource(), 2);
    QCOMPARE(report.fromStream(), 2);
    QCOMPARE(report.count(eInputVerdict::Right), 3);
    // A layer without source is there at once and is not what one waits for.
    QCOMPARE(report.firstMs(), qint64(150));
    QCOMPARE(report.allMs(), qint64(250));
    report.m_layers[0].m_nGenuine = 0;
    report.m_layers[0].m_nFirstMs = -1;
    QCOMPARE(report.fromStream(), 1);
    QCOMPARE(report.allMs(), qint64(-1));
}

void tst_RunReport::reportJsonHasTheFigures()
{
    const QJsonObject json = reportJson(goodReport());
    QCOMPARE(json[QStringLiteral("ok")], QJsonValue(true));
    QCOMPARE(json[QStringLiteral("failures")].toArray().size(), 0);
    QCOMPARE(json[QStringLiteral("device")].toString(), QStringLiteral("[::1]:4000"));
    QCOMPARE(json[QStringLiteral("tiles")].toInt(), 9);
    QCOMPARE(json[QStringLiteral("fps")].toInt(), 25);
    QCOMPARE(json[QStringLiteral("seconds")].toDouble(), 4.5);

    const QJsonArray layers = json[QStringLiteral("layers")].toArray();
    QCOMPARE(layers.size(), 3);
    const QJsonObject ages{
        {QStringLiteral("median"), 20}, {QStringLiteral("p95"), 30}, {QStringLiteral("worst"), 30}};
    const QJsonObject left{{QStringLiteral("screen"), QStringLiteral("wall")},
                           {QStringLiteral("layer"), QStringLiteral("left")},
                           {QStringLiteral("size"), QJsonArray{301, 201}},
                           {QStringLiteral("input"), 3},
                           {QStringLiteral("previews"), 10},
                           {QStringLiteral("fromStream"), 8},
                           {QStringLiteral("previewsPerSecond"), 12.346},
                           {QStringLiteral("firstPreviewMs"), 250},
                           {QStringLiteral("ageMs"), ages},
                           {QStringLiteral("showsInput"), QStringLiteral("ok")},
                           {QStringLiteral("provedBy"), QStringLiteral("stamp")},
                           {QStringLiteral("picture"), QStringLiteral("out/left.png")}};
    QCOMPARE(layers[0].toObject(), left);
    QVERIFY(layers[1].toObject()[QStringLiteral("ageMs")].isNull());
    QVERIFY(layers[2].toObject()[QStringLiteral("input")].isNull());
    QCOMPARE(layers[2].toObject()[QStringLiteral("fromStream")].toInt(), 0);
    QCOMPARE(layers[2].toObject()[QStringLiteral("provedBy")].toString(), QStringLiteral("colour"));

    const QJsonObject totals{{QStringLiteral("layers"), 3},
                             {QStringLiteral("rendered"), 3},
                             {QStringLiteral("withSource"), 2},
                             {QStringLiteral("fromStream"), 2},
                             {QStringLiteral("inputOk"), 3},
                             {QStringLiteral("inputWrong"), 0},
                             {QStringLiteral("inputNotLegible"), 0},
                             {QStringLiteral("previews"), 30},
                             {QStringLiteral("firstPreviewMs"), 150},
                             {QStringLiteral("allLayersMs"), 250},
                             {QStringLiteral("picturesSeen"), 40},
                             {QStringLiteral("picturesSent"), 100},
                             {QStringLiteral("ageMs"), ages},
                             {QStringLiteral("cpuSecondsPerSecond"), 0.25},
                             {QStringLiteral("residentBytes"), 3 << 20}};
    QCOMPARE(json[QStringLiteral("totals")].toObject(), totals);
    const QJsonObject canvas{{QStringLiteral("screen"), QStringLiteral("wall")},
                             {QStringLiteral("picture"), QStringLiteral("out/wall.png")}};
    QCOMPARE(json[QStringLiteral("canvases")].toArray(), QJsonArray{canvas});
}

void tst_RunReport::reportJsonOfAFailure()
{
    sRunReport report = goodReport();
    report.m_layers[0].m_verdict = eInputVerdict::Wrong;
    report.m_layers[1].m_verdict = eInputVerdict::NotLegible;
    report.m_layers[1].m_nFirstMs = -1;
    const QJsonObject json = reportJson(report);
    QCOMPARE(json[QStringLiteral("ok")], QJsonValue(false));
    QCOMPARE(json[QStringLiteral("failures")].toArray().size(), 1);
    const QJsonArray layers = json[QStringLiteral("layers")].toArray();
    QCOMPARE(layers[0].toObject()[QStringLiteral("showsInput")].toString(),
             QStringLiteral("wrong"));
    QCOMPARE(layers[1].toObject()[QStringLiteral("showsInput")].toString(),
             QStringLiteral("not legible"));
    QVERIFY(layers[1].toObject()[QStringLiteral("firstPreviewMs")].isNull());
    QVERIFY(json[QStringLiteral("totals")].toObject()[QStringLiteral("allLayersMs")].isNull());
}

void tst_RunReport::reportTableHasARowForEachLayer()
{
    const QStringList lines = reportTable(goodReport()).split(QLatin1Char('\n'));
    QVERIFY(lines.size() > 4);
    const auto columns = [&lines](int nLine) {
        return lines[nLine]
            .split(QStringLiteral("  "), Qt::SkipEmptyParts)
            .replaceInStrings(QRegularExpression(QStringLiteral("^ +| +$")), QString());
    };
    QCOMPARE(columns(1), (QStringList{"wall", "left", "301x201", "3", "10", "12.3", "250",
                                      "20 / 30 / 30", "ok (stamp)"}));
    QCOMPARE(columns(2), (QStringList{"wall", "right", "301x201", "4", "10", "12.3", "150", "-",
                                      "ok (stamp)"}));
    QCOMPARE(columns(3),
             (QStringList{"wall", "bare", "301x201", "-", "10", "12.3", "20", "-", "ok (colour)"}));
    const QString strAll = lines.join(QLatin1Char('\n'));
    for (const char *pPiece :
         {"[::1]:4000, 9 inputs, 25 previews", "3 of 3, 2 of 2 from the stream",
          "ok 3, wrong 0, not legible 0", "150 ms, all layers 250 ms", "40 of 100 sent",
          "20 / 30 / 30 ms", "0.25 s per second", "3.0 MiB"})
        QVERIFY2(strAll.contains(QLatin1String(pPiece)), pPiece);
}

QTEST_MAIN(tst_RunReport)
#include "tst_runreport.moc"
