#ifndef MORVEK_TESTS_LOGCAPTURE_H
#define MORVEK_TESTS_LOGCAPTURE_H

#include <QList>
#include <QMutex>
#include <QString>
#include <QStringList>
#include <QtGlobal>

namespace Morvek::Tests {

/** One captured message. */
struct sLogLine
{
    QtMsgType m_eType = QtDebugMsg;
    QString m_strText;
    QString m_strFile;
    QString m_strFunction;
    QString m_strCategory;
    int m_nLine = 0;
    Qt::HANDLE m_hThread = nullptr;
};

/**
 * Collects everything that is logged while it lives, from any thread, in the place of printing it.
 * One at a time; create and destroy it on the test's thread.
 */
class LogCapture
{
public:
    LogCapture();
    ~LogCapture();

    QList<sLogLine> lines() const;
    /** The texts that contain a piece. */
    QStringList linesWith(const QString &strPiece) const;
    int count(const QString &strPiece) const;
    void clear();

private:
    Q_DISABLE_COPY(LogCapture)
    static void handle(QtMsgType eType, const QMessageLogContext &context, const QString &strText);

    mutable QMutex m_mtxLines;
    QList<sLogLine> m_lines; // guarded by m_mtxLines
    QtMessageHandler m_previousHandler = nullptr;
};

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_LOGCAPTURE_H
