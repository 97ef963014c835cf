#include "scenetree.h"

#include <QHeaderView>
#include <QScopedValueRollback>

namespace Morvek::Tools {

namespace {

QString sourceText(const sSceneLayer &layer)
{
    return layer.hasSource() ? QStringLiteral("input %1").arg(layer.input())
                             : QStringLiteral("colour");
}

} // namespace

SceneTree::SceneTree(const SceneDocument &document, QWidget *pParent)
    : QTreeWidget(pParent)
    , m_document(document)
{
    setColumnCount(2);
    setHeaderLabels({QStringLiteral("Screen, layer"), QStringLiteral("Shows")});
    setAccessibleName(QStringLiteral("Screens and layers"));
    setUniformRowHeights(true);
    header()->setStretchLastSection(false);
    header()->setSectionResizeMode(0, QHeaderView::Stretch);
    header()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
    connect(&m_document, &SceneDocument::replaced, this, &SceneTree::rebuild);
    connect(&m_document, &SceneDocument::structureChanged, this, &SceneTree::rebuild);
    connect(&m_document, &SceneDocument::layerChanged, this, &SceneTree::renameLayer);
    connect(this, &QTreeWidget::currentItemChanged, this, &SceneTree::tellChoice);
    rebuild();
}

void SceneTree::rebuild()
{
    const QScopedValueRollback<bool> quiet(m_isQuiet, true);
    clear();
    for (const sSceneScreen &screen : m_document.scene().m_screens) {
        auto *const pScreen = new QTreeWidgetItem(this);
        pScreen->setText(0, screen.m_strName);
        pScreen->setText(
            1, QStringLiteral("%1 × %2").arg(screen.m_size.width()).arg(screen.m_size.height()));
        for (int nLayer = screen.m_layers.size() - 1; nLayer >= 0; --nLayer) {
            const sSceneLayer &layer = screen.m_layers[nLayer];
            auto *const pLayer = new QTreeWidgetItem(pScreen);
            pLayer->setText(0, layer.m_strName);
            pLayer->setText(1, sourceText(layer));
            pLayer->setData(0, Qt::UserRole, QVariant::fromValue(layer.m_config.m_LayerIdentifies));
        }
        pScreen->setExpanded(true);
    }
}

void SceneTree::renameLayer(const LayerKey &key)
{
    const sSceneLayer *const pLayer = m_document.layer(key);
    QTreeWidgetItem *const pScreen = topLevelItem(m_document.screenOf(key));
    for (int nItem = 0; pScreen && pLayer && nItem < pScreen->childCount(); ++nItem) {
        QTreeWidgetItem *const pItem = pScreen->child(nItem);
        if (!(pItem->data(0, Qt::UserRole).value<LayerKey>() == key))
            continue;
        pItem->setText(0, pLayer->m_strName);
        pItem->setText(1, sourceText(*pLayer));
    }
}

void SceneTree::setCurrent(int nScreen, std::optional<LayerKey> layer)
{
    const QScopedValueRollback<bool> quiet(m_isQuiet, true);
    QTreeWidgetItem *const pScreen = topLevelItem(nScreen);
    QTreeWidgetItem *pWanted = pScreen;
    for (int nItem = 0; pScreen && layer && nItem < pScreen->childCount(); ++nItem) {
        if (pScreen->child(nItem)->data(0, Qt::UserRole).value<LayerKey>() == *layer)
            pWanted = pScreen->child(nItem);
    }
    setCurrentItem(pWanted);
}

void SceneTree::tellChoice()
{
    QTreeWidgetItem *const pItem = currentItem();
    if (m_isQuiet || !pItem)
        return;
    QTreeWidgetItem *const pScreen = pItem->parent() ? pItem->parent() : pItem;
    std::optional<LayerKey> layer;
    if (pItem != pScreen)
        layer = pItem->data(0, Qt::UserRole).value<LayerKey>();
    Q_EMIT chosen(indexOfTopLevelItem(pScreen), layer);
}

} // namespace Morvek::Tools
