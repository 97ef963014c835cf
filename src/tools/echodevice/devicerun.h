#ifndef MORVEK_TOOLS_DEVICERUN_H
#define MORVEK_TOOLS_DEVICERUN_H

#include "capturesegmentwriter.h"
#include "deviceoptions.h"
#include "devicesummary.h"
#include "framepacer.h"
#include "picturesource.h"
#include "streamserver.h"
#include "yuvfilewriter.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

namespace Morvek::Tools {

/**
 * One run of the simulated device: makes pictures while they are wanted, and sends or writes them.
 *
 * A stream without end makes pictures while somebody listens. With a number of pictures to make, the
 * first client starts them and they are made to the end, whoever is left; the run ends when the
 * last one has gone out to all clients, or two seconds later. Shared memory is written from the
 * start, and so is a file that nothing else goes with, as fast as possible.
 *
 * @thread main
 */
class DeviceRun : public QObject
{
    Q_OBJECT

public:
    explicit DeviceRun(const sDeviceOptions &options, QObject *parent = nullptr);

    /** What goes wrong on the stream, and when; before start(). */
    void setScenario(const sScenario &scenario) { m_server.setScenario(scenario); }

    /**
     * Opens what the pictures go to.
     *
     * @return false when that fails; errorString() says why
     */
    bool start();
    QString errorString() const { return m_strError; }
    /**
     * Where the pictures go, a line each; first, of a stream, address and port as a client would
     * write them: 127.0.0.1:5000 or [::1]:5000.
     */
    QStringList places() const;
    sDeviceSummary summary() const;

Q_SIGNALS:
    /** The run is over; with an errorString() if it failed. */
    void finished();

private Q_SLOTS:
    void slotClientCountChanged(int nClients);
    void slotPictureDue();

private:
    bool isWithEnd() const { return m_options.m_nFrames > 0; }
    bool isPaced() const { return m_options.m_isStreaming || m_options.m_isCapture; }
    bool hasMadeAll() const;
    bool openStream();
    bool openCapture();
    bool openFile();
    bool deliver(const QImage &picture);
    void showProgress();
    void finishWhenSent();
    void fail(const QString &strError);

    const sDeviceOptions m_options;
    QString m_strError;
    QElapsedTimer m_clock; // since start()
    PictureSource m_source;
    StreamServer m_server;
    CaptureSegmentWriter m_capture;
    YuvFileWriter m_file;
    FramePacer m_pacer;
    QElapsedTimer m_progress; // since the last line about a file
    QTimer m_lastWait;        // for clients that do not take the last picture
};

} // namespace Morvek::Tools

#endif // MORVEK_TOOLS_DEVICERUN_H
