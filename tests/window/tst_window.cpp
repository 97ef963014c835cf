#include "windowbench.h"

#include <QtTest>

using namespace Morvek::Tests;
using namespace Morvek::Tools;

class tst_Window : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void showsLiveLayersAndInputs();

private:
    std::unique_ptr<WarningTrap> m_pTrap;
};

void tst_Window::init()
{
    m_pTrap = std::make_unique<WarningTrap>();
}

void tst_Window::cleanup()
{
    const QStringList warnings = m_pTrap->warnings();
    m_pTrap.reset();
    QCOMPARE(warnings, QStringList());
}

void tst_Window::showsLiveLayersAndInputs()
{
    WindowBench bench;
    QVERIFY(bench.open());
    QVERIFY(bench.waitUntilLive());
    for (int nInput = 0; nInput < 16; ++nInput)
        QTRY_VERIFY(
            bench.window().wall().tile(nInput)->stateText().contains(QStringLiteral("live")));
    QTRY_VERIFY_WITH_TIMEOUT(bench.host().monitor().series(eFigure::Pictures).values().size() >= 10,
                             Patience);
    bench.takeScreenshot(QStringLiteral("streaming"));
    QVERIFY(bench.window().close());
    QTRY_COMPARE_WITH_TIMEOUT(bench.device().clientCount(), 0, Patience);
}

QTEST_MAIN(tst_Window)
#include "tst_window.moc"
