#ifndef MORVEK_TESTS_PRODUCERPROCESS_H
#define MORVEK_TESTS_PRODUCERPROCESS_H

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>

namespace Morvek::Tests {

/** A producer of captured frames in a process of its own, see captureproducer.cpp. */
class ProducerProcess
{
public:
    explicit ProducerProcess(const QByteArray &baName)
    {
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(QStringLiteral(CAPTURE_PRODUCER), {QString::fromUtf8(baName)});
    }
    ~ProducerProcess() { end(); }

    /** Has a command carried out; false if the process did not answer. */
    bool command(const QByteArray &baCommand, int nArgument)
    {
        m_process.write(baCommand + ' ' + QByteArray::number(nArgument) + '\n');
        if (!m_process.waitForReadyRead(LongWait))
            return false;
        return m_process.readAllStandardOutput() == "done\n";
    }

    /** Ends it where it stands. */
    void kill()
    {
        m_process.kill();
        m_process.waitForFinished(LongWait);
    }

    /** Lets it end as a producer should. */
    void end()
    {
        m_process.closeWriteChannel();
        m_process.waitForFinished(LongWait);
    }

private:
    Q_DISABLE_COPY(ProducerProcess)
    static constexpr int LongWait = 30000; // ms

    QProcess m_process;
};

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_PRODUCERPROCESS_H
