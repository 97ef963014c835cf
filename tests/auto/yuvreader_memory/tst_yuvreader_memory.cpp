// A YUV reader whose frame picture cannot be allocated.

#include <pixmapreaderlocalyuv_p.h>

#include "localreaderprobe.h"
#include "yuvpictures.h"

#include <QCoreApplication>
#include <QFile>
#include <QStringList>
#include <QTemporaryDir>
#include <QtTest>

#include <malloc.h>
#include <sys/resource.h>

#include <memory>

using namespace Morvek::Tests;
using Morvek::EchoVideo::Internal::LocalYUVReader;

namespace {

using Probe = LocalReaderProbe<LocalYUVReader>;

constexpr rlim_t Slack = 4 << 20; // less than a picture, more than all else that is allocated

rlim_t addressSpaceInUse()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return rlim_t(file.readAll().split(' ').value(0).toLongLong()) * 4096;
}

void limitAddressSpace(rlim_t nBytes)
{
    rlimit limit{};
    getrlimit(RLIMIT_AS, &limit);
    limit.rlim_cur = qMin(nBytes, limit.rlim_max);
    setrlimit(RLIMIT_AS, &limit);
}

QStringList logLines; // written on the reader's thread until it was stopped

// The file's size is logged on the reader's thread right before the picture is made.
void limitAtSizeLine(QtMsgType, const QMessageLogContext &, const QString &strText)
{
    logLines.append(strText);
    if (strText.startsWith(QStringLiteral("Total Size:")))
        limitAddressSpace(addressSpaceInUse() + Slack);
}

} // namespace

class TestYuvReaderMemory : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aPictureThatCannotBeMadeIsMadeAtTheNextPass();
};

void TestYuvReaderMemory::aPictureThatCannotBeMadeIsMadeAtTheNextPass()
{
    QTemporaryDir folder;
    QVERIFY(writeYuvFile(folder.filePath(QStringLiteral("echo.yuv")), 1));
    Probe probe;
    probe.videoConfig().FPS = 50;
    probe.videoConfig().VideoSourcePath = folder.filePath(QStringLiteral("echo.yuv"));
    probe.setHook([](int) { limitAddressSpace(RLIM_INFINITY); });
    const QtMessageHandler previous = qInstallMessageHandler(limitAtSizeLine);
    probe.start();
    const bool isGoingOn = probe.waitForPictures(4);
    probe.stop();
    qInstallMessageHandler(previous);

    QVERIFY(isGoingOn);
    QCOMPARE(probe.pictures()[0].m_size, QSize(0, 0)); // a null picture
    for (int i = 1; i < 4; ++i)
        QCOMPARE(probe.pictures()[i].m_size, QSize(1920, 1080));
    QCOMPARE(logLines.size(), 2);                      // and no message about it
    QCOMPARE(probe.image().size(), QSize(1920, 1080)); // without signal, at the end
}

int main(int argc, char *argv[])
{
    // Before the first thread: no thread has room of its own that was reserved earlier, and large
    // blocks always come from the system, where its limit applies.
    mallopt(M_ARENA_MAX, 1);
    mallopt(M_MMAP_THRESHOLD, 1 << 20);
    const QCoreApplication application(argc, argv);
    TestYuvReaderMemory test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_yuvreader_memory.moc"
