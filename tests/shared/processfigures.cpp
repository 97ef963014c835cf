#include "processfigures.h"

#include <QDir>
#include <QFile>

#include <unistd.h>

#include <algorithm>

namespace Morvek::Tests {

QStringList threadNames()
{
    QStringList names;
    const QDir tasks(QStringLiteral("/proc/self/task"));
    const QStringList ids = tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &strId : ids) {
        QFile file(tasks.filePath(strId + QStringLiteral("/comm")));
        if (file.open(QIODevice::ReadOnly))
            names.append(QString::fromUtf8(file.readAll()).trimmed());
    }
    return names;
}

int threadCount(const QString &strPrefix)
{
    const QStringList names = threadNames();
    return int(std::count_if(names.cbegin(), names.cend(), [&](const QString &strName) {
        return strName.startsWith(strPrefix);
    }));
}

int openFileCount()
{
    return QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files | QDir::System).size();
}

qint64 residentMemory()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return file.readAll().split(' ').value(1).toLongLong() * sysconf(_SC_PAGESIZE);
}

qint64 peakMemory()
{
    QFile file(QStringLiteral("/proc/self/status"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith("VmHWM:"))
            return line.simplified().split(' ').at(1).toLongLong() * 1024;
    }
    return 0;
}

} // namespace Morvek::Tests
