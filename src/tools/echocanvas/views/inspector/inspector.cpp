#include "inspector.h"

#include "cropeditor.h"
#include "inspectorsections.h"

#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

namespace Morvek::Tools {

namespace {

// Edits of one field that follow each other faster are undone together.
constexpr int GesturePauseMs = 1000;

InspectorSection *makeNameSection()
{
    auto *const pSection = new InspectorSection(QStringLiteral("Layer"), eLayerPart::Name);
    pSection->addText(
        {QStringLiteral("&Name"), QString(),
         QStringLiteral("Name of the layer, drawn below it on the canvas")},
        [](const sSceneLayer &layer) { return layer.m_strName; },
        [](sSceneLayer &layer, const QString &strName) {
            if (!strName.isEmpty()) // which no scene file may have
                layer.m_strName = strName;
        });
    return pSection;
}

} // namespace

Inspector::Inspector(SceneDocument &document, QWidget *pParent)
    : QScrollArea(pParent)
    , m_document(document)
    , m_pTitle(new QLabel)
    , m_pFields(new QWidget)
    , m_pCropEditor(new CropEditor)
{
    auto *const pContent = new QWidget;
    auto *const pLayout = new QVBoxLayout(pContent);
    pLayout->setContentsMargins(4, 4, 4, 4);
    m_pTitle->setWordWrap(true);
    pLayout->addWidget(m_pTitle);
    auto *const pSections = new QVBoxLayout(m_pFields);
    pSections->setContentsMargins(0, 0, 0, 0);
    pSections->setSpacing(4);
    // As a scene file may have it, whatever device is active.
    const auto inputCount = [this] { return m_document.scene().inputCount(); };
    m_sections = {
        makeNameSection(),    makeGeometrySection(), makeSourceSection(m_pCropEditor, inputCount),
        makeLookSection(),    makeBorderSection(),   makeMaskSection(),
        makeAlphaMapSection()};
    for (InspectorSection *pSection : qAsConst(m_sections)) {
        pSections->addWidget(pSection);
        connect(pSection, &InspectorSection::edited, this, &Inspector::edit);
    }
    pLayout->addWidget(m_pFields);
    pLayout->addStretch();
    setWidget(pContent);
    setWidgetResizable(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setAccessibleName(QStringLiteral("Selected layer"));
    connect(&m_document, &SceneDocument::layerChanged, this, [this](const LayerKey &key) {
        if (m_key && *m_key == key)
            refresh();
    });
    connect(&m_document, &SceneDocument::structureChanged, this, &Inspector::refresh);
    connect(&m_document, &SceneDocument::replaced, this, &Inspector::refresh);
    refresh();
}

void Inspector::resizeEvent(QResizeEvent *pEvent)
{
    QScrollArea::resizeEvent(pEvent);
    widget()->setMaximumWidth(viewport()->width());
}

void Inspector::setLayer(std::optional<LayerKey> key)
{
    const bool isOther = key.has_value() != m_key.has_value() || (key && !(*key == *m_key));
    if (isOther)
        m_pCropEditor->endDrag();
    m_key = key;
    m_pLastField = nullptr;
    refresh();
}

void Inspector::refresh()
{
    const sSceneLayer *const pLayer = m_key ? m_document.layer(*m_key) : nullptr;
    m_pFields->setVisible(pLayer);
    m_pTitle->setVisible(!pLayer);
    m_pTitle->setText(QStringLiteral("Select a layer on the canvas or in the tree to see and edit "
                                     "its configuration."));
    for (InspectorSection *pSection : qAsConst(m_sections)) {
        if (pLayer)
            pSection->load(*pLayer);
    }
}

void Inspector::setSourcePicture(const QImage &picture)
{
    m_pCropEditor->setPicture(picture);
}

void Inspector::edit(const sSceneLayer &layer, eLayerPart ePart, QObject *pField)
{
    m_document.editLayer(layer, ePart, gestureOf(pField));
    refresh(); // also where the document made something else of it
}

int Inspector::gestureOf(QObject *pField)
{
    const bool isSame = m_pLastField == pField && m_sinceLastEdit.isValid()
                     && m_sinceLastEdit.elapsed() < GesturePauseMs;
    if (!isSame)
        m_nGesture = m_document.newGesture();
    m_pLastField = pField;
    m_sinceLastEdit.start();
    return m_nGesture;
}

} // namespace Morvek::Tools
