#ifndef MORVEK_TESTS_SCENARIODEVICE_H
#define MORVEK_TESTS_SCENARIODEVICE_H

#include <scenario.h>

#include <QByteArray>
#include <QImage>
#include <QString>
#include <QThread>
#include <QtGlobal>

#include <atomic>
#include <memory>

namespace Morvek::Tests {

class ScenarioDeviceWorker;

/** A small JPEG picture that shows its number. @param nNumber  0 to 16,777,215 */
QByteArray numberedPicture(int nNumber);
/** The number that a picture shows, in whatever size; -1 of a null picture. */
int numberOf(const QImage &picture);

/** One of the scenarios in tests/scenarios, by its name without folder and suffix. */
Tools::sScenario scenarioNamed(const QString &strName);

/**
 * The simulator's stream with the faults of a scenario, on a thread of its own; its pictures are
 * small, each with its number. A picture is made at every interval while somebody is connected;
 * the first has the number 1.
 */
class ScenarioDevice
{
public:
    /** Listens on a free port of the loopback address at once. */
    ScenarioDevice(const Tools::sScenario &scenario, int nIntervalMs);
    ~ScenarioDevice();

    quint16 port() const;
    /** Number of the newest picture. */
    int pictureCount() const;
    /** Faults played so far. */
    int faultCount() const;
    /** Connections accepted so far. */
    int acceptedCount() const;

private:
    Q_DISABLE_COPY(ScenarioDevice)

    QThread m_thread;
    std::unique_ptr<ScenarioDeviceWorker> m_pWorker;
};

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_SCENARIODEVICE_H
