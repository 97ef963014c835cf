// Any text as a scenario's file: either a scenario within its limits, or at least one line that says
// what is wrong with it.

#include <demand.h>
#include <fuzztarget.h>

#include <scenarioreader.h>

#include <QStringList>

using namespace Morvek::Tools;
using Morvek::Tests::demand;

namespace {

constexpr int MaxFaults = 1000;
constexpr int LongestMs = 24 * 60 * 60 * 1000;
constexpr int MaxBytes = 64 * 1024 * 1024;

void checkRange(const std::optional<int> &value, int nLow, int nHigh, const char *pWhat)
{
    demand(!value || (*value >= nLow && *value <= nHigh), pWhat);
}

void checkFault(const sFault &fault)
{
    checkRange(fault.m_nByte, 0, MaxBytes, "where a part is split");
    checkRange(fault.m_nBytes, 0, MaxBytes, "how many bytes");
    checkRange(fault.m_nMs, 0, LongestMs, "how long");
    checkRange(fault.m_nFps, 1, 1000, "pictures a second");
    checkRange(fault.m_nScans, 1, MaxBytes, "scans");
    demand(!fault.m_size || !fault.m_size->isEmpty(), "a picture has a size");
}

void checkScenario(const sScenario &scenario)
{
    demand(scenario.m_faults.size() <= MaxFaults, "so many faults");
    for (const sPlannedFault &planned : scenario.m_faults) {
        checkFault(planned.m_fault);
        demand(planned.m_nAt >= 0 && planned.m_nEvery >= 0 && planned.m_nConnection >= 0,
               "each fault has a time");
        demand(planned.m_eClock != eClock::Picture || planned.m_nAt >= 1, "pictures count from 1");
    }
    demand(scenario.m_nPercent >= 0 && scenario.m_nPercent <= 100, "percent");
    demand(scenario.m_nPercent == 0 || !scenario.m_randomFaults.isEmpty(),
           "there is a fault to choose");
    for (const sFault &fault : scenario.m_randomFaults)
        checkFault(fault);
}

} // namespace

int LLVMFuzzerInitialize(int *, char ***)
{
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t *pData, std::size_t nSize)
{
    const QByteArray text(reinterpret_cast<const char *>(pData), int(nSize));
    const QString strFileName = QStringLiteral("storm.json");
    sScenario scenario;
    QString strError;
    const bool isRead = readScenario(text, &scenario, &strError, strFileName);
    demand(isRead == strError.isEmpty(), "a scenario, or what is wrong with it");
    if (isRead)
        checkScenario(scenario);
    else
        demand(strError.startsWith(strFileName + QStringLiteral(": ")), "a line names the file");
    return 0;
}
