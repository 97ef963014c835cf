#include "walldevice.h"

#include <echolayout.h>
#include <echopainter.h>
#include <streamserver.h>

#include <QBuffer>
#include <QDateTime>
#include <QPainter>
#include <QTimer>

namespace Morvek::Tests {

using namespace Morvek::Tools;

// Lives on the device's thread.
class WallDeviceWorker : public QObject
{
public:
    WallDeviceWorker(int nTiles, int nFps)
        : m_nTiles(nTiles)
        , m_nInterval(1000 / nFps)
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
        QImage picture = m_painter.paint(m_nPictures++, QDateTime::currentMSecsSinceEpoch()).copy();
        if (m_first.isNull())
            m_first = picture.copy();
        {
            QPainter painter(&picture);
            for (int nInput : qAsConst(m_hanging))
                painter.drawImage(tileRect(m_nTiles, nInput), m_first, tileRect(m_nTiles, nInput));
            for (int nInput : qAsConst(m_dark))
                painter.fillRect(tileRect(m_nTiles, nInput), Qt::black);
        }
        QByteArray jpeg;
        QBuffer buffer(&jpeg);
        picture.save(&buffer, "JPG", 85);
        m_pServer->broadcast(jpeg);
    }

    const int m_nTiles;
    const int m_nInterval;
    EchoPainter m_painter;
    std::unique_ptr<StreamServer> m_pServer;
    std::unique_ptr<QTimer> m_pTimer;
    QImage m_first;
    quint32 m_nPictures = 0;
    QSet<int> m_hanging;
    QSet<int> m_dark;
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
    onDeviceThread(m_pWorker.get(), [&] { m_pWorker->m_hanging = inputs; });
}

void WallDevice::darken(const QSet<int> &inputs)
{
    onDeviceThread(m_pWorker.get(), [&] { m_pWorker->m_dark = inputs; });
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
