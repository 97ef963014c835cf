#ifndef MORVEK_TESTS_BOUNDTABLE_H
#define MORVEK_TESTS_BOUNDTABLE_H

#include <QList>
#include <QString>

namespace Morvek::Tests {

/** One figure beside what is promised of it. */
struct sBoundRow
{
    QString m_strName;
    double m_measured = 0;
    double m_bound = 0; ///< the most that is allowed
    QString m_strUnit;
    QString m_strNote; ///< anything else worth reading, such as a median
};

/** What an endurance program found; prints itself as a table and tells whether it is all right. */
class BoundTable
{
public:
    void add(const sBoundRow &row);
    /** A figure that promises nothing. */
    void tell(const QString &strName, double value, const QString &strUnit,
              const QString &strNote = QString());

    /** Whether every figure is within its bound; one that is not a number is not. */
    bool isMet() const;
    /** Writes the table to standard output. */
    void print() const;
    /** What the process should exit with: 0 or 1. */
    int exitStatus() const { return isMet() ? 0 : 1; }

private:
    QList<sBoundRow> m_rows;
};

/** The worst of some figures: the greatest, 0 of none. */
double worstOf(const QList<double> &figures);
/** The figure below which so many percent of them lie, 0 of none. */
double percentileOf(QList<double> figures, int nPercent);

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_BOUNDTABLE_H
