#include "logcollector.h"

#include <QDateTime>
#include <QFileInfo>
#include <QMutexLocker>
#include <QReadWriteLock>

#include <chrono>

namespace Morvek::Tools {

namespace {

// Other threads may be inside the handler while the collector goes: they hold this for reading.
QReadWriteLock &instanceLock()
{
    static QReadWriteLock lock(QReadWriteLock::Recursive);
    return lock;
}

LogCollector *instance = nullptr; // guarded by instanceLock()

bool isWarning(QtMsgType eType)
{
    return eType == QtWarningMsg || eType == QtCriticalMsg || eType == QtFatalMsg;
}

} // namespace

qint64 steadyMs()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

QString sLogEntry::place() const
{
    if (m_strFile.isEmpty())
        return QString();
    return QStringLiteral("%1:%2").arg(QFileInfo(m_strFile).fileName()).arg(m_nLine);
}

LogCollector::LogCollector(int nCapacity, QObject *parent)
    : QObject(parent)
    , m_nCapacity(std::size_t(qMax(1, nCapacity)))
{
    // Locked until the handler before is known: other threads may log in the meantime.
    QWriteLocker locker(&instanceLock());
    instance = this;
    m_previousHandler = qInstallMessageHandler(handle);
}

LogCollector::~LogCollector()
{
    qInstallMessageHandler(m_previousHandler);
    QWriteLocker locker(&instanceLock());
    instance = nullptr;
}

void LogCollector::handle(QtMsgType eType, const QMessageLogContext &context,
                          const QString &strText)
{
    QReadLocker locker(&instanceLock());
    if (!instance)
        return;
    instance->add(eType, context, strText);
    if (isWarning(eType) && instance->m_previousHandler)
        instance->m_previousHandler(eType, context, strText);
}

void LogCollector::add(QtMsgType eType, const QMessageLogContext &context, const QString &strText)
{
    sLogEntry entry;
    entry.m_nTimeMs = QDateTime::currentMSecsSinceEpoch();
    entry.m_nSteadyMs = steadyMs();
    entry.m_eType = eType;
    entry.m_strText = strText;
    entry.m_strFile = QString::fromUtf8(context.file);
    entry.m_nLine = context.line;
    entry.m_strFunction = QString::fromUtf8(context.function);
    bool isFirst = false;
    {
        QMutexLocker locker(&m_mtxEntries);
        entry.m_nNumber = ++m_nCount;
        m_entries.push_back(entry);
        if (m_entries.size() > m_nCapacity)
            m_entries.pop_front();
        isFirst = !m_isTold;
        m_isTold = true;
    }
    // Never directly: who logs may hold locks.
    if (isFirst)
        QMetaObject::invokeMethod(
            this,
            [this] {
                {
                    QMutexLocker locker(&m_mtxEntries);
                    m_isTold = false;
                }
                Q_EMIT arrived();
            },
            Qt::QueuedConnection);
}

QList<sLogEntry> LogCollector::entriesAfter(qint64 nNumber) const
{
    QMutexLocker locker(&m_mtxEntries);
    const qint64 nFirst = m_nCount - qint64(m_entries.size()) + 1;
    QList<sLogEntry> entries;
    for (qint64 n = qMax(nNumber + 1, nFirst); n <= m_nCount; ++n)
        entries.append(m_entries[std::size_t(n - nFirst)]);
    return entries;
}

qint64 LogCollector::count() const
{
    QMutexLocker locker(&m_mtxEntries);
    return m_nCount;
}

} // namespace Morvek::Tools
