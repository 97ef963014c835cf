#ifndef MORVEK_ECHOCANVAS_LOGCOLLECTOR_H
#define MORVEK_ECHOCANVAS_LOGCOLLECTOR_H

#include <QList>
#include <QMutex>
#include <QObject>
#include <QString>
#include <QtGlobal>

#include <deque>

namespace Morvek::Tools {

/** Now, in ms on a clock that does not jump where somebody sets the time. @thread any */
qint64 steadyMs();

/** One message of the program or of a library in it. */
struct sLogEntry
{
    qint64 m_nNumber = 0;   ///< counts all messages, from 1
    qint64 m_nTimeMs = 0;   ///< ms since the epoch
    qint64 m_nSteadyMs = 0; ///< the same time on the clock of steadyMs()
    QtMsgType m_eType = QtDebugMsg;
    QString m_strText;
    QString m_strFile; ///< source file; empty where the message does not tell
    int m_nLine = 0;
    QString m_strFunction;

    /** "file:line", without folders; empty where the message does not tell. */
    QString place() const;
};

/**
 * Keeps the newest messages, whichever thread logs them, while it lives; warnings and worse also go
 * to the handler that was there before.
 *
 * One at a time. Create and destroy it on the main thread, the last thing while other threads log.
 */
class LogCollector : public QObject
{
    Q_OBJECT

public:
    /** @param nCapacity  messages that are kept; older ones are forgotten */
    explicit LogCollector(int nCapacity = 2000, QObject *parent = nullptr);
    ~LogCollector() override;

    /** The kept messages with a number above this one, oldest first. @thread any */
    QList<sLogEntry> entriesAfter(qint64 nNumber) const;
    /** How many messages there were, forgotten ones included. @thread any */
    qint64 count() const;

Q_SIGNALS:
    /** There are new messages; once for all that came since the last time it was heard. */
    void arrived();

private:
    static void handle(QtMsgType eType, const QMessageLogContext &context, const QString &strText);
    void add(QtMsgType eType, const QMessageLogContext &context, const QString &strText);

    const std::size_t m_nCapacity;
    QtMessageHandler m_previousHandler = nullptr;
    mutable QMutex m_mtxEntries;
    std::deque<sLogEntry> m_entries; // guarded by m_mtxEntries
    qint64 m_nCount = 0;             // guarded by m_mtxEntries
    bool m_isTold = false;           // guarded by m_mtxEntries; arrived() is on its way
};

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_LOGCOLLECTOR_H
