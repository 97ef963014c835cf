#include "windowtest.h"

#include <scenereader.h>

#include <QFile>
#include <QSpinBox>

using namespace Morvek::Tests;
using namespace Morvek::Tools;

/** What the window has to keep hold of: sizes, the selection, and edits on their way. */
class tst_WindowKeeping : public WindowTest
{
    Q_OBJECT

private Q_SLOTS:
    void zoomingOutMakesTheCanvasSmaller();
    void aScreenThatComesBackKeepsTheSelectedOneInSight();
    void whatIsTypedIsSaved();
    void stepsOfTheRateAreUndoneTogether();

private:
    QString sceneFile(const QString &strName)
    {
        QFile file(m_folder.filePath(strName));
        const QByteArray text = builtInSceneText();
        return file.open(QIODevice::WriteOnly) && file.write(text) == text.size() ? file.fileName()
                                                                                  : QString();
    }

    QTemporaryDir m_folder;
};

void tst_WindowKeeping::zoomingOutMakesTheCanvasSmaller()
{
    WindowBench bench;
    QVERIFY(bench.open());
    bench.action(QStringLiteral("Actual size")).trigger();
    QCOMPARE(bench.canvas().width(), 1920);
    bench.action(QStringLiteral("Zoom out")).trigger();
    QCOMPARE(bench.canvas().width(), qRound(1920 * bench.canvas().zoom()));
}

void tst_WindowKeeping::aScreenThatComesBackKeepsTheSelectedOneInSight()
{
    WindowBench bench;
    QVERIFY(bench.open());
    bench.window().select(0, std::nullopt);
    bench.action(QStringLiteral("Remove the screen")).trigger();
    const LayerKey key = bench.key(0, 2);
    bench.window().select(0, key);
    bench.host().document().undoStack().undo();
    QVERIFY(bench.window().selected() == key);
    QCOMPARE(bench.window().screen(), 1);
    QVERIFY(bench.canvas().selected() == key);
}

void tst_WindowKeeping::whatIsTypedIsSaved()
{
    const QString strFile = sceneFile(QStringLiteral("typed.json"));
    WindowBench bench(strFile);
    QVERIFY(bench.open());
    bench.window().select(0, bench.key(0, 0));
    auto &left = bench.widget<QSpinBox>("Left");
    bench.window().activateWindow();
    left.setFocus();
    QTRY_VERIFY(left.hasFocus());
    left.selectAll();
    QTest::keyClicks(&left, QStringLiteral("333"));
    QTest::keyClick(bench.window().windowHandle(), Qt::Key_S, Qt::ControlModifier);
    QStringList problems;
    QCOMPARE(readSceneFile(strFile, problems)->m_screens[0].m_layers[0].m_position.x(), 333);
}

void tst_WindowKeeping::stepsOfTheRateAreUndoneTogether()
{
    WindowBench bench;
    QVERIFY(bench.open());
    auto &fps = bench.widget<QSpinBox>("fps");
    for (int nStep = 0; nStep < 5; ++nStep)
        fps.stepDown();
    QCOMPARE(bench.host().document().scene().m_device.m_nFps, 20);
    QCOMPARE(bench.host().document().undoStack().count(), 1);
}

QTEST_MAIN(tst_WindowKeeping)
#include "tst_window_keeping.moc"
