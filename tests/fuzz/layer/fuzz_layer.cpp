// Any layer over any picture: a preview of the size that it should have, and no crash. Where the
// layer is small, each pixel equals the plain reference's.

#include "layerinput.h"

#include <demand.h>
#include <fuzztarget.h>

#include <layervideomanager.h>
#include <plainrenderer.h>

#include <QFile>
#include <QGuiApplication>
#include <QPixmap>
#include <QTemporaryDir>

using namespace Morvek::EchoVideo;
using namespace Morvek::Tests;

namespace {

/** The alpha maps that a layer may name. */
QStringList writeAlphaMaps(const QTemporaryDir &folder)
{
    QImage shaped(12, 9, QImage::Format_ARGB32);
    for (int y = 0; y < shaped.height(); ++y) {
        for (int x = 0; x < shaped.width(); ++x)
            shaped.setPixel(x, y, qRgba(0, 0, 0, x * 255 / 11));
    }
    const QString strShaped = folder.filePath(QStringLiteral("shaped.png"));
    const QString strBroken = folder.filePath(QStringLiteral("broken.png"));
    shaped.save(strShaped);
    QFile broken(strBroken);
    if (broken.open(QIODevice::WriteOnly))
        broken.write("\x89PNG\r\n\x1a\n and nothing else");
    return {strShaped, strBroken, folder.filePath(QStringLiteral("missing.png")), folder.path()};
}

void comparePixels(const QImage &preview, const QImage &expected)
{
    demand(preview.size() == expected.size(), "the plain renderer's preview is as large");
    for (int y = 0; y < expected.height(); ++y)
        demand(std::memcmp(preview.constScanLine(y), expected.constScanLine(y),
                           size_t(expected.width()) * 4)
                   == 0,
               "the preview equals the plain renderer's");
}

QSize expectedSize(const sLayerVideoConfig &cfg)
{
    const QRectF &rect = cfg.m_LayerItem.m_boundingRect;
    constexpr double Largest = 1 << 29;
    for (const double value : {rect.x(), rect.y(), rect.width(), rect.height()}) {
        if (!(std::abs(value) <= Largest))
            return QSize(2, 2);
    }
    const QSize size = plainSize(rect);
    const bool isTooLarge = qint64(size.width()) * size.height() > MaxPixels;
    return size.isEmpty() || isTooLarge ? QSize(2, 2) : size;
}

} // namespace

int LLVMFuzzerInitialize(int *pArgc, char ***pArgv)
{
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    static QGuiApplication application(*pArgc, *pArgv);
    QImage mark(30, 24, QImage::Format_ARGB32);
    mark.fill(QColor(200, 100, 0, 150));
    mark.setPixelColor(3, 3, Qt::blue);
    LayerVideoManager::m_frozenIcon = QPixmap::fromImage(mark);
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t *pData, std::size_t nSize)
{
    static const QTemporaryDir folder;
    static const QStringList alphaMaps = writeAlphaMaps(folder);
    static QImage picture;
    static const LayerVideoManager manager([](auto &&, auto &&, auto &&, QImage &frame) {
        frame = picture;
        return true;
    });
    // Kept from layer to layer, as a render thread does.
    static QImage canvas;
    static QImage frame;

    LayerInput input(pData, nSize, alphaMaps);
    const sLayerVideoConfig cfg = input.layer();
    if (input.isTooCostly())
        return 0;
    picture = input.picture();
    manager.videoPrerender(cfg, canvas, frame);
    demand(canvas.size() == expectedSize(cfg), "the preview has the layer's size");
    demand(canvas.format() == QImage::Format_ARGB32, "the preview is straight ARGB32");
    if (input.isPlain())
        comparePixels(canvas, plainPreview(cfg, picture, *LayerVideoManager::m_frozenIcon));
    return 0;
}
