#ifndef MORVEK_ECHOVIDEO_PIXMAPREADER_H
#define MORVEK_ECHOVIDEO_PIXMAPREADER_H

#include "morvekechovideo_export.h"

#include <devicelist.h>
#include <input.h>

#include <QImage>
#include <QMap>
#include <QMutex>
#include <QObject>
#include <QReadWriteLock>
#include <QRect>
#include <QString>

#include <atomic>
#include <memory>

namespace Morvek::EchoVideo {

namespace Internal {
class Reader;
struct sTileOrigin;
} // namespace Internal

/**
 * The process-wide input video service: reads the active device's echo video and hands out the
 * picture of every input.
 *
 * It follows the host's device list by itself: a device that goes offline pauses reading, one that
 * comes back resumes it, another active device is read in the place of the old one. The words used
 * for threads are explained in docs/threads.md.
 */
class MORVEK_ECHOVIDEO_EXPORT PixmapReader : public QObject
{
    Q_OBJECT

public:
    /**
     * The one service, created at the first call and destroyed at process exit, where it stops
     * reading, as stopRead() does: a file reader whose device is offline keeps the process from
     * ending, so the host stops it, or sets the device online, before. Nothing is read before
     * restartRead().
     *
     * @thread any; the service belongs to the thread of the first call, which must be main
     */
    static PixmapReader *instance();

    /**
     * Allows reading, and starts or resumes it when there is an active device, online, with an echo
     * video.
     *
     * @thread main; blocks like stopRead() where a reader must be replaced or re-pointed
     */
    void restartRead();
    /**
     * Pauses reading; the last pictures stay.
     *
     * @thread main; does not wait
     */
    void pauseRead();
    /**
     * Ends reading; the last pictures stay.
     *
     * @thread main; blocks until the reader's thread has ended, with no time-out. That takes at
     * most about a second while the device is online. While it is offline, an MJPEG reader ends
     * only once the stream has been silent for a second, and a file reader not before the device is
     * online again: set the device online first.
     */
    void stopRead();
    /**
     * Hands out the newest picture of an input.
     *
     * @param wInput       the input
     * @param videoFrame   receives the input's picture in the pixels of the echo picture; a 2 x 2
     *                     black picture for a known input without signal, a 2 x 2 dark gray one
     *                     (23, 24, 26) for an input that cannot be shown
     * @param isShowImage  show the default image, not black, while the device is offline
     * @return false when the input cannot be shown at all: no active device, no such input, or no
     *         picture of it yet
     * @thread any; read-locks for a shallow copy, never waits for a device
     */
    bool getInputVideoFrame(std::weak_ptr<Morvek::BizModel::Input> wInput, QImage &videoFrame,
                            bool isShowImage);
    /**
     * Loads the picture that stands for an offline device; null if the file cannot be read.
     *
     * @param fileName  file in any format that Qt reads, recognised by its contents
     * @thread main
     */
    void loadDefaultImage(const QString &fileName);
    /**
     * The picture that stands for an offline device; null until one is loaded.
     *
     * @param name  not used: there is one picture for every name
     * @thread main; the reference stays valid, and shows what the next load brings
     */
    const QImage &defaultImage(const QString &name);

Q_SIGNALS:
    /**
     * The pictures of all inputs were renewed.
     *
     * @thread reader or notifier; receivers in other threads get it queued. A direct receiver must
     * not control the service.
     */
    void inputVideoImageCopyFinished();

private Q_SLOTS:
    void slotActivedDeviceChanged();
    void slotDeviceOnlineStatusChanged(std::weak_ptr<Morvek::BizModel::Device> wDevice);

private:
    PixmapReader();
    ~PixmapReader() override;
    Q_DISABLE_COPY(PixmapReader)

    void initInputVideoReadTask();
    void restartInputVideoReadTask();
    void startReader();
    bool isSourceTypeChanged(Morvek::BizModel::Device &device) const;
    bool isAllowStartInputVideoReadTask();
    void inputVideoReadFinished();
    void cutInput(unsigned int nInput, const QRect &inputRect);
    std::weak_ptr<Morvek::BizModel::Device> servedDevice() const;
    void setServedDevice(std::weak_ptr<Morvek::BizModel::Device> wDevice);

    QImage m_image; // the reader's; touched here only by the reader's callback
    std::shared_ptr<Internal::Reader> m_pPixmapReader; // main thread only
    QMap<unsigned int, QImage> m_mapInputVideo;        // guarded by m_mtxMapInputVideo
    QReadWriteLock m_mtxMapInputVideo;
    // What the pictures were cut from last, and for whom; guarded by m_mtxMapInputVideo.
    QMap<unsigned int, Internal::sTileOrigin> m_mapTileOrigins;
    std::weak_ptr<Morvek::BizModel::Device> m_pCutDevice;
    std::weak_ptr<Morvek::BizModel::Device> m_pActivedDevice; // guarded by m_mtxActivedDevice
    std::atomic_bool m_isAllowStartInputVideoReadTask{false};
    QImage m_defaultImage; // written by main under m_mtxDefaultImage, read by render threads
    mutable QMutex m_mtxActivedDevice; // held only to copy or replace the reference
    QMutex m_mtxDefaultImage;          // held only to copy or replace the picture
};

} // namespace Morvek::EchoVideo

#endif // MORVEK_ECHOVIDEO_PIXMAPREADER_H
