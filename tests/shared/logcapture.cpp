#include "logcapture.h"

#include <QMutexLocker>
#include <QThread>

#include <algorithm>
#include <atomic>

namespace Morvek::Tests {

namespace {
std::atomic<LogCapture *> currentCapture{nullptr};
}

LogCapture::LogCapture()
{
    Q_ASSERT(!currentCapture);
    currentCapture = this;
    m_previousHandler = qInstallMessageHandler(handle);
}

LogCapture::~LogCapture()
{
    qInstallMessageHandler(m_previousHandler);
    currentCapture = nullptr;
}

QList<sLogLine> LogCapture::lines() const
{
    QMutexLocker locker(&m_mtxLines);
    return m_lines;
}

QStringList LogCapture::linesWith(const QString &strPiece) const
{
    QStringList result;
    const QList<sLogLine> all = lines();
    for (const sLogLine &line : all) {
        if (line.m_strText.contains(strPiece))
            result.append(line.m_strText);
    }
    return result;
}

int LogCapture::count(const QString &strPiece) const
{
    return linesWith(strPiece).size();
}

void LogCapture::clear()
{
    QMutexLocker locker(&m_mtxLines);
    m_lines.clear();
}

void LogCapture::handle(QtMsgType eType, const QMessageLogContext &context, const QString &strText)
{
    LogCapture *const pCapture = currentCapture;
    if (!pCapture)
        return;
    QMutexLocker locker(&pCapture->m_mtxLines);
    pCapture->m_lines.append(
        {eType, strText, QString::fromUtf8(context.file), QString::fromUtf8(context.function),
         QString::fromUtf8(context.category), context.line, QThread::currentThreadId()});
}

} // namespace Morvek::Tests
