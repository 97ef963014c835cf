#include "dockkey.h"

#include <QAction>
#include <QApplication>
#include <QDockWidget>
#include <QEvent>

namespace Morvek::Tools {

namespace {

bool canHaveFocus(const QWidget &widget, const QWidget &content)
{
    return content.isAncestorOf(&widget) && widget.isEnabled() && widget.isVisibleTo(&content)
        && (widget.focusPolicy() & Qt::TabFocus);
}

/** Where the focus was last, or would come first; the content itself where nothing takes it. */
QWidget &entrance(QWidget &content)
{
    QWidget *const pLast = content.focusWidget();
    if (pLast && canHaveFocus(*pLast, content))
        return *pLast;
    for (QWidget *pNext = content.nextInFocusChain(); pNext != &content;
         pNext = pNext->nextInFocusChain()) {
        if (canHaveFocus(*pNext, content))
            return *pNext;
    }
    return content;
}

} // namespace

DockKey::DockKey(QDockWidget &dock, const QKeySequence &keys, QWidget &home)
    : QObject(&dock)
    , m_dock(dock)
    , m_home(home)
{
    QAction *const pToggle = m_dock.toggleViewAction();
    pToggle->setShortcut(keys);
    pToggle->installEventFilter(this);
    connect(pToggle, &QAction::triggered, this, [this](bool isShown) {
        if (isShown)
            m_dock.raise(); // or it may lie below another one
    });
}

bool DockKey::eventFilter(QObject *pWatched, QEvent *pEvent)
{
    if (pEvent->type() != QEvent::Shortcut)
        return QObject::eventFilter(pWatched, pEvent);
    if (isInside()) {
        m_home.setFocus(Qt::ShortcutFocusReason);
        m_dock.close();
    } else {
        enter();
    }
    return true;
}

bool DockKey::isInside() const
{
    const QWidget *const pFocus = QApplication::focusWidget();
    return pFocus && m_dock.isAncestorOf(pFocus);
}

void DockKey::enter()
{
    m_dock.show();
    m_dock.raise();
    if (m_dock.isFloating())
        m_dock.activateWindow();
    entrance(*m_dock.widget()).setFocus(Qt::ShortcutFocusReason);
}

} // namespace Morvek::Tools
