#ifndef MORVEK_ECHOCANVAS_SCENECOMMANDS_H
#define MORVEK_ECHOCANVAS_SCENECOMMANDS_H

#include "scenedocument.h"

#include <QUndoCommand>

namespace Morvek::Tools {

/** A change of a document's scene; gives the kinds below access to it. */
class SceneCommand : public QUndoCommand
{
public:
    /** @param document  must outlive the command, which its undo stack sees to */
    explicit SceneCommand(SceneDocument &document);

protected:
    sScene &scene() { return m_document.m_scene; }
    SceneDocument &document() { return m_document; }

private:
    SceneDocument &m_document;
};

/** Changes one part of a layer. */
class EditLayer : public SceneCommand
{
public:
    EditLayer(SceneDocument &document, const sSceneLayer &layer, eLayerPart ePart, int nGesture);

    int id() const override { return 1 + int(m_ePart); }
    bool mergeWith(const QUndoCommand *pOther) override;
    void undo() override { put(m_before); }
    void redo() override { put(m_after); }

private:
    void put(const sSceneLayer &layer);

    const eLayerPart m_ePart;
    const int m_nGesture;
    const sSceneLayer m_before;
    sSceneLayer m_after;
};

/** Adds a layer, or removes one. */
class InsertLayer : public SceneCommand
{
public:
    InsertLayer(SceneDocument &document, int nScreen, int nIndex, const sSceneLayer &layer);

    void undo() override { take(); }
    void redo() override { put(); }

protected:
    void put();
    void take();

private:
    const int m_nScreen;
    const int m_nIndex;
    const sSceneLayer m_layer;
};

/** The same the other way round. */
class RemoveLayer : public InsertLayer
{
public:
    RemoveLayer(SceneDocument &document, int nScreen, int nIndex);

    void undo() override { put(); }
    void redo() override { take(); }
};

/** Changes the order of a screen's layers. */
class RestackLayer : public SceneCommand
{
public:
    RestackLayer(SceneDocument &document, int nScreen, int nFrom, int nTo);

    void undo() override { move(m_nTo, m_nFrom); }
    void redo() override { move(m_nFrom, m_nTo); }

private:
    void move(int nFrom, int nTo);

    const int m_nScreen;
    const int m_nFrom;
    const int m_nTo;
};

/** Removes a screen with its layers. */
class RemoveScreen : public SceneCommand
{
public:
    RemoveScreen(SceneDocument &document, int nScreen);

    void undo() override;
    void redo() override;

private:
    const int m_nScreen;
    const sSceneScreen m_screen;
};

/** Changes a device. */
class EditDevice : public SceneCommand
{
public:
    EditDevice(SceneDocument &document, int nDevice, const sSceneDevice &device, int nGesture);

    int id() const override { return 100; }
    bool mergeWith(const QUndoCommand *pOther) override;
    void undo() override { put(m_before); }
    void redo() override { put(m_after); }

private:
    void put(const sSceneDevice &device);

    const int m_nDevice;
    const int m_nGesture;
    const sSceneDevice m_before;
    sSceneDevice m_after;
};

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_SCENECOMMANDS_H
