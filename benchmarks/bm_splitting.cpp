// How long the service takes to cut the inputs' pictures out of a 1920 x 1080 frame: a new frame, the
// same frame again, QImage::copy() of each tile, OpenCV's copies, and copying as many rows.

#include "benchcase.h"

#include <pixmapreader.h>
#include <pixmapreader_p.h>
#include <tilecut_p.h>

#include <device.h>
#include <devicelist.h>

#ifdef MORVEK_HAS_OPENCV
#    include <opencv2/core.hpp>
#endif

#include <QMap>

#include <cstring>
#include <memory>
#include <vector>

using namespace Morvek::Benchmarks;
using Morvek::BizModel::Device;
using Morvek::BizModel::DeviceList;
using Morvek::EchoVideo::PixmapReader;

namespace {

constexpr QSize FrameSize(1920, 1080);

std::vector<QRect> tileRects(int nColumns)
{
    const QSize size(FrameSize.width() / nColumns, FrameSize.height() / nColumns);
    std::vector<QRect> rects;
    for (int i = 0; i < nColumns * nColumns; ++i)
        rects.emplace_back(QPoint(i % nColumns * size.width(), i / nColumns * size.height()), size);
    return rects;
}

QImage makeFrame()
{
    QImage frame(FrameSize, QImage::Format_RGB32);
    frame.fill(0xff123456);
    return frame;
}

/** A service that serves a device of so many inputs; nothing is read. */
std::shared_ptr<PixmapReader> makeService(int nColumns)
{
    const auto nModelId = quint16(9000 + nColumns);
    const std::vector<QRect> rects = tileRects(nColumns);
    static std::vector<std::shared_ptr<Device>> devices; // the service refers to them weakly
    devices.push_back(std::make_shared<Device>(nModelId));
    devices.back()->deviceConfig().InputSlotCount = quint8(rects.size());
    devices.back()->deviceConfig().MaxConnectorCountOfSingleCard = 1;
    for (std::size_t i = 0; i < rects.size(); ++i)
        DeviceList::instance()->setEchoVideoRect(nModelId, quint8(i), rects[i]);
    auto pService = std::make_shared<PixmapReader>();
    pService->setServedDevice(devices.back());
    pService->m_image = makeFrame();
    pService->inputVideoReadFinished();
    return pService;
}

void copyRows(const QImage &frame, const std::vector<QRect> &rects, std::vector<QImage> &tiles)
{
    for (std::size_t i = 0; i < rects.size(); ++i) {
        uchar *const pTile = tiles[i].bits();
        const int nBytes = rects[i].width() * 4;
        for (int y = 0; y < rects[i].height(); ++y)
            std::memcpy(pTile + qint64(y) * tiles[i].bytesPerLine(),
                        frame.constScanLine(rects[i].y() + y) + rects[i].x() * 4,
                        std::size_t(nBytes));
    }
}

#ifdef MORVEK_HAS_OPENCV
void addOpenCv(const std::string &strCase, const std::vector<QRect> &rects)
{
    const cv::Mat frame(FrameSize.height(), FrameSize.width(), CV_8UC4, cv::Scalar(1, 2, 3, 255));
    addCall(strCase, "opencv",
            [frame, rects, tiles = std::vector<cv::Mat>(rects.size())]() mutable {
                for (std::size_t i = 0; i < rects.size(); ++i)
                    frame(cv::Rect(rects[i].x(), rects[i].y(), rects[i].width(), rects[i].height()))
                        .copyTo(tiles[i]);
            });
}
#endif

void addCases(int nColumns)
{
    const std::string strTiles = std::to_string(nColumns * nColumns) + "_tiles";
    const std::string strNew = "splitting/" + strTiles + "_of_a_new_frame";
    const std::vector<QRect> rects = tileRects(nColumns);
    const std::shared_ptr<PixmapReader> pService = makeService(nColumns);
    addCall(strNew, "ours", [pService] {
        pService->m_image.bits(); // counts as a change of the frame
        pService->inputVideoReadFinished();
    });
    addCall(strNew, "plain",
            [frame = makeFrame(), rects, map = QMap<unsigned, QImage>()]() mutable {
                for (std::size_t i = 0; i < rects.size(); ++i)
                    map[unsigned(i)] = frame.copy(rects[i]);
            });
    std::vector<QImage> tiles;
    for (const QRect &rect : rects)
        tiles.push_back(makeFrame().copy(rect));
    addCall(strNew, "floor",
            [frame = makeFrame(), rects, tiles]() mutable { copyRows(frame, rects, tiles); });
#ifdef MORVEK_HAS_OPENCV
    addOpenCv(strNew, rects);
#endif
    addCall("splitting/" + strTiles + "_of_the_same_frame", "ours",
            [pService] { pService->inputVideoReadFinished(); });
}

} // namespace

int main(int argc, char **argv)
{
    for (const int nColumns : {2, 4, 5})
        addCases(nColumns);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
