#ifndef MORVEK_ECHOVIDEO_PIXMAPREADERLOCALYUV_P_H
#define MORVEK_ECHOVIDEO_PIXMAPREADERLOCALYUV_P_H

#include "pixmapreader_p.h"

#include <QDateTime>
#include <QFile>
#include <QImage>

#include <functional>

namespace Morvek::EchoVideo::Internal {

class YuvFilePlayer;

/**
 * Plays a raw YUV 4:2:0 file of 1920 x 1080 frames in an endless loop, at the device's frame rate.
 *
 * Frames follow each other without a header: luma, then Cr, then Cb; a trailing part of a frame is
 * ignored. Playback reaches frame 690 at most. A file that cannot be used is replaced by random
 * vertical stripes, so that what follows can be seen at work without a device.
 *
 * A stop does not end the task while the device is offline.
 */
class LocalYUVReader : public Reader
{
    Q_OBJECT

public:
    /** @param image  the service's frame picture, written in place by this reader */
    explicit LocalYUVReader(QImage &image);
    ~LocalYUVReader() override;

protected:
    void readTask() override;

private:
    Q_DISABLE_COPY(LocalYUVReader)

    bool drawNextPicture(YuvFilePlayer &player);
};

/** The file of one run of the task. @thread reader */
class YuvFilePlayer
{
public:
    /**
     * Opens the file and logs its size; a file that cannot be opened, or that is no regular file,
     * leaves one warning.
     */
    explicit YuvFilePlayer(const QString &strFilePath);

    /** Whether there is at least one whole frame to play. */
    bool isValid() const;
    /**
     * Converts the next frame into a picture of 1920 x 1080 pixels of 32 bits.
     *
     * @return false, with a warning, when the file reports an error; a file that was cut while it
     *         is played leaves the picture as it is, and counts as read
     */
    bool readFrame(QImage &picture);

private:
    Q_DISABLE_COPY(YuvFilePlayer)

    void open();
    QString nativePath() const;

    QFile m_file;
    QByteArray m_frame;
    int m_nFrames = 0;
    int m_nFrameIndex = 0;
};

/** Counts passes and logs their rate after each thousand. @thread reader */
class PassRateLog
{
public:
    void countPass();

private:
    QDateTime m_dtStartTime;
    int m_nPasses = 0;
};

/** Fills a picture with vertical stripes of random colours and alphas, a column each. */
void drawRandomStripes(QImage &picture);

/**
 * Fills a picture with vertical stripes, a column each; a null picture stays as it is.
 *
 * @param nextComponent  gives 0 to 255 at each call: red, green, blue and alpha of the first
 *                       column, then of the next one
 */
void drawStripes(QImage &picture, const std::function<int()> &nextComponent);

} // namespace Morvek::EchoVideo::Internal

#endif // MORVEK_ECHOVIDEO_PIXMAPREADERLOCALYUV_P_H
