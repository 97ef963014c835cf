// How long one 1920 x 1080 frame takes from planar YUV to 32-bit RGB: the forms of the conversion,
// what libyuv and FFmpeg's scaler have next to it, and copying as many bytes as the conversions touch.

#include "benchcase.h"

#include <yuvconversion_p.h>

#ifdef MORVEK_HAS_LIBYUV
#    include <libyuv.h>
#endif
#ifdef MORVEK_HAS_SWSCALE
extern "C" {
#    include <libswscale/swscale.h>
}
#endif

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

using namespace Morvek::Benchmarks;
using namespace Morvek::EchoVideo::Internal;

namespace {

constexpr int Width = 1920;
constexpr int Height = 1080;
constexpr int LumaBytes = Width * Height;
constexpr int ChromaBytes = LumaBytes / 4;
constexpr int FrameBytes = LumaBytes + 2 * ChromaBytes;
constexpr int BytesPerLine = Width * 4;
constexpr int PictureBytes = BytesPerLine * Height;

std::vector<uchar> makeFrame()
{
    std::mt19937 generator(1);
    std::vector<uchar> frame(FrameBytes);
    std::generate(frame.begin(), frame.end(), [&] { return uchar(generator()); });
    return frame;
}

/** One for all, so that all have it at the same place in memory. */
const std::vector<uchar> &frameBytes()
{
    static const std::vector<uchar> frame = makeFrame();
    return frame;
}

std::vector<uchar> &pictureBytes()
{
    static std::vector<uchar> picture(PictureBytes);
    return picture;
}

void countFrames(benchmark::State &state)
{
    state.SetBytesProcessed(state.iterations() * (FrameBytes + PictureBytes));
}

void convert(benchmark::State &state, eYuvForm eForm)
{
    if (!isYuvFormSupported(eForm)) {
        state.SkipWithError("this processor cannot run the form");
        return;
    }
    const sYuvFrame frame{frameBytes().data(), Width, Height};
    for (auto _ : state) {
        convertYUV420ToRGB(frame, pictureBytes().data(), BytesPerLine, eForm);
        benchmark::ClobberMemory();
    }
    countFrames(state);
}

#ifdef MORVEK_HAS_LIBYUV
/** The Cr plane is the first of the two in our frames. */
void convertWithLibyuv(uchar *pPicture)
{
    const uchar *const pCr = frameBytes().data() + LumaBytes;
    libyuv::H420ToARGB(frameBytes().data(), Width, pCr + ChromaBytes, Width / 2, pCr, Width / 2,
                       pPicture, BytesPerLine, Width, Height);
}

/** By how much its picture differs from ours in any channel: it calculates with 6 bits. */
int differenceOfLibyuv()
{
    std::vector<uchar> picture(PictureBytes);
    convertWithLibyuv(picture.data());
    convertYUV420ToRGB({frameBytes().data(), Width, Height}, pictureBytes().data(), BytesPerLine);
    int nLargest = 0;
    for (size_t i = 0; i < picture.size(); ++i)
        nLargest = std::max(nLargest, std::abs(picture[i] - pictureBytes()[i]));
    return nLargest;
}

void libyuvH420ToARGB(benchmark::State &state)
{
    for (auto _ : state) {
        convertWithLibyuv(pictureBytes().data());
        benchmark::ClobberMemory();
    }
    countFrames(state);
    state.counters["difference"] = differenceOfLibyuv();
}
#endif

#ifdef MORVEK_HAS_SWSCALE
void swscaleToBgra(benchmark::State &state)
{
    SwsContext *const pContext =
        sws_getContext(Width, Height, AV_PIX_FMT_YUV420P, Width, Height, AV_PIX_FMT_BGRA, SWS_POINT,
                       nullptr, nullptr, nullptr);
    const uchar *const pCr = frameBytes().data() + LumaBytes;
    const uchar *const planes[] = {frameBytes().data(), pCr + ChromaBytes, pCr};
    const int steps[] = {Width, Width / 2, Width / 2};
    uchar *const picture[] = {pictureBytes().data()};
    const int pictureSteps[] = {BytesPerLine};
    for (auto _ : state) {
        sws_scale(pContext, planes, steps, 0, Height, picture, pictureSteps);
        benchmark::ClobberMemory();
    }
    sws_freeContext(pContext);
    countFrames(state);
}
#endif

/** Reads the frame and writes a picture's worth of it. */
void copy(benchmark::State &state)
{
    for (auto _ : state) {
        for (int nOffset = 0; nOffset < PictureBytes; nOffset += FrameBytes)
            std::memcpy(pictureBytes().data() + nOffset, frameBytes().data(),
                        size_t(std::min(FrameBytes, PictureBytes - nOffset)));
        benchmark::ClobberMemory();
    }
    countFrames(state);
}

} // namespace

int main(int argc, char **argv)
{
    const std::string strCase = "conversion/1920x1080";
    const auto addForm = [&](const char *pWay, eYuvForm eForm) {
        addWay(strCase, pWay, [eForm](benchmark::State &state) { convert(state, eForm); });
    };
    const bool isAvx2 = isYuvFormSupported(eYuvForm::Avx2);
    addForm("ours", isAvx2 ? eYuvForm::Avx2 : eYuvForm::Sse2);
    addForm("plain", eYuvForm::Plain);
    addWay(strCase, "floor", copy);
    if (isAvx2)
        addForm("ours_without_avx2", eYuvForm::Sse2);
#ifdef MORVEK_HAS_LIBYUV
    addWay(strCase, "libyuv", libyuvH420ToARGB);
#endif
#ifdef MORVEK_HAS_SWSCALE
    addWay(strCase, "swscale", swscaleToBgra);
#endif
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
