#ifndef MORVEK_TOOLS_STREAMSERVER_H
#define MORVEK_TOOLS_STREAMSERVER_H

#include "streamclient.h"

#include <QHostAddress>
#include <QList>
#include <QObject>
#include <QTcpServer>

namespace Morvek::Tools {

/**
 * Sends one stream of JPEG pictures to any number of clients (64 at a time).
 *
 * A client only connects; nothing is expected from it. Every picture is one part of the stream,
 * all lines ended by CR LF: a boundary line, "Content-Type: image/jpeg", "Content-Length: " with
 * the picture's length in bytes as the last header line, an empty line, the picture, CR LF.
 *
 * Clients do not wait for each other: one that is slow misses pictures.
 *
 * @thread main
 */
class StreamServer : public QObject
{
    Q_OBJECT

public:
    explicit StreamServer(QObject *parent = nullptr);

    /**
     * Starts to accept clients.
     *
     * @param nPort  0: any free one
     * @return false when the place cannot be had; errorString() says why
     */
    bool listen(const QHostAddress &address, quint16 nPort);
    QString errorString() const { return m_server.errorString(); }
    QHostAddress address() const { return m_server.serverAddress(); }
    quint16 port() const { return m_server.serverPort(); }

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

private:
    void addClient(QTcpSocket *pSocket);
    void removeClient(StreamClient *pClient);
    void tellIfDrained();

    sStreamFigures m_figures; // before the clients, which count in it
    QTcpServer m_server;
    QList<StreamClient *> m_clients; // children
};

} // namespace Morvek::Tools

#endif // MORVEK_TOOLS_STREAMSERVER_H
