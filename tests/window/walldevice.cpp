#include "walldevice.h"

#include <echopainter.h>
#include <streamserver.h>

#include <QBuffer>
#include <QDateTime>
#include <QTimer>

namespace Morvek::Tests {

using namespace Morvek::Tools;

// Lives on the device's thread.
class WallDeviceWorker : public QObject
{
public:
    WallDeviceWorker(int nTiles, int nFps)
        : m_nInterval(1000 / nFps)
        , m_painter(nTiles)
    {}

    void start()
    {
        m_pServer = std::make_unique<StreamServer>();
        if (!m_pServer->listen(QHostAddress::LocalHost, 0))
            qFatal("the test's device cannot listen");
        m_pTimer = std::make_unique<QTimer>();
        m_pTimer->setTimerType(Qt::PreciseTimer);
        connect(m_pTimer.get(), &QTimer::timeout, this, [this] { send(); });
        m_pTimer->start(m_nInterval);
    }

    void shutDown()
    {
        m_pTimer.reset();
        m_pServer.reset();
    }

    void send()
    {
        if (m_isSilent || m_pServer->clientCount() == 0)
            return;
        const QImage &picture = m_painter.paint(m_nPictures++, QDateTime::currentMSecsSinceEpoch());
        QByteArray jpeg;
        QBuffer buffer(&jpeg);
        picture.save(&buffer, "JPG", 85);
        m_pServer->broadcast(jpeg);
    }

    const int m_nInterval;
    EchoPainter m_painter;
    std::unique_ptr<StreamServer> m_pServer;
    std::unique_ptr<QTimer> m_pTimer;
    quint32 m_nPictures = 0;
    bool m_isSilent = false;
};

namespace {

template <typename Work>
void onDeviceThread(WallDeviceWorker *pWorker, Work work)
{
    QMetaObject::invokeMethod(pWorker, work, Qt::BlockingQueuedConnection);
}

} // namespace

WallDevice::WallDevice(int nTiles, int nFps)
    : m_pWorker(std::make_unique<WallDeviceWorker>(nTiles, nFps))
{
    m_thread.setObjectName(QStringLiteral("test-device"));
    m_pWorker->moveToThread(&m_thread);
    m_thread.start();
    onDeviceThread(m_pWorker.get(), [this] { m_pWorker->start(); });
}

WallDevice::~WallDevice()
{
    onDeviceThread(m_pWorker.get(), [this] { m_pWorker->shutDown(); });
    m_thread.quit();
    m_thread.wait();
}

quint16 WallDevice::port() const
{
    quint16 nPort = 0;
    onDeviceThread(m_pWorker.get(), [&] { nPort = m_pWorker->m_pServer->port(); });
    return nPort;
}

void WallDevice::hang(const QSet<int> &inputs)
{
    onDeviceThread(m_pWorker.get(), [&] { m_pWorker->m_painter.setStill(inputs); });
}

void WallDevice::darken(const QSet<int> &inputs)
{
    onDeviceThread(m_pWorker.get(), [&] { m_pWorker->m_painter.setDark(inputs); });
}

void WallDevice::setSilent(bool isSilent)
{
    onDeviceThread(m_pWorker.get(), [&] { m_pWorker->m_isSilent = isSilent; });
}

int WallDevice::clientCount() const
{
    int nClients = 0;
    onDeviceThread(m_pWorker.get(), [&] { nClients = m_pWorker->m_pServer->clientCount(); });
    return nClients;
}

} // namespace Morvek::Tests
