#include "scenedocument.h"

#include "scenecommands.h"
#include "scenereader.h"
#include "scenewriter.h"

#include <QFileInfo>

#include <algorithm>

namespace Morvek::Tools {

namespace {

constexpr int MaxEdits = 500; // that can be undone
constexpr int MaxIds = 255;
constexpr int MaxExtent = 8192; // what a scene file allows

/** The rectangle moved and resized to what a scene file allows. */
void clampGeometry(sSceneLayer &layer)
{
    const QSize size = layer.size();
    const QSize allowed(qBound(1, size.width(), MaxExtent), qBound(1, size.height(), MaxExtent));
    layer.m_config.m_LayerItem.m_boundingRect = QRectF(QPointF(0, 0), QSizeF(allowed));
    layer.m_position = QPoint(qBound(-MaxExtent, layer.m_position.x(), MaxExtent),
                              qBound(-MaxExtent, layer.m_position.y(), MaxExtent));
}

int indexOf(const sSceneScreen &screen, const LayerKey &key)
{
    const auto it = std::find_if(
        screen.m_layers.cbegin(), screen.m_layers.cend(),
        [&](const sSceneLayer &layer) { return layer.m_config.m_LayerIdentifies == key; });
    return it == screen.m_layers.cend() ? -1 : int(it - screen.m_layers.cbegin());
}

} // namespace

SceneDocument::SceneDocument(QObject *parent)
    : QObject(parent)
{
    m_undoStack.setUndoLimit(MaxEdits);
    connect(&m_undoStack, &QUndoStack::cleanChanged, this, &SceneDocument::titleChanged);
}

QString SceneDocument::title() const
{
    return m_strFileName.isEmpty() ? QString::fromLatin1(BuiltInSceneName)
                                   : QFileInfo(m_strFileName).fileName();
}

void SceneDocument::setScene(const sScene &scene, const QString &strFileName)
{
    // The commands first: they know places in the old scene.
    m_undoStack.clear();
    m_scene = scene;
    m_strFileName = strFileName;
    Q_EMIT replaced();
    Q_EMIT titleChanged();
}

QString SceneDocument::save(const QString &strFileName)
{
    const QString strError = writeSceneFile(m_scene, strFileName);
    if (!strError.isEmpty())
        return strError;
    m_strFileName = strFileName;
    m_undoStack.setClean();
    Q_EMIT titleChanged();
    return QString();
}

int SceneDocument::screenOf(const LayerKey &key) const
{
    for (int nScreen = 0; nScreen < m_scene.m_screens.size(); ++nScreen) {
        if (indexOf(m_scene.m_screens[nScreen], key) >= 0)
            return nScreen;
    }
    return -1;
}

const sSceneLayer *SceneDocument::layer(const LayerKey &key) const
{
    const int nScreen = screenOf(key);
    if (nScreen < 0)
        return nullptr;
    const sSceneScreen &screen = m_scene.m_screens[nScreen];
    return &screen.m_layers[indexOf(screen, key)];
}

bool SceneDocument::canRemoveLayer(const LayerKey &key) const
{
    const int nScreen = screenOf(key);
    return nScreen >= 0 && m_scene.m_screens[nScreen].m_layers.size() > 1;
}

bool SceneDocument::canAddLayer(int nScreen) const
{
    return nScreen >= 0 && nScreen < m_scene.m_screens.size()
        && m_scene.m_screens[nScreen].m_layers.size() < MaxIds;
}

void SceneDocument::editLayer(const sSceneLayer &layer, eLayerPart ePart, int nGesture)
{
    const sSceneLayer *const pPresent = this->layer(layer.m_config.m_LayerIdentifies);
    if (!pPresent)
        return;
    sSceneLayer wanted = layer;
    clampGeometry(wanted);
    if (wanted.m_strName.isEmpty())
        wanted.m_strName = pPresent->m_strName;
    if (!(*pPresent == wanted))
        m_undoStack.push(new EditLayer(*this, wanted, ePart, nGesture));
}

LayerKey SceneDocument::addLayer(int nScreen, const sSceneLayer &layer)
{
    const sSceneScreen &screen = m_scene.m_screens[nScreen];
    sSceneLayer added = layer;
    LayerKey &key = added.m_config.m_LayerIdentifies;
    key = screen.m_layers.first().m_config.m_LayerIdentifies;
    // The lowest free one: ids have 8 bits, and removed layers leave gaps.
    key.layerId = 1;
    while (indexOf(screen, key) >= 0)
        ++key.layerId;
    clampGeometry(added);
    m_undoStack.push(new InsertLayer(*this, nScreen, screen.m_layers.size(), added));
    return key;
}

void SceneDocument::removeLayer(const LayerKey &key)
{
    if (!canRemoveLayer(key))
        return;
    const int nScreen = screenOf(key);
    m_undoStack.push(new RemoveLayer(*this, nScreen, indexOf(m_scene.m_screens[nScreen], key)));
}

void SceneDocument::restackLayer(const LayerKey &key, int nSteps)
{
    const int nScreen = screenOf(key);
    if (nScreen < 0)
        return;
    const sSceneScreen &screen = m_scene.m_screens[nScreen];
    const int nFrom = indexOf(screen, key);
    const int nTo = qBound(0, nFrom + nSteps, int(screen.m_layers.size()) - 1);
    if (nTo != nFrom)
        m_undoStack.push(new RestackLayer(*this, nScreen, nFrom, nTo));
}

void SceneDocument::removeScreen(int nScreen)
{
    if (canRemoveScreen() && nScreen >= 0 && nScreen < m_scene.m_screens.size())
        m_undoStack.push(new RemoveScreen(*this, nScreen));
}

void SceneDocument::editDevice(int nDevice, const sSceneDevice &device, int nGesture)
{
    if (!(m_scene.device(nDevice) == device))
        m_undoStack.push(new EditDevice(*this, nDevice, device, nGesture));
}

} // namespace Morvek::Tools
