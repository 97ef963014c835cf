#include "reportwriter.h"

#include <QJsonArray>
#include <QVector>

#include <cmath>

namespace Morvek::Tools {

namespace {

const char *verdictWord(eInputVerdict verdict)
{
    switch (verdict) {
    case eInputVerdict::Right:
        return "ok";
    case eInputVerdict::Wrong:
        return "wrong";
    case eInputVerdict::NotLegible:
        break;
    }
    return "not legible";
}

const char *proofWord(eInputProof proof)
{
    switch (proof) {
    case eInputProof::Stamp:
        return "stamp";
    case eInputProof::Likeness:
        return "likeness";
    case eInputProof::Colour:
        return "colour";
    case eInputProof::None:
        break;
    }
    return "none";
}

QString sizeText(const QSize &size)
{
    return QStringLiteral("%1x%2").arg(size.width()).arg(size.height());
}

QString msText(qint64 nMs)
{
    return nMs < 0 ? QStringLiteral("-") : QString::number(nMs);
}

QString agesText(const sAges &ages)
{
    if (!ages.m_isKnown)
        return QStringLiteral("-");
    return QStringLiteral("%1 / %2 / %3")
        .arg(ages.m_nMedianMs)
        .arg(ages.m_nP95Ms)
        .arg(ages.m_nWorstMs);
}

QString verdictText(const sLayerReport &layer)
{
    QString strVerdict = QString::fromLatin1(verdictWord(layer.m_verdict));
    if (layer.m_proof == eInputProof::None)
        return strVerdict;
    return QStringLiteral("%1 (%2)").arg(strVerdict, QString::fromLatin1(proofWord(layer.m_proof)));
}

QStringList titles()
{
    return {QStringLiteral("screen"),         QStringLiteral("layer"),
            QStringLiteral("size"),           QStringLiteral("input"),
            QStringLiteral("previews"),       QStringLiteral("per s"),
            QStringLiteral("first ms"),       QStringLiteral("age ms (med / p95 / max)"),
            QStringLiteral("shows its input")};
}

QStringList cells(const sLayerReport &layer)
{
    return {layer.m_strScreen,
            layer.m_strLayer,
            sizeText(layer.m_size),
            layer.hasSource() ? QString::number(layer.m_nInput) : QStringLiteral("-"),
            QString::number(layer.m_nPreviews),
            QString::number(layer.m_rate, 'f', 1),
            msText(layer.m_nFirstMs),
            agesText(layer.m_ages),
            verdictText(layer)};
}

QString alignedRows(const QList<QStringList> &rows)
{
    QVector<int> widths(rows.first().size(), 0);
    for (const QStringList &row : rows) {
        for (int nColumn = 0; nColumn < row.size(); ++nColumn)
            widths[nColumn] = qMax(widths[nColumn], row[nColumn].size());
    }
    QString result;
    for (const QStringList &row : rows) {
        QString strLine;
        for (int nColumn = 0; nColumn < row.size(); ++nColumn)
            strLine += row[nColumn].leftJustified(widths[nColumn] + 2);
        result += strLine.trimmed() + QLatin1Char('\n');
    }
    return result;
}

QString line(const char *pTitle, const QString &strText)
{
    return QString::fromLatin1(pTitle).leftJustified(22) + strText + QLatin1Char('\n');
}

QString summary(const sRunReport &report)
{
    const auto number = [](double value) { return QString::number(value, 'f', 2); };
    return line("device", QStringLiteral("%1, %2 inputs, %3 previews a second")
                              .arg(report.m_strDevice)
                              .arg(report.m_nTiles)
                              .arg(report.m_nFps))
         + line("measured for", number(report.m_seconds) + QStringLiteral(" s"))
         + line("layers rendered", QStringLiteral("%1 of %2, %3 of %4 from the stream")
                                       .arg(report.rendered())
                                       .arg(report.m_layers.size())
                                       .arg(report.fromStream())
                                       .arg(report.withSource()))
         + line("shows its input", QStringLiteral("ok %1, wrong %2, not legible %3")
                                       .arg(report.count(eInputVerdict::Right))
                                       .arg(report.count(eInputVerdict::Wrong))
                                       .arg(report.count(eInputVerdict::NotLegible)))
         + line("previews fetched", QString::number(report.previews()))
         + line("first preview", QStringLiteral("%1 ms, all layers %2 ms")
                                     .arg(msText(report.firstMs()), msText(report.allMs())))
         + line("pictures seen", QStringLiteral("%1 of %2 sent meanwhile")
                                     .arg(report.m_nFramesSeen)
                                     .arg(report.m_nFramesSent))
         + line("age of pictures",
                agesText(report.m_ages) + QStringLiteral(" ms (median / 95th percentile / worst)"))
         + line("processor", number(report.m_cpuPerSecond) + QStringLiteral(" s per second"))
         + line("resident memory", QStringLiteral("%1 MiB").arg(
                                       double(report.m_nResidentBytes) / (1 << 20), 0, 'f', 1));
}

QJsonValue agesJson(const sAges &ages)
{
    if (!ages.m_isKnown)
        return QJsonValue::Null;
    return QJsonObject{{QStringLiteral("median"), ages.m_nMedianMs},
                       {QStringLiteral("p95"), ages.m_nP95Ms},
                       {QStringLiteral("worst"), ages.m_nWorstMs}};
}

/** More digits would only look exact. */
double rounded(double value)
{
    return std::round(value * 1000) / 1000;
}

QJsonValue msJson(qint64 nMs)
{
    return nMs < 0 ? QJsonValue(QJsonValue::Null) : QJsonValue(nMs);
}

QJsonObject layerJson(const sLayerReport &layer)
{
    const QJsonValue input = layer.hasSource() ? QJsonValue(layer.m_nInput) : QJsonValue::Null;
    return {{QStringLiteral("screen"), layer.m_strScreen},
            {QStringLiteral("layer"), layer.m_strLayer},
            {QStringLiteral("size"), QJsonArray{layer.m_size.width(), layer.m_size.height()}},
            {QStringLiteral("input"), input},
            {QStringLiteral("previews"), layer.m_nPreviews},
            {QStringLiteral("fromStream"), layer.hasSource() ? layer.m_nGenuine : 0},
            {QStringLiteral("previewsPerSecond"), rounded(layer.m_rate)},
            {QStringLiteral("firstPreviewMs"), msJson(layer.m_nFirstMs)},
            {QStringLiteral("ageMs"), agesJson(layer.m_ages)},
            {QStringLiteral("showsInput"), QString::fromLatin1(verdictWord(layer.m_verdict))},
            {QStringLiteral("provedBy"), QString::fromLatin1(proofWord(layer.m_proof))},
            {QStringLiteral("picture"), layer.m_strPicture}};
}

QJsonObject totalsJson(const sRunReport &report)
{
    return {{QStringLiteral("layers"), report.m_layers.size()},
            {QStringLiteral("rendered"), report.rendered()},
            {QStringLiteral("withSource"), report.withSource()},
            {QStringLiteral("fromStream"), report.fromStream()},
            {QStringLiteral("inputOk"), report.count(eInputVerdict::Right)},
            {QStringLiteral("inputWrong"), report.count(eInputVerdict::Wrong)},
            {QStringLiteral("inputNotLegible"), report.count(eInputVerdict::NotLegible)},
            {QStringLiteral("previews"), report.previews()},
            {QStringLiteral("firstPreviewMs"), msJson(report.firstMs())},
            {QStringLiteral("allLayersMs"), msJson(report.allMs())},
            {QStringLiteral("picturesSeen"), report.m_nFramesSeen},
            {QStringLiteral("picturesSent"), report.m_nFramesSent},
            {QStringLiteral("ageMs"), agesJson(report.m_ages)},
            {QStringLiteral("cpuSecondsPerSecond"), rounded(report.m_cpuPerSecond)},
            {QStringLiteral("residentBytes"), report.m_nResidentBytes}};
}

} // namespace

QString reportTable(const sRunReport &report)
{
    QList<QStringList> rows{titles()};
    for (const sLayerReport &layer : report.m_layers)
        rows.append(cells(layer));
    return alignedRows(rows) + QLatin1Char('\n') + summary(report);
}

QJsonObject reportJson(const sRunReport &report)
{
    QJsonArray layers;
    for (const sLayerReport &layer : report.m_layers)
        layers.append(layerJson(layer));
    QJsonArray canvases;
    for (const sCanvasReport &canvas : report.m_canvases)
        canvases.append(QJsonObject{{QStringLiteral("screen"), canvas.m_strScreen},
                                    {QStringLiteral("picture"), canvas.m_strPicture}});
    const QStringList failed = failures(report);
    return {{QStringLiteral("device"), report.m_strDevice},
            {QStringLiteral("tiles"), report.m_nTiles},
            {QStringLiteral("fps"), report.m_nFps},
            {QStringLiteral("seconds"), rounded(report.m_seconds)},
            {QStringLiteral("layers"), layers},
            {QStringLiteral("canvases"), canvases},
            {QStringLiteral("totals"), totalsJson(report)},
            {QStringLiteral("failures"), QJsonArray::fromStringList(failed)},
            {QStringLiteral("ok"), failed.isEmpty()}};
}

} // namespace Morvek::Tools
