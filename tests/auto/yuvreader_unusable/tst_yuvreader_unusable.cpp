// A path that cannot be played: random stripes in its place, and never a task that hangs.

#include <pixmapreaderlocalyuv_p.h>

#include "localreaderprobe.h"
#include "logcapture.h"
#include "picturecompare.h"
#include "testpictures.h"
#include "yuvpictures.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <memory>

using namespace Morvek::Tests;
using Morvek::EchoVideo::Internal::LocalYUVReader;

namespace {

using Probe = LocalReaderProbe<LocalYUVReader>;

constexpr int StopLimit = 10000; // ms; a task that hangs takes for ever

enum class ePlace {
    Nothing,
    DanglingLink,
    Folder,
    Pipe,
    ZeroDevice,
    Socket,
    EmptyFile,
    ShortFile,
};

void makeSocket(const QString &strPath)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    qstrncpy(address.sun_path, QFile::encodeName(strPath).constData(), sizeof address.sun_path);
    const int hSocket = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    QCOMPARE(bind(hSocket, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    close(hSocket);
}

/** Puts something in the place of a file to play. */
void makePlace(ePlace place, const QString &strPath)
{
    const QByteArray baPath = QFile::encodeName(strPath);
    switch (place) {
    case ePlace::Nothing:
        break;
    case ePlace::DanglingLink:
        QCOMPARE(symlink("there-is-no-such-file", baPath.constData()), 0);
        break;
    case ePlace::Folder:
        QCOMPARE(mkdir(baPath.constData(), 0700), 0);
        break;
    case ePlace::Pipe:
        QCOMPARE(mkfifo(baPath.constData(), 0600), 0);
        break;
    case ePlace::ZeroDevice:
        QCOMPARE(symlink("/dev/zero", baPath.constData()), 0);
        break;
    case ePlace::Socket:
        makeSocket(strPath);
        break;
    case ePlace::EmptyFile:
        QVERIFY(writeYuvFile(strPath, 0));
        break;
    case ePlace::ShortFile:
        QVERIFY(writeYuvFile(strPath, 0, YuvFrameBytes - 1));
        break;
    }
}

/** Whether every row of a picture equals its first one. */
bool hasUniformColumns(const QImage &picture)
{
    for (int y = 1; y < picture.height(); ++y) {
        if (std::memcmp(picture.constScanLine(0), picture.constScanLine(y),
                        size_t(picture.bytesPerLine()))
            != 0)
            return false;
    }
    return !picture.isNull();
}

} // namespace

Q_DECLARE_METATYPE(ePlace)

class TestYuvReaderUnusable : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void stripesAreShownInstead_data();
    void stripesAreShownInstead();
    void aFileThatComesLaterIsPlayedByTheNextTaskOnly();

private:
    QString path() const { return m_pFolder->filePath(QStringLiteral("echo.yuv")); }

    void noteStripes(const QImage &picture);

    std::unique_ptr<QTemporaryDir> m_pFolder;
    QList<QByteArray> m_firstRows; // written on the reader's thread until it was stopped
    bool m_isStriped = true;       // likewise
    std::unique_ptr<Probe> m_pProbe;
};

void TestYuvReaderUnusable::init()
{
    m_pFolder = std::make_unique<QTemporaryDir>();
    QVERIFY(m_pFolder->isValid());
    m_firstRows.clear();
    m_isStriped = true;
    m_pProbe = std::make_unique<Probe>();
    m_pProbe->videoConfig().FPS = 50;
    m_pProbe->videoConfig().VideoSourcePath = path();
}

void TestYuvReaderUnusable::cleanup()
{
    m_pProbe.reset();
    m_pFolder.reset();
}

void TestYuvReaderUnusable::noteStripes(const QImage &picture)
{
    m_isStriped = m_isStriped && hasUniformColumns(picture);
    m_firstRows.append(QByteArray(reinterpret_cast<const char *>(picture.constScanLine(0)),
                                  picture.bytesPerLine()));
}

void TestYuvReaderUnusable::stripesAreShownInstead_data()
{
    QTest::addColumn<ePlace>("place");
    QTest::addColumn<QString>("strReason"); // empty for a file that opens
    const QString strMissing = qt_error_string(ENOENT);
    const QString strNoFile = QStringLiteral("Not a regular file");
    QTest::newRow("nothing there") << ePlace::Nothing << strMissing;
    QTest::newRow("link to nothing") << ePlace::DanglingLink << strMissing;
    QTest::newRow("folder") << ePlace::Folder << strNoFile;
    QTest::newRow("pipe without a writer") << ePlace::Pipe << strNoFile;
    QTest::newRow("endless device") << ePlace::ZeroDevice << strNoFile;
    QTest::newRow("socket") << ePlace::Socket << strNoFile;
    QTest::newRow("empty file") << ePlace::EmptyFile << QString();
    QTest::newRow("file one byte short of a frame") << ePlace::ShortFile << QString();
}

void TestYuvReaderUnusable::stripesAreShownInstead()
{
    QFETCH(ePlace, place);
    QFETCH(QString, strReason);
    makePlace(place, path());
    const LogCapture log;
    m_pProbe->setHook([this](int nPictures) {
        if (nPictures <= 4)
            noteStripes(m_pProbe->image());
    });
    m_pProbe->start();
    QVERIFY(m_pProbe->waitForPictures(5));
    QVERIFY(m_pProbe->stop() < StopLimit);

    QVERIFY(m_isStriped);
    QCOMPARE(m_firstRows.size(), 4);
    for (int i = 0; i < 4; ++i) {
        QCOMPARE(m_pProbe->pictures()[i].m_size, QSize(1920, 1080));
        QCOMPARE(m_pProbe->pictures()[i].m_eFormat, QImage::Format_RGB32);
        QVERIFY(!m_pProbe->pictures()[i].m_isUniform);
        QCOMPARE(m_firstRows.count(m_firstRows[i]), 1); // new in every frame
    }
    COMPARE_PICTURES(m_pProbe->image(), solidPicture(QSize(1920, 1080), Qt::black));

    const QList<sLogLine> lines = log.lines();
    QCOMPARE(lines.size(), strReason.isEmpty() ? 2 : 3);
    QCOMPARE(lines[0].m_strText, QStringLiteral("----->Start read yuv file"));
    if (!strReason.isEmpty()) {
        QCOMPARE(lines[1].m_eType, QtWarningMsg);
        QCOMPARE(lines[1].m_strText, QStringLiteral("Cannot open %1 for reading: %2")
                                         .arg(QDir::toNativeSeparators(path()), strReason));
    }
    QCOMPARE(lines.constLast().m_eType, QtDebugMsg);
    QVERIFY(lines.constLast().m_strText.endsWith(
        QStringLiteral("\tBytes Per Frames: 3110400 \tNum Frames: 0")));
}

void TestYuvReaderUnusable::aFileThatComesLaterIsPlayedByTheNextTaskOnly()
{
    m_pProbe->start();
    QVERIFY(m_pProbe->waitForPictures(1));
    QVERIFY(writeYuvFile(path(), 1));
    const int nPictures = m_pProbe->pictureCount();
    QVERIFY(m_pProbe->waitForPictures(nPictures + 3));
    QVERIFY(!m_pProbe->pictures()[nPictures + 2].m_isUniform);

    m_pProbe->stop();
    const int nPicturesAtStop = m_pProbe->pictureCount();
    m_pProbe->start();
    QVERIFY(m_pProbe->waitForPictures(nPicturesAtStop + 1));
    QCOMPARE(m_pProbe->pictures()[nPicturesAtStop].m_firstPixel, yuvPixel(yuvColor(0)));
}

QTEST_GUILESS_MAIN(TestYuvReaderUnusable)
#include "tst_yuvreader_unusable.moc"
