#include "scenariodevice.h"

#include "testpictures.h"

#include <scenarioreader.h>
#include <streamserver.h>

#include <QPainter>
#include <QTimer>

namespace Morvek::Tests {

using Tools::sScenario;
using Tools::StreamServer;

namespace {

const QSize PictureSize(64, 48);

// 12 bits in one colour, 16 levels for each channel: compression changes them by far less than one.
QColor colorOf(int nBits)
{
    const auto level = [nBits](int nShift) { return (nBits >> nShift & 15) * 16 + 8; };
    return QColor(level(8), level(4), level(0));
}

int bitsOf(const QColor &color)
{
    return color.red() / 16 << 8 | color.green() / 16 << 4 | color.blue() / 16;
}

} // namespace

// Lives on the device's thread; its counters are read on any.
class ScenarioDeviceWorker : public QObject
{
public:
    bool listen(const sScenario &scenario, int nIntervalMs)
    {
        m_pServer = std::make_unique<StreamServer>();
        m_pServer->setScenario(scenario);
        if (!m_pServer->listen(QHostAddress::LocalHost, 0))
            return false;
        m_nPort = m_pServer->port();
        m_pTimer = std::make_unique<QTimer>();
        m_pTimer->setTimerType(Qt::PreciseTimer);
        connect(m_pTimer.get(), &QTimer::timeout, this, [this] { makePicture(); });
        m_pTimer->start(nIntervalMs);
        return true;
    }

    void makePicture()
    {
        if (m_pServer->clientCount() > 0)
            m_pServer->broadcast(numberedPicture(++m_nPictures));
        m_nFaults = int(m_pServer->figures().m_nFaults);
        m_nAccepted = int(m_pServer->figures().m_nClients);
    }

    void shutDown()
    {
        m_pTimer.reset();
        m_pServer.reset();
    }

    std::unique_ptr<StreamServer> m_pServer;
    std::unique_ptr<QTimer> m_pTimer;
    std::atomic<quint16> m_nPort{0};
    std::atomic_int m_nPictures{0};
    std::atomic_int m_nFaults{0};
    std::atomic_int m_nAccepted{0};
};

ScenarioDevice::ScenarioDevice(const sScenario &scenario, int nIntervalMs)
    : m_pWorker(std::make_unique<ScenarioDeviceWorker>())
{
    m_thread.setObjectName(QStringLiteral("test-device"));
    m_pWorker->moveToThread(&m_thread);
    m_thread.start();
    QMetaObject::invokeMethod(
        m_pWorker.get(),
        [&] {
            if (!m_pWorker->listen(scenario, nIntervalMs))
                qFatal("the test's device cannot listen");
        },
        Qt::BlockingQueuedConnection);
}

ScenarioDevice::~ScenarioDevice()
{
    QMetaObject::invokeMethod(
        m_pWorker.get(), [this] { m_pWorker->shutDown(); }, Qt::BlockingQueuedConnection);
    m_thread.quit();
    m_thread.wait();
}

quint16 ScenarioDevice::port() const
{
    return m_pWorker->m_nPort;
}

int ScenarioDevice::pictureCount() const
{
    return m_pWorker->m_nPictures;
}

int ScenarioDevice::faultCount() const
{
    return m_pWorker->m_nFaults;
}

int ScenarioDevice::acceptedCount() const
{
    return m_pWorker->m_nAccepted;
}

QByteArray numberedPicture(int nNumber)
{
    QImage picture = solidPicture(PictureSize, colorOf(nNumber >> 12));
    QPainter painter(&picture);
    painter.fillRect(QRect(QPoint(0, 0), PictureSize / 2).adjusted(0, 0, 0, PictureSize.height()),
                     colorOf(nNumber & 0xfff));
    painter.end();
    return jpegBytes(picture);
}

int numberOf(const QImage &picture)
{
    if (picture.isNull())
        return -1;
    const int nMiddle = picture.height() / 2;
    const QColor left = picture.pixelColor(picture.width() / 4, nMiddle);
    const QColor right = picture.pixelColor(picture.width() * 3 / 4, nMiddle);
    return bitsOf(right) << 12 | bitsOf(left);
}

sScenario scenarioNamed(const QString &strName)
{
    sScenario scenario;
    QString strError;
    const QString strFile = QStringLiteral(SCENARIO_FOLDER "/%1.json").arg(strName);
    if (!Tools::readScenarioFile(strFile, &scenario, &strError))
        qFatal("%s", qPrintable(strError));
    return scenario;
}

} // namespace Morvek::Tests
