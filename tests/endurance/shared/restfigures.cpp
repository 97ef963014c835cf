#include "restfigures.h"

#include <processfigures.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>

#include <malloc.h>

namespace Morvek::Tests {

void keepNoFreeMemory()
{
    constexpr int LargeBlock = 128 * 1024;
    mallopt(M_MMAP_THRESHOLD, LargeBlock);
    mallopt(M_TRIM_THRESHOLD, LargeBlock);
}

sRestFigures measureRest(const sRestFigures &last)
{
    const QDeadlineTimer deadline(10000);
    QCoreApplication::processEvents(); // deletes what waits to be deleted
    sRestFigures figures;
    for (;;) {
        figures.m_nThreads = threadCount();
        figures.m_nFiles = openFileCount();
        const bool isAsBefore =
            figures.m_nThreads <= last.m_nThreads && figures.m_nFiles <= last.m_nFiles;
        if (isAsBefore || last.m_nThreads == 0 || deadline.hasExpired())
            break;
        QCoreApplication::processEvents();
        QThread::msleep(1);
    }
    malloc_trim(0);
    figures.m_nMemory = residentMemory();
    return figures;
}

} // namespace Morvek::Tests
