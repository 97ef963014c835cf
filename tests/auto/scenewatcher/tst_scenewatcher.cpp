#include <scenereader.h>
#include <scenewatcher.h>

#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

#include <sys/stat.h>

using namespace Morvek::Tools;

Q_DECLARE_METATYPE(Morvek::Tools::sScene)

namespace {

constexpr int Patience = 30000; // ms

} // namespace

class tst_SceneWatcher : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void aChangeIsRead();
    void aFileThatIsReplacedIsReadEachTime();
    void aBrokenFileIsToldWithLineAndField();
    void aFileThatIsGoneIsToldAndFoundAgain();
    void aFileWhosePredecessorIsStillOpenIsFollowed();
    void aFolderThatIsReplacedIsFollowed();
    void aFolderThatWasGoneIsFollowed();
    void aFolderWhereFilesComeAndGoHidesNoChange();
    void aPipeInItsPlaceIsToldAndNotOpened();
    void writingTheSameTextIsNoChange();
    void nothingIsFollowedBeforeAndAfter();

private:
    bool write(const QByteArray &text);
    bool replace(const QByteArray &text);
    static QByteArray sceneWithOpacity(int nOpacity);
    int opacityOf(const QSignalSpy &spy) const;

    std::unique_ptr<QTemporaryDir> m_pFolder;
    QString m_strFile;
};

void tst_SceneWatcher::init()
{
    qRegisterMetaType<sScene>("Morvek::Tools::sScene");
    m_pFolder = std::make_unique<QTemporaryDir>();
    m_strFile = m_pFolder->filePath(QStringLiteral("scene.json"));
    QVERIFY(write(sceneWithOpacity(60)));
}

bool tst_SceneWatcher::write(const QByteArray &text)
{
    QFile file(m_strFile);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(text) == text.size();
}

/** As many editors do: another file takes the name. */
bool tst_SceneWatcher::replace(const QByteArray &text)
{
    QSaveFile file(m_strFile);
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size() && file.commit();
}

QByteArray tst_SceneWatcher::sceneWithOpacity(int nOpacity)
{
    return builtInSceneText().replace("\"opacity\": 60",
                                      "\"opacity\": " + QByteArray::number(nOpacity));
}

int tst_SceneWatcher::opacityOf(const QSignalSpy &spy) const
{
    const auto scene = spy.last().first().value<sScene>();
    return scene.m_screens[1].m_layers[9].m_config.m_LayerItem.m_opacity;
}

void tst_SceneWatcher::aChangeIsRead()
{
    SceneWatcher watcher;
    watcher.watch(m_strFile);
    QSignalSpy changed(&watcher, &SceneWatcher::changed);
    QVERIFY(write(sceneWithOpacity(33)));
    QTRY_VERIFY_WITH_TIMEOUT(changed.count() > 0 && opacityOf(changed) == 33, Patience);
}

void tst_SceneWatcher::aFileThatIsReplacedIsReadEachTime()
{
    SceneWatcher watcher;
    watcher.watch(m_strFile);
    QSignalSpy changed(&watcher, &SceneWatcher::changed);
    for (int nOpacity : {10, 20, 30}) {
        QVERIFY(replace(sceneWithOpacity(nOpacity)));
        QTRY_VERIFY_WITH_TIMEOUT(changed.count() > 0 && opacityOf(changed) == nOpacity, Patience);
    }
    QVERIFY(write(sceneWithOpacity(40))); // the third file, not the first one
    QTRY_COMPARE_WITH_TIMEOUT(opacityOf(changed), 40, Patience);
}

void tst_SceneWatcher::aBrokenFileIsToldWithLineAndField()
{
    SceneWatcher watcher;
    watcher.watch(m_strFile);
    QSignalSpy changed(&watcher, &SceneWatcher::changed);
    QSignalSpy broken(&watcher, &SceneWatcher::broken);
    QVERIFY(replace(sceneWithOpacity(101)));
    QTRY_COMPARE_WITH_TIMEOUT(broken.count(), 1, Patience);
    QVERIFY(broken.last().first().toStringList().first().contains(
        QStringLiteral("screens[1].layers[9].opacity: expected a whole number from 0 to 100")));
    QVERIFY(replace("{\n\n \"device\" 7 }"));
    QTRY_COMPARE_WITH_TIMEOUT(broken.count(), 2, Patience);
    QVERIFY(broken.last().first().toStringList().first().contains(QStringLiteral("line 3")));
    QCOMPARE(changed.count(), 0);
    QVERIFY(replace(sceneWithOpacity(60)));
    QTRY_COMPARE_WITH_TIMEOUT(changed.count(), 1, Patience);
}

void tst_SceneWatcher::aFileThatIsGoneIsToldAndFoundAgain()
{
    SceneWatcher watcher;
    watcher.watch(m_strFile);
    QSignalSpy changed(&watcher, &SceneWatcher::changed);
    QSignalSpy broken(&watcher, &SceneWatcher::broken);
    QVERIFY(QFile::remove(m_strFile));
    QTRY_COMPARE_WITH_TIMEOUT(broken.count(), 1, Patience);
    QVERIFY(broken.last().first().toStringList().first().contains(m_strFile));
    QVERIFY(write(sceneWithOpacity(5)));
    QTRY_VERIFY_WITH_TIMEOUT(changed.count() > 0 && opacityOf(changed) == 5, Patience);
}

void tst_SceneWatcher::aFileWhosePredecessorIsStillOpenIsFollowed()
{
    SceneWatcher watcher;
    watcher.watch(m_strFile);
    QSignalSpy changed(&watcher, &SceneWatcher::changed);
    QFile predecessor(m_strFile);
    QVERIFY(predecessor.open(QIODevice::ReadOnly));
    QVERIFY(replace(sceneWithOpacity(10)));
    QTRY_VERIFY_WITH_TIMEOUT(changed.count() > 0 && opacityOf(changed) == 10, Patience);
    QVERIFY(write(sceneWithOpacity(20)));
    QTRY_COMPARE_WITH_TIMEOUT(opacityOf(changed), 20, Patience);
}

/** The whole folder is put in place at once, as when another version of everything is rolled out. */
void tst_SceneWatcher::aFolderThatIsReplacedIsFollowed()
{
    QDir folder(m_pFolder->path());
    QVERIFY(folder.mkdir(QStringLiteral("old")));
    QVERIFY(folder.mkdir(QStringLiteral("new")));
    m_strFile = folder.filePath(QStringLiteral("new/scene.json"));
    QVERIFY(write(sceneWithOpacity(10)));
    m_strFile = folder.filePath(QStringLiteral("old/scene.json"));
    QVERIFY(write(sceneWithOpacity(5)));
    QVERIFY(folder.rename(QStringLiteral("old"), QStringLiteral("scenes")));
    m_strFile = folder.filePath(QStringLiteral("scenes/scene.json"));
    SceneWatcher watcher;
    watcher.watch(m_strFile);
    QSignalSpy changed(&watcher, &SceneWatcher::changed);
    QVERIFY(folder.rename(QStringLiteral("scenes"), QStringLiteral("old")));
    QVERIFY(folder.rename(QStringLiteral("new"), QStringLiteral("scenes")));
    QTRY_VERIFY_WITH_TIMEOUT(changed.count() > 0 && opacityOf(changed) == 10, Patience);
    QVERIFY(write(sceneWithOpacity(20)));
    QTRY_COMPARE_WITH_TIMEOUT(opacityOf(changed), 20, Patience);
}

void tst_SceneWatcher::aFolderThatWasGoneIsFollowed()
{
    QDir folder(m_pFolder->path());
    QVERIFY(folder.mkdir(QStringLiteral("scenes")));
    m_strFile = folder.filePath(QStringLiteral("scenes/scene.json"));
    QVERIFY(write(sceneWithOpacity(5)));
    SceneWatcher watcher;
    watcher.watch(m_strFile);
    QSignalSpy changed(&watcher, &SceneWatcher::changed);
    QSignalSpy broken(&watcher, &SceneWatcher::broken);
    QVERIFY(QDir(folder.filePath(QStringLiteral("scenes"))).removeRecursively());
    QTRY_COMPARE_WITH_TIMEOUT(broken.count(), 1, Patience);
    QVERIFY(folder.mkdir(QStringLiteral("scenes")));
    QVERIFY(write(sceneWithOpacity(10)));
    QTRY_VERIFY_WITH_TIMEOUT(changed.count() > 0 && opacityOf(changed) == 10, Patience);
}

void tst_SceneWatcher::aFolderWhereFilesComeAndGoHidesNoChange()
{
    SceneWatcher watcher;
    watcher.watch(m_strFile);
    QSignalSpy changed(&watcher, &SceneWatcher::changed);
    QFile other(m_pFolder->filePath(QStringLiteral("other")));
    QTimer comingAndGoing;
    connect(&comingAndGoing, &QTimer::timeout, &comingAndGoing, [&other] {
        if (!other.remove())
            QVERIFY(other.open(QIODevice::WriteOnly));
        other.close();
    });
    comingAndGoing.start(20);
    QVERIFY(write(sceneWithOpacity(33)));
    QTRY_VERIFY_WITH_TIMEOUT(changed.count() > 0 && opacityOf(changed) == 33, Patience);
    QVERIFY(comingAndGoing.isActive());
}

void tst_SceneWatcher::aPipeInItsPlaceIsToldAndNotOpened()
{
    SceneWatcher watcher;
    watcher.watch(m_strFile);
    QSignalSpy changed(&watcher, &SceneWatcher::changed);
    QSignalSpy broken(&watcher, &SceneWatcher::broken);
    QVERIFY(QFile::remove(m_strFile));
    QCOMPARE(mkfifo(qPrintable(m_strFile), 0600), 0);
    QTRY_VERIFY_WITH_TIMEOUT(broken.count() > 0, Patience);
    QVERIFY(broken.last().first().toStringList().first().contains(m_strFile));
    QVERIFY(replace(sceneWithOpacity(5)));
    QTRY_VERIFY_WITH_TIMEOUT(changed.count() > 0 && opacityOf(changed) == 5, Patience);
}

void tst_SceneWatcher::writingTheSameTextIsNoChange()
{
    SceneWatcher watcher;
    watcher.watch(m_strFile);
    QSignalSpy changed(&watcher, &SceneWatcher::changed);
    QSignalSpy broken(&watcher, &SceneWatcher::broken);
    QVERIFY(replace(sceneWithOpacity(60)));
    QVERIFY(!changed.wait(1000));
    QCOMPARE(changed.count() + broken.count(), 0);
}

void tst_SceneWatcher::nothingIsFollowedBeforeAndAfter()
{
    SceneWatcher watcher;
    watcher.watch(QString());
    QSignalSpy changed(&watcher, &SceneWatcher::changed);
    watcher.watch(m_strFile);
    watcher.watch(QString());
    QVERIFY(write(sceneWithOpacity(1)));
    QVERIFY(!changed.wait(1000));
}

QTEST_GUILESS_MAIN(tst_SceneWatcher)
#include "tst_scenewatcher.moc"
