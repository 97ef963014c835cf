#include "windowtest.h"

#include <scenereader.h>
#include <scenewriter.h>

#include <QAbstractButton>
#include <QFile>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QTimer>
#include <QWindow>

#include <sys/stat.h>

using namespace Morvek::Tests;
using namespace Morvek::Tools;

namespace {

bool write(const QString &strFile, const QByteArray &text)
{
    QFile file(strFile);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(text) == text.size();
}

/** Presses a button of the next message box, which blocks whoever opened it. */
void answerNextQuestion(QMessageBox::StandardButton eAnswer, bool *pIsAsked)
{
    auto *const pTimer = new QTimer(qApp);
    QObject::connect(pTimer, &QTimer::timeout, qApp, [=] {
        auto *const pBox = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        // Not before it has come up: without a window manager, its focus would go nowhere.
        if (!pBox || !pBox->windowHandle() || !pBox->windowHandle()->isExposed())
            return;
        *pIsAsked = true;
        pBox->button(eAnswer)->click();
        pTimer->deleteLater();
    });
    pTimer->start(20);
}

QByteArray text(const QString &strFile)
{
    QFile file(strFile);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/** Saves, and clicks this button where there is a question. @return whether there was one */
bool answeredSave(WindowBench &bench, const QString &strButton)
{
    bool isAsked = false;
    QTimer answering; // as above
    QObject::connect(&answering, &QTimer::timeout, &answering, [&] {
        auto *const pBox = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        if (!pBox || !pBox->windowHandle() || !pBox->windowHandle()->isExposed())
            return;
        isAsked = true;
        const QList<QAbstractButton *> buttons = pBox->buttons();
        for (QAbstractButton *const pButton : buttons) {
            if (pButton->text().remove(QLatin1Char('&')) == strButton)
                pButton->click();
        }
    });
    answering.start(20);
    bench.action(QStringLiteral("Save")).trigger();
    return isAsked;
}

} // namespace

class tst_WindowFiles : public WindowTest
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(m_folder.isValid()); }
    void savesWhatHeadlessReads();
    void aBrokenFileKeepsTheLastGoodScene();
    void aChangedFileIsShownAtOnce();
    void aChangedFileDoesNotTakeEditsAway();
    void whatAnotherHasWrittenIsNotReplacedUnasked();
    void aPipeIsNoSceneAndBlocksNothing();
    void unsavedChangesAreAskedAbout();
    void recentFilesAreOffered();

private:
    QString sceneFile(const QString &strName)
    {
        const QString strFile = m_folder.filePath(strName);
        write(strFile, builtInSceneText());
        return strFile;
    }

    QTemporaryDir m_folder;
};

void tst_WindowFiles::savesWhatHeadlessReads()
{
    const QString strFile = sceneFile(QStringLiteral("saved.json"));
    WindowBench bench(strFile);
    QVERIFY(bench.open());
    bench.window().select(0, bench.key(0, 2));
    bench.action(QStringLiteral("Remove the layer")).trigger();
    QVERIFY(bench.window().isWindowModified());
    bench.action(QStringLiteral("Save")).trigger();
    QVERIFY(!bench.window().isWindowModified());
    QStringList problems;
    const auto scene = readSceneFile(strFile, problems);
    QCOMPARE(problems, QStringList());
    QCOMPARE(scene->m_screens[0].m_layers.size(), 12);
    QCOMPARE(scene->m_screens[0].m_layers[2].m_strName, QStringLiteral("Mirrored top to bottom"));
}

void tst_WindowFiles::aBrokenFileKeepsTheLastGoodScene()
{
    const QString strFile = sceneFile(QStringLiteral("broken.json"));
    WindowBench bench(strFile);
    QVERIFY(bench.open());
    QVERIFY(bench.waitUntilLive());
    QByteArray text = builtInSceneText();
    text.replace("\"opacity\": 60", "\"opacity\": 160");
    text.replace("\"mono\": true }", "\"mono\": \"yes\" }");
    QVERIFY(write(strFile, text));
    MessageBanner &banner = bench.window().banner();
    QTRY_VERIFY_WITH_TIMEOUT(banner.isVisible(), Patience);
    QVERIFY(banner.text().contains(QStringLiteral("The last good scene stays.")));
    QVERIFY(banner.text().contains(QStringLiteral("layer &quot;Opacity 60 %&quot;")));
    QVERIFY(banner.text().contains(QStringLiteral("screens[1].layers[9].opacity")));
    QVERIFY(banner.text().contains(QStringLiteral("from 0 to 100, found 160")));
    QCOMPARE(bench.host().document().scene().m_screens.size(), 2);
    bench.takeScreenshot(QStringLiteral("broken-scene"));

    QVERIFY(write(strFile, "{ \"device\": {\n"));
    QTRY_VERIFY_WITH_TIMEOUT(banner.text().contains(QStringLiteral("line 2")), Patience);
    QVERIFY(write(strFile, builtInSceneText()));
    QTRY_VERIFY_WITH_TIMEOUT(!banner.isVisible(), Patience);
    QVERIFY(bench.waitUntilLive());
}

void tst_WindowFiles::aChangedFileIsShownAtOnce()
{
    const QString strFile = sceneFile(QStringLiteral("changed.json"));
    WindowBench bench(strFile);
    QVERIFY(bench.open());
    QVERIFY(bench.waitUntilLive());
    sScene scene = bench.host().document().scene();
    scene.m_screens.removeLast();
    scene.m_screens[0].m_layers.removeLast();
    scene.m_screens[0].m_layers[0].m_config.m_LayerItem.m_opacity = 40;
    QVERIFY(write(strFile, sceneText(scene, strFile)));
    QTRY_COMPARE_WITH_TIMEOUT(bench.host().document().scene().m_screens.size(), 1, Patience);
    QCOMPARE(bench.host().document().scene().m_screens[0].m_layers.size(), 12);
    // The device stays connected: nothing about it has changed.
    QCOMPARE(bench.deviceState(), eDeviceState::Streaming);
    const LayerKey first = bench.key(0, 0);
    const auto alpha = [&] {
        return bench.host().session().preview(first).pixelColor(100, 100).alpha();
    };
    QTRY_VERIFY_WITH_TIMEOUT(qAbs(alpha() - 102) <= 2, Patience);
}

void tst_WindowFiles::aChangedFileDoesNotTakeEditsAway()
{
    const QString strFile = sceneFile(QStringLiteral("both.json"));
    WindowBench bench(strFile);
    QVERIFY(bench.open());
    bench.window().select(0, bench.key(0, 2));
    bench.action(QStringLiteral("Remove the layer")).trigger();
    QVERIFY(write(strFile, builtInSceneText() + '\n'));
    MessageBanner &banner = bench.window().banner();
    QTRY_VERIFY_WITH_TIMEOUT(banner.isVisible(), Patience);
    QCOMPARE(bench.host().document().scene().m_screens[0].m_layers.size(), 12);
    Q_EMIT banner.accepted(); // as its button does
    QCOMPARE(bench.host().document().scene().m_screens[0].m_layers.size(), 13);
    QVERIFY(!bench.window().isWindowModified());
}

void tst_WindowFiles::whatAnotherHasWrittenIsNotReplacedUnasked()
{
    const QString strFile = sceneFile(QStringLiteral("theirs.json"));
    WindowBench bench(strFile);
    QVERIFY(bench.open());
    bench.window().select(0, bench.key(0, 2));
    bench.action(QStringLiteral("Remove the layer")).trigger();
    const QByteArray theirs = builtInSceneText() + '\n';
    QVERIFY(write(strFile, theirs));
    MessageBanner &banner = bench.window().banner();
    QTRY_VERIFY_WITH_TIMEOUT(banner.isVisible(), Patience);
    QCOMPARE(answeredSave(bench, QStringLiteral("Cancel")), true);
    QCOMPARE(text(strFile), theirs);
    QVERIFY(bench.window().isWindowModified());
    QCOMPARE(answeredSave(bench, QStringLiteral("Overwrite")), true);
    QVERIFY(text(strFile) != theirs);
    QVERIFY(!bench.window().isWindowModified());
    QVERIFY(!banner.isVisible());
    // It is settled with that.
    QCOMPARE(answeredSave(bench, QStringLiteral("Cancel")), false);
    // A broken file is somebody's too, also where the user finds that out first.
    QVERIFY(write(strFile, "{"));
    QVERIFY(!bench.window().files().open(strFile));
    QTRY_VERIFY_WITH_TIMEOUT(banner.isVisible(), Patience);
    QCOMPARE(answeredSave(bench, QStringLiteral("Cancel")), true);
    QCOMPARE(text(strFile), QByteArray("{"));
}

void tst_WindowFiles::aPipeIsNoSceneAndBlocksNothing()
{
    WindowBench bench;
    QVERIFY(bench.open());
    const QString strPipe = m_folder.filePath(QStringLiteral("pipe.json"));
    QCOMPARE(mkfifo(QFile::encodeName(strPipe).constData(), 0600), 0);
    QVERIFY(!bench.window().files().open(strPipe));
    QVERIFY(bench.window().banner().text().contains(QStringLiteral("expected a file")));
}

void tst_WindowFiles::unsavedChangesAreAskedAbout()
{
    const QString strFile = sceneFile(QStringLiteral("unsaved.json"));
    WindowBench bench(strFile);
    QVERIFY(bench.open());
    bench.window().select(0, bench.key(0, 2));
    bench.action(QStringLiteral("Remove the layer")).trigger();
    bool isAsked = false;
    answerNextQuestion(QMessageBox::Cancel, &isAsked);
    QVERIFY(!bench.window().close());
    QVERIFY(isAsked && bench.window().isVisible());
    isAsked = false;
    answerNextQuestion(QMessageBox::Save, &isAsked);
    QVERIFY(bench.window().close());
    QVERIFY(isAsked);
    QStringList problems;
    QCOMPARE(readSceneFile(strFile, problems)->m_screens[0].m_layers.size(), 12);
}

void tst_WindowFiles::recentFilesAreOffered()
{
    const QString strFirst = sceneFile(QStringLiteral("first.json"));
    const QString strSecond = sceneFile(QStringLiteral("second.json"));
    WindowBench bench(strFirst);
    QVERIFY(bench.open());
    QVERIFY(bench.window().files().open(strSecond));
    QCOMPARE(bench.window().windowTitle(), QStringLiteral("second.json[*] - echocanvas"));
    QVERIFY(!bench.window().files().open(m_folder.filePath(QStringLiteral("none.json"))));
    QVERIFY(bench.window().banner().isVisible());
    QCOMPARE(bench.host().document().fileName(), strSecond);
    QMenu *const pRecent = bench.action(QStringLiteral("Open recent")).menu();
    QVERIFY(pRecent);
    Q_EMIT pRecent->aboutToShow();
    QStringList offered;
    const QList<QAction *> actions = pRecent->actions();
    for (const QAction *const pAction : actions)
        offered.append(pAction->text());
    QCOMPARE(offered, QStringList({strSecond, strFirst}));
    pRecent->actions().last()->trigger();
    QCOMPARE(bench.host().document().fileName(), strFirst);
}

QTEST_MAIN(tst_WindowFiles)
#include "tst_window_files.moc"
