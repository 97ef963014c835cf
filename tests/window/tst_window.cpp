#include "windowtest.h"

#include <devicebanner.h>
#include <sessioncontrols.h>

#include <QComboBox>
#include <QDockWidget>
#include <QElapsedTimer>
#include <QLabel>
#include <QPushButton>
#include <QSpinBox>
#include <QTemporaryFile>

using namespace Morvek::Tests;
using namespace Morvek::Tools;

namespace {

/** A stop takes a second at most; the rest is for machines that are busy otherwise. */
constexpr int StopBoundMs = 8000;

/** Clicks the action that switches between online and offline, by what it must be called then. */
void setOnline(WindowBench &bench, bool isOnline)
{
    bench.action(isOnline ? QStringLiteral("Go online") : QStringLiteral("Go offline")).trigger();
}

/** What stands on the layer of the first screen that shows an input. */
QString markOf(WindowBench &bench, int nInput)
{
    return bench.canvas().mark(bench.key(0, nInput)).m_strText;
}

QPushButton &button(const MessageBanner &banner, const QString &strText)
{
    const QList<QPushButton *> buttons = banner.findChildren<QPushButton *>();
    for (QPushButton *const pButton : buttons) {
        if (pButton->text().remove(QLatin1Char('&')).contains(strText) && pButton->isVisible())
            return *pButton;
    }
    qFatal("no button is called %s", qPrintable(strText));
}

QString tileState(WindowBench &bench, int nInput)
{
    return bench.window().wall().tile(nInput)->stateText();
}

} // namespace

class tst_Window : public WindowTest
{
    Q_OBJECT

private Q_SLOTS:
    void showsLiveLayersAndInputs();
    void tellsWhichInputIsDeadAndWhy();
    void tellsThatTheDeviceIsOffline();
    void countsDownWhileTheLibraryBacksOff();
    void readingIsPausedStoppedAndResumed();
    void aBannerStaysAwayUntilTheStateIsAnotherOne();
    void renderingIsStoppedAndStartedAgain();
    void switchesToTheOtherDevice();
    void switchesTheSourceAndBack();
    void playsARawFile();
    void fpsReachesTheLibrary();
    void everythingHasANameAndATip();
    void keepsItsState();
    void quitsWithinBoundsWhileTheDeviceIsOffline();
};

void tst_Window::showsLiveLayersAndInputs()
{
    WindowBench bench;
    QVERIFY(bench.open());
    QVERIFY(bench.waitUntilLive());
    for (int nInput = 0; nInput < 16; ++nInput)
        QTRY_COMPARE_WITH_TIMEOUT(tileState(bench, nInput), QStringLiteral("● live"), Patience);
    QTRY_VERIFY_WITH_TIMEOUT(bench.host().monitor().series(eFigure::Pictures).values().size() >= 10,
                             Patience);
    QVERIFY(*bench.host().monitor().series(eFigure::Pictures).last() > 0);
    QVERIFY(bench.host().monitor().ageMs(0).value_or(-1) >= 0);
    bench.takeScreenshot(QStringLiteral("streaming"));
    QElapsedTimer clock;
    clock.start();
    QVERIFY(bench.window().close());
    QVERIFY(clock.elapsed() < StopBoundMs);
    QVERIFY(bench.window().banner().text().contains(QStringLiteral("Stopping")));
    QTRY_COMPARE_WITH_TIMEOUT(bench.device().clientCount(), 0, Patience);
    QCOMPARE(bench.host().shortcomings(), QStringList());
}

void tst_Window::tellsWhichInputIsDeadAndWhy()
{
    WindowBench bench;
    QVERIFY(bench.open());
    QVERIFY(bench.waitUntilLive());
    bench.device().darken({3});
    bench.device().hang({6});
    bench.host().session().input(9).setActive(false);
    bench.host().session().input(12).setOverLoad(true);
    QTRY_COMPARE_WITH_TIMEOUT(tileState(bench, 3), QStringLiteral("○ no signal"), Patience);
    QTRY_COMPARE_WITH_TIMEOUT(tileState(bench, 6), QStringLiteral("◆ stale"), Patience);
    QTRY_COMPARE_WITH_TIMEOUT(tileState(bench, 9), QStringLiteral("○ no signal"), Patience);
    QTRY_COMPARE_WITH_TIMEOUT(tileState(bench, 12), QStringLiteral("▲ overloaded"), Patience);
    QCOMPARE(tileState(bench, 0), QStringLiteral("● live"));
    const InputWall &wall = bench.window().wall();
    QVERIFY(wall.tile(3)->reasonText().contains(QStringLiteral("black")));
    QVERIFY(wall.tile(6)->reasonText().contains(QStringLiteral("same picture")));
    QVERIFY(wall.tile(9)->reasonText().contains(QStringLiteral("nothing is connected")));
    QVERIFY(wall.tile(12)->reasonText().contains(QStringLiteral("more than can be shown")));
    QVERIFY(wall.summary().contains(
        QStringLiteral("input&nbsp;3&nbsp;(black&nbsp;picture), 9&nbsp;(not&nbsp;connected)")));
    QVERIFY(wall.summary().contains(QStringLiteral("input&nbsp;6&nbsp;(same&nbsp;for")));
    // On the layers themselves, too, for those who look at nothing else.
    QTRY_COMPARE_WITH_TIMEOUT(markOf(bench, 3),
                              QStringLiteral("○ Input 3: no signal (black picture)"), Patience);
    QTRY_VERIFY_WITH_TIMEOUT(
        markOf(bench, 6).startsWith(QStringLiteral("◆ Input 6: stale (same for")), Patience);
    QCOMPARE(markOf(bench, 0), QString());
    const QPoint corner =
        bench.canvas()
            .onWidget(bench.host().document().layer(bench.key(0, 3))->canvasRect())
            .topLeft();
    QTRY_VERIFY_WITH_TIMEOUT(
        qGray(bench.canvas().grab(QRect(corner, QSize(2, 2))).toImage().pixel(1, 1)) < 60,
        Patience);
    bench.takeScreenshot(QStringLiteral("dead-inputs"));

    bench.device().hang({});
    bench.device().darken({});
    QTRY_COMPARE_WITH_TIMEOUT(tileState(bench, 3), QStringLiteral("● live"), Patience);
    QTRY_COMPARE_WITH_TIMEOUT(tileState(bench, 6), QStringLiteral("● live"), Patience);
    QTRY_COMPARE_WITH_TIMEOUT(markOf(bench, 3), QString(), Patience);
}

void tst_Window::tellsThatTheDeviceIsOffline()
{
    WindowBench bench;
    QVERIFY(bench.open());
    QVERIFY(bench.waitUntilLive());
    setOnline(bench, false);
    QCOMPARE(bench.deviceState(), eDeviceState::Offline);
    const auto &state = bench.widget<QLabel>("deviceState");
    QTRY_VERIFY(state.text().contains(QStringLiteral("offline")));
    QTRY_COMPARE_WITH_TIMEOUT(tileState(bench, 5), QStringLiteral("? unknown"), Patience);
    // The last pass over the layers shows that they have nothing to show any more.
    const LayerKey first = bench.key(0, 0);
    QTRY_VERIFY_WITH_TIMEOUT(isBlack(bench.host().session().preview(first)), Patience);
    QTRY_VERIFY(bench.window().wall().summary().contains(QStringLiteral("all 16 unknown")));
    QTRY_COMPARE_WITH_TIMEOUT(markOf(bench, 5), QStringLiteral("○ not read"), Patience);
    const DeviceBanner &banner = bench.window().deviceBanner();
    QTRY_VERIFY(banner.isVisible());
    QVERIFY(banner.text().contains(QStringLiteral("offline")));
    bench.takeScreenshot(QStringLiteral("offline"));

    button(banner, QStringLiteral("Go online")).click();
    QTRY_VERIFY_WITH_TIMEOUT(!banner.isVisible(), Patience);
    QVERIFY(bench.waitUntilLive());
    QTRY_VERIFY_WITH_TIMEOUT(!isBlack(bench.host().session().preview(first)), Patience);
}

void tst_Window::countsDownWhileTheLibraryBacksOff()
{
    WindowBench bench;
    QVERIFY(bench.open());
    QVERIFY(bench.waitUntilLive());
    bench.device().setSilent(true);
    QTRY_COMPARE_WITH_TIMEOUT(bench.deviceState(), eDeviceState::BackingOff, Patience);
    const int nLeft = bench.host().monitor().deviceStatus().m_nSecondsLeft;
    QVERIFY(nLeft > 30 && nLeft <= 60);
    QTRY_VERIFY_WITH_TIMEOUT(bench.host().monitor().deviceStatus().m_nSecondsLeft < nLeft,
                             Patience);
    const auto &state = bench.widget<QLabel>("deviceState");
    QTRY_VERIFY(state.text().contains(QStringLiteral("no connection, retry in")));
    QVERIFY(state.toolTip().contains(QStringLiteral("Read echo video from")));
    QTRY_COMPARE_WITH_TIMEOUT(tileState(bench, 2), QStringLiteral("◆ stale"), Patience);
    QTRY_COMPARE_WITH_TIMEOUT(markOf(bench, 2), QStringLiteral("◆ last picture"), Patience);
    bench.takeScreenshot(QStringLiteral("backing-off"));

    const DeviceBanner &banner = bench.window().deviceBanner();
    QVERIFY(banner.text().contains(QStringLiteral("Read echo video from")));
    // It does not go before there is something better to say.
    button(banner, QStringLiteral("Reconnect now")).click();
    QTRY_VERIFY(banner.isVisible());
    QVERIFY(banner.text().contains(QStringLiteral("connecti"))); // connecting, or no connection
    bench.device().setSilent(false);
    QElapsedTimer clock;
    clock.start();
    button(banner, QStringLiteral("Reconnect now")).click();
    QTRY_COMPARE_WITH_TIMEOUT(bench.deviceState(), eDeviceState::Streaming, Patience);
    QVERIFY2(clock.elapsed() < 25000, "reconnecting waited for the back-off to end");
}

void tst_Window::readingIsPausedStoppedAndResumed()
{
    WindowBench bench;
    QVERIFY(bench.open());
    QVERIFY(bench.waitUntilLive());
    bench.action(QStringLiteral("Pause reading")).trigger();
    QCOMPARE(bench.deviceState(), eDeviceState::Paused);
    QTRY_COMPARE_WITH_TIMEOUT(bench.device().clientCount(), 0, Patience);
    // A device that comes online again makes the library read; the host still wants a pause.
    setOnline(bench, false);
    QVERIFY(bench.action(QStringLiteral("Read once online")).isEnabled());
    setOnline(bench, true);
    QCOMPARE(bench.deviceState(), eDeviceState::Paused);
    bench.action(QStringLiteral("Read")).trigger();
    QTRY_COMPARE_WITH_TIMEOUT(bench.deviceState(), eDeviceState::Streaming, Patience);
    QCOMPARE(bench.device().clientCount(), 1);
    bench.action(QStringLiteral("Stop reading")).trigger();
    QCOMPARE(bench.deviceState(), eDeviceState::Stopped);
    QTRY_COMPARE_WITH_TIMEOUT(bench.device().clientCount(), 0, Patience);
    bench.action(QStringLiteral("Read")).trigger();
    QTRY_COMPARE_WITH_TIMEOUT(bench.deviceState(), eDeviceState::Streaming, Patience);
}

void tst_Window::aBannerStaysAwayUntilTheStateIsAnotherOne()
{
    WindowBench bench;
    QVERIFY(bench.open());
    QVERIFY(bench.waitUntilLive());
    const DeviceBanner &banner = bench.window().deviceBanner();
    QVERIFY(!banner.isVisible());
    bench.action(QStringLiteral("Pause reading")).trigger();
    QVERIFY(banner.isVisible());
    button(banner, QStringLiteral("Dis")).click();
    QSignalSpy samples(&bench.host().monitor(), &SessionMonitor::sampled);
    QTRY_VERIFY_WITH_TIMEOUT(samples.count() >= 3, Patience);
    QVERIFY(!banner.isVisible());
    bench.action(QStringLiteral("Stop reading")).trigger();
    QVERIFY(banner.isVisible());
    button(banner, QStringLiteral("Go on reading")).click();
    QTRY_COMPARE_WITH_TIMEOUT(bench.deviceState(), eDeviceState::Streaming, Patience);
    QTRY_VERIFY_WITH_TIMEOUT(!banner.isVisible(), Patience);
}

void tst_Window::renderingIsStoppedAndStartedAgain()
{
    WindowBench bench;
    QVERIFY(bench.open());
    QVERIFY(bench.waitUntilLive());
    QSignalSpy previews(&bench.host().session(), &DeviceSession::previewFinished);
    const DeviceBanner &banner = bench.window().deviceBanner();
    for (const char *pAction : {"Render thread", "Rendering enabled"}) {
        bench.action(QLatin1String(pAction)).trigger();
        QVERIFY(banner.isVisible());
        QVERIFY(banner.text().contains(QStringLiteral("The canvas stands still")));
        QTRY_COMPARE_WITH_TIMEOUT(markOf(bench, 0), QStringLiteral("▲ stands still"), Patience);
        // What was under way may still come; then nothing does.
        do
            previews.clear();
        while (previews.wait(1000));
        button(banner, QStringLiteral("Go on rendering")).click();
        QVERIFY(previews.wait(Patience));
        QVERIFY(!banner.isVisible());
    }
}

void tst_Window::switchesToTheOtherDevice()
{
    WindowBench bench;
    QVERIFY(bench.open());
    QVERIFY(bench.waitUntilLive());
    QCOMPARE(bench.otherDevice().clientCount(), 0);
    // Also from a device that is offline, whose reader would not end by itself.
    setOnline(bench, false);
    QElapsedTimer clock;
    clock.start();
    bench.action(QStringLiteral("Next device")).trigger();
    QVERIFY(clock.elapsed() < StopBoundMs);
    QCOMPARE(bench.widget<QComboBox>("device").currentText(), QStringLiteral("Second device"));
    QTRY_COMPARE_WITH_TIMEOUT(bench.deviceState(), eDeviceState::Streaming, Patience);
    QCOMPARE(bench.otherDevice().clientCount(), 1);
    QTRY_COMPARE_WITH_TIMEOUT(bench.device().clientCount(), 0, Patience);
    QVERIFY(bench.waitUntilLive());

    bench.action(QStringLiteral("Next device")).trigger();
    QCOMPARE(bench.deviceState(), eDeviceState::Offline);
    setOnline(bench, true);
    QTRY_COMPARE_WITH_TIMEOUT(bench.deviceState(), eDeviceState::Streaming, Patience);
    QCOMPARE(bench.device().clientCount(), 1);
}

void tst_Window::switchesTheSourceAndBack()
{
    WindowBench bench;
    QVERIFY(bench.open());
    QVERIFY(bench.waitUntilLive());
    auto &source = bench.widget<QComboBox>("source");
    source.setFocus();
    QTest::keyClick(&source, Qt::Key_End); // the raw file, of which there is none
    QCOMPARE(source.currentData().toString(), QStringLiteral("yuv"));
    QTRY_COMPARE_WITH_TIMEOUT(bench.device().clientCount(), 0, Patience);
    // The reader's own stripes come in its place, which are no video.
    QTRY_COMPARE_WITH_TIMEOUT(bench.deviceState(), eDeviceState::MadeUp, Patience);
    QTRY_COMPARE_WITH_TIMEOUT(tileState(bench, 0), QStringLiteral("? unknown"), Patience);
    QTRY_COMPARE_WITH_TIMEOUT(markOf(bench, 0), QStringLiteral("▲ no video"), Patience);
    const DeviceBanner &banner = bench.window().deviceBanner();
    QTRY_VERIFY(banner.text().contains(QStringLiteral("Cannot open")));
    QVERIFY(button(banner, QStringLiteral("Choose a file")).isVisible());
    bench.takeScreenshot(QStringLiteral("no-file"));
    setOnline(bench, false);
    // A file reader whose device is offline does not end; the session sees to it.
    QElapsedTimer clock;
    clock.start();
    QTest::keyClick(&source, Qt::Key_Home);
    QVERIFY(clock.elapsed() < StopBoundMs);
    setOnline(bench, true);
    QVERIFY(bench.waitUntilLive());
}

void tst_Window::playsARawFile()
{
    QTemporaryFile file;
    QVERIFY(file.open());
    const QByteArray grey(1920 * 1080 * 3 / 2, char(0x80)); // one frame
    QCOMPARE(file.write(grey), qint64(grey.size()));
    file.close();
    WindowBench bench;
    QVERIFY(bench.open());
    QVERIFY(bench.waitUntilLive());
    auto *const pControls = bench.window().findChild<SessionControls *>();
    QVERIFY(pControls);
    pControls->playFile(file.fileName());
    const auto &source = bench.widget<QComboBox>("source");
    QCOMPARE(source.currentData().toString(), QStringLiteral("yuv"));
    QVERIFY(source.toolTip().contains(file.fileName()));
    const auto isGrey = [&] {
        QImage picture;
        bench.host().session().inputPicture(0, picture);
        const QColor corner = picture.pixelColor(0, 0);
        return corner == picture.pixelColor(picture.rect().center()) && corner.red() > 100
            && corner.saturation() < 10;
    };
    QTRY_VERIFY_WITH_TIMEOUT(isGrey(), Patience);
    QVERIFY(bench.deviceState() != eDeviceState::MadeUp);
    // An edit of the scene like any other.
    bench.host().document().undoStack().undo();
    QCOMPARE(source.currentData().toString(), QStringLiteral("mjpeg"));
    QVERIFY(bench.waitUntilLive());
}

void tst_Window::fpsReachesTheLibrary()
{
    WindowBench bench;
    QVERIFY(bench.open());
    QVERIFY(bench.waitUntilLive());
    bench.widget<QSpinBox>("fps").setValue(2);
    const auto &config = bench.host().session().device().m_pDevice->deviceConfig().EchoVideoCfg;
    QCOMPARE(int(config.FPS), 2);
    // 25 layers twice a second, where they were rendered up to 25 times before.
    const auto previewsASecond = [&] {
        return bench.host().monitor().series(eFigure::Previews).last().value_or(1000);
    };
    QTRY_VERIFY_WITH_TIMEOUT(previewsASecond() > 0 && previewsASecond() < 100, Patience);
    QVERIFY(bench.host().document().isModified());
    bench.host().document().undoStack().undo();
    QCOMPARE(int(config.FPS), 25);
    QCOMPARE(bench.widget<QSpinBox>("fps").value(), 25);
}

void tst_Window::everythingHasANameAndATip()
{
    WindowBench bench;
    QVERIFY(bench.open());
    bench.window().select(0, bench.key(0, 0));
    int nFields = 0;
    const QList<QWidget *> widgets = bench.window().findChildren<QWidget *>();
    for (const QWidget *const pWidget : widgets) {
        const bool isField = qobject_cast<const QSpinBox *>(pWidget)
                          || qobject_cast<const QComboBox *>(pWidget)
                          || qobject_cast<const InputTile *>(pWidget);
        if (!isField || !pWidget->isVisible())
            continue;
        ++nFields;
        QVERIFY2(!pWidget->accessibleName().isEmpty(), qPrintable(pWidget->objectName()));
    }
    QVERIFY(nFields > 20);
    const auto &left = bench.widget<QSpinBox>("Left");
    QVERIFY(left.toolTip().contains(QStringLiteral("(px)")));
}

void tst_Window::keepsItsState()
{
    QByteArray geometry;
    WindowBench bench;
    QVERIFY(bench.open());
    auto &log = bench.widget<QDockWidget>("log");
    log.close();
    QVERIFY(bench.window().close());
    MainWindow another(bench.host(), bench.settings(), bench.folder());
    QVERIFY(another.findChild<QDockWidget *>(QStringLiteral("log"))->isHidden());
    QVERIFY(!another.findChild<QDockWidget *>(QStringLiteral("inputs"))->isHidden());
}

void tst_Window::quitsWithinBoundsWhileTheDeviceIsOffline()
{
    WindowBench bench;
    QVERIFY(bench.open());
    QVERIFY(bench.waitUntilLive());
    setOnline(bench, false);
    QElapsedTimer clock;
    clock.start();
    bench.action(QStringLiteral("Quit")).trigger();
    QVERIFY(!bench.window().isVisible());
    QVERIFY(clock.elapsed() < StopBoundMs);
}

QTEST_MAIN(tst_Window)
#include "tst_window.moc"
