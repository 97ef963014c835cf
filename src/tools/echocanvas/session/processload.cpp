#include "processload.h"

#include <QFile>

#include <sys/resource.h>
#include <unistd.h>

namespace Morvek::Tools {

namespace {

double seconds(const timeval &time)
{
    return double(time.tv_sec) + double(time.tv_usec) / 1e6;
}

} // namespace

double processCpuSeconds()
{
    rusage usage;
    if (getrusage(RUSAGE_SELF, &usage) != 0)
        return 0;
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

qint64 residentBytes()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray pages = file.readAll().split(' ').value(1);
    return pages.toLongLong() * sysconf(_SC_PAGESIZE);
}

} // namespace Morvek::Tools
