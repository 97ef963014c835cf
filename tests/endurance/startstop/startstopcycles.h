#ifndef MORVEK_TESTS_STARTSTOPCYCLES_H
#define MORVEK_TESTS_STARTSTOPCYCLES_H

#include <boundtable.h>

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

namespace Morvek::Tests {

/** Something of the library that can be started and stopped again and again. */
class StartStopSubject
{
public:
    virtual ~StartStopSubject() = default;
    virtual void start() = 0;
    /** Returns once everything that was started has ended. */
    virtual void stop() = 0;
};

/** Names of all subjects: the sources, and a manager of layers. */
QStringList startStopSubjectNames();
/** Makes one by its name. */
std::unique_ptr<StartStopSubject> makeStartStopSubject(const QString &strName);

/**
 * Starts and stops a subject, and compares what the process holds before and afterwards. Every
 * other stop comes within 200 microseconds, the rest within 20 milliseconds.
 *
 * @param nCycles  how often, after some that only warm up
 * @param slack    multiplies the bound on memory
 */
void runStartStopCycles(StartStopSubject &subject, const QString &strName, int nCycles,
                        double slack, BoundTable &table);

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_STARTSTOPCYCLES_H
