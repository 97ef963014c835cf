#ifndef MORVEK_TESTS_PACE_H
#define MORVEK_TESTS_PACE_H

#include <QElapsedTimer>
#include <QList>
#include <QThread>
#include <QtGlobal>

namespace Morvek::Tests {

/**
 * How fast things followed each other. A busy machine makes single intervals longer, and others
 * shorter by as much, so: the mean is a bound from below, the shortest one a bound from above.
 */
struct sPace
{
    qint64 m_nShortest = 0; ///< ms
    qint64 m_nMean = 0;     ///< ms
};

/** The pace of at least two points in time, in ms. */
inline sPace paceOf(const QList<qint64> &times)
{
    sPace pace{times[1] - times[0], (times.constLast() - times.constFirst()) / (times.size() - 1)};
    for (int i = 2; i < times.size(); ++i)
        pace.m_nShortest = qMin(pace.m_nShortest, times[i] - times[i - 1]);
    return pace;
}

/** Is at work, as far as a clock can tell. */
inline void workFor(qint64 nMs)
{
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < nMs)
        QThread::yieldCurrentThread();
}

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_PACE_H
