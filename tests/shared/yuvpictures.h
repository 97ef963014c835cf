#ifndef MORVEK_TESTS_YUVPICTURES_H
#define MORVEK_TESTS_YUVPICTURES_H

#include <QByteArray>
#include <QColor>
#include <QList>
#include <QString>

namespace Morvek::Tests {

/** One sample of each plane. */
struct sYuv
{
    uchar m_nY = 16;
    uchar m_nCb = 128;
    uchar m_nCr = 128;
};

/** Bytes of one 1920 x 1080 frame in a file. */
constexpr int YuvFrameBytes = 1920 * 1080 * 3 / 2;

/** The opaque pixel that one triple becomes: the formula in plain steps. */
QRgb yuvPixel(const sYuv &yuv);

/** Triples whose pixels all differ, from each other and from black; 0 to 255. */
sYuv yuvColor(int nIndex);

/** A 1920 x 1080 frame of one triple, as it stands in a file. */
QByteArray yuvFrame(const sYuv &yuv);

/**
 * Writes frames of yuvColor(0), yuvColor(1) and so on, and then so many bytes more; false where
 * that fails.
 */
bool writeYuvFile(const QString &strPath, int nFrames, int nTrailingBytes = 0);

/**
 * Makes a file of so many frames that takes no room, all bytes 0, and writes yuvColor(n) where
 * frame n stands for each n of the list; false where that fails.
 */
bool writeSparseYuvFile(const QString &strPath, int nFrames, const QList<int> &frames);

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_YUVPICTURES_H
