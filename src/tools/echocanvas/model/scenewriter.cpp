#include "scenewriter.h"

#include "scenereader.h"

#include <echolayout.h>

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>

namespace Morvek::Tools {

namespace {

using EchoVideo::sLayerBorder;
using EchoVideo::sLayerItem;
using EchoVideo::sLayerMask;
using EchoVideo::sLayerSource;
namespace LayerEnum = BizModel::Enum::Layer;

QString quoted(const QString &strText)
{
    // An array, because Qt's documents hold nothing smaller.
    const QByteArray text =
        QJsonDocument(QJsonArray{strText}).toJson(QJsonDocument::Compact).trimmed();
    return QString::fromUtf8(text.mid(1, text.size() - 2));
}

QString colorText(const QColor &color)
{
    return quoted(color.name(color.alpha() == 255 ? QColor::HexRgb : QColor::HexArgb));
}

QString sizeText(const QSize &size)
{
    return QStringLiteral("[%1, %2]").arg(size.width()).arg(size.height());
}

QString rectText(const QRect &rect)
{
    return QStringLiteral("[%1, %2, %3, %4]")
        .arg(rect.x())
        .arg(rect.y())
        .arg(rect.width())
        .arg(rect.height());
}

/** The members of one object, in the order in which they are added. */
class Members
{
public:
    void add(const char *pKey, const QString &strValue)
    {
        m_members.append(QStringLiteral("\"%1\": %2").arg(QLatin1String(pKey), strValue));
    }
    void add(const char *pKey, int nValue) { add(pKey, QString::number(nValue)); }
    void addIf(bool isWanted, const char *pKey, const QString &strValue)
    {
        if (isWanted)
            add(pKey, strValue);
    }
    QString text() const
    {
        return QStringLiteral("{ %1 }").arg(m_members.join(QStringLiteral(", ")));
    }

private:
    QStringList m_members;
};

QString borderName(LayerEnum::BorderType eType)
{
    switch (eType) {
    case LayerEnum::Hard_in:
        return QStringLiteral("hard_in");
    case LayerEnum::Hard_out:
        return QStringLiteral("hard_out");
    case LayerEnum::Hard_in_out:
        return QStringLiteral("hard_in_out");
    case LayerEnum::Soft:
        return QStringLiteral("soft");
    case LayerEnum::Halo:
        return QStringLiteral("halo");
    case LayerEnum::Halo_in:
        return QStringLiteral("halo_in");
    case LayerEnum::Halo_out:
        return QStringLiteral("halo_out");
    case LayerEnum::Invalid:
        break;
    }
    return QStringLiteral("none");
}

/** Whether it is what a layer has of which nothing is said; one that is off may still have a look. */
bool isPlain(const sLayerBorder &border)
{
    const sLayerBorder plain;
    return border.m_borderType == plain.m_borderType && border.m_borderColor == plain.m_borderColor
        && border.m_borderSize == plain.m_borderSize;
}

QString mirrorName(sLayerItem::Mirroring eMirroring)
{
    switch (eMirroring) {
    case sLayerItem::Hori:
        return QStringLiteral("horizontal");
    case sLayerItem::Vert:
        return QStringLiteral("vertical");
    case sLayerItem::Both:
        return QStringLiteral("both");
    case sLayerItem::NoMirroring:
        break;
    }
    return QStringLiteral("none");
}

/** Writes one scene; keeps what the parts of it share. */
class SceneWriter
{
public:
    explicit SceneWriter(const QString &strFileName)
        : m_folder(QFileInfo(strFileName).absoluteDir())
    {}

    QString text(const sScene &scene) const;

private:
    QString deviceText(const sSceneDevice &device) const;
    QString screenText(const sSceneScreen &screen) const;
    QString layerText(const sSceneLayer &layer) const;
    QString fileText(const QString &strFile) const;
    static QString sourceText(const sLayerSource &source);
    static QString borderText(const sLayerBorder &border);
    static QString maskText(const sLayerMask &mask);

    QDir m_folder;
};

QString SceneWriter::text(const sScene &scene) const
{
    QStringList parts{QStringLiteral("    \"device\": ") + deviceText(scene.m_device)};
    QStringList others;
    for (const sSceneDevice &device : scene.m_otherDevices)
        others.append(QStringLiteral("        ") + deviceText(device));
    if (!others.isEmpty())
        parts.append(QStringLiteral("    \"otherDevices\": [\n%1\n    ]")
                         .arg(others.join(QStringLiteral(",\n"))));
    QStringList screens;
    for (const sSceneScreen &screen : scene.m_screens)
        screens.append(screenText(screen));
    // Joined, not put into a pattern: names may contain anything.
    parts.append(QStringLiteral("    \"screens\": [\n") + screens.join(QStringLiteral(",\n"))
                 + QStringLiteral("\n    ]"));
    return QStringLiteral("{\n") + parts.join(QStringLiteral(",\n")) + QStringLiteral("\n}\n");
}

QString SceneWriter::deviceText(const sSceneDevice &device) const
{
    Members members;
    members.addIf(!device.m_strName.isEmpty(), "name", quoted(device.m_strName));
    members.add("address", quoted(device.m_strAddress));
    members.add("port", device.m_nPort);
    members.add("fps", device.m_nFps);
    members.add("tiles", device.m_nTiles);
    members.add("source", quoted(sourceTypeName(device.m_eSourceType)));
    members.addIf(!device.m_strFile.isEmpty(), "file", fileText(device.m_strFile));
    return members.text();
}

QString SceneWriter::screenText(const sSceneScreen &screen) const
{
    QStringList layers;
    for (const sSceneLayer &layer : screen.m_layers)
        layers.append(QStringLiteral("                ") + layerText(layer));
    const QStringList lines{
        QStringLiteral("            \"name\": ") + quoted(screen.m_strName),
        QStringLiteral("            \"size\": ") + sizeText(screen.m_size),
        QStringLiteral("            \"background\": ") + colorText(screen.m_background),
        QStringLiteral("            \"layers\": [\n") + layers.join(QStringLiteral(",\n"))
            + QStringLiteral("\n            ]")};
    return QStringLiteral("        {\n") + lines.join(QStringLiteral(",\n"))
         + QStringLiteral("\n        }");
}

QString SceneWriter::layerText(const sSceneLayer &layer) const
{
    const sLayerItem &item = layer.m_config.m_LayerItem;
    const sLayerItem plain;
    const QString strYes = QStringLiteral("true");
    Members members;
    members.add("name", quoted(layer.m_strName));
    members.add("rect", rectText(layer.canvasRect()));
    members.addIf(layer.hasSource(), "source", sourceText(layer.m_config.m_LayerSource));
    members.addIf(item.m_layerColor != plain.m_layerColor, "color", colorText(item.m_layerColor));
    members.addIf(item.m_mirroringType != plain.m_mirroringType, "mirror",
                  quoted(mirrorName(item.m_mirroringType)));
    members.addIf(item.m_bMonoColorEnabled, "mono", strYes);
    members.addIf(item.m_bReverseColorEnabled, "reverse", strYes);
    members.addIf(item.m_isFrozen, "frozen", strYes);
    members.addIf(item.m_opacity != plain.m_opacity, "opacity", QString::number(item.m_opacity));
    const sLayerBorder &border = layer.m_config.m_LayerBorder;
    members.addIf(!isPlain(border), "border", borderText(border));
    const sLayerMask &mask = layer.m_config.m_LayerMask;
    members.addIf(mask.m_bMaskEnable, "mask", maskText(mask));
    const QString &strMap = layer.m_config.m_LayerAlphaMap.m_strAlphaMapFile;
    members.addIf(!strMap.isEmpty(), "alphaMap", fileText(strMap));
    return members.text();
}

QString SceneWriter::sourceText(const sLayerSource &source)
{
    Members members;
    members.add("type", quoted(QStringLiteral("input")));
    members.add("input", int(source.m_nLayerSourceKeyNo));
    members.addIf(source.m_sizeLayerSource != EchoPictureSize, "size",
                  sizeText(source.m_sizeLayerSource));
    members.addIf(source.m_bLayerSourceIntercept, "crop",
                  rectText(source.m_rectLayerSourceIntercept));
    return members.text();
}

QString SceneWriter::borderText(const sLayerBorder &border)
{
    Members members;
    members.add("style", quoted(borderName(border.m_borderType)));
    members.add("color", colorText(border.m_borderColor));
    members.add("size", sizeText(border.m_borderSize));
    return members.text();
}

QString SceneWriter::maskText(const sLayerMask &mask)
{
    Members members;
    std::size_t index = 0;
    for (const char *pSide : {"top", "bottom", "left", "right"})
        members.add(pSide, qRound(mask.m_maskSize[index++]));
    return members.text();
}

QString SceneWriter::fileText(const QString &strFile) const
{
    if (strFile.startsWith(QLatin1String(BuiltInPrefix)))
        return quoted(strFile);
    // A relative name here is one from the working folder, and not from the scene's.
    const QString strAbsolute = QFileInfo(strFile).absoluteFilePath();
    const QString strRelative = m_folder.relativeFilePath(strAbsolute);
    const bool isInside = !strRelative.startsWith(QLatin1String(".."));
    return quoted(isInside ? strRelative : strAbsolute);
}

} // namespace

QByteArray sceneText(const sScene &scene, const QString &strFileName)
{
    return SceneWriter(strFileName).text(scene).toUtf8();
}

QString writeSceneFile(const sScene &scene, const QString &strFileName)
{
    const QByteArray text = sceneText(scene, strFileName);
    QStringList problems;
    if (!readScene(text, strFileName, problems))
        return problems.first();
    QSaveFile file(strFileName);
    if (file.open(QIODevice::WriteOnly) && file.write(text) == text.size() && file.commit())
        return QString();
    return QStringLiteral("cannot write %1: %2").arg(strFileName, file.errorString());
}

} // namespace Morvek::Tools
