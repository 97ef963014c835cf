// A layer of which nothing changed has its preview already; one of which anything did is rendered.

#include "layerdice.h"
#include "logcapture.h"
#include "picturecompare.h"
#include "sanitized.h"
#include "testlayers.h"
#include "testpictures.h"

#include <layervideomanager.h>
#include <previewmemory_p.h>
#include <quickdrawing/alphamaps_p.h>
#include <quickdrawing/plaindrawing_p.h>

#include <QCoreApplication>
#include <QObject>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <functional>

using namespace Morvek::EchoVideo;
using namespace Morvek::Tests;
using Morvek::BizModel::Enum::Layer::BorderType;

namespace {

using Change = std::function<void(sLayerVideoConfig &)>;

constexpr QSize LayerSize(96, 54);

sLayerVideoConfig layer()
{
    sLayerVideoConfig cfg = pictureLayer(LayerSize.width(), LayerSize.height());
    cfg.m_LayerBorder.m_borderType = BorderType::Halo_in;
    cfg.m_LayerBorder.m_borderSize = QSize(5, 5);
    cfg.m_LayerBorder.m_borderColor = QColor(10, 200, 30, 200);
    cfg.m_LayerSource.m_sizeLayerSource = QSize(200, 100);
    cfg.m_LayerSource.m_rectLayerSourceIntercept = QRect(0, 0, 150, 80);
    return cfg;
}

/** A manager with one render thread's pictures, driven by the test. */
class Renderer
{
public:
    Renderer()
        : m_manager([this](auto &&, auto &&, auto &&, QImage &frame) {
            ++m_nQuestions;
            frame = m_source;
            return true;
        })
    {}

    /** Sets the record unless it is there, as a host does: what it holds is kept. */
    void set(const sLayerVideoConfig &cfg)
    {
        sLayerVideoConfig record = cfg;
        sLayerVideoConfig stored;
        if (m_manager.findLayerVideoConfig(cfg.m_LayerIdentifies, stored))
            record.m_LayerVideoCanvas = stored.m_LayerVideoCanvas;
        m_manager.setLayerVideoConfig(record);
    }

    /** The preview after one render of the layer and its delivery. */
    QImage render(const sLayerUniqueIdentifies &key)
    {
        sLayerVideoConfig record;
        m_manager.findLayerVideoConfig(key, record);
        m_manager.renderLayer(record, m_canvas, m_frame, m_memory);
        QCoreApplication::processEvents();
        QImage preview;
        m_manager.getLayerVideoFrame(key, preview);
        return preview;
    }

    QImage m_source = gradientPicture(QSize(160, 90));
    int m_nQuestions = 0;
    LayerVideoManager m_manager;
    Internal::PreviewMemory m_memory;

private:
    QImage m_canvas;
    QImage m_frame;
};

QImage plainPreviewOf(const sLayerVideoConfig &cfg, const QImage &source)
{
    Internal::setPlainDrawing(true);
    const QImage picture = preview(cfg, source);
    Internal::setPlainDrawing(false);
    return picture;
}

} // namespace

Q_DECLARE_METATYPE(Change)

class tst_PreviewMemory : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();
    void unchangedLayerIsDeliveredAgain();
    void everyChangeShows_data();
    void everyChangeShows();
    void newPictureShows();
    void tinyPicturesAreComparedByTheirPixels();
    void layerWithoutSourceIsRenderedOnce();
    void smallestStepOfColourShows();
    void replacedMarkShows();
    void changedAlphaMapShows();
    void recordWithAnotherPictureIsRendered();
    void layersDoNotShareMemories();
    void layerWithoutSizeWarnsEachTime();
    void randomChanges();
    void memoryIsBounded();
};

void tst_PreviewMemory::cleanup()
{
    LayerVideoManager::m_frozenIcon.reset();
}

void tst_PreviewMemory::unchangedLayerIsDeliveredAgain()
{
    Renderer renderer;
    const sLayerVideoConfig cfg = layer();
    renderer.set(cfg);
    QSignalSpy finished(&renderer.m_manager, &LayerVideoManager::layerVideoRenderFinished);
    const QImage first = renderer.render(cfg.m_LayerIdentifies);
    COMPARE_PICTURES(first, plainPreviewOf(cfg, renderer.m_source));
    const QImage second = renderer.render(cfg.m_LayerIdentifies);
    QCOMPARE(second.constBits(), first.constBits()); // the very same
    QCOMPARE(renderer.m_nQuestions, 2);              // the host was asked all the same
    QCOMPARE(finished.size(), 2);                    // and told

    renderer.set(cfg); // written back as it was
    QCOMPARE(renderer.render(cfg.m_LayerIdentifies).constBits(), first.constBits());
    sLayerVideoConfig stored;
    QVERIFY(renderer.m_manager.findLayerVideoConfig(cfg.m_LayerIdentifies, stored));
    QVERIFY(stored.m_isFirstRendered && !stored.m_isRendering);
    QCOMPARE(stored.m_LayerVideoCanvas.constBits(), first.constBits());
}

void tst_PreviewMemory::everyChangeShows_data()
{
    QTest::addColumn<Change>("change");

    const auto row = [](const char *pName, const Change &change) {
        QTest::newRow(pName) << change;
    };
    row("size", [](auto &cfg) { cfg.m_LayerItem.m_boundingRect = QRectF(0, 0, 64, 54); });
    row("position", [](auto &cfg) { cfg.m_LayerItem.m_boundingRect.translate(3, 0); });
    row("a little off", [](auto &cfg) { cfg.m_LayerItem.m_boundingRect.translate(0.6, 0); });
    row("colour", [](auto &cfg) { cfg.m_LayerItem.m_layerColor.setAlpha(100); });
    row("mirroring", [](auto &cfg) { cfg.m_LayerItem.m_mirroringType = sLayerItem::Hori; });
    row("mono", [](auto &cfg) { cfg.m_LayerItem.m_bMonoColorEnabled = true; });
    row("reverse", [](auto &cfg) { cfg.m_LayerItem.m_bReverseColorEnabled = true; });
    row("opacity", [](auto &cfg) { cfg.m_LayerItem.m_opacity = 70; });
    row("no source",
        [](auto &cfg) { cfg.m_LayerSource.m_eLayerSourceType = sLayerSource::NoSource; });
    row("crop", [](auto &cfg) { cfg.m_LayerSource.m_bLayerSourceIntercept = true; });
    row("border type", [](auto &cfg) { cfg.m_LayerBorder.m_borderType = BorderType::Soft; });
    row("border size", [](auto &cfg) { cfg.m_LayerBorder.m_borderSize = QSize(5, 9); });
    row("border colour", [](auto &cfg) { cfg.m_LayerBorder.m_borderColor.setRed(11); });
    row("mask", [](auto &cfg) { cfg.m_LayerMask = {true, {1, 2, 3, 4}}; });
}

void tst_PreviewMemory::everyChangeShows()
{
    QFETCH(Change, change);

    Renderer renderer;
    sLayerVideoConfig cfg = layer();
    renderer.set(cfg);
    const QImage before = renderer.render(cfg.m_LayerIdentifies);
    change(cfg);
    renderer.set(cfg);
    const QImage after = renderer.render(cfg.m_LayerIdentifies);
    QVERIFY(after != before);
    COMPARE_PICTURES(after, plainPreviewOf(cfg, renderer.m_source));
}

void tst_PreviewMemory::newPictureShows()
{
    Renderer renderer;
    const sLayerVideoConfig cfg = layer();
    renderer.set(cfg);
    const QImage before = renderer.render(cfg.m_LayerIdentifies);
    renderer.m_source.setPixel(50, 50, 0xff123456); // in place: the picture is the host's
    const QImage after = renderer.render(cfg.m_LayerIdentifies);
    QVERIFY(after.constBits() != before.constBits());
    COMPARE_PICTURES(after, plainPreviewOf(cfg, renderer.m_source));

    renderer.m_source = renderer.m_source.copy(); // the same pixels, another picture
    QVERIFY(renderer.render(cfg.m_LayerIdentifies).constBits() != after.constBits());
    renderer.m_source = QImage();
    COMPARE_PICTURES(renderer.render(cfg.m_LayerIdentifies), plainPreviewOf(cfg, QImage()));
}

void tst_PreviewMemory::tinyPicturesAreComparedByTheirPixels()
{
    Renderer renderer;
    const sLayerVideoConfig cfg = layer();
    renderer.set(cfg);
    renderer.m_source = solidPicture(QSize(2, 2), QColor(23, 24, 26));
    const QImage before = renderer.render(cfg.m_LayerIdentifies);
    renderer.m_source = solidPicture(QSize(2, 2), QColor(23, 24, 26)); // a placeholder, made anew
    QCOMPARE(renderer.render(cfg.m_LayerIdentifies).constBits(), before.constBits());
    renderer.m_source.setPixel(1, 1, 0xff000000);
    COMPARE_PICTURES(renderer.render(cfg.m_LayerIdentifies),
                     plainPreviewOf(cfg, renderer.m_source));

    // In memory of the host's own.
    quint32 pixels[4] = {0xff102030, 0xff102030, 0xff102030, 0xff102030};
    renderer.m_source = QImage(reinterpret_cast<uchar *>(pixels), 2, 2, QImage::Format_RGB32);
    renderer.render(cfg.m_LayerIdentifies);
    pixels[0] = 0xffffffff;
    COMPARE_PICTURES(renderer.render(cfg.m_LayerIdentifies),
                     plainPreviewOf(cfg, renderer.m_source));
}

void tst_PreviewMemory::layerWithoutSourceIsRenderedOnce()
{
    Renderer renderer;
    sLayerVideoConfig cfg = layer();
    cfg.m_LayerSource.m_eLayerSourceType = sLayerSource::NoSource;
    cfg.m_LayerItem.m_layerColor = QColor(1, 2, 3);
    renderer.set(cfg);
    const QImage first = renderer.render(cfg.m_LayerIdentifies);
    COMPARE_PICTURES(first, plainPreviewOf(cfg, QImage()));
    QCOMPARE(renderer.render(cfg.m_LayerIdentifies).constBits(), first.constBits());
    QCOMPARE(renderer.m_nQuestions, 0);
}

// QColor compares some of its kinds roughly.
void tst_PreviewMemory::smallestStepOfColourShows()
{
    Renderer renderer;
    sLayerVideoConfig cfg = layer();
    cfg.m_LayerBorder.m_borderType = BorderType::Invalid;
    cfg.m_LayerSource.m_eLayerSourceType = sLayerSource::NoSource;
    for (int i = 0; i < 100; ++i) {
        cfg.m_LayerItem.m_layerColor = QColor::fromHslF(0.3, 0.5, 0.5 + i * 0.0005);
        renderer.set(cfg);
        COMPARE_PICTURES(renderer.render(cfg.m_LayerIdentifies), plainPreviewOf(cfg, QImage()));
    }
}

void tst_PreviewMemory::replacedMarkShows()
{
    Renderer renderer;
    sLayerVideoConfig cfg = layer();
    cfg.m_LayerItem.m_isFrozen = true;
    renderer.set(cfg);
    const QImage unmarked = renderer.render(cfg.m_LayerIdentifies);
    LayerVideoManager::m_frozenIcon =
        QPixmap::fromImage(solidPicture(QSize(24, 24), QColor(255, 0, 0)));
    const QImage marked = renderer.render(cfg.m_LayerIdentifies);
    QVERIFY(marked != unmarked);
    QCOMPARE(renderer.render(cfg.m_LayerIdentifies).constBits(), marked.constBits());
    LayerVideoManager::m_frozenIcon =
        QPixmap::fromImage(solidPicture(QSize(24, 24), QColor(0, 255, 0)));
    QVERIFY(renderer.render(cfg.m_LayerIdentifies) != marked);
}

void tst_PreviewMemory::changedAlphaMapShows()
{
    const QTemporaryDir folder;
    const QString strFile = folder.filePath(QStringLiteral("map.png"));
    QVERIFY(solidPicture(QSize(3, 3), QColor(0, 0, 0, 80)).save(strFile));
    Renderer renderer;
    sLayerVideoConfig cfg = layer();
    cfg.m_LayerAlphaMap.m_strAlphaMapFile = strFile;
    renderer.set(cfg);
    const auto alpha = [&] { return qAlpha(renderer.render(cfg.m_LayerIdentifies).pixel(9, 9)); };
    QCOMPARE(alpha(), 80);
    QTRY_VERIFY(Internal::fileIdentity(strFile));
    const QImage settled = renderer.render(cfg.m_LayerIdentifies);
    QCOMPARE(renderer.render(cfg.m_LayerIdentifies).constBits(), settled.constBits());
    QVERIFY(solidPicture(QSize(3, 3), QColor(0, 0, 0, 81)).save(strFile));
    QCOMPARE(alpha(), 81);
    QVERIFY(QFile::remove(strFile));
    QCOMPARE(alpha(), 255);
}

// A host may put any picture into a record.
void tst_PreviewMemory::recordWithAnotherPictureIsRendered()
{
    Renderer renderer;
    sLayerVideoConfig cfg = layer();
    renderer.set(cfg);
    const QImage rendered = renderer.render(cfg.m_LayerIdentifies);
    for (const QImage &picture : {QImage(), solidPicture(LayerSize, Qt::red)}) {
        cfg.m_LayerVideoCanvas = picture;
        renderer.m_manager.setLayerVideoConfig(cfg);
        COMPARE_PICTURES(renderer.render(cfg.m_LayerIdentifies), rendered);
    }
}

void tst_PreviewMemory::layersDoNotShareMemories()
{
    Renderer renderer;
    sLayerVideoConfig first = layer();
    renderer.set(first);
    const QImage preview = renderer.render(first.m_LayerIdentifies);
    for (const Change &change :
         std::initializer_list<Change>{[](auto &cfg) { cfg.m_LayerIdentifies.layerId++; },
                                       [](auto &cfg) { cfg.m_LayerIdentifies.layerType++; },
                                       [](auto &cfg) { cfg.m_LayerIdentifies.sceneType++; },
                                       [](auto &cfg) { cfg.m_LayerIdentifies.screenId++; },
                                       [](auto &cfg) { cfg.m_LayerIdentifies.screenType++; }}) {
        sLayerVideoConfig other = first;
        change(other);
        other.m_LayerItem.m_opacity = 30;
        renderer.set(other);
        COMPARE_PICTURES(renderer.render(other.m_LayerIdentifies),
                         plainPreviewOf(other, renderer.m_source));
        QCOMPARE(renderer.render(first.m_LayerIdentifies).constBits(), preview.constBits());
    }
}

void tst_PreviewMemory::layerWithoutSizeWarnsEachTime()
{
    Renderer renderer;
    sLayerVideoConfig cfg = layer();
    cfg.m_LayerItem.m_boundingRect = QRectF();
    renderer.set(cfg);
    LogCapture log;
    for (int nFrames = 1; nFrames <= 3; ++nFrames) {
        QCOMPARE(renderer.render(cfg.m_LayerIdentifies).size(), QSize(2, 2));
        QCOMPARE(log.lines().size(), nFrames);
    }
}

void tst_PreviewMemory::randomChanges()
{
    constexpr int Layers = 4;
    Renderer renderer;
    LayerDice dice(11, {QString()}, LayerSize);
    QRandomGenerator random(12);
    QList<sLayerVideoConfig> cfgs;
    QVector<QImage> latest(Layers);
    LogCapture log; // layers without a size warn
    for (int i = 0; i < Layers; ++i) {
        cfgs.append(dice.nextLayer());
        cfgs.last().m_LayerIdentifies.layerId = quint8(i);
        renderer.set(cfgs.last());
    }
    int nSame = 0;
    const int nSteps = rounds(IsSanitized ? 2000 : 20000);
    for (int i = 0; i < nSteps; ++i) {
        const int nLayer = random.bounded(Layers);
        sLayerVideoConfig &cfg = cfgs[nLayer];
        if (random.bounded(4) == 0)
            renderer.m_source = dice.nextPicture(cfg);
        if (random.bounded(4) == 0) {
            const sLayerUniqueIdentifies key = cfg.m_LayerIdentifies;
            cfg = random.bounded(2) == 0 ? dice.nextLayer() : layer();
            cfg.m_LayerIdentifies = key;
            renderer.set(cfg);
        }
        const QImage picture = renderer.render(cfg.m_LayerIdentifies);
        nSame += int(picture.constBits() == latest[nLayer].constBits());
        latest[nLayer] = picture;
        COMPARE_PICTURES(picture, plainPreviewOf(cfg, renderer.m_source));
    }
    QVERIFY2(nSame > nSteps / 50, qPrintable(QString::number(nSame)));
}

void tst_PreviewMemory::memoryIsBounded()
{
    Internal::PreviewMemory memory;
    const QImage preview = solidPicture(QSize(2, 2), Qt::red);
    for (int i = 0; i < 20000; ++i) {
        sLayerUniqueIdentifies key;
        key.sceneType = i;
        memory.remember(key, {}, preview);
        QVERIFY(memory.m_memories.size() <= 4096);
    }
}

QTEST_MAIN(tst_PreviewMemory)
#include "tst_previewmemory.moc"
