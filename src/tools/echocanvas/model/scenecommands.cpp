#include "scenecommands.h"

namespace Morvek::Tools {

namespace {

QString partName(eLayerPart ePart)
{
    switch (ePart) {
    case eLayerPart::Name:
        return QStringLiteral("name");
    case eLayerPart::Geometry:
        return QStringLiteral("place and size");
    case eLayerPart::Source:
        return QStringLiteral("source");
    case eLayerPart::Look:
        return QStringLiteral("look");
    case eLayerPart::Border:
        return QStringLiteral("border");
    case eLayerPart::Mask:
        return QStringLiteral("mask");
    case eLayerPart::AlphaMap:
        break;
    }
    return QStringLiteral("alpha map");
}

} // namespace

SceneCommand::SceneCommand(SceneDocument &document)
    : m_document(document)
{}

EditLayer::EditLayer(SceneDocument &document, const sSceneLayer &layer, eLayerPart ePart,
                     int nGesture)
    : SceneCommand(document)
    , m_ePart(ePart)
    , m_nGesture(nGesture)
    , m_before(*document.layer(layer.m_config.m_LayerIdentifies))
    , m_after(layer)
{
    setText(QStringLiteral("%1 of %2").arg(partName(ePart), m_before.m_strName));
}

bool EditLayer::mergeWith(const QUndoCommand *pOther)
{
    const auto &other = *static_cast<const EditLayer *>(pOther);
    const bool isSameLayer =
        other.m_after.m_config.m_LayerIdentifies == m_after.m_config.m_LayerIdentifies;
    if (m_nGesture == 0 || other.m_nGesture != m_nGesture || !isSameLayer)
        return false;
    m_after = other.m_after;
    // A drag that ends where it began is no change.
    setObsolete(m_after == m_before);
    return true;
}

void EditLayer::put(const sSceneLayer &layer)
{
    const LayerKey key = layer.m_config.m_LayerIdentifies;
    for (sSceneLayer &candidate : scene().m_screens[document().screenOf(key)].m_layers) {
        if (candidate.m_config.m_LayerIdentifies == key)
            candidate = layer;
    }
    Q_EMIT document().layerChanged(key);
}

InsertLayer::InsertLayer(SceneDocument &document, int nScreen, int nIndex, const sSceneLayer &layer)
    : SceneCommand(document)
    , m_nScreen(nScreen)
    , m_nIndex(nIndex)
    , m_layer(layer)
{
    setText(QStringLiteral("adding %1").arg(layer.m_strName));
}

void InsertLayer::put()
{
    scene().m_screens[m_nScreen].m_layers.insert(m_nIndex, m_layer);
    Q_EMIT document().structureChanged();
}

void InsertLayer::take()
{
    scene().m_screens[m_nScreen].m_layers.removeAt(m_nIndex);
    Q_EMIT document().structureChanged();
}

RemoveLayer::RemoveLayer(SceneDocument &document, int nScreen, int nIndex)
    : InsertLayer(document, nScreen, nIndex, document.scene().m_screens[nScreen].m_layers[nIndex])
{
    setText(QStringLiteral("removing %1")
                .arg(document.scene().m_screens[nScreen].m_layers[nIndex].m_strName));
}

RestackLayer::RestackLayer(SceneDocument &document, int nScreen, int nFrom, int nTo)
    : SceneCommand(document)
    , m_nScreen(nScreen)
    , m_nFrom(nFrom)
    , m_nTo(nTo)
{
    setText(QStringLiteral("order of %1")
                .arg(document.scene().m_screens[nScreen].m_layers[nFrom].m_strName));
}

void RestackLayer::move(int nFrom, int nTo)
{
    scene().m_screens[m_nScreen].m_layers.move(nFrom, nTo);
    Q_EMIT document().structureChanged();
}

RemoveScreen::RemoveScreen(SceneDocument &document, int nScreen)
    : SceneCommand(document)
    , m_nScreen(nScreen)
    , m_screen(document.scene().m_screens[nScreen])
{
    setText(QStringLiteral("removing screen %1").arg(m_screen.m_strName));
}

void RemoveScreen::undo()
{
    scene().m_screens.insert(m_nScreen, m_screen);
    Q_EMIT document().structureChanged();
}

void RemoveScreen::redo()
{
    scene().m_screens.removeAt(m_nScreen);
    Q_EMIT document().structureChanged();
}

EditDevice::EditDevice(SceneDocument &document, int nDevice, const sSceneDevice &device,
                       int nGesture)
    : SceneCommand(document)
    , m_nDevice(nDevice)
    , m_nGesture(nGesture)
    , m_before(scene().device(nDevice))
    , m_after(device)
{
    setText(QStringLiteral("settings of %1").arg(m_before.title()));
}

bool EditDevice::mergeWith(const QUndoCommand *pOther)
{
    const auto &other = *static_cast<const EditDevice *>(pOther);
    if (m_nGesture == 0 || other.m_nGesture != m_nGesture || other.m_nDevice != m_nDevice)
        return false;
    m_after = other.m_after;
    setObsolete(m_after == m_before);
    return true;
}

void EditDevice::put(const sSceneDevice &device)
{
    scene().device(m_nDevice) = device;
    Q_EMIT document().devicesChanged();
}

} // namespace Morvek::Tools
