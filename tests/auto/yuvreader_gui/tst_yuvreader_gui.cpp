// The format of a YUV reader's pictures in a process with a GUI application: that of its pixmaps.

#include <pixmapreaderlocalyuv_p.h>

#include "localreaderprobe.h"
#include "yuvpictures.h"

#include <QFile>
#include <QGuiApplication>
#include <QPixmap>
#include <QSet>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

using namespace Morvek::Tests;
using Morvek::EchoVideo::Internal::LocalYUVReader;

namespace {

using Probe = LocalReaderProbe<LocalYUVReader>;

QImage::Format expectedFormat()
{
    const QImage::Format eFormat = QPixmap(1, 1).toImage().format();
    if (eFormat == QImage::Format_ARGB32 || eFormat == QImage::Format_ARGB32_Premultiplied)
        return eFormat;
    return QImage::Format_RGB32;
}

} // namespace

class TestYuvReaderGui : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void framesHaveTheFormatOfPixmaps();
    void stripesHaveTheFormatOfPixmaps();

private:
    QTemporaryDir m_folder;
    QSet<int> m_alphas; // written on the reader's thread until it was stopped
    std::unique_ptr<Probe> m_pProbe;
};

void TestYuvReaderGui::initTestCase()
{
    QVERIFY(qobject_cast<QGuiApplication *>(QCoreApplication::instance()));
    QVERIFY(m_folder.isValid());
    // The two platforms that this is run on stand for the two cases.
    if (QGuiApplication::platformName() == QStringLiteral("minimal"))
        QCOMPARE(expectedFormat(), QImage::Format_ARGB32_Premultiplied);
    if (QGuiApplication::platformName() == QStringLiteral("offscreen"))
        QCOMPARE(expectedFormat(), QImage::Format_RGB32);
}

void TestYuvReaderGui::init()
{
    m_alphas.clear();
    m_pProbe = std::make_unique<Probe>();
    m_pProbe->videoConfig().FPS = 50;
    m_pProbe->videoConfig().VideoSourcePath = m_folder.filePath(QStringLiteral("echo.yuv"));
}

void TestYuvReaderGui::cleanup()
{
    m_pProbe.reset();
    QFile::remove(m_folder.filePath(QStringLiteral("echo.yuv")));
}

void TestYuvReaderGui::framesHaveTheFormatOfPixmaps()
{
    QVERIFY(writeYuvFile(m_pProbe->videoConfig().VideoSourcePath, 2));
    m_pProbe->start();
    QVERIFY(m_pProbe->waitForPictures(4));
    for (int i = 0; i < 4; ++i) {
        const sReaderPicture picture = m_pProbe->pictures()[i];
        QCOMPARE(picture.m_eFormat, expectedFormat());
        QCOMPARE(picture.m_size, QSize(1920, 1080));
        QVERIFY(picture.m_isUniform);
        QCOMPARE(picture.m_firstPixel, yuvPixel(yuvColor(i % 2)));
    }
}

void TestYuvReaderGui::stripesHaveTheFormatOfPixmaps()
{
    m_pProbe->setHook([this](int nPictures) {
        for (int x = 0; nPictures == 1 && x < m_pProbe->image().width(); ++x)
            m_alphas.insert(qAlpha(m_pProbe->image().pixel(x, 0)));
    });
    m_pProbe->start();
    QVERIFY(m_pProbe->waitForPictures(2));
    m_pProbe->stop();
    QCOMPARE(m_pProbe->pictures()[0].m_eFormat, expectedFormat());
    QCOMPARE(m_pProbe->pictures()[0].m_size, QSize(1920, 1080));
    if (expectedFormat() == QImage::Format_RGB32)
        QCOMPARE(m_alphas, QSet<int>{255});
    else
        QVERIFY(m_alphas.size() > 200); // of 1920 random ones
}

QTEST_MAIN(TestYuvReaderGui)
#include "tst_yuvreader_gui.moc"
