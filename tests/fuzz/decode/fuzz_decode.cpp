// A received picture: the guard and the decoder behind it, with limits so low that many pictures a
// second can be tried. Time and memory are limited by the fuzzer's own options.

#include <demand.h>
#include <fuzztarget.h>

#include <pictureguard_p.h>

#include <QByteArray>
#include <QCoreApplication>
#include <QImage>

using namespace Morvek::EchoVideo::Internal;
using Morvek::Tests::demand;

namespace {

// As many scans for a picture at the limit as there are by default.
constexpr sPictureLimits Limits{65'536, 65'536 * 16};

// Qt's drawing does not look whether a pixel's number is in the palette.
void checkPalette(const QImage &picture)
{
    if (picture.format() != QImage::Format_Indexed8)
        return;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x)
            demand(picture.pixelIndex(x, y) < picture.colorCount(), "the palette has each pixel");
    }
}

} // namespace

int LLVMFuzzerInitialize(int *pArgc, char ***pArgv)
{
    // What Qt's plugins complain about is not looked at.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    static QCoreApplication application(*pArgc, *pArgv); // finds the plugins
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t *pData, std::size_t nSize)
{
    const QByteArray baPicture(reinterpret_cast<const char *>(pData), int(nSize));
    const bool isWithin = isWithinLimits(baPicture, Limits);
    const QImage picture = decodePicture(baPicture, Limits);
    demand(isWithin || picture.isNull(), "what is above the limits is not decoded");
    demand(qint64(picture.width()) * picture.height() <= Limits.m_nPixels,
           "what was decoded is within the limits");
    checkPalette(picture);

    const int nScans = jpegScanCount(baPicture);
    demand(nScans >= 0 && nScans <= baPicture.size() / 2, "each scan has its marker");
    return 0;
}
