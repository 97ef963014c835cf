// How long it takes from a received JPEG picture to pixels: the decoder with its guard, Qt's alone,
// libjpeg-turbo into memory that is kept, OpenCV, and copying as many pixels.

#include "benchcase.h"

#include <pictureguard_p.h>

#include <echopainter.h>

#include <QBuffer>

#ifdef MORVEK_HAS_TURBOJPEG
#    include <turbojpeg.h>
#endif
#ifdef MORVEK_HAS_OPENCV
#    include <opencv2/imgcodecs.hpp>
#endif

#include <cstring>
#include <vector>

using namespace Morvek::Benchmarks;

namespace {

constexpr int PictureBytes = 1920 * 1080 * 4;

QByteArray jpegPicture(int nQuality)
{
    Morvek::Tools::EchoPainter painter(16);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    painter.paint(1, 0).save(&buffer, "JPG", nQuality);
    return bytes;
}

#ifdef MORVEK_HAS_TURBOJPEG
void decodeWithTurboJpeg(benchmark::State &state, const QByteArray &baPicture)
{
    const tjhandle decoder = tjInitDecompress();
    std::vector<unsigned char> pixels(PictureBytes);
    for (auto _ : state) {
        tjDecompress2(decoder, reinterpret_cast<const unsigned char *>(baPicture.constData()),
                      static_cast<unsigned long>(baPicture.size()), pixels.data(), 1920, 1920 * 4,
                      1080, TJPF_BGRX, 0);
        benchmark::ClobberMemory();
    }
    tjDestroy(decoder);
}
#endif

#ifdef MORVEK_HAS_OPENCV
void decodeWithOpenCv(benchmark::State &state, const QByteArray &baPicture)
{
    const cv::Mat bytes(1, baPicture.size(), CV_8UC1, const_cast<char *>(baPicture.constData()));
    cv::Mat picture;
    for (auto _ : state) {
        cv::imdecode(bytes, cv::IMREAD_COLOR, &picture);
        benchmark::ClobberMemory();
    }
}
#endif

void addCases(int nQuality)
{
    const QByteArray baPicture = jpegPicture(nQuality);
    const std::string strCase = "decoding/quality_" + std::to_string(nQuality) + "_"
                              + std::to_string(baPicture.size() / 1000) + "kB";
    addCall(strCase, "ours",
            [baPicture] { Morvek::EchoVideo::Internal::decodePicture(baPicture); });
    addCall(strCase, "plain", [baPicture] { QImage::fromData(baPicture); });
    addCall(strCase, "floor",
            [from = std::vector<char>(PictureBytes, 1),
             to = std::vector<char>(PictureBytes)]() mutable {
                std::memcpy(to.data(), from.data(), from.size());
            });
#ifdef MORVEK_HAS_TURBOJPEG
    addWay(strCase, "turbojpeg",
           [baPicture](benchmark::State &state) { decodeWithTurboJpeg(state, baPicture); });
#endif
#ifdef MORVEK_HAS_OPENCV
    addWay(strCase, "opencv",
           [baPicture](benchmark::State &state) { decodeWithOpenCv(state, baPicture); });
#endif
}

} // namespace

int main(int argc, char **argv)
{
    for (const int nQuality : {50, 85, 95})
        addCases(nQuality);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
