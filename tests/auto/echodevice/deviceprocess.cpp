#include "deviceprocess.h"

#include <QFile>
#include <QProcessEnvironment>
#include <QRegularExpression>

#include <csignal>

namespace Morvek::Tests {

namespace {

constexpr int WaitMs = 20000;

} // namespace

DeviceProcess::DeviceProcess(const QStringList &arguments)
{
    QStringList all = arguments;
    if (!all.contains(QStringLiteral("--port"))) {
        all << QStringLiteral("--port") << QStringLiteral("0");
    }
    // A build with AddressSanitizer would keep what is freed, and look as if it kept pictures.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    const QString strSanitizer = environment.value(QStringLiteral("ASAN_OPTIONS"));
    environment.insert(QStringLiteral("ASAN_OPTIONS"),
                       strSanitizer + QStringLiteral(":quarantine_size_mb=1"));
    m_process.setProcessEnvironment(environment);
    m_process.start(QStringLiteral(ECHODEVICE_PROGRAM), all);
}

DeviceProcess::~DeviceProcess()
{
    if (m_process.state() != QProcess::NotRunning) {
        m_process.kill();
        m_process.waitForFinished(WaitMs);
    }
}

bool DeviceProcess::waitForListening()
{
    while (!m_process.canReadLine()) {
        if (!m_process.waitForReadyRead(WaitMs)) {
            return false;
        }
    }
    m_strFirstLine = QString::fromUtf8(m_process.readLine());
    static const QRegularExpression form(
        QStringLiteral("^listening on (?:\\[([0-9a-f:]+)\\]|([0-9.]+)):([0-9]+)\n$"));
    const QRegularExpressionMatch match = form.match(m_strFirstLine);
    m_strAddress = match.captured(1) + match.captured(2);
    m_nPort = match.captured(3).toUShort();
    return match.hasMatch() && m_nPort > 0;
}

int DeviceProcess::resident() const
{
    QFile file(QStringLiteral("/proc/%1/status").arg(m_process.processId()));
    const QByteArray status = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    const QByteArray line = status.mid(status.indexOf("VmRSS:") + 6);
    return line.left(line.indexOf("kB")).trimmed().toInt();
}

void DeviceProcess::sendSignal(int nSignal)
{
    ::kill(pid_t(m_process.processId()), nSignal);
}

bool DeviceProcess::waitForEnd()
{
    return m_process.state() == QProcess::NotRunning || m_process.waitForFinished(WaitMs);
}

int DeviceProcess::exitStatus() const
{
    return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
}

QByteArray DeviceProcess::output()
{
    return m_process.readAllStandardOutput();
}

QByteArray DeviceProcess::errors()
{
    return m_process.readAllStandardError();
}

} // namespace Morvek::Tests
