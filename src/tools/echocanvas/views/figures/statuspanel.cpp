#include "statuspanel.h"

#include "plotwidget.h"

#include <QGridLayout>

namespace Morvek::Tools {

namespace {

struct sPlot
{
    const char *m_pName;
    const char *m_pUnit;
    const char *m_pTip;
    double m_least;
};

// In the order of eFigure.
const sPlot Plots[FigureCount] = {
    {"Pictures", "/s", "Different pictures of the device that arrived, a second.", 10},
    {"Missed", "/s",
     "Pictures that the device made and that were not seen here, a second, by the numbers in them. "
     "The library takes at most 12.5 pictures a second from a stream, so a device that sends 25 "
     "shows about as many here.",
     10},
    {"Previews", "/s", "Previews that the library rendered, of all layers together, a second.",
     100},
    {"Age", "ms",
     "Milliseconds from when the device made a picture to when it was looked at here, by the time "
     "code in it. The clocks of both machines have to agree.",
     100},
    {"Processor", "%", "Processor time of this program, in percent of one core.", 50},
    {"Memory", "MiB", "Memory of this program that is resident, in MiB.", 100}};

} // namespace

StatusPanel::StatusPanel(const SessionMonitor &monitor, QWidget *pParent)
    : QWidget(pParent)
    , m_monitor(monitor)
{
    auto *const pGrid = new QGridLayout(this);
    pGrid->setContentsMargins(4, 2, 4, 2);
    for (int nPlot = 0; nPlot < FigureCount; ++nPlot) {
        const sPlot &plot = Plots[nPlot];
        auto *const pPlot =
            new PlotWidget(QString::fromLatin1(plot.m_pName), QString::fromLatin1(plot.m_pUnit),
                           QString::fromLatin1(plot.m_pTip), plot.m_least, this);
        pGrid->addWidget(pPlot, nPlot / 3, nPlot % 3);
        m_plots.append(pPlot);
    }
    connect(&m_monitor, &SessionMonitor::sampled, this, &StatusPanel::refresh);
}

void StatusPanel::refresh()
{
    for (int nPlot = 0; nPlot < FigureCount; ++nPlot)
        m_plots[nPlot]->setSeries(m_monitor.series(eFigure(nPlot)));
}

} // namespace Morvek::Tools
