#include "signalwatcher.h"

#include <QSocketNotifier>

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

namespace Morvek::Tools {

namespace {

volatile std::sig_atomic_t writeEnd = -1; // all that the signal handler knows

extern "C" void wakeUp(int)
{
    const int savedError = errno;
    const char byte = 0;
    // A full pipe means that a wake-up is already on its way.
    [[maybe_unused]] const ssize_t written = ::write(writeEnd, &byte, 1);
    errno = savedError;
}

void replaceAction(int signalNumber, void (*handler)(int), struct sigaction &old)
{
    struct sigaction action
    {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaction(signalNumber, &action, &old);
}

} // namespace

SignalWatcher::SignalWatcher(QObject *parent)
    : QObject(parent)
{
    int ends[2] = {-1, -1};
    if (::pipe2(ends, O_NONBLOCK | O_CLOEXEC) != 0) {
        qWarning("No pipe for signals: SIGINT and SIGTERM end the program at once.");
        sigaction(SIGINT, nullptr, &m_oldInterrupt);
        sigaction(SIGTERM, nullptr, &m_oldTerminate);
        return;
    }
    m_nReadEnd = ends[0];
    writeEnd = ends[1];
    auto *notifier = new QSocketNotifier(m_nReadEnd, QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, &SignalWatcher::slotWakeUp);
    replaceAction(SIGINT, wakeUp, m_oldInterrupt);
    replaceAction(SIGTERM, wakeUp, m_oldTerminate);
}

SignalWatcher::~SignalWatcher()
{
    sigaction(SIGINT, &m_oldInterrupt, nullptr);
    sigaction(SIGTERM, &m_oldTerminate, nullptr);
    if (m_nReadEnd >= 0) {
        ::close(m_nReadEnd);
        ::close(writeEnd);
        writeEnd = -1;
    }
}

void SignalWatcher::slotWakeUp()
{
    char bytes[16];
    while (::read(m_nReadEnd, bytes, sizeof bytes) > 0) {}
    Q_EMIT endRequested();
}

} // namespace Morvek::Tools
