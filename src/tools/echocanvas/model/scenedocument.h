#ifndef MORVEK_ECHOCANVAS_SCENEDOCUMENT_H
#define MORVEK_ECHOCANVAS_SCENEDOCUMENT_H

#include "scene.h"

#include <QObject>
#include <QString>
#include <QUndoStack>

namespace Morvek::Tools {

using LayerKey = EchoVideo::sLayerUniqueIdentifies;

/** What of a layer an edit is about: one entry in the undo list, one command class. */
enum class eLayerPart { Name, Geometry, Source, Look, Border, Mask, AlphaMap };

/**
 * A scene that is being edited: every change is a command that can be undone.
 *
 * A screen keeps at least one layer, and a scene one screen, as scene files want it.
 *
 * @thread main
 */
class SceneDocument : public QObject
{
    Q_OBJECT

public:
    explicit SceneDocument(QObject *parent = nullptr);

    const sScene &scene() const { return m_scene; }
    QUndoStack &undoStack() { return m_undoStack; }
    /** The scene's file; empty for one that has none, such as the built-in one. */
    QString fileName() const { return m_strFileName; }
    /** What to call the scene: its file's name without folders. */
    QString title() const;
    bool isModified() const { return !m_undoStack.isClean(); }

    /** Replaces the whole scene; forgets all edits. */
    void setScene(const sScene &scene, const QString &strFileName);
    /**
     * Writes the scene, whose file it is from now on.
     *
     * @return what went wrong; empty if nothing did
     */
    QString save(const QString &strFileName);

    /** The layer; null if there is none with this key. Valid until the next change. */
    const sSceneLayer *layer(const LayerKey &key) const;
    /** The screen that the layer is on; -1 if there is none. */
    int screenOf(const LayerKey &key) const;
    bool canRemoveLayer(const LayerKey &key) const;
    bool canRemoveScreen() const { return m_scene.m_screens.size() > 1; }
    /** Whether another layer has a place on this screen. */
    bool canAddLayer(int nScreen) const;

    /**
     * Changes a layer; nothing happens if it is the same already. Its geometry is moved into what a
     * scene file allows, and an empty name leaves it the one that it has.
     *
     * @param layer     as it is to be; its key says which one
     * @param ePart     what of it changes
     * @param nGesture  edits of one gesture, such as a drag, are undone together; 0 for none
     */
    void editLayer(const sSceneLayer &layer, eLayerPart ePart, int nGesture = 0);
    /** Puts a layer on top of a screen. @param nScreen  one with a place for it @return its key */
    LayerKey addLayer(int nScreen, const sSceneLayer &layer);
    void removeLayer(const LayerKey &key);
    /** Moves a layer up or down among those of its screen. @param nSteps  up if above 0 */
    void restackLayer(const LayerKey &key, int nSteps);
    void removeScreen(int nScreen);
    /** Changes a device; edits of one gesture are undone together. @param nDevice  from 0 */
    void editDevice(int nDevice, const sSceneDevice &device, int nGesture = 0);
    /** A number for editLayer() and editDevice() that no gesture has had. */
    int newGesture() { return ++m_nGestures; }

Q_SIGNALS:
    /** This layer looks different, or lies elsewhere. */
    void layerChanged(const Morvek::Tools::LayerKey &key);
    /** Layers or screens came, went, or changed their order. */
    void structureChanged();
    void devicesChanged();
    /** Everything is different. */
    void replaced();
    /** Name or state of the file have changed. */
    void titleChanged();

private:
    friend class SceneCommand;

    sScene m_scene;
    QString m_strFileName;
    QUndoStack m_undoStack;
    int m_nGestures = 0;
};

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_SCENEDOCUMENT_H
