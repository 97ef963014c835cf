#ifndef MORVEK_ECHOCANVAS_FIGURES_H
#define MORVEK_ECHOCANVAS_FIGURES_H

#include <QVector>
#include <QtGlobal>

#include <optional>

namespace Morvek::Tools {

/** One figure over the last minute: a value, or none, for each sample. */
class Series
{
public:
    static constexpr int Capacity = 120;         ///< samples that are kept
    static constexpr int SampleIntervalMs = 500; ///< together a minute

    void add(std::optional<double> value);
    /** Oldest first; NaN where there was no value. */
    const QVector<double> &values() const { return m_values; }
    /** The newest value, if there was one at the last sample. */
    std::optional<double> last() const;

private:
    QVector<double> m_values;
};

/** Counts the device's pictures that were seen, and those between them that were not. */
class FrameCounter
{
public:
    /** A number that is so far from the last one begins a new count. */
    static constexpr int LongestGap = 1000;

    /** @param nFrame  from a stamp: wraps at 2^16 */
    void add(quint32 nFrame);
    qint64 seen() const { return m_nSeen; }
    qint64 dropped() const { return m_nDropped; }

private:
    std::optional<quint16> m_last;
    qint64 m_nSeen = 0;
    qint64 m_nDropped = 0;
};

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_FIGURES_H
