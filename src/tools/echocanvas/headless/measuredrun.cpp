#include "measuredrun.h"

#include "layerverdict.h"
#include "processload.h"

#include <QDateTime>

namespace Morvek::Tools {

using EchoVideo::sLayerUniqueIdentifies;

namespace {

int layerNumber(const sLayerUniqueIdentifies &layer)
{
    return int(layer.screenId) << 8 | layer.layerId;
}

QString deviceText(const sSceneDevice &device)
{
    if (device.m_eSourceType == BizModel::s_EchoVideoConfig::LocalDVI)
        return QStringLiteral("shared memory");
    if (device.m_eSourceType == BizModel::s_EchoVideoConfig::LocalFile)
        return device.m_strFile.isEmpty() ? QStringLiteral("the library's own file")
                                          : device.m_strFile;
    const bool isIPv6 = device.m_strAddress.contains(QLatin1Char(':'));
    const QString strPattern = isIPv6 ? QStringLiteral("[%1]:%2") : QStringLiteral("%1:%2");
    return strPattern.arg(device.m_strAddress, QString::number(device.m_nPort));
}

sLayerReport layerReport(const LayerFigures &figures, const QString &strScreen)
{
    const sSceneLayer &layer = figures.layer();
    sLayerReport report;
    report.m_strScreen = strScreen;
    report.m_strLayer = layer.m_strName;
    report.m_size = layer.size();
    report.m_nInput = layer.hasSource() ? layer.input() : -1;
    report.m_nPreviews = figures.previews();
    report.m_nGenuine = figures.genuine();
    report.m_rate = figures.rate();
    report.m_nFirstMs = figures.firstMs();
    report.m_ages = summarised(figures.ages());
    return report;
}

} // namespace

MeasuredRun::MeasuredRun(const sScene &scene, QObject *parent)
    : QObject(parent)
    , m_scene(scene)
    , m_session(scene)
{
    for (const sSceneScreen &screen : m_scene.m_screens) {
        for (const sSceneLayer &layer : screen.m_layers) {
            m_layerIndexes.insert(layerNumber(layer.m_config.m_LayerIdentifies),
                                  int(m_layers.size()));
            m_layers.emplace_back(layer, layer.hasSource()
                                             ? m_references.placeholders(layer.m_config)
                                             : QList<QImage>());
        }
    }
    m_report.m_strDevice = deviceText(m_scene.m_device);
    m_report.m_nTiles = m_scene.m_device.m_nTiles;
    m_report.m_nFps = m_scene.m_device.m_nFps;
    connect(&m_session, &DeviceSession::previewFinished, this, &MeasuredRun::takePreview);
}

bool MeasuredRun::start()
{
    m_cpuSecondsAtStart = processCpuSeconds();
    m_clock.start();
    return m_session.start();
}

void MeasuredRun::takePreview(const sLayerUniqueIdentifies &layer)
{
    const int nIndex = m_layerIndexes.value(layerNumber(layer), -1);
    if (nIndex < 0)
        return;
    const auto stamp = m_layers[std::size_t(nIndex)].addPreview(
        m_session.preview(layer), m_clock.elapsed(), QDateTime::currentMSecsSinceEpoch());
    if (stamp)
        m_frames.add(stamp->m_nFrame);
}

void MeasuredRun::finish()
{
    m_report.m_seconds = double(m_clock.nsecsElapsed()) / 1e9;
    m_report.m_cpuPerSecond = (processCpuSeconds() - m_cpuSecondsAtStart) / m_report.m_seconds;
    m_report.m_nResidentBytes = residentBytes();
    // A reader that ends leaves a picture without signal behind, so the pictures come first.
    const QVector<QImage> inputs = m_session.inputPictures();
    m_session.disconnect(this);
    m_session.stop();
    judgeLayers(inputs, QDateTime::currentMSecsSinceEpoch());
    m_report.m_nFramesSeen = m_frames.seen();
    m_report.m_nFramesSent = m_frames.sent();
}

void MeasuredRun::judgeLayers(const QVector<QImage> &inputs, qint64 nNowMs)
{
    AgeCounts ages;
    for (const LayerFigures &layer : m_layers) {
        const int nScreen = layer.layer().m_config.m_LayerIdentifies.screenId - 1;
        sLayerReport report = layerReport(layer, m_scene.m_screens[nScreen].m_strName);
        const sLayerVerdict verdict = judged(layer, inputs, m_references, nNowMs);
        report.m_verdict = verdict.m_verdict;
        report.m_proof = verdict.m_proof;
        m_report.m_layers.append(report);
        ages.add(layer.ages());
    }
    m_report.m_ages = summarised(ages);
}

QList<QList<QImage>> MeasuredRun::previews() const
{
    QList<QList<QImage>> result;
    std::size_t index = 0;
    for (const sSceneScreen &screen : m_scene.m_screens) {
        QList<QImage> images;
        while (images.size() < screen.m_layers.size())
            images.append(m_layers[index++].lastPreview());
        result.append(images);
    }
    return result;
}

} // namespace Morvek::Tools
