#include "faultschedule.h"

namespace Morvek::Tools {

namespace {

// Far apart for each connection, also of neighbouring seeds.
quint32 seedOf(const sScenario &scenario, int nConnection)
{
    return scenario.m_nSeed + 0x9e3779b9u * quint32(nConnection);
}

} // namespace

FaultSchedule::FaultSchedule(const sScenario &scenario, int nConnection)
    : m_nPercent(scenario.m_nPercent)
    , m_randomFaults(scenario.m_randomFaults)
    , m_random(seedOf(scenario, nConnection))
{
    for (const sPlannedFault &planned : scenario.m_faults) {
        const bool isOfThis = planned.m_nConnection == 0 || planned.m_nConnection == nConnection;
        if (planned.m_eClock != eClock::Start && isOfThis)
            m_due.append({planned, planned.m_nAt});
    }
}

sPicturePlan FaultSchedule::next(qint64 nMs)
{
    ++m_nPicture;
    sPicturePlan plan;
    for (sDue &due : m_due) {
        if (isDue(due, due.m_planned.m_eClock == eClock::Picture ? m_nPicture : nMs))
            addTo(plan, due.m_planned.m_fault);
    }
    if (m_nPercent > 0 && m_random.bounded(100) < m_nPercent)
        addTo(plan, m_randomFaults[m_random.bounded(m_randomFaults.size())]);
    return plan;
}

// Those that were missed because no picture came are left out, not made up for.
bool FaultSchedule::isDue(sDue &due, qint64 nNow)
{
    if (due.m_nNext < 0 || nNow < due.m_nNext)
        return false;
    const qint64 nEvery = due.m_planned.m_nEvery;
    due.m_nNext = nEvery == 0 ? -1 : due.m_nNext + ((nNow - due.m_nNext) / nEvery + 1) * nEvery;
    return true;
}

void addTo(sPicturePlan &plan, const sFault &fault)
{
    if (!isInPicture(fault.m_eFault))
        plan.m_before.append(fault);
    else if (!plan.m_inPicture)
        plan.m_inPicture = fault;
}

} // namespace Morvek::Tools
