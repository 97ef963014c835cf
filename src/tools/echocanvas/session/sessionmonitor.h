#ifndef MORVEK_ECHOCANVAS_SESSIONMONITOR_H
#define MORVEK_ECHOCANVAS_SESSIONMONITOR_H

#include "devicesession.h"
#include "devicestateobserver.h"
#include "figures.h"
#include "inputobserver.h"
#include "logcollector.h"

#include <tilestamp.h>

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <array>
#include <optional>
#include <vector>

namespace Morvek::Tools {

/** What is measured over the last minute. */
enum class eFigure {
    Pictures, ///< different pictures of the device, a second
    Dropped,  ///< pictures of the device that were not seen, a second
    Previews, ///< previews of all layers, a second
    Age,      ///< of the picture, in ms
    Cpu,      ///< of the process, in percent of one core
    Memory    ///< of the process, resident, in MiB
};
constexpr int FigureCount = 6;

/**
 * Watches a session: looks at the inputs' pictures at every tick of the library, but no more often
 * than 25 times a second, and at every sample, reads the log, and samples figures.
 *
 * @thread main; works on copies of the pictures
 */
class SessionMonitor : public QObject
{
    Q_OBJECT

public:
    /** Both must outlive the monitor. */
    SessionMonitor(DeviceSession &session, LogCollector &log, QObject *parent = nullptr);

    sDeviceStatus deviceStatus() const;
    int inputCount() const { return int(m_inputs.size()); }
    const InputObserver &input(int nInput) const
    {
        return m_inputs[std::size_t(nInput)].m_observer;
    }
    /** Age of the input's picture when it was looked at, in ms; only where it carries a time. */
    std::optional<qint64> ageMs(int nInput) const { return m_inputs[std::size_t(nInput)].m_nAgeMs; }
    const Series &series(eFigure eWhich) const { return m_series[std::size_t(eWhich)]; }
    /** Pictures of the device seen, and missed between those, since the device was chosen. */
    const FrameCounter &frames() const { return m_frames; }

Q_SIGNALS:
    /** The inputs were looked at. */
    void looked();
    /** There is a new sample of every figure; every half second. */
    void sampled();

private:
    struct sInput
    {
        InputObserver m_observer;
        std::optional<qint64> m_nAgeMs;
        qint64 m_nStampMs = -1000; // when the stamp was last looked for
        bool m_hasStamp = false;
    };

    void slotTick();
    void look();
    void lookAt(int nInput, qint64 nNowMs);
    void readStamp(sInput &input, int nInput, qint64 nNowMs);
    bool isProbe(int nInput) const;
    void readLog();
    void followSession();
    void sample();
    void addSample(eFigure eWhich, std::optional<double> value);

    DeviceSession &m_session;
    LogCollector &m_log;
    qint64 m_nLogRead = 0; // number of the last entry that was read
    DeviceStateObserver m_device;
    std::vector<sInput> m_inputs;
    FrameCounter m_frames;
    int m_nDevice = -1; // that m_inputs and m_frames are about
    std::array<Series, FigureCount> m_series;
    QTimer m_sampling;
    QElapsedTimer m_clock;
    qint64 m_nLookedMs = -1000;
    bool m_hasNewPicture = false; // at this look
    int m_nPictures = 0;          // since the last sample, as are those below
    int m_nPreviews = 0;
    qint64 m_nDroppedAtSample = 0;
    qint64 m_nSampledMs = 0;
    double m_cpuAtSample = 0;
};

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_SESSIONMONITOR_H
