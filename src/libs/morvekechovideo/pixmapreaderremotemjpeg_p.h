#ifndef MORVEK_ECHOVIDEO_PIXMAPREADERREMOTEMJPEG_P_H
#define MORVEK_ECHOVIDEO_PIXMAPREADERREMOTEMJPEG_P_H

#include "pixmapreader_p.h"
#include "receivebuffer_p.h"

#include <QByteArray>
#include <QImage>
#include <QTime>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>

QT_BEGIN_NAMESPACE
class QTcpSocket;
QT_END_NAMESPACE

namespace Morvek::EchoVideo::Internal {

/**
 * Reads the echo video as a stream of JPEG pictures over TCP.
 *
 * Three threads: the reader thread receives and cuts out pictures, the decoder thread decodes the
 * newest and publishes it, the notifier thread calls the service at the device's frame rate while
 * there is a picture. The two extra threads live from the start of readTask() to its end. Nothing
 * is ever sent to the device. docs/wire-format.md describes the stream.
 */
class RemoteMJPEGReader : public Reader
{
    Q_OBJECT

public:
    /** No reader is started by this. @param image  the service's frame picture */
    explicit RemoteMJPEGReader(QImage &image);
    /** Waits for the decoder and notifier threads; the reader thread must have been stopped. */
    ~RemoteMJPEGReader() override;

    /**
     * Starts, or resumes, reading this device. Another device than the one at work, or none, first
     * stops the reader thread, because the connection belongs to the old device's address.
     * @thread main; waits like stopRead() where the device changes
     */
    void restartRead(std::weak_ptr<Morvek::BizModel::Device> wDevice) override;

protected:
    void readTask() override;

private:
    Q_DISABLE_COPY(RemoteMJPEGReader)

    bool startProcessMJPEGTask();
    bool starProcessVideoFinishedTask();
    void stopProcessMJPEGTask();
    void readMJPEGTask();
    int getVideoData(ReceiveBuffer &baMJPEG, int iStart);
    void processMJPEGTask();
    void processVideoFinishedTask();

    // Steps of readMJPEGTask(), all on the reader thread.
    void runConnection(const Morvek::BizModel::Device &device, quint16 nPort,
                       ReceiveBuffer &tcpdata);
    bool connectToDevice(QTcpSocket &socket, const Morvek::BizModel::Device &device, quint16 nPort);
    void waitForAttempt(std::chrono::steady_clock::time_point nextAttempt);
    bool readStream(QTcpSocket &socket, const Morvek::BizModel::Device &device, quint16 nPort,
                    ReceiveBuffer &tcpdata);
    bool receive(QTcpSocket &socket, ReceiveBuffer &tcpdata);
    void closeConnection(QTcpSocket &socket);
    void backOff();
    void handOver(const char *pPicture, int nLength);

    // Steps of the workers.
    void decodePending();
    void notifyUntilStopped(const Morvek::BizModel::s_EchoVideoConfig &videoCfg);
    std::chrono::milliseconds notifyOnce(const Morvek::BizModel::s_EchoVideoConfig &videoCfg);

    std::atomic_bool m_isStopProcesser{true};     // asks decoder and notifier to end
    std::atomic_bool m_processerIsRunning{false}; // from before the decoder's start to its end
    std::mutex m_mtxQueueMJPEG;
    std::condition_variable m_cvQueueMJEPG; // wakes the decoder
    std::mutex m_mtxMapInputVideo;          // held to write m_image, and for test and callback
    QByteArray m_MJPEGBuffer;               // pending picture; guarded by m_mtxQueueMJPEG
    QImage m_imagePrivate;                  // last decoded picture; decoder thread only
    std::atomic_bool m_pIsRunningForFinishTask{false}; // the same for the notifier
    QTime m_time;                                      // of the last hand-over; reader thread only
};

} // namespace Morvek::EchoVideo::Internal

#endif // MORVEK_ECHOVIDEO_PIXMAPREADERREMOTEMJPEG_P_H
