#ifndef MORVEK_TESTS_DEVICEPROCESS_H
#define MORVEK_TESTS_DEVICEPROCESS_H

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>

namespace Morvek::Tests {

/** The real device simulator as a process; ended with the object. */
class DeviceProcess
{
public:
    /**
     * Starts the simulator; "--port 0" is added where no port is given.
     */
    explicit DeviceProcess(const QStringList &arguments = {});
    ~DeviceProcess();

    /** Waits for the first line and takes address and port from it. */
    bool waitForListening();
    QString firstLine() const { return m_strFirstLine; }
    QString address() const { return m_strAddress; }
    quint16 port() const { return m_nPort; }
    int resident() const; ///< memory in KiB

    void sendSignal(int nSignal);
    /** Waits for the end of the process. */
    bool waitForEnd();
    /** Exit status; -1 after a crash or a signal. */
    int exitStatus() const;
    /** All of standard output behind the first line; of the ended process. */
    QByteArray output();
    QByteArray errors();

private:
    QProcess m_process;
    QString m_strFirstLine;
    QString m_strAddress;
    quint16 m_nPort = 0;
};

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_DEVICEPROCESS_H
