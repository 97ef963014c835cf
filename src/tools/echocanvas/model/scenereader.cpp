#include "scenereader.h"

#include <echolayout.h>
#include <jsonchecker.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

// The resource lives in a static library, whose initialisers are linked only where they are named.
static void initResources()
{
    Q_INIT_RESOURCE(echocanvas);
}

namespace Morvek::Tools {

namespace {

using BizModel::s_EchoVideoConfig;
using EchoVideo::sLayerBorder;
using EchoVideo::sLayerItem;
using EchoVideo::sLayerMask;
using EchoVideo::sLayerSource;
namespace LayerEnum = BizModel::Enum::Layer;

constexpr int MaxExtent = 8192; // pixels; larger previews are a mistake, not a wish
constexpr int MaxIds = 255;     // screen and layer ids have 8 bits and count from 1
constexpr int MaxOtherDevices = 15;
constexpr int MaxSceneBytes = 64 << 20; // above that of 255 screens with 255 layers
constexpr int PartBytes = 64 << 10;

const char *const BuiltInSceneFile = ":/echocanvas/defaultscene.json";

using SourceType = s_EchoVideoConfig::eVideoSourceType;

const QList<QPair<QString, SourceType>> &sourceTypes()
{
    static const QList<QPair<QString, SourceType>> types = {
        {QStringLiteral("mjpeg"), s_EchoVideoConfig::RemoteTCP},
        {QStringLiteral("shm"), s_EchoVideoConfig::LocalDVI},
        {QStringLiteral("yuv"), s_EchoVideoConfig::LocalFile}};
    return types;
}

sSceneDevice readDevice(JsonChecker json, const QDir &folder)
{
    sSceneDevice device;
    if (json.has(QStringLiteral("name")))
        device.m_strName = json.text(QStringLiteral("name"));
    device.m_strAddress = json.text(QStringLiteral("address"));
    device.m_nPort = quint16(json.integer(QStringLiteral("port"), 1, 65535));
    device.m_nFps = json.integer(QStringLiteral("fps"), 0, 255, device.m_nFps);
    device.m_nTiles = json.integerOf(QStringLiteral("tiles"), supportedTileCounts());
    device.m_eSourceType = json.choice<SourceType>(QStringLiteral("source"), sourceTypes());
    if (json.has(QStringLiteral("file")))
        device.m_strFile = folder.absoluteFilePath(json.text(QStringLiteral("file")));
    json.finish();
    return device;
}

/** Reads one scene; keeps what the parts of it share. */
class SceneReader
{
public:
    SceneReader(const QString &strFileName, JsonProblems *pProblems)
        : m_folder(QFileInfo(strFileName).absoluteDir())
        , m_pProblems(pProblems)
    {}

    sScene read(const QJsonObject &root);

private:
    sSceneScreen readScreen(JsonChecker json, int nScreenId);
    sSceneLayer readLayer(JsonChecker json);
    void readLook(JsonChecker &json, sLayerItem &item);
    sLayerSource readSource(JsonChecker json);
    void readCrop(JsonChecker &json, sLayerSource &source);
    sLayerBorder readBorder(JsonChecker json);
    sLayerMask readMask(JsonChecker json);
    QString readAlphaMap(JsonChecker &json);

    QDir m_folder;
    JsonProblems *m_pProblems;
    int m_nInputs = 0;
};

sScene SceneReader::read(const QJsonObject &root)
{
    JsonChecker json(root, QString(), m_pProblems);
    sScene scene;
    scene.m_device = readDevice(json.object(QStringLiteral("device")), m_folder);
    if (json.has(QStringLiteral("otherDevices"))) {
        const QList<JsonChecker> devices =
            json.objects(QStringLiteral("otherDevices"), 0, MaxOtherDevices);
        for (const JsonChecker &device : devices)
            scene.m_otherDevices.append(readDevice(device, m_folder));
    }
    m_nInputs = scene.inputCount();
    const QList<JsonChecker> screens = json.objects(QStringLiteral("screens"), 1, MaxIds);
    for (const JsonChecker &screen : screens)
        scene.m_screens.append(readScreen(screen, scene.m_screens.size() + 1));
    json.finish();
    return scene;
}

sSceneScreen SceneReader::readScreen(JsonChecker json, int nScreenId)
{
    sSceneScreen screen;
    screen.m_strName = json.text(QStringLiteral("name"));
    screen.m_size = json.size(QStringLiteral("size"), 1, MaxExtent);
    screen.m_background = json.color(QStringLiteral("background"), QColor(24, 27, 33));
    const QList<JsonChecker> layers = json.objects(QStringLiteral("layers"), 1, MaxIds);
    for (const JsonChecker &checker : layers) {
        sSceneLayer layer = readLayer(checker);
        layer.m_config.m_LayerIdentifies.screenId = quint8(nScreenId);
        layer.m_config.m_LayerIdentifies.layerId = quint8(screen.m_layers.size() + 1);
        screen.m_layers.append(layer);
    }
    json.finish();
    return screen;
}

sSceneLayer SceneReader::readLayer(JsonChecker json)
{
    const int nProblems = m_pProblems->count();
    sSceneLayer layer;
    layer.m_strName = json.text(QStringLiteral("name"));
    const QRect rect = json.rect(QStringLiteral("rect"), MaxExtent);
    layer.m_position = rect.topLeft();
    layer.m_config.m_LayerItem.m_boundingRect = QRectF(QPointF(0, 0), QSizeF(rect.size()));
    readLook(json, layer.m_config.m_LayerItem);
    if (json.has(QStringLiteral("source")))
        layer.m_config.m_LayerSource = readSource(json.object(QStringLiteral("source")));
    if (json.has(QStringLiteral("border")))
        layer.m_config.m_LayerBorder = readBorder(json.object(QStringLiteral("border")));
    if (json.has(QStringLiteral("mask")))
        layer.m_config.m_LayerMask = readMask(json.object(QStringLiteral("mask")));
    layer.m_config.m_LayerAlphaMap.m_strAlphaMapFile = readAlphaMap(json);
    json.finish();
    // Nobody counts layers to find the one that is meant.
    if (!layer.m_strName.isEmpty())
        m_pProblems->addSubject(nProblems, QStringLiteral("layer \"%1\"").arg(layer.m_strName));
    return layer;
}

void SceneReader::readLook(JsonChecker &json, sLayerItem &item)
{
    item.m_layerColor = json.color(QStringLiteral("color"), item.m_layerColor);
    item.m_mirroringType =
        json.choice<sLayerItem::Mirroring>(QStringLiteral("mirror"),
                                           {{QStringLiteral("none"), sLayerItem::NoMirroring},
                                            {QStringLiteral("horizontal"), sLayerItem::Hori},
                                            {QStringLiteral("vertical"), sLayerItem::Vert},
                                            {QStringLiteral("both"), sLayerItem::Both}},
                                           item.m_mirroringType);
    item.m_bMonoColorEnabled = json.flag(QStringLiteral("mono"), false);
    item.m_bReverseColorEnabled = json.flag(QStringLiteral("reverse"), false);
    item.m_isFrozen = json.flag(QStringLiteral("frozen"), false);
    item.m_opacity = json.integer(QStringLiteral("opacity"), 0, 100, item.m_opacity);
}

sLayerSource SceneReader::readSource(JsonChecker json)
{
    const int nProblems = m_pProblems->count();
    sLayerSource source;
    source.m_eLayerSourceType = json.choice<sLayerSource::eLayerSourceType>(
        QStringLiteral("type"), {{QStringLiteral("input"), sLayerSource::Input},
                                 {QStringLiteral("none"), sLayerSource::NoSource}});
    // What belongs into a source of no kind is not known.
    if (m_pProblems->count() > nProblems)
        return source;
    if (source.m_eLayerSourceType == sLayerSource::Input) {
        source.m_nLayerSourceKeyNo =
            quint32(json.integer(QStringLiteral("input"), 0, m_nInputs - 1));
        source.m_strLayerSourceName = QStringLiteral("Input %1").arg(source.m_nLayerSourceKeyNo);
        readCrop(json, source);
    }
    json.finish();
    return source;
}

void SceneReader::readCrop(JsonChecker &json, sLayerSource &source)
{
    const int nProblems = m_pProblems->count();
    source.m_sizeLayerSource = json.size(QStringLiteral("size"), 1, MaxExtent, EchoPictureSize);
    if (!json.has(QStringLiteral("crop")))
        return;
    source.m_bLayerSourceIntercept = true;
    source.m_rectLayerSourceIntercept = json.rect(QStringLiteral("crop"), MaxExtent);
    const QRect whole(QPoint(0, 0), source.m_sizeLayerSource);
    if (m_pProblems->count() == nProblems && !whole.contains(source.m_rectLayerSourceIntercept))
        json.complain(QStringLiteral("crop"),
                      QStringLiteral("a rectangle inside the source's size of %1 x %2")
                          .arg(whole.width())
                          .arg(whole.height()));
}

sLayerBorder SceneReader::readBorder(JsonChecker json)
{
    sLayerBorder border;
    border.m_borderType = json.choice<LayerEnum::BorderType>(
        QStringLiteral("style"), {{QStringLiteral("hard_in"), LayerEnum::Hard_in},
                                  {QStringLiteral("hard_out"), LayerEnum::Hard_out},
                                  {QStringLiteral("hard_in_out"), LayerEnum::Hard_in_out},
                                  {QStringLiteral("soft"), LayerEnum::Soft},
                                  {QStringLiteral("halo"), LayerEnum::Halo},
                                  {QStringLiteral("halo_in"), LayerEnum::Halo_in},
                                  {QStringLiteral("halo_out"), LayerEnum::Halo_out},
                                  {QStringLiteral("none"), LayerEnum::Invalid}});
    border.m_borderColor = json.color(QStringLiteral("color"), border.m_borderColor);
    border.m_borderSize = json.size(QStringLiteral("size"), 0, MaxExtent, border.m_borderSize);
    json.finish();
    return border;
}

sLayerMask SceneReader::readMask(JsonChecker json)
{
    sLayerMask mask;
    mask.m_bMaskEnable = true;
    int nIndex = 0;
    for (const char *pSide : {"top", "bottom", "left", "right"})
        mask.m_maskSize[nIndex++] = json.integer(QLatin1String(pSide), 0, MaxExtent, 0);
    json.finish();
    return mask;
}

QString SceneReader::readAlphaMap(JsonChecker &json)
{
    const QString strKey = QStringLiteral("alphaMap");
    if (!json.has(strKey))
        return QString();
    QString strName = json.text(strKey);
    if (strName.startsWith(QLatin1String(BuiltInPrefix))) {
        if (strName != QStringLiteral("builtin:ellipse"))
            json.complain(strKey, QStringLiteral("\"builtin:ellipse\" or the name of a file"));
        return strName;
    }
    QString strFile = m_folder.absoluteFilePath(strName);
    if (!strName.isEmpty() && !QFileInfo(strFile).isFile())
        json.complain(strKey, QStringLiteral("a file that exists (looked for in %1)")
                                  .arg(QDir::toNativeSeparators(m_folder.path())));
    return strFile;
}

QString lineOf(const QByteArray &text, int nOffset)
{
    return QStringLiteral("line %1").arg(text.left(nOffset).count('\n') + 1);
}

} // namespace

const char *const BuiltInSceneName = "built-in scene";
const char *const BuiltInPrefix = "builtin:";

QByteArray readSceneText(QIODevice &device)
{
    QByteArray text;
    QByteArray part;
    do {
        part = device.read(PartBytes); // of a pipe, also less than that
        text += part;
    } while (!part.isEmpty() && text.size() <= MaxSceneBytes);
    return text;
}

QByteArray builtInSceneText()
{
    initResources();
    QFile file(QString::fromLatin1(BuiltInSceneFile));
    const bool isOpen = file.open(QIODevice::ReadOnly);
    Q_ASSERT(isOpen);
    Q_UNUSED(isOpen);
    return file.readAll();
}

std::optional<sScene> readScene(const QByteArray &text, const QString &strFileName,
                                QStringList &problems)
{
    JsonProblems found(strFileName);
    QJsonParseError error;
    const bool isTooLong = text.size() > MaxSceneBytes;
    const QJsonDocument document =
        isTooLong ? QJsonDocument() : QJsonDocument::fromJson(text, &error);
    sScene scene;
    if (isTooLong)
        found.add(
            QString(),
            QStringLiteral("expected a scene, found more than %1 MiB").arg(MaxSceneBytes >> 20));
    else if (error.error != QJsonParseError::NoError)
        found.add(lineOf(text, error.offset),
                  QStringLiteral("expected JSON, found an error: %1").arg(error.errorString()));
    else if (!document.isObject())
        found.add(QString(), QStringLiteral("an object"), document.array());
    else
        scene = SceneReader(strFileName, &found).read(document.object());
    problems = found.lines();
    return problems.isEmpty() ? std::optional<sScene>(scene) : std::nullopt;
}

std::optional<sScene> readSceneFile(const QString &strFileName, QStringList &problems)
{
    if (strFileName.isEmpty())
        return readScene(builtInSceneText(), QString::fromLatin1(BuiltInSceneName), problems);
    QFile file(strFileName);
    if (!file.open(QIODevice::ReadOnly)) {
        problems = QStringList(QStringLiteral("%1: expected a file that can be read: %2")
                                   .arg(strFileName, file.errorString()));
        return {};
    }
    return readScene(readSceneText(file), strFileName, problems);
}

QString sourceTypeName(s_EchoVideoConfig::eVideoSourceType eType)
{
    for (const auto &type : sourceTypes()) {
        if (type.second == eType)
            return type.first;
    }
    return QString();
}

std::optional<s_EchoVideoConfig::eVideoSourceType> sourceTypeNamed(const QString &strName)
{
    for (const auto &type : sourceTypes()) {
        if (type.first == strName)
            return type.second;
    }
    return std::nullopt;
}

} // namespace Morvek::Tools
