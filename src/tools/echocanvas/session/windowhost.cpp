#include "windowhost.h"

namespace Morvek::Tools {

namespace {

int numberOf(const LayerKey &key)
{
    return int(key.screenId) << 8 | key.layerId;
}

} // namespace

WindowHost::WindowHost(const sScene &scene, const QString &strFileName, Adjustment adjust)
    : m_adjust(std::move(adjust))
    , m_session(resolved(scene))
    , m_monitor(m_session, m_log)
{
    m_document.setScene(scene, strFileName);
    connect(&m_document, &SceneDocument::layerChanged, this, &WindowHost::takeLayer);
    connect(&m_document, &SceneDocument::structureChanged, this, &WindowHost::takeScreens);
    connect(&m_document, &SceneDocument::devicesChanged, this, &WindowHost::takeDevices);
    connect(&m_session, &DeviceSession::previewFinished, this, &WindowHost::notePreview);
}

/** With files in the place of what is built in, which the library knows nothing of. */
sScene WindowHost::resolved(const sScene &scene)
{
    sScene result = scene;
    if (!m_alphaMaps.provide(result))
        qWarning("%s", qUtf8Printable(m_alphaMaps.errorText()));
    return result;
}

void WindowHost::setScene(const sScene &scene, const QString &strFileName)
{
    sScene adjusted = scene;
    if (m_adjust)
        m_adjust(adjusted);
    m_document.setScene(adjusted, strFileName);
    // What other layers showed is no success of these, though they have the same numbers.
    m_rendered.clear();
    m_fromStream.clear();
    takeDevices();
    takeScreens();
}

void WindowHost::takeLayer(const LayerKey &key)
{
    if (const sSceneLayer *const pLayer = m_document.layer(key)) {
        sSceneLayer layer = *pLayer;
        m_alphaMaps.provide(layer);
        m_session.setLayer(layer);
    }
}

void WindowHost::takeScreens()
{
    forgetRemovedLayers();
    m_session.setScreens(resolved(m_document.scene()).m_screens);
}

/** A layer that is added later may be given the number of one that is gone. */
void WindowHost::forgetRemovedLayers()
{
    QSet<int> present;
    for (const sSceneScreen &screen : m_document.scene().m_screens) {
        for (const sSceneLayer &layer : screen.m_layers)
            present.insert(numberOf(layer.m_config.m_LayerIdentifies));
    }
    m_rendered &= present;
    m_fromStream &= present;
}

void WindowHost::takeDevices()
{
    m_session.setDevices(m_document.scene().devices());
}

void WindowHost::notePreview(const LayerKey &key)
{
    const sSceneLayer *const pLayer = m_document.layer(key);
    if (!pLayer)
        return;
    m_rendered.insert(numberOf(key));
    if (!pLayer->hasSource() || pLayer->input() >= m_monitor.inputCount())
        return;
    const eInputState eState = m_monitor.input(pLayer->input()).status().m_eState;
    if (eState == eInputState::Live || eState == eInputState::Stale)
        m_fromStream.insert(numberOf(key));
}

QStringList WindowHost::shortcomings() const
{
    QStringList lines;
    for (const sSceneScreen &screen : m_document.scene().m_screens) {
        for (const sSceneLayer &layer : screen.m_layers) {
            const int nLayer = numberOf(layer.m_config.m_LayerIdentifies);
            const QString strLayer =
                QStringLiteral("layer \"%1\" of \"%2\" ").arg(layer.m_strName, screen.m_strName);
            if (!m_rendered.contains(nLayer))
                lines.append(strLayer + QStringLiteral("was never rendered"));
            else if (layer.hasSource() && !m_fromStream.contains(nLayer))
                lines.append(strLayer + QStringLiteral("never showed a picture of the device"));
        }
    }
    return lines;
}

} // namespace Morvek::Tools
