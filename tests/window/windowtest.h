#ifndef MORVEK_TESTS_WINDOWTEST_H
#define MORVEK_TESTS_WINDOWTEST_H

#include "windowbench.h"

#include <QtTest>

namespace Morvek::Tests {

/** Base of the window's tests: each of them fails if anything but the library has warned. */
class WindowTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_pTrap = std::make_unique<WarningTrap>(); }
    void cleanup()
    {
        const QStringList warnings = m_pTrap->warnings();
        m_pTrap.reset();
        QCOMPARE(warnings, QStringList());
    }

private:
    std::unique_ptr<WarningTrap> m_pTrap;
};

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_WINDOWTEST_H
