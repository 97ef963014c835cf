#ifndef MORVEK_ECHOCANVAS_INPUTWALL_H
#define MORVEK_ECHOCANVAS_INPUTWALL_H

#include "inputobserver.h"

#include <QList>
#include <QTimer>
#include <QWidget>

class QGridLayout;
class QLabel;

namespace Morvek::Tools {

class InputTile;
class SessionMonitor;

/** All inputs of the active device, as many as it has, and one line that names those in trouble. */
class InputWall : public QWidget
{
    Q_OBJECT

public:
    /** @param monitor  must outlive the wall */
    explicit InputWall(const SessionMonitor &monitor, QWidget *pParent = nullptr);

    const InputTile *tile(int nInput) const { return m_tiles.value(nInput); }
    QString summary() const;

Q_SIGNALS:
    void menuWanted(int nInput, const QPoint &globalPlace);

private:
    void refresh();
    void makeTiles();
    QString deviceSummary() const;
    QStringList summaryOf(eInputState eState) const;

    const SessionMonitor &m_monitor;
    QList<InputTile *> m_tiles; // children
    QGridLayout *m_pGrid;
    QLabel *m_pSummary;
    QTimer m_refreshing;
};

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_INPUTWALL_H
