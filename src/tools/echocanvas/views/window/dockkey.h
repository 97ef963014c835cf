#ifndef MORVEK_ECHOCANVAS_DOCKKEY_H
#define MORVEK_ECHOCANVAS_DOCKKEY_H

#include <QObject>

class QDockWidget;
class QKeySequence;

namespace Morvek::Tools {

/**
 * The key of a dock: leads into it, wherever it is, and hides it for who is in it already.
 *
 * A click on the dock's entry in a menu shows or hides it, as its check mark says.
 *
 * @thread main
 */
class DockKey : public QObject
{
    Q_OBJECT

public:
    /**
     * @param dock  which the key is owned by; has a content
     * @param home  where the focus goes from a dock that is hidden; must outlive the dock
     */
    DockKey(QDockWidget &dock, const QKeySequence &keys, QWidget &home);

protected:
    bool eventFilter(QObject *pWatched, QEvent *pEvent) override;

private:
    bool isInside() const;
    void enter();

    QDockWidget &m_dock;
    QWidget &m_home;
};

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_DOCKKEY_H
