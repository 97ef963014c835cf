#ifndef MORVEK_TESTS_SOAKRECORD_H
#define MORVEK_TESTS_SOAKRECORD_H

#include <boundtable.h>
#include <restfigures.h>

#include <QElapsedTimer>
#include <QFile>
#include <QList>

namespace Morvek::Tests {

/** Everything that is measured during a soak, written down at once. */
class SoakRecord
{
public:
    /** @param strFileName  a CSV file to be written; empty for none */
    explicit SoakRecord(const QString &strFileName);

    /** Whether the file could be written so far. */
    bool isWritten() const { return m_isWritten; }
    double minutes() const { return double(m_clock.elapsed()) / 60000; }
    /** @param ages  of new pictures since the last sample, ms */
    void sampleAtWork(const QList<double> &ages, qint64 nPreviews);
    void sampleAtRest();
    /**
     * What is promised: what is held at rest stays what it is, and pictures do not grow older.
     *
     * @param slack  multiplies the bounds on memory and time
     */
    void judge(double slack, BoundTable &table) const;

private:
    struct sAge
    {
        double m_minutes;
        double m_ms;
    };
    struct sRest
    {
        double m_minutes;
        sRestFigures m_figures;
    };

    void write(const char *pState, const QByteArray &baAges, qint64 nPreviews);
    QList<sRest> restsToJudge() const;
    QList<double> agesBetween(double from, double to) const;

    QElapsedTimer m_clock;
    QFile m_file;
    bool m_isWritten = true;
    QList<sAge> m_ages;
    QList<sRest> m_rests;
};

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_SOAKRECORD_H
