#ifndef MORVEK_TESTS_ENDURANCEOPTIONS_H
#define MORVEK_TESTS_ENDURANCEOPTIONS_H

#include <QCommandLineOption>
#include <QList>
#include <QString>
#include <QStringList>

namespace Morvek::Tests {

/** The command line that all endurance programs share. */
struct sEnduranceOptions
{
    int m_nCount = 0;       ///< rounds, seconds or minutes: each program says which
    double m_slack = 1;     ///< what every bound on time is multiplied by
    QStringList m_selected; ///< names of what is to be done; empty for everything
    QStringList m_flags;    ///< names of the options of the program's own that are set
};

/**
 * Reads the command line: PROGRAM [COUNT] [NAME...] [--slack FACTOR]. Ends the process with 2 on a
 * wrong one, and with 0 after --help.
 *
 * @param strDescription  what the program measures, for --help
 * @param strCount        what COUNT counts
 * @param nDefaultCount   COUNT where none is given
 * @param names           what NAME may be; empty for a program that does one thing
 * @param flags           options of the program's own, without values
 */
sEnduranceOptions readEnduranceOptions(const QString &strDescription, const QString &strCount,
                                       int nDefaultCount, const QStringList &names = {},
                                       const QList<QCommandLineOption> &flags = {});

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_ENDURANCEOPTIONS_H
