#ifndef MORVEK_ECHOCANVAS_CPUMETER_H
#define MORVEK_ECHOCANVAS_CPUMETER_H

#include <QtGlobal>

#include <ctime>

namespace Morvek::Tools {

/** Adds the processor time that its life takes on this thread, in seconds. */
class CpuMeter
{
public:
    explicit CpuMeter(double &seconds)
        : m_seconds(seconds)
        , m_start(now())
    {}
    ~CpuMeter() { m_seconds += now() - m_start; }

private:
    Q_DISABLE_COPY(CpuMeter)
    static double now()
    {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return double(time.tv_sec) + double(time.tv_nsec) / 1e9;
    }

    double &m_seconds;
    const double m_start;
};

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_CPUMETER_H
