#include "inspectorsections.h"

#include "cropeditor.h"
#include "scenereader.h"

#include <echolayout.h>

#include <QComboBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QStandardItemModel>

namespace Morvek::Tools {

namespace {

using EchoVideo::sLayerItem;
using EchoVideo::sLayerSource;
namespace LayerEnum = BizModel::Enum::Layer;

constexpr int MaxExtent = 8192; // what a scene file allows
constexpr int MaxInput = 24;
constexpr int NoInput = -1;
const char *const EllipseMap = "builtin:ellipse";

QString px()
{
    return QStringLiteral(" px");
}

sFieldText pixels(const char *pName, const char *pTip)
{
    return {QString::fromUtf8(pName), px(), QString::fromUtf8(pTip)};
}

sFieldText plain(const char *pName, const char *pTip)
{
    return {QString::fromUtf8(pName), QString(), QString::fromUtf8(pTip)};
}

void setSize(sSceneLayer &layer, const QSize &size)
{
    layer.m_config.m_LayerItem.m_boundingRect = QRectF(QPointF(0, 0), QSizeF(size));
}

QRect cropOf(const sSceneLayer &layer)
{
    const sLayerSource &source = layer.m_config.m_LayerSource;
    return source.m_bLayerSourceIntercept ? source.m_rectLayerSourceIntercept
                                          : QRect(QPoint(0, 0), source.m_sizeLayerSource);
}

/** Keeps the crop inside the source, as a scene file wants it. */
void setCrop(sSceneLayer &layer, const QRect &crop)
{
    sLayerSource &source = layer.m_config.m_LayerSource;
    const QRect whole(QPoint(0, 0), source.m_sizeLayerSource);
    const QRect inside = crop & whole;
    source.m_rectLayerSourceIntercept = inside.isEmpty() ? whole : inside;
    source.m_bLayerSourceIntercept = source.m_rectLayerSourceIntercept != whole;
}

bool hasSource(const sSceneLayer &layer)
{
    return layer.hasSource();
}

void setInput(sSceneLayer &layer, int nInput)
{
    sLayerSource &source = layer.m_config.m_LayerSource;
    if (nInput == NoInput)
        source = sLayerSource();
    else
        showInput(layer, nInput);
}

/** Those that no device of the scene has stay visible, for whoever looks for them. */
void offerInputs(QComboBox &box, int nCount)
{
    auto *const pModel = qobject_cast<QStandardItemModel *>(box.model());
    for (int nInput = 0; pModel && nInput <= MaxInput; ++nInput)
        pModel->item(box.findData(nInput))->setEnabled(nInput < nCount);
}

/** What is wrong with the name of an alpha map; empty if nothing is. */
QString complaintAbout(const QString &strText)
{
    const QString strFile = strText.trimmed();
    if (strFile.isEmpty() || strFile == QLatin1String(EllipseMap) || QFileInfo(strFile).isFile())
        return QString();
    return strFile.startsWith(QLatin1String(BuiltInPrefix))
             ? QStringLiteral("There is no %1, only %2.").arg(strFile, QLatin1String(EllipseMap))
             : QStringLiteral("There is no file %1.").arg(strFile);
}

/** With its whole path, because the one that it counts from is not the same everywhere. */
QString alphaMapNamed(const QString &strText)
{
    const QString strFile = strText.trimmed();
    const bool isPath = !strFile.isEmpty() && !strFile.startsWith(QLatin1String(BuiltInPrefix));
    return isPath ? QFileInfo(strFile).absoluteFilePath() : strFile;
}

void addCropNumber(InspectorSection *pSection, const char *pName, const char *pTip, int nMin,
                   std::function<int(const QRect &)> get, std::function<void(QRect &, int)> set)
{
    pSection->addNumber(
        pixels(pName, pTip), nMin, MaxExtent,
        [get](const sSceneLayer &layer) { return get(cropOf(layer)); },
        [set](sSceneLayer &layer, int nValue) {
            QRect crop = cropOf(layer);
            set(crop, nValue);
            // Its corner stays in the source, or there would be nothing left of it.
            const QSize &source = layer.m_config.m_LayerSource.m_sizeLayerSource;
            crop.moveTo(qMin(crop.x(), source.width() - 1), qMin(crop.y(), source.height() - 1));
            setCrop(layer, crop);
        });
    pSection->usableIf(hasSource);
}

} // namespace

void showInput(sSceneLayer &layer, int nInput)
{
    sLayerSource &source = layer.m_config.m_LayerSource;
    if (source.m_sizeLayerSource.isEmpty())
        source.m_sizeLayerSource = EchoPictureSize;
    source.m_eLayerSourceType = sLayerSource::Input;
    source.m_nLayerSourceKeyNo = quint32(nInput);
    source.m_strLayerSourceName = QStringLiteral("Input %1").arg(nInput);
}

InspectorSection *makeGeometrySection()
{
    auto *const pSection =
        new InspectorSection(QStringLiteral("Place and size"), eLayerPart::Geometry);
    pSection->addNumber(
        pixels("&Left", "Left edge of the layer on the canvas"), -MaxExtent, MaxExtent,
        [](const sSceneLayer &layer) { return layer.m_position.x(); },
        [](sSceneLayer &layer, int nValue) { layer.m_position.setX(nValue); });
    pSection->addNumber(
        pixels("To&p", "Top edge of the layer on the canvas"), -MaxExtent, MaxExtent,
        [](const sSceneLayer &layer) { return layer.m_position.y(); },
        [](sSceneLayer &layer, int nValue) { layer.m_position.setY(nValue); });
    pSection->addNumber(
        pixels("Width", "Width of the layer; its preview is rendered in this size"), 1, MaxExtent,
        [](const sSceneLayer &layer) { return layer.size().width(); },
        [](sSceneLayer &layer, int n) { setSize(layer, QSize(n, layer.size().height())); });
    pSection->addNumber(
        pixels("Height", "Height of the layer; its preview is rendered in this size"), 1, MaxExtent,
        [](const sSceneLayer &layer) { return layer.size().height(); },
        [](sSceneLayer &layer, int n) { setSize(layer, QSize(layer.size().width(), n)); });
    return pSection;
}

InspectorSection *makeSourceSection(CropEditor *pCropEditor, const std::function<int()> &inputCount)
{
    auto *const pSection = new InspectorSection(QStringLiteral("Source"), eLayerPart::Source);
    QList<QPair<QString, int>> inputs{{QStringLiteral("None: the layer's colour"), NoInput}};
    for (int nInput = 0; nInput <= MaxInput; ++nInput)
        inputs.append({QStringLiteral("Input %1").arg(nInput), nInput});
    QComboBox *const pInput = pSection->addChoice(
        plain("Inpu&t", "Where the layer's picture comes from"), inputs,
        [](const sSceneLayer &layer) { return layer.hasSource() ? layer.input() : NoInput; },
        setInput);
    pSection->addLoader(
        [pInput, inputCount](const sSceneLayer &) { offerInputs(*pInput, inputCount()); });
    pSection->addWidget(pCropEditor, [pCropEditor](const sSceneLayer &layer) {
        const sLayerSource &source = layer.m_config.m_LayerSource;
        pCropEditor->setCrop(layer.hasSource() ? source.m_sizeLayerSource : QSize(), cropOf(layer));
    });
    auto *const pHint = new QLabel(QStringLiteral("Drag on the picture to crop"));
    pHint->setObjectName(QStringLiteral("Crop hint"));
    pHint->setAlignment(Qt::AlignHCenter);
    pSection->addWidget(
        pHint, [pHint](const sSceneLayer &layer) { pHint->setVisible(layer.hasSource()); });
    QObject::connect(
        pCropEditor, &CropEditor::cropWanted, pSection, [pSection, pCropEditor](const QRect &crop) {
            pSection->edit([&](sSceneLayer &layer) { setCrop(layer, crop); }, pCropEditor);
        });
    addCropNumber(
        pSection, "Crop left", "Left edge of the shown part, in the source's own pixels", 0,
        [](const QRect &crop) { return crop.x(); },
        [](QRect &crop, int nValue) { crop.moveLeft(nValue); });
    addCropNumber(
        pSection, "Crop top", "Top edge of the shown part, in the source's own pixels", 0,
        [](const QRect &crop) { return crop.y(); },
        [](QRect &crop, int nValue) { crop.moveTop(nValue); });
    addCropNumber(
        pSection, "Crop width", "Width of the shown part, in the source's own pixels", 1,
        [](const QRect &crop) { return crop.width(); },
        [](QRect &crop, int nValue) { crop.setWidth(nValue); });
    addCropNumber(
        pSection, "Crop height", "Height of the shown part, in the source's own pixels", 1,
        [](const QRect &crop) { return crop.height(); },
        [](QRect &crop, int nValue) { crop.setHeight(nValue); });
    auto *const pWhole = new QPushButton(QStringLiteral("Show the whole source"));
    pWhole->setObjectName(QStringLiteral("Whole source"));
    pWhole->setToolTip(QStringLiteral("Takes the crop away"));
    pSection->addWidget(pWhole, [pWhole](const sSceneLayer &layer) {
        pWhole->setEnabled(layer.m_config.m_LayerSource.m_bLayerSourceIntercept);
    });
    QObject::connect(pWhole, &QPushButton::clicked, pSection, [pSection, pWhole] {
        pSection->edit(
            [](sSceneLayer &layer) {
                setCrop(layer, QRect(QPoint(0, 0), layer.m_config.m_LayerSource.m_sizeLayerSource));
            },
            pWhole);
    });
    return pSection;
}

InspectorSection *makeLookSection()
{
    auto *const pSection = new InspectorSection(QStringLiteral("Look"), eLayerPart::Look);
    const auto item = [](auto &layer) -> auto &
    {
        return layer.m_config.m_LayerItem;
    };
    pSection->addChoice(
        plain("Mirr&oring", "How the picture is mirrored"),
        {{QStringLiteral("None"), sLayerItem::NoMirroring},
         {QStringLiteral("Left and right"), sLayerItem::Hori},
         {QStringLiteral("Top and bottom"), sLayerItem::Vert},
         {QStringLiteral("Both"), sLayerItem::Both}},
        [item](const sSceneLayer &layer) { return int(item(layer).m_mirroringType); },
        [item](sSceneLayer &layer, int n) {
            item(layer).m_mirroringType = sLayerItem::Mirroring(n);
        });
    pSection->addFlag(
        plain("Mono", "Shows the picture in shades of gray"),
        [item](const sSceneLayer &layer) { return int(item(layer).m_bMonoColorEnabled); },
        [item](sSceneLayer &layer, int n) { item(layer).m_bMonoColorEnabled = n != 0; });
    pSection->addFlag(
        plain("Reverse", "Inverts the colours, after the gray where both are set"),
        [item](const sSceneLayer &layer) { return int(item(layer).m_bReverseColorEnabled); },
        [item](sSceneLayer &layer, int n) { item(layer).m_bReverseColorEnabled = n != 0; });
    pSection->addFlag(
        plain("Frozen", "Draws the frozen mark in the bottom-right corner"),
        [item](const sSceneLayer &layer) { return int(item(layer).m_isFrozen); },
        [item](sSceneLayer &layer, int n) { item(layer).m_isFrozen = n != 0; });
    pSection->addNumber(
        {QStringLiteral("Op&acity"), QStringLiteral(" %"), QStringLiteral("Opacity of the layer")},
        0, 100, [item](const sSceneLayer &layer) { return item(layer).m_opacity; },
        [item](sSceneLayer &layer, int n) { item(layer).m_opacity = n; });
    pSection->addColor(
        plain("Fill colour",
              "Lies behind the picture, and shows where there is none. As #aarrggbb: "
              "the alpha, which makes the whole layer fainter, stands first."),
        [item](const sSceneLayer &layer) { return item(layer).m_layerColor; },
        [item](sSceneLayer &layer, const QColor &color) { item(layer).m_layerColor = color; });
    return pSection;
}

InspectorSection *makeBorderSection()
{
    auto *const pSection = new InspectorSection(QStringLiteral("Border"), eLayerPart::Border);
    const auto border = [](auto &layer) -> auto &
    {
        return layer.m_config.m_LayerBorder;
    };
    const auto isShown = [border](const sSceneLayer &layer) {
        return border(layer).m_borderType != LayerEnum::Invalid;
    };
    pSection->addChoice(
        plain("&Border style",
              "Hard, soft and halo inside are drawn; the others leave the layer as "
              "it is. A layer with an alpha map has no border."),
        {{QStringLiteral("None"), LayerEnum::Invalid},
         {QStringLiteral("Hard inside"), LayerEnum::Hard_in},
         {QStringLiteral("Soft"), LayerEnum::Soft},
         {QStringLiteral("Halo inside"), LayerEnum::Halo_in},
         {QStringLiteral("Hard outside (not drawn)"), LayerEnum::Hard_out},
         {QStringLiteral("Hard on both sides (not drawn)"), LayerEnum::Hard_in_out},
         {QStringLiteral("Halo (not drawn)"), LayerEnum::Halo},
         {QStringLiteral("Halo outside (not drawn)"), LayerEnum::Halo_out}},
        [border](const sSceneLayer &layer) { return int(border(layer).m_borderType); },
        [border](sSceneLayer &layer, int n) {
            border(layer).m_borderType = LayerEnum::BorderType(n);
        });
    pSection->addColor(
        plain("Border colour", "Of hard and halo borders. As #aarrggbb: the alpha stands first."),
        [border](const sSceneLayer &layer) { return border(layer).m_borderColor; },
        [border](sSceneLayer &layer, const QColor &color) { border(layer).m_borderColor = color; });
    pSection->usableIf(isShown);
    pSection->addNumber(
        pixels("At the sides", "Thickness of the border at left and right"), 0, MaxExtent,
        [border](const sSceneLayer &layer) { return border(layer).m_borderSize.width(); },
        [border](sSceneLayer &layer, int n) { border(layer).m_borderSize.setWidth(n); });
    pSection->usableIf(isShown);
    pSection->addNumber(
        pixels("Above and below", "Thickness of the border at top and bottom"), 0, MaxExtent,
        [border](const sSceneLayer &layer) { return border(layer).m_borderSize.height(); },
        [border](sSceneLayer &layer, int n) { border(layer).m_borderSize.setHeight(n); });
    pSection->usableIf(isShown);
    return pSection;
}

InspectorSection *makeMaskSection()
{
    auto *const pSection = new InspectorSection(QStringLiteral("Mask"), eLayerPart::Mask);
    const auto mask = [](auto &layer) -> auto &
    {
        return layer.m_config.m_LayerMask;
    };
    pSection->addFlag(
        plain("Masked", "Keeps only what lies inside the four insets"),
        [mask](const sSceneLayer &layer) { return int(mask(layer).m_bMaskEnable); },
        [mask](sSceneLayer &layer, int n) { mask(layer).m_bMaskEnable = n != 0; });
    static const char *const Sides[] = {"Mask top", "Mask bottom", "Mask left", "Mask right"};
    for (std::size_t index = 0; index < 4; ++index) {
        pSection->addNumber(
            pixels(Sides[index], "How much is cut off on this side"), 0, MaxExtent,
            [mask, index](const sSceneLayer &layer) {
                return qRound(mask(layer).m_maskSize[index]);
            },
            [mask, index](sSceneLayer &layer, int n) { mask(layer).m_maskSize[index] = n; });
        pSection->usableIf([mask](const sSceneLayer &layer) { return mask(layer).m_bMaskEnable; });
    }
    return pSection;
}

InspectorSection *makeAlphaMapSection()
{
    auto *const pSection = new InspectorSection(QStringLiteral("Alpha map"), eLayerPart::AlphaMap);
    const auto file = [](auto &layer) -> auto &
    {
        return layer.m_config.m_LayerAlphaMap.m_strAlphaMapFile;
    };
    QLineEdit *const pEdit = pSection->addText(
        plain("File", "Picture whose alpha shapes the layer, or builtin:ellipse; empty for none"),
        [file](const sSceneLayer &layer) { return file(layer); },
        [file](sSceneLayer &layer, const QString &strFile) {
            file(layer) = alphaMapNamed(strFile);
        },
        complaintAbout);
    pEdit->setPlaceholderText(QStringLiteral("none"));
    pEdit->setClearButtonEnabled(true);
    auto *const pEllipse = new QPushButton(QStringLiteral("Ellipse"));
    pEllipse->setObjectName(QStringLiteral("Ellipse"));
    pEllipse->setToolTip(QStringLiteral("Uses the built-in ellipse with a soft rim"));
    pSection->addWidget(pEllipse, [](const sSceneLayer &) {});
    QObject::connect(pEllipse, &QPushButton::clicked, pSection, [pSection, pEllipse, file] {
        pSection->edit([&](sSceneLayer &layer) { file(layer) = QLatin1String(EllipseMap); },
                       pEllipse);
    });
    auto *const pBrowse = new QPushButton(QStringLiteral("Choose a file…"));
    pBrowse->setObjectName(QStringLiteral("Choose a file"));
    pBrowse->setToolTip(QStringLiteral("Looks for a picture whose alpha shapes the layer"));
    pSection->addWidget(pBrowse, [](const sSceneLayer &) {});
    QObject::connect(pBrowse, &QPushButton::clicked, pSection, [pSection, pBrowse, file] {
        const QString strFile = QFileDialog::getOpenFileName(
            pSection, QStringLiteral("Alpha map"), QString(),
            QStringLiteral("Pictures (*.png *.bmp *.webp);;All files (*)"));
        if (!strFile.isEmpty())
            pSection->edit([&](sSceneLayer &layer) { file(layer) = strFile; }, pBrowse);
    });
    return pSection;
}

} // namespace Morvek::Tools
