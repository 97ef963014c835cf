#include "yuvpictures.h"

#include <QFile>

namespace Morvek::Tests {

namespace {

// A 65536th of a number, rounded towards minus infinity, between 0 and 255.
int channel(int nValue)
{
    const int nWhole = nValue >= 0 ? nValue / 65536 : -((65535 - nValue) / 65536);
    return qBound(0, nWhole, 255);
}

} // namespace

QRgb yuvPixel(const sYuv &yuv)
{
    const int nLuma = (yuv.m_nY - 16) * 76309;
    const int nCb = yuv.m_nCb - 128;
    const int nCr = yuv.m_nCr - 128;
    return qRgb(channel(nLuma + 117489 * nCr), channel(nLuma - 13975 * nCb - 34925 * nCr),
                channel(nLuma + 138438 * nCb));
}

sYuv yuvColor(int nIndex)
{
    return {uchar(100 + nIndex % 64), uchar(110 + nIndex / 8), uchar(120 + nIndex % 32)};
}

QByteArray yuvFrame(const sYuv &yuv)
{
    constexpr int LumaBytes = 1920 * 1080;
    return QByteArray(LumaBytes, char(yuv.m_nY)) + QByteArray(LumaBytes / 4, char(yuv.m_nCr))
         + QByteArray(LumaBytes / 4, char(yuv.m_nCb));
}

bool writeYuvFile(const QString &strPath, int nFrames, int nTrailingBytes)
{
    QFile file(strPath);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    for (int i = 0; i < nFrames; ++i) {
        if (file.write(yuvFrame(yuvColor(i))) != YuvFrameBytes)
            return false;
    }
    return file.write(QByteArray(nTrailingBytes, 'x')) == nTrailingBytes && file.flush();
}

bool writeSparseYuvFile(const QString &strPath, int nFrames, const QList<int> &frames)
{
    QFile file(strPath);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)
        || !file.resize(qint64(nFrames) * YuvFrameBytes))
        return false;
    for (const int nFrame : frames) {
        if (!file.seek(qint64(nFrame) * YuvFrameBytes)
            || file.write(yuvFrame(yuvColor(nFrame % 256))) != YuvFrameBytes)
            return false;
    }
    return file.flush();
}

} // namespace Morvek::Tests
