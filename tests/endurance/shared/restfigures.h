#ifndef MORVEK_TESTS_RESTFIGURES_H
#define MORVEK_TESTS_RESTFIGURES_H

#include <QtGlobal>

namespace Morvek::Tests {

/** What a process holds while it does nothing. */
struct sRestFigures
{
    qint64 m_nMemory = 0; ///< resident bytes, after free memory went back to the system
    int m_nThreads = 0;
    int m_nFiles = 0; ///< open descriptors
};

/**
 * Lets every large block go back to the system once it is freed; to be called before anything is
 * started. As it comes, the allocator keeps what threads free for later ones, one frame more or
 * less by chance, and a leak could not be told from that.
 */
void keepNoFreeMemory();

/**
 * Measures this process at rest. Threads that have ended, and sockets of theirs, may be listed for
 * a moment longer: waits up to ten seconds for there to be no more than at the last rest.
 *
 * @param last  an earlier rest; nothing is waited for where it is all 0
 */
sRestFigures measureRest(const sRestFigures &last = {});

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_RESTFIGURES_H
