#ifndef MORVEK_ECHOCANVAS_AGECOUNTS_H
#define MORVEK_ECHOCANVAS_AGECOUNTS_H

#include <QMap>
#include <QtGlobal>

namespace Morvek::Tools {

/**
 * How often each age came, in ms: to the millisecond up to ten seconds either side of 0, above that
 * to the second, and at most a day. So a run of any length takes the same room.
 */
class AgeCounts
{
public:
    void add(qint64 nAgeMs);
    void add(const AgeCounts &other);
    bool isEmpty() const { return m_counts.isEmpty(); }
    qint64 count() const { return m_nCount; }
    /** Different ages that are told apart. */
    int size() const { return m_counts.size(); }
    /**
     * The age below which the given share of all lies: the nearest one, no mean of two.
     *
     * @param share  0 to 1; 0.5 is the median, 1 the largest
     * @return 0 if there is none
     */
    qint64 percentile(double share) const;

private:
    QMap<qint64, qint64> m_counts;
    qint64 m_nCount = 0;
};

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_AGECOUNTS_H
