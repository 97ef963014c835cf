#include "tcpqueue.h"

#include <QByteArray>
#include <QFile>
#include <QList>
#include <QString>

namespace Morvek::Tests {

namespace {

// Columns of the system's table of connections.
enum eColumn { LocalAddress = 1, RemoteAddress = 2, State = 3, Queues = 4 };

quint16 portOf(const QByteArray &baAddress)
{
    return baAddress.mid(baAddress.indexOf(':') + 1).toUShort(nullptr, 16);
}

qint64 unreadIn(const QString &strTable, quint16 nServerPort)
{
    QFile file(strTable);
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    qint64 nUnread = 0;
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (const QByteArray &line : lines) {
        const QList<QByteArray> columns = line.simplified().split(' ');
        if (columns.size() <= Queues || columns.at(State) != "01") // established
            continue;
        const QList<QByteArray> queues = columns.at(Queues).split(':');
        if (portOf(columns.at(LocalAddress)) == nServerPort)
            nUnread += queues.first().toLongLong(nullptr, 16);
        if (portOf(columns.at(RemoteAddress)) == nServerPort)
            nUnread += queues.last().toLongLong(nullptr, 16);
    }
    return nUnread;
}

} // namespace

qint64 unreadBytes(quint16 nServerPort)
{
    return unreadIn(QStringLiteral("/proc/self/net/tcp"), nServerPort)
         + unreadIn(QStringLiteral("/proc/self/net/tcp6"), nServerPort);
}

} // namespace Morvek::Tests
