#ifndef MORVEK_ECHOCANVAS_STATUSPANEL_H
#define MORVEK_ECHOCANVAS_STATUSPANEL_H

#include "sessionmonitor.h"

#include <QList>
#include <QWidget>

namespace Morvek::Tools {

class PlotWidget;

/** The figures of the last minute, one small plot each. */
class StatusPanel : public QWidget
{
    Q_OBJECT

public:
    /** @param monitor  must outlive the panel */
    explicit StatusPanel(const SessionMonitor &monitor, QWidget *pParent = nullptr);

private:
    void refresh();

    const SessionMonitor &m_monitor;
    QList<PlotWidget *> m_plots; // children, in the order of eFigure
};

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_STATUSPANEL_H
