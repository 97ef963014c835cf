#ifndef MORVEK_TESTS_EMISSIONCOUNTER_H
#define MORVEK_TESTS_EMISSIONCOUNTER_H

#include <QObject>
#include <QtTest>

#include <atomic>
#include <memory>

namespace Morvek::Tests {

/** Counts the emissions of a signal on whatever thread, which a QSignalSpy cannot do safely. */
class EmissionCounter
{
public:
    template <typename Sender, typename Signal>
    EmissionCounter(Sender *pSender, Signal signal)
        : m_connection(QObject::connect(pSender, signal, [pCount = m_pCount] { ++*pCount; }))
    {}
    ~EmissionCounter() { QObject::disconnect(m_connection); }

    int count() const { return *m_pCount; }
    /** Waits for the next emission. */
    bool wait(int nTimeoutMs) const
    {
        return QTest::qWaitFor([this, nBefore = count()] { return count() > nBefore; }, nTimeoutMs);
    }

private:
    Q_DISABLE_COPY(EmissionCounter)

    // Shared, because an emission may be under way while this is destroyed.
    const std::shared_ptr<std::atomic_int> m_pCount = std::make_shared<std::atomic_int>(0);
    const QMetaObject::Connection m_connection;
};

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_EMISSIONCOUNTER_H
