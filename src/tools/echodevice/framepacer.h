#ifndef MORVEK_TOOLS_FRAMEPACER_H
#define MORVEK_TOOLS_FRAMEPACER_H

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

namespace Morvek::Tools {

/**
 * Says when a picture is due: on a schedule counted from its start, so that late ticks and rounding
 * never add up; ticks that were missed altogether are left out, not made up for.
 *
 * @thread main
 */
class FramePacer : public QObject
{
    Q_OBJECT

public:
    /**
     * @param nFps  pictures a second, from 1
     */
    explicit FramePacer(int nFps, QObject *parent = nullptr);

    /** Begins a schedule, its first tick at once; does nothing while one is running. */
    void start();
    void stop();

Q_SIGNALS:
    void pictureDue();

private Q_SLOTS:
    void slotTimeout();

private:
    void waitForNextTick();

    const int m_nFps;
    qint64 m_nNextTick = 0; // number of the next tick since start()
    QElapsedTimer m_clock;
    QTimer m_timer;
};

} // namespace Morvek::Tools

#endif // MORVEK_TOOLS_FRAMEPACER_H
