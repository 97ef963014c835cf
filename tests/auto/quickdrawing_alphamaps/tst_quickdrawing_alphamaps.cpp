// Alpha maps that are kept: as long as the file is the same, and not a moment longer.

#include "picturecompare.h"
#include "quickdrawing/alphamaps_p.h"
#include "testlayers.h"
#include "testpictures.h"

#include <QFile>
#include <QObject>
#include <QTemporaryDir>
#include <QtTest>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Morvek::EchoVideo::Internal;
using namespace Morvek::Tests;

namespace {

constexpr QSize LayerSize(32, 20);

QImage mapOfAlpha(int nAlpha)
{
    return solidPicture(QSize(4, 4), QColor(0, 0, 0, nAlpha));
}

} // namespace

class tst_QuickDrawingAlphaMaps : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void freshFileHasNoIdentity();
    void onlyRegularFilesHaveOne();
    void mapIsLoadedOnce();
    void planeIsWhatIsLeftOfTheLayer();
    void changedFileIsLoadedAgain_data();
    void changedFileIsLoadedAgain();
    void previewsFollowTheFile();
    void fileThatDoesNotLoadIsNotKept();
    void deepMapHasNoPlane();
    void mapsAreForgottenWhenTheyAreMany();

private:
    QString file(const QString &strName = QStringLiteral("map.png")) const
    {
        return m_pFolder->filePath(strName);
    }
    const AlphaMaps::sPlane *find(const QSize &size = LayerSize);

    std::unique_ptr<QTemporaryDir> m_pFolder;
    AlphaMaps m_maps;
    int m_nLoads = 0;
};

void tst_QuickDrawingAlphaMaps::init()
{
    m_pFolder = std::make_unique<QTemporaryDir>();
    m_maps = AlphaMaps();
    m_nLoads = 0;
    QVERIFY(mapOfAlpha(100).save(file()));
}

const AlphaMaps::sPlane *tst_QuickDrawingAlphaMaps::find(const QSize &size)
{
    return m_maps.find(file(), size, [this](const QString &strFile) {
        ++m_nLoads;
        return QImage(strFile);
    });
}

void tst_QuickDrawingAlphaMaps::freshFileHasNoIdentity()
{
    QVERIFY(!fileIdentity(file()));
    QVERIFY(!find());
    QCOMPARE(m_nLoads, 0);
    QTRY_VERIFY(fileIdentity(file()));
    QVERIFY(find());
}

void tst_QuickDrawingAlphaMaps::onlyRegularFilesHaveOne()
{
    QVERIFY(!fileIdentity(file(QStringLiteral("missing.png"))));
    QVERIFY(!fileIdentity(QStringLiteral("/"))); // old enough, but a folder
    QVERIFY(!fileIdentity(QStringLiteral("/dev/null")));
    QVERIFY(!fileIdentity(QString()));
}

void tst_QuickDrawingAlphaMaps::mapIsLoadedOnce()
{
    QTRY_VERIFY(find());
    QVERIFY(find());
    QCOMPARE(m_nLoads, 1);
    QVERIFY(find(QSize(33, 20))); // another layer's
    QVERIFY(find());
    QCOMPARE(m_nLoads, 2);
}

void tst_QuickDrawingAlphaMaps::planeIsWhatIsLeftOfTheLayer()
{
    QImage map(2, 2, QImage::Format_ARGB32);
    map.setPixel(0, 0, qRgba(0, 0, 0, 0));
    map.setPixel(1, 0, qRgba(0, 0, 0, 50));
    map.setPixel(0, 1, qRgba(0, 0, 0, 200));
    map.setPixel(1, 1, qRgba(0, 0, 0, 255));
    QVERIFY(map.save(file()));
    QTRY_VERIFY(find());
    const AlphaMaps::sPlane plane = *find();
    QCOMPARE(plane.m_alphas.size(), size_t(LayerSize.width() * LayerSize.height()));
    QCOMPARE(plane.m_rows.size(), size_t(LayerSize.height()));
    for (int y = 0; y < LayerSize.height(); ++y) {
        const bool isTop = y < LayerSize.height() / 2;
        for (int x = 0; x < LayerSize.width(); ++x) {
            const bool isLeft = x < LayerSize.width() / 2;
            QCOMPARE(int(plane.m_alphas[size_t(y * LayerSize.width() + x)]),
                     isTop ? (isLeft ? 0 : 50) : (isLeft ? 200 : 255));
        }
        QCOMPARE(plane.m_rows[size_t(y)], isTop ? 0 : LayerSize.height() / 2);
    }
}

void tst_QuickDrawingAlphaMaps::changedFileIsLoadedAgain_data()
{
    QTest::addColumn<QString>("way");

    QTest::newRow("written again") << QStringLiteral("write");
    QTest::newRow("replaced, with the old time") << QStringLiteral("replace");
    QTest::newRow("removed") << QStringLiteral("remove");
}

void tst_QuickDrawingAlphaMaps::changedFileIsLoadedAgain()
{
    QFETCH(QString, way);

    QTRY_VERIFY(find());
    struct stat before = {};
    QCOMPARE(stat(QFile::encodeName(file()).constData(), &before), 0);
    if (way == QStringLiteral("remove")) {
        QVERIFY(QFile::remove(file()));
        QVERIFY(!find());
        return;
    }
    const QString strNew =
        way == QStringLiteral("replace") ? file(QStringLiteral("new.png")) : file();
    QVERIFY(mapOfAlpha(101).save(strNew));
    const timespec times[] = {before.st_atim, before.st_mtim};
    QCOMPARE(utimensat(AT_FDCWD, QFile::encodeName(strNew).constData(), times, 0), 0);
    if (strNew != file())
        QCOMPARE(
            rename(QFile::encodeName(strNew).constData(), QFile::encodeName(file()).constData()),
            0);
    // Never the old one: at first none, then the new one.
    QTRY_VERIFY([this] {
        const AlphaMaps::sPlane *const pPlane = find();
        return pPlane && pPlane->m_alphas.front() == 101;
    }());
    QCOMPARE(m_nLoads, 2);
}

// Through the library's front door: each preview shows the file as it is just then.
void tst_QuickDrawingAlphaMaps::previewsFollowTheFile()
{
    auto cfg = pictureLayer(LayerSize.width(), LayerSize.height());
    cfg.m_LayerAlphaMap.m_strAlphaMapFile = file();
    const auto alpha = [&] {
        return qAlpha(preview(cfg, gradientPicture(QSize(8, 8))).pixel(5, 5));
    };
    QCOMPARE(alpha(), 100);
    QTRY_VERIFY(fileIdentity(file()));
    QCOMPARE(alpha(), 100);
    QVERIFY(mapOfAlpha(7).save(file()));
    QCOMPARE(alpha(), 7);
    QVERIFY(QFile::remove(file()));
    QCOMPARE(alpha(), 255);
}

void tst_QuickDrawingAlphaMaps::fileThatDoesNotLoadIsNotKept()
{
    QFile broken(file());
    QVERIFY(broken.open(QIODevice::WriteOnly));
    QVERIFY(broken.write("no picture") > 0);
    broken.close();
    QTRY_VERIFY(fileIdentity(file()));
    QVERIFY(!find());
    QVERIFY(!find());
    QCOMPARE(m_nLoads, 2); // whatever was wrong with it may be over
}

void tst_QuickDrawingAlphaMaps::deepMapHasNoPlane()
{
    QVERIFY(mapOfAlpha(100).convertToFormat(QImage::Format_RGBA64).save(file()));
    QTRY_VERIFY(fileIdentity(file()));
    QVERIFY(!find());
    QVERIFY(!find());
    QCOMPARE(m_nLoads, 1); // and is not read for every frame to find that out
}

void tst_QuickDrawingAlphaMaps::mapsAreForgottenWhenTheyAreMany()
{
    QTRY_VERIFY(find());
    for (int nWidth = 16; nWidth < 80; ++nWidth)
        QVERIFY(find(QSize(nWidth, 20)));
    QVERIFY(m_maps.m_entries.size() <= 16);
    for (int i = 0; i < 4; ++i)
        QVERIFY(find(QSize(4000 + i, 2000)));
    size_t nBytes = 0;
    for (const auto &entry : m_maps.m_entries)
        nBytes += entry.m_plane.m_alphas.size();
    QVERIFY(nBytes <= size_t(16 << 20));
}

QTEST_MAIN(tst_QuickDrawingAlphaMaps)
#include "tst_quickdrawing_alphamaps.moc"
