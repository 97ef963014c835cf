#ifndef MORVEK_TOOLS_SIGNALWATCHER_H
#define MORVEK_TOOLS_SIGNALWATCHER_H

#include <QObject>

#include <csignal>

namespace Morvek::Tools {

/**
 * Turns SIGINT and SIGTERM into a Qt signal, from construction to destruction.
 *
 * @thread main; one object at a time
 */
class SignalWatcher : public QObject
{
    Q_OBJECT

public:
    explicit SignalWatcher(QObject *parent = nullptr);
    ~SignalWatcher() override;

Q_SIGNALS:
    void endRequested();

private Q_SLOTS:
    void slotWakeUp();

private:
    Q_DISABLE_COPY(SignalWatcher)

    int m_nReadEnd = -1; // of the pipe that the signal handler writes to
    struct sigaction m_oldInterrupt
    {};
    struct sigaction m_oldTerminate
    {};
    struct sigaction m_oldPipe
    {};
};

} // namespace Morvek::Tools

#endif // MORVEK_TOOLS_SIGNALWATCHER_H
