#include "streamserver.h"

#include "faultystreamclient.h"
#include "streampart.h"

#include <QTcpSocket>

#include <algorithm>
#include <chrono>
#include <utility>

namespace Morvek::Tools {

namespace {

using namespace std::chrono_literals;

constexpr int MaxClients = 64;
constexpr auto AcceptPause = 1s; // after a failure such as too many open files

constexpr auto ListenPause = 1s; // while the port belongs to somebody else
constexpr int MsOfAnyRefusal = 1000;

bool isEmpty(const sScenario &scenario)
{
    return scenario.m_faults.isEmpty() && scenario.m_nPercent == 0;
}

} // namespace

StreamServer::StreamServer(QObject *parent)
    : QObject(parent)
{
    connect(&m_server, &QTcpServer::newConnection, this, &StreamServer::slotNewConnection);
    connect(&m_server, &QTcpServer::acceptError, this, &StreamServer::slotAcceptError);
    m_refusal.setSingleShot(true);
    m_refusal.setTimerType(Qt::PreciseTimer);
    connect(&m_refusal, &QTimer::timeout, this, &StreamServer::slotListenAgain);
}

bool StreamServer::listen(const QHostAddress &address, quint16 nPort)
{
    if (!m_server.listen(address, nPort))
        return false;
    m_address = m_server.serverAddress();
    m_nPort = m_server.serverPort();
    planStartFaults();
    return true;
}

bool StreamServer::isDrained() const
{
    return std::all_of(m_clients.cbegin(), m_clients.cend(),
                       [](const StreamClient *pClient) { return pClient->isDrained(); });
}

void StreamServer::broadcast(const QByteArray &jpeg)
{
    const QByteArray part = streamPart(jpeg).bytes();
    // A copy: a fault may end a connection, and take clients out of the list.
    const QList<StreamClient *> clients = m_clients;
    for (StreamClient *pClient : clients) {
        if (m_clients.contains(pClient))
            pClient->offerPicture(jpeg, part);
    }
}

void StreamServer::slotNewConnection()
{
    while (QTcpSocket *pSocket = m_server.nextPendingConnection()) {
        if (m_clients.size() < MaxClients) {
            addClient(pSocket);
        } else {
            qWarning("A client was turned away: there are %d already.", MaxClients);
            pSocket->abort();
            pSocket->deleteLater();
        }
    }
}

void StreamServer::slotAcceptError()
{
    qWarning("A client could not be accepted: %s", qUtf8Printable(m_server.errorString()));
    // The server accepts nobody after an error until it is told to.
    QTimer::singleShot(AcceptPause, &m_server, &QTcpServer::resumeAccepting);
}

void StreamServer::addClient(QTcpSocket *pSocket)
{
    StreamClient *pClient = newClient(pSocket);
    connect(pClient, &StreamClient::drained, this, &StreamServer::tellIfDrained);
    connect(pClient, &StreamClient::ended, this, [this, pClient] { removeClient(pClient); });
    m_clients.append(pClient);
    Q_EMIT clientCountChanged(m_clients.size());
}

StreamClient *StreamServer::newClient(QTcpSocket *pSocket)
{
    if (isEmpty(m_scenario))
        return new StreamClient(pSocket, m_figures, this);
    const FaultSchedule schedule(m_scenario, int(m_figures.m_nClients) + 1);
    auto *pClient = new FaultyStreamClient(pSocket, schedule, m_figures, this);
    connect(pClient, &FaultyStreamClient::refusalRequested, this, &StreamServer::refuseFor);
    return pClient;
}

void StreamServer::removeClient(StreamClient *pClient)
{
    m_clients.removeOne(pClient);
    pClient->deleteLater();
    Q_EMIT clientCountChanged(m_clients.size());
    tellIfDrained();
}

void StreamServer::tellIfDrained()
{
    if (isDrained()) {
        Q_EMIT drained();
    }
}

void StreamServer::planStartFaults()
{
    for (const sPlannedFault &planned : std::as_const(m_scenario.m_faults)) {
        if (planned.m_eClock != eClock::Start)
            continue;
        auto *pTimer = new QTimer(this);
        pTimer->setTimerType(Qt::PreciseTimer);
        pTimer->setSingleShot(planned.m_nEvery == 0);
        connect(pTimer, &QTimer::timeout, this, [this, planned, pTimer] {
            pTimer->setInterval(planned.m_nEvery);
            playOnAll(planned.m_fault);
        });
        pTimer->start(planned.m_nAt);
    }
}

void StreamServer::playOnAll(const sFault &fault)
{
    if (fault.m_eFault == eFault::Refuse) {
        ++m_figures.m_nFaults;
        refuseFor(fault.m_nMs.value_or(MsOfAnyRefusal));
        return;
    }
    for (StreamClient *pClient : std::as_const(m_clients))
        static_cast<FaultyStreamClient *>(pClient)->add(fault);
}

void StreamServer::refuseFor(int nMs)
{
    m_server.close();
    const QList<StreamClient *> clients = m_clients;
    for (StreamClient *pClient : clients)
        pClient->reset();
    m_refusal.start(qMax(nMs, m_refusal.remainingTime()));
}

void StreamServer::slotListenAgain()
{
    if (m_server.listen(m_address, m_nPort))
        return;
    qWarning("Cannot listen again yet: %s", qUtf8Printable(m_server.errorString()));
    m_refusal.start(ListenPause);
}

} // namespace Morvek::Tools
