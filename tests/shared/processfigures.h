#ifndef MORVEK_TESTS_PROCESSFIGURES_H
#define MORVEK_TESTS_PROCESSFIGURES_H

#include <QString>
#include <QStringList>
#include <QtGlobal>

namespace Morvek::Tests {

/** Names of this process's threads, as a debugger shows them. */
QStringList threadNames();
/** How many of this process's threads have a name that starts so. */
int threadCount(const QString &strPrefix = QString());
/** How many file descriptors this process has open. */
int openFileCount();
/** How much memory of this process is resident, in bytes. */
qint64 residentMemory();
/** The most memory that this process has had resident so far, in bytes. */
qint64 peakMemory();

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_PROCESSFIGURES_H
