// How long one preview takes, in four sizes and for each step of drawing: the quick way, the plain
// way, OpenCV or FFmpeg's scaler where they have an equivalent, and copying the canvas.

#include "benchcase.h"

#include <layervideomanager.h>
#include <quickdrawing/plaindrawing_p.h>

#ifdef MORVEK_HAS_OPENCV
#    include <opencv2/imgproc.hpp>
#endif
#ifdef MORVEK_HAS_SWSCALE
extern "C" {
#    include <libswscale/swscale.h>
}
#endif

#include <QDir>
#include <QGuiApplication>
#include <QTemporaryDir>

#include <array>
#include <cstring>
#include <functional>
#include <memory>
#include <vector>

using namespace Morvek::Benchmarks;
using namespace Morvek::EchoVideo;
using Morvek::BizModel::Enum::Layer::BorderType;

namespace {

constexpr QSize TileSize(480, 270);

QImage tilePicture(int nSeed)
{
    QImage picture(TileSize, QImage::Format_RGB32);
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x)
            picture.setPixel(x, y, qRgb((x + nSeed) & 255, y & 255, (x ^ y) & 255));
    }
    return picture;
}

struct sLook
{
    const char *m_pName;
    std::function<void(sLayerVideoConfig &)> m_set;
};

QString alphaMapFile()
{
    static const QTemporaryDir folder;
    const QString strFile = folder.filePath(QStringLiteral("map.png"));
    if (!QFile::exists(strFile)) {
        QImage map(TileSize, QImage::Format_Grayscale8);
        for (int y = 0; y < map.height(); ++y) {
            for (int x = 0; x < map.width(); ++x)
                map.scanLine(y)[x] = uchar(x + y);
        }
        map.save(strFile);
    }
    return strFile;
}

void setSoftBorder(sLayerVideoConfig &cfg)
{
    cfg.m_LayerBorder.m_borderType = BorderType::Soft;
    cfg.m_LayerBorder.m_borderSize = QSize(50, 50);
}

void setMask(sLayerVideoConfig &cfg)
{
    cfg.m_LayerMask.m_bMaskEnable = true;
    cfg.m_LayerMask.m_maskSize = {20, 20, 30, 30};
}

void setCrop(sLayerVideoConfig &cfg)
{
    cfg.m_LayerSource.m_sizeLayerSource = QSize(1920, 1080);
    cfg.m_LayerSource.m_bLayerSourceIntercept = true;
    cfg.m_LayerSource.m_rectLayerSourceIntercept = QRect(200, 100, 1200, 700);
}

std::vector<sLook> looks()
{
    return {
        {"scale_only", [](sLayerVideoConfig &) {}},
        {"mask", setMask},
        {"layer_colour_alpha_128",
         [](sLayerVideoConfig &cfg) { cfg.m_LayerItem.m_layerColor = QColor(255, 255, 255, 128); }},
        {"soft_border_50x50", setSoftBorder},
        {"halo_border",
         [](sLayerVideoConfig &cfg) {
             cfg.m_LayerBorder.m_borderType = BorderType::Halo_in;
             cfg.m_LayerBorder.m_borderSize = QSize(50, 50);
             cfg.m_LayerBorder.m_borderColor = QColor(20, 200, 90, 200);
         }},
        {"alpha_map",
         [](sLayerVideoConfig &cfg) { cfg.m_LayerAlphaMap.m_strAlphaMapFile = alphaMapFile(); }},
        {"opacity_50", [](sLayerVideoConfig &cfg) { cfg.m_LayerItem.m_opacity = 50; }},
        {"mono_and_reverse",
         [](sLayerVideoConfig &cfg) {
             cfg.m_LayerItem.m_bMonoColorEnabled = true;
             cfg.m_LayerItem.m_bReverseColorEnabled = true;
         }},
        {"crop_mirror_mask_soft_opacity_80",
         [](sLayerVideoConfig &cfg) {
             setCrop(cfg);
             setMask(cfg);
             setSoftBorder(cfg);
             cfg.m_LayerItem.m_mirroringType = sLayerItem::Hori;
             cfg.m_LayerItem.m_opacity = 80;
         }},
        {"crop_opacity_80",
         [](sLayerVideoConfig &cfg) {
             setCrop(cfg);
             cfg.m_LayerItem.m_opacity = 80;
         }},
    };
}

/** A manager whose inputs show another picture each time, as a device's do. */
class Renderer
{
public:
    explicit Renderer(const sLayerVideoConfig &cfg)
        : m_cfg(cfg)
    {}

    void render()
    {
        m_manager.videoPrerender(m_cfg, m_canvas, m_frame);
        m_handedOut = m_canvas; // as a host has it, until the next one
    }

private:
    sLayerVideoConfig m_cfg;
    std::array<QImage, 2> m_pictures{tilePicture(0), tilePicture(1)};
    std::size_t m_nPicture = 0;
    LayerVideoManager m_manager{[this](auto &&, auto &&, auto &&, QImage &frame) {
        frame = m_pictures[++m_nPicture % m_pictures.size()];
        return true;
    }};
    QImage m_canvas;
    QImage m_frame;
    QImage m_handedOut;
};

void addRenderer(const std::string &strCase, const char *pWay, const sLayerVideoConfig &cfg,
                 bool isPlain)
{
    addWay(strCase, pWay, [cfg, isPlain](benchmark::State &state) {
        Internal::setPlainDrawing(isPlain);
        Renderer renderer(cfg);
        for (auto _ : state) {
            renderer.render();
            benchmark::ClobberMemory();
        }
        Internal::setPlainDrawing(false);
    })->MinTime(0.02);
}

void addFloor(const std::string &strCase, const QSize &size)
{
    const auto nBytes = std::size_t(size.width() * size.height() * 4);
    addCall(strCase, "floor",
            [from = std::vector<char>(nBytes, 1), to = std::vector<char>(nBytes)]() mutable {
                std::memcpy(to.data(), from.data(), from.size());
            })
        ->MinTime(0.02);
}

#ifdef MORVEK_HAS_OPENCV
// Scaling to the nearest pixel, and where the look fades, the alpha of all pixels times a constant.
void addOpenCv(const std::string &strCase, const QSize &size, double opacity)
{
    const QImage picture = tilePicture(0);
    addCall(strCase, "opencv", [picture, size, opacity, canvas = cv::Mat()]() mutable {
        const cv::Mat tile(picture.height(), picture.width(), CV_8UC4,
                           const_cast<uchar *>(picture.constBits()));
        cv::resize(tile, canvas, cv::Size(size.width(), size.height()), 0, 0, cv::INTER_NEAREST);
        if (opacity < 1)
            cv::multiply(canvas, cv::Scalar(1, 1, 1, opacity), canvas);
    })->MinTime(0.02);
}
#endif

#ifdef MORVEK_HAS_SWSCALE
void addSwscale(const std::string &strCase, const QSize &size)
{
    const QImage picture = tilePicture(0);
    const std::shared_ptr<SwsContext> pContext(
        sws_getContext(picture.width(), picture.height(), AV_PIX_FMT_BGRA, size.width(),
                       size.height(), AV_PIX_FMT_BGRA, SWS_POINT, nullptr, nullptr, nullptr),
        sws_freeContext);
    addCall(strCase, "swscale",
            [picture, size, pContext,
             canvas = std::vector<uchar>(std::size_t(size.width() * size.height() * 4))]() mutable {
                const uchar *const tile[] = {picture.constBits()};
                const int tileSteps[] = {int(picture.bytesPerLine())};
                uchar *const to[] = {canvas.data()};
                const int steps[] = {size.width() * 4};
                sws_scale(pContext.get(), tile, tileSteps, 0, picture.height(), to, steps);
            })
        ->MinTime(0.02);
}
#endif

void addCases(const QSize &size)
{
    for (const sLook &look : looks()) {
        sLayerVideoConfig cfg;
        cfg.m_LayerItem.m_boundingRect = QRectF(QPointF(0, 0), size);
        cfg.m_LayerSource.m_eLayerSourceType = sLayerSource::Input;
        look.m_set(cfg);
        const std::string strCase = "layer/" + std::to_string(size.width()) + "x"
                                  + std::to_string(size.height()) + "_" + look.m_pName;
        addRenderer(strCase, "ours", cfg, false);
        addRenderer(strCase, "plain", cfg, true);
        addFloor(strCase, size);
#ifdef MORVEK_HAS_OPENCV
        if (look.m_pName == std::string("scale_only"))
            addOpenCv(strCase, size, 1);
        else if (look.m_pName == std::string("opacity_50"))
            addOpenCv(strCase, size, 0.5);
#endif
#ifdef MORVEK_HAS_SWSCALE
        if (look.m_pName == std::string("scale_only"))
            addSwscale(strCase, size);
#endif
    }
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication app(argc, argv);
    for (const QSize &size : {QSize(320, 180), QSize(480, 270), QSize(960, 540), QSize(1920, 1080)})
        addCases(size);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
