#include "framepacer.h"

namespace Morvek::Tools {

FramePacer::FramePacer(int nFps, QObject *parent)
    : QObject(parent)
    , m_nFps(nFps)
{
    m_timer.setTimerType(Qt::PreciseTimer);
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &FramePacer::slotTimeout);
}

void FramePacer::start()
{
    if (!m_timer.isActive()) {
        m_nNextTick = 0;
        m_clock.start();
        waitForNextTick();
    }
}

void FramePacer::stop()
{
    m_timer.stop();
}

void FramePacer::slotTimeout()
{
    const qint64 ticksSoFar = m_clock.elapsed() * m_nFps / 1000;
    m_nNextTick = qMax(m_nNextTick, ticksSoFar) + 1;
    // Before the signal: whoever receives it may stop the schedule.
    waitForNextTick();
    Q_EMIT pictureDue();
}

void FramePacer::waitForNextTick()
{
    const qint64 dueMs = m_nNextTick * 1000 / m_nFps;
    m_timer.start(int(qMax(qint64(0), dueMs - m_clock.elapsed())));
}

} // namespace Morvek::Tools
