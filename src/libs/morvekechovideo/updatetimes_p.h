#ifndef MORVEK_ECHOVIDEO_UPDATETIMES_P_H
#define MORVEK_ECHOVIDEO_UPDATETIMES_P_H

#include <QDateTime>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <new>
#include <vector>

namespace Morvek::EchoVideo::Internal {

/**
 * Remembers what the times of a list of records are in milliseconds since the epoch.
 *
 * The records hold local times, and asking one for its milliseconds takes some microseconds: the
 * time zone is looked up. A walk over the records asks each of them. What is remembered is compared
 * with the record's time first, so nothing here need follow what happens to the list; it only pays.
 * Where the zone changes meanwhile, a time keeps the distance that it had.
 */
class UpdateTimes
{
public:
    /**
     * Milliseconds between now and the time that the record at this place has, whichever is later;
     * 0 for an invalid time, and never more than an int holds, which is 24.8 days.
     */
    int millisecondsSince(int nPlace, const QDateTime &then)
    {
        if (!then.isValid())
            return 0;
        sKnown &known = at(nPlace);
        if (known.m_time != then)
            known = {then, then.toMSecsSinceEpoch()};
        const qint64 nDelta = std::abs(QDateTime::currentMSecsSinceEpoch() - known.m_nMs);
        return int(std::min<qint64>(nDelta, std::numeric_limits<int>::max()));
    }
    /** The time now, for the record at this place; looked up once in a millisecond. */
    QDateTime now(int nPlace)
    {
        const qint64 nMs = QDateTime::currentMSecsSinceEpoch();
        if (!m_now.m_time.isValid() || m_now.m_nMs != nMs)
            m_now = {QDateTime::fromMSecsSinceEpoch(nMs), nMs};
        at(nPlace) = m_now;
        return m_now.m_time;
    }
    /** Follows a record that goes from its place to the end of so many. */
    void moveToEnd(int nPlace, int nRecords)
    {
        at(nRecords - 1);
        if (m_known.size() < std::size_t(nRecords))
            return;
        const auto itRecord = m_known.begin() + nPlace;
        std::rotate(itRecord, itRecord + 1, m_known.begin() + nRecords);
    }

private:
    struct sKnown
    {
        QDateTime m_time; // invalid: not known
        qint64 m_nMs = 0;
    };

    sKnown &at(int nPlace)
    {
        if (m_known.size() <= std::size_t(nPlace)) {
            try {
                m_known.resize(std::size_t(nPlace) + 1);
            } catch (const std::bad_alloc &) {
                m_unkept = {}; // without memory nothing is remembered
                return m_unkept;
            }
        }
        return m_known[std::size_t(nPlace)];
    }

    std::vector<sKnown> m_known;
    sKnown m_unkept;
    sKnown m_now; // the last time that was asked for
};

} // namespace Morvek::EchoVideo::Internal

#endif // MORVEK_ECHOVIDEO_UPDATETIMES_P_H
