#ifndef MORVEK_TOOLS_STREAMSERVER_H
#define MORVEK_TOOLS_STREAMSERVER_H

#include "scenario.h"
#include "streamclient.h"

#include <QHostAddress>
#include <QList>
#include <QObject>
#include <QTcpServer>
#include <QTimer>

namespace Morvek::Tools {

/**
 * Sends one stream of JPEG pictures to any number of clients (64 at a time).
 *
 * A client only connects; nothing is expected from it. Every picture is one part of the stream, see
 * sStreamPart, unless a scenario says otherwise. Clients do not wait for each other: one that is
 * slow misses pictures.
 *
 * @thread the one that it was made on
 */
class StreamServer : public QObject
{
    Q_OBJECT

public:
    explicit StreamServer(QObject *parent = nullptr);

    /** Plays a scenario, from listen() on; before it. */
    void setScenario(const sScenario &scenario) { m_scenario = scenario; }
    /**
     * Starts to accept clients.
     *
     * @param nPort  0: any free one
     * @return false when the place cannot be had; errorString() says why
     */
    bool listen(const QHostAddress &address, quint16 nPort);
    QString errorString() const { return m_server.errorString(); }
    QHostAddress address() const { return m_address; }
    quint16 port() const { return m_nPort; }

    int clientCount() const { return m_clients.size(); }
    /** Whether the network has taken everything for every client. */
    bool isDrained() const;
    const sStreamFigures &figures() const { return m_figures; }

    /** Offers a picture to every client; all of them share its bytes. */
    void broadcast(const QByteArray &jpeg);

Q_SIGNALS:
    void clientCountChanged(int nClients);
    /** The network has taken everything for every client that is left. */
    void drained();

private Q_SLOTS:
    void slotNewConnection();
    void slotAcceptError();
    void slotListenAgain();

private:
    void planStartFaults();
    void playOnAll(const sFault &fault);
    void refuseFor(int nMs);
    StreamClient *newClient(QTcpSocket *pSocket);
    void addClient(QTcpSocket *pSocket);
    void removeClient(StreamClient *pClient);
    void tellIfDrained();

    sStreamFigures m_figures; // before the clients, which count in it
    sScenario m_scenario;
    QTcpServer m_server;
    QHostAddress m_address; // since the first listen()
    quint16 m_nPort = 0;
    QTimer m_refusal;                // while it runs, nobody is accepted
    QList<StreamClient *> m_clients; // children
};

} // namespace Morvek::Tools

#endif // MORVEK_TOOLS_STREAMSERVER_H
