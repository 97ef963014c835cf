#include "scenetree.h"

#include <QContextMenuEvent>
#include <QHeaderView>
#include <QScopedValueRollback>

namespace Morvek::Tools {

namespace {

QString sourceText(const sSceneLayer &layer)
{
    const QString strSource = layer.hasSource() ? QStringLiteral("input %1").arg(layer.input())
                                                : QStringLiteral("colour");
    const bool isFrozen = layer.m_config.m_LayerItem.m_isFrozen;
    return isFrozen ? strSource + QStringLiteral(", frozen") : strSource;
}

/** Names are longer than a narrow tree shows. */
void setTexts(QTreeWidgetItem &item, const QString &strName, const QString &strShows)
{
    item.setText(0, strName);
    item.setText(1, strShows);
    for (const int nColumn : {0, 1})
        item.setToolTip(nColumn, QStringLiteral("%1: %2").arg(strName, strShows));
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
    setIndentation(fontMetrics().horizontalAdvance(QLatin1Char('0')) * 3 / 2);
    header()->setStretchLastSection(false);
    header()->setSectionResizeMode(0, QHeaderView::Stretch);
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
        setTexts(*pScreen, screen.m_strName,
                 QStringLiteral("%1 × %2").arg(screen.m_size.width()).arg(screen.m_size.height()));
        for (int nLayer = screen.m_layers.size() - 1; nLayer >= 0; --nLayer) {
            const sSceneLayer &layer = screen.m_layers[nLayer];
            auto *const pLayer = new QTreeWidgetItem(pScreen);
            setTexts(*pLayer, layer.m_strName, sourceText(layer));
            pLayer->setData(0, Qt::UserRole, QVariant::fromValue(layer.m_config.m_LayerIdentifies));
        }
        pScreen->setExpanded(true);
    }
    fitColumns();
}

void SceneTree::resizeEvent(QResizeEvent *pEvent)
{
    QTreeWidget::resizeEvent(pEvent);
    fitColumns();
}

/** What is shown is told whole where there is room for it and for the names. */
void SceneTree::fitColumns()
{
    const int nWanted = qMax(sizeHintForColumn(1), header()->sectionSizeHint(1));
    setColumnWidth(1, qMin(nWanted, viewport()->width() / 2));
}

void SceneTree::renameLayer(const LayerKey &key)
{
    const sSceneLayer *const pLayer = m_document.layer(key);
    QTreeWidgetItem *const pScreen = topLevelItem(m_document.screenOf(key));
    for (int nItem = 0; pScreen && pLayer && nItem < pScreen->childCount(); ++nItem) {
        QTreeWidgetItem *const pItem = pScreen->child(nItem);
        if (!(pItem->data(0, Qt::UserRole).value<LayerKey>() == key))
            continue;
        setTexts(*pItem, pLayer->m_strName, sourceText(*pLayer));
    }
    fitColumns();
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

/** Of a layer alone: a press has made it the current one, and a key is about that one anyway. */
void SceneTree::contextMenuEvent(QContextMenuEvent *pEvent)
{
    const bool isByMouse = pEvent->reason() == QContextMenuEvent::Mouse;
    const QTreeWidgetItem *const pItem = isByMouse ? itemAt(pEvent->pos()) : currentItem();
    if (!pItem || !pItem->parent() || pItem != currentItem())
        return;
    const QPoint middle = visualItemRect(pItem).center();
    Q_EMIT menuWanted(isByMouse ? pEvent->globalPos() : viewport()->mapToGlobal(middle));
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
