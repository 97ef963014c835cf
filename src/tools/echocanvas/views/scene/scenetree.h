#ifndef MORVEK_ECHOCANVAS_SCENETREE_H
#define MORVEK_ECHOCANVAS_SCENETREE_H

#include "scenedocument.h"

#include <QTreeWidget>

#include <optional>

namespace Morvek::Tools {

/** The screens of a scene and their layers, the topmost first. */
class SceneTree : public QTreeWidget
{
    Q_OBJECT

public:
    /** @param document  must outlive the tree */
    explicit SceneTree(const SceneDocument &document, QWidget *pParent = nullptr);

    /** Marks a layer, or a screen where no layer is meant, without telling anybody. */
    void setCurrent(int nScreen, std::optional<LayerKey> layer);

Q_SIGNALS:
    /** Somebody chose a screen, or a layer on it. */
    void chosen(int nScreen, std::optional<Morvek::Tools::LayerKey> layer);
    /** The current layer's menu is to come up there. */
    void menuWanted(const QPoint &globalPlace);

protected:
    void contextMenuEvent(QContextMenuEvent *pEvent) override;
    void resizeEvent(QResizeEvent *pEvent) override;

private:
    void rebuild();
    void fitColumns();
    void renameLayer(const LayerKey &key);
    void tellChoice();

    const SceneDocument &m_document;
    bool m_isQuiet = false; // what changes now, nobody chose
};

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_SCENETREE_H
