// Playing a raw YUV file: which frames are shown in which order, and what ends it.

#include <pixmapreaderlocalyuv_p.h>

#include "localreaderprobe.h"
#include "logcapture.h"
#include "picturecompare.h"
#include "testpictures.h"
#include "yuvpictures.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <fcntl.h>
#include <unistd.h>

#include <memory>
#include <type_traits>

using namespace Morvek::Tests;
using Morvek::EchoVideo::Internal::LocalYUVReader;
using Morvek::EchoVideo::Internal::Reader;

static_assert(std::is_base_of_v<Reader, LocalYUVReader>);
static_assert(sizeof(LocalYUVReader) == sizeof(Reader)); // no members of its own
static_assert(!std::is_copy_constructible_v<LocalYUVReader>);
static_assert(!std::is_convertible_v<QImage &, LocalYUVReader>);

namespace {

using Probe = LocalReaderProbe<LocalYUVReader>;

constexpr quint8 QuickFps = 50;

QRgb framePixel(int nFrame)
{
    return yuvPixel(yuvColor(nFrame));
}

/** The descriptor under which this process has a file open; -1 where it has not. */
int openDescriptor(const QString &strPath)
{
    const QDir folder(QStringLiteral("/proc/self/fd"));
    const QStringList names = folder.entryList(QDir::Files | QDir::System);
    for (const QString &strName : names) {
        if (QFile::symLinkTarget(folder.filePath(strName)) == strPath)
            return strName.toInt();
    }
    return -1;
}

} // namespace

class TestYuvReader : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void theReaderDeclaresNoSignalsAndNoSlots();
    void theFramesArePlayedInALoop_data();
    void theFramesArePlayedInALoop();
    void everyFrameIsWrittenInPlace();
    void withoutAPathTheFileNextToTheApplicationIsPlayed();
    void theLogTellsTheSizeOfTheFile();
    void aReaderNeedsNoCallback();

    void aCutFileLeavesTheLastWholePicture_data();
    void aCutFileLeavesTheLastWholePicture();
    void aFileCutBeforeItsFirstFrameShowsNothing();
    void aReadErrorEndsTheTask();
    void withoutADeviceTheTaskEndsAtOnce();
    void theNoSignalPictureFollowsAStop();
    void theFileIsOpenWhileTheTaskRunsOnly();

private:
    QString filePath() const { return m_folder.filePath(QStringLiteral("echo.yuv")); }
    void playFile(int nFrames, int nTrailingBytes = 0);

    QTemporaryDir m_folder;
    std::unique_ptr<Probe> m_pProbe;
};

void TestYuvReader::initTestCase()
{
    QVERIFY(m_folder.isValid());
}

void TestYuvReader::init()
{
    m_pProbe = std::make_unique<Probe>();
    m_pProbe->videoConfig().FPS = QuickFps;
    m_pProbe->videoConfig().VideoSourcePath = filePath();
}

void TestYuvReader::cleanup()
{
    m_pProbe.reset();
    QFile::remove(filePath());
}

void TestYuvReader::playFile(int nFrames, int nTrailingBytes)
{
    QVERIFY(writeYuvFile(filePath(), nFrames, nTrailingBytes));
    m_pProbe->start();
}

void TestYuvReader::theReaderDeclaresNoSignalsAndNoSlots()
{
    const QMetaObject &meta = LocalYUVReader::staticMetaObject;
    QCOMPARE(QByteArray(meta.className()),
             QByteArray("Morvek::EchoVideo::Internal::LocalYUVReader"));
    QCOMPARE(meta.superClass(), &Reader::staticMetaObject);
    QCOMPARE(meta.methodCount(), Reader::staticMetaObject.methodCount());
    QVERIFY(!m_pProbe->reader().parent());
}

void TestYuvReader::theFramesArePlayedInALoop_data()
{
    QTest::addColumn<int>("nFrames");
    QTest::addColumn<int>("nTrailingBytes");
    QTest::newRow("one frame") << 1 << 0;
    QTest::newRow("one frame and one byte") << 1 << 1;
    QTest::newRow("three frames") << 3 << 0;
    QTest::newRow("three frames and almost a fourth") << 3 << YuvFrameBytes - 1;
}

void TestYuvReader::theFramesArePlayedInALoop()
{
    QFETCH(int, nFrames);
    QFETCH(int, nTrailingBytes);
    playFile(nFrames, nTrailingBytes);
    QVERIFY(m_pProbe->waitForPictures(7));
    const QList<sReaderPicture> pictures = m_pProbe->pictures();
    for (int i = 0; i < 7; ++i) {
        QVERIFY(pictures[i].m_isUniform);
        QCOMPARE(pictures[i].m_firstPixel, framePixel(i % nFrames));
        QCOMPARE(pictures[i].m_size, QSize(1920, 1080));
        // Without a GUI application.
        QCOMPARE(pictures[i].m_eFormat, QImage::Format_RGB32);
    }
}

void TestYuvReader::everyFrameIsWrittenInPlace()
{
    playFile(2);
    QVERIFY(m_pProbe->waitForPictures(5));
    const QList<sReaderPicture> pictures = m_pProbe->pictures();
    for (int i = 1; i < 5; ++i) {
        QCOMPARE(pictures[i].m_pBits, pictures[0].m_pBits);
        QCOMPARE(pictures[i].m_hThread, pictures[0].m_hThread);
    }
    QVERIFY(pictures[0].m_hThread != QThread::currentThreadId());
}

void TestYuvReader::withoutAPathTheFileNextToTheApplicationIsPlayed()
{
    const QString strPath = QCoreApplication::applicationDirPath() + "/frame300.yuv";
    QVERIFY(writeYuvFile(strPath, 2));
    m_pProbe->videoConfig().VideoSourcePath.clear();
    m_pProbe->start();
    const bool isPlayed = m_pProbe->waitForPictures(3);
    m_pProbe->stop();
    QFile::remove(strPath);
    QVERIFY(isPlayed);
    QCOMPARE(m_pProbe->pictures()[0].m_firstPixel, framePixel(0));
    QCOMPARE(m_pProbe->pictures()[1].m_firstPixel, framePixel(1));
    QCOMPARE(m_pProbe->pictures()[2].m_firstPixel, framePixel(0));
}

void TestYuvReader::theLogTellsTheSizeOfTheFile()
{
    const LogCapture log;
    playFile(2, 5);
    QVERIFY(m_pProbe->waitForPictures(3));
    m_pProbe->stop();
    const QList<sLogLine> lines = log.lines();
    QCOMPARE(lines.size(), 2);
    QCOMPARE(lines[0].m_strText, QStringLiteral("----->Start read yuv file"));
    QCOMPARE(lines[1].m_strText,
             QStringLiteral("Total Size: 6220805 \tBytes Per Frames: 3110400 \tNum Frames: 2"));
    for (const sLogLine &line : lines) {
        QCOMPARE(line.m_eType, QtDebugMsg);
        QCOMPARE(line.m_strCategory, QStringLiteral("default"));
        QVERIFY(line.m_strFile.endsWith("pixmapreaderlocalyuv_p.cpp"));
        QVERIFY(line.m_nLine > 0);
        QVERIFY(line.m_strFunction.contains("Yuv", Qt::CaseInsensitive));
        QCOMPARE(line.m_hThread, m_pProbe->pictures()[0].m_hThread);
    }
}

void TestYuvReader::aReaderNeedsNoCallback()
{
    m_pProbe->reader().setInputVideoReadFinishedCallback({});
    QVERIFY(writeYuvFile(filePath(), 1));
    m_pProbe->start();
    QTRY_VERIFY_WITH_TIMEOUT(openDescriptor(filePath()) != -1, Probe::LongWait);
    m_pProbe->stop();
    QCOMPARE(m_pProbe->pictureCount(), 0);
    COMPARE_PICTURES(m_pProbe->image(), solidPicture(QSize(1920, 1080), Qt::black));
}

void TestYuvReader::aCutFileLeavesTheLastWholePicture_data()
{
    QTest::addColumn<int>("nCutAfter");
    QTest::addColumn<int>("nBytesLeft");
    QTest::addColumn<QList<int>>("frames");
    const auto row = [](const char *pName, int nCutAfter, int nBytesLeft, QList<int> frames) {
        QTest::newRow(pName) << nCutAfter << nBytesLeft << frames;
    };
    row("to nothing", 1, 0, {0, 0, 0, 0, 0, 0});
    row("inside the first frame", 2, 5000, {0, 1, 1, 1, 1, 1});
    row("one byte before the end of a frame", 1, 2 * YuvFrameBytes - 1, {0, 0, 0, 0, 0, 0});
    row("between two frames", 3, 2 * YuvFrameBytes, {0, 1, 2, 0, 1, 1});
    row("inside the second frame", 3, YuvFrameBytes * 3 / 2, {0, 1, 2, 0, 0, 0});
}

void TestYuvReader::aCutFileLeavesTheLastWholePicture()
{
    QFETCH(int, nCutAfter);
    QFETCH(int, nBytesLeft);
    QFETCH(QList<int>, frames);
    const LogCapture log;
    m_pProbe->setHook([this, nCutAfter, nBytesLeft](int nPictures) {
        if (nPictures == nCutAfter)
            QFile::resize(filePath(), nBytesLeft);
    });
    playFile(3);
    QVERIFY(m_pProbe->waitForPictures(frames.size()));
    const QList<sReaderPicture> pictures = m_pProbe->pictures();
    for (int i = 0; i < frames.size(); ++i) {
        QVERIFY(pictures[i].m_isUniform);
        QCOMPARE(pictures[i].m_firstPixel, framePixel(frames[i]));
    }
    QCOMPARE(QFile(filePath()).size(), qint64(nBytesLeft));
    QVERIFY(m_pProbe->reader().isRunning());
    QCOMPARE(log.count(QStringLiteral("Cannot")), 0);
}

void TestYuvReader::aFileCutBeforeItsFirstFrameShowsNothing()
{
    // The line about the size is logged between opening the file and reading from it.
    static QString strPath;
    strPath = filePath();
    const QtMessageHandler previous =
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &strText) {
            if (strText.startsWith(QStringLiteral("Total Size:")))
                QFile::resize(strPath, 1000);
        });
    playFile(2);
    const bool isShown = m_pProbe->waitForPictures(3);
    m_pProbe->stop();
    qInstallMessageHandler(previous);
    QVERIFY(isShown);
    for (int i = 0; i < 3; ++i) {
        QVERIFY(m_pProbe->pictures()[i].m_isUniform);
        QCOMPARE(m_pProbe->pictures()[i].m_firstPixel, qRgb(0, 0, 0));
    }
}

void TestYuvReader::aReadErrorEndsTheTask()
{
    const LogCapture log;
    // From the second frame on, the reader's own descriptor is one that cannot be read from.
    m_pProbe->setHook([this](int nPictures) {
        if (nPictures != 1)
            return;
        const int nWriteOnly = open("/dev/null", O_WRONLY | O_CLOEXEC);
        dup2(nWriteOnly, openDescriptor(filePath()));
        close(nWriteOnly);
    });
    playFile(3);
    QVERIFY(m_pProbe->reader().wait(Probe::LongWait));
    QVERIFY(!m_pProbe->reader().m_isStopRead);
    QCOMPARE(m_pProbe->pictureCount(), 2);
    QCOMPARE(m_pProbe->pictures()[0].m_firstPixel, framePixel(0));
    COMPARE_PICTURES(m_pProbe->image(), solidPicture(QSize(1920, 1080), Qt::black));
    QCOMPARE(m_pProbe->image().format(), QImage::Format_ARGB32);

    const sLogLine last = log.lines().constLast();
    QCOMPARE(last.m_eType, QtWarningMsg);
    QCOMPARE(last.m_strText,
             QStringLiteral("Cannot read %1: %2")
                 .arg(QDir::toNativeSeparators(filePath()), qt_error_string(EBADF)));
}

void TestYuvReader::withoutADeviceTheTaskEndsAtOnce()
{
    const LogCapture log;
    m_pProbe->reader().restartRead({});
    QVERIFY(m_pProbe->reader().wait(Probe::LongWait));
    QCOMPARE(log.lines().size(), 0);
    QCOMPARE(m_pProbe->pictureCount(), 1);
    QCOMPARE(m_pProbe->image().format(), QImage::Format_ARGB32);
    COMPARE_PICTURES(m_pProbe->image(), solidPicture(QSize(1920, 1080), Qt::black));
}

void TestYuvReader::theNoSignalPictureFollowsAStop()
{
    playFile(1);
    QVERIFY(m_pProbe->waitForPictures(2));
    m_pProbe->stop();
    const QList<sReaderPicture> pictures = m_pProbe->pictures();
    for (int i = 0; i + 1 < pictures.size(); ++i)
        QCOMPARE(pictures[i].m_firstPixel, framePixel(0));
    QCOMPARE(pictures.constLast().m_firstPixel, qRgb(0, 0, 0));
    QCOMPARE(pictures.constLast().m_eFormat, QImage::Format_ARGB32);
    COMPARE_PICTURES(m_pProbe->image(), solidPicture(QSize(1920, 1080), Qt::black));
}

void TestYuvReader::theFileIsOpenWhileTheTaskRunsOnly()
{
    playFile(1);
    QVERIFY(m_pProbe->waitForPictures(1));
    QVERIFY(openDescriptor(filePath()) != -1);
    m_pProbe->stop();
    QCOMPARE(openDescriptor(filePath()), -1);
}

QTEST_GUILESS_MAIN(TestYuvReader)
#include "tst_yuvreader.moc"
