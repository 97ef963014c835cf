#ifndef MORVEK_TOOLS_FAULTSCHEDULE_H
#define MORVEK_TOOLS_FAULTSCHEDULE_H

#include "scenario.h"

#include <QList>
#include <QRandomGenerator>

#include <optional>

namespace Morvek::Tools {

/** What happens to one picture of a connection. */
struct sPicturePlan
{
    QList<sFault> m_before;            ///< what comes before it, in order
    std::optional<sFault> m_inPicture; ///< what takes its place
};

/**
 * Says what a scenario has for one connection, picture by picture. The same scenario and connection
 * give the same answers.
 *
 * @thread any; one at a time
 */
class FaultSchedule
{
public:
    /**
     * @param nConnection  number of the connection since the start, from 1
     */
    FaultSchedule(const sScenario &scenario, int nConnection);

    /**
     * What comes with the next picture. Of several faults that would take its place only the first
     * is told.
     *
     * @param nMs  since the client connected
     */
    sPicturePlan next(qint64 nMs);
    /** Decides what faults leave open. */
    QRandomGenerator &random() { return m_random; }

private:
    struct sDue
    {
        sPlannedFault m_planned;
        qint64 m_nNext = 0; // when it comes next; -1: never again
    };

    static bool isDue(sDue &due, qint64 nNow);

    QList<sDue> m_due;
    const int m_nPercent;
    const QList<sFault> m_randomFaults;
    QRandomGenerator m_random;
    qint64 m_nPicture = 0;
};

/** Adds a fault to what happens to a picture. */
void addTo(sPicturePlan &plan, const sFault &fault);

} // namespace Morvek::Tools

#endif // MORVEK_TOOLS_FAULTSCHEDULE_H
