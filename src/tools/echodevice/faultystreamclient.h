#ifndef MORVEK_TOOLS_FAULTYSTREAMCLIENT_H
#define MORVEK_TOOLS_FAULTYSTREAMCLIENT_H

#include "faultschedule.h"
#include "framepacer.h"
#include "streamclient.h"

#include <QByteArray>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QTimer>

#include <memory>

namespace Morvek::Tools {

/**
 * A receiver of the stream to whom a scenario's faults are played.
 *
 * @thread the one that it was made on
 */
class FaultyStreamClient : public StreamClient
{
    Q_OBJECT

public:
    /**
     * @param pSocket      connected; owned from now on
     * @param schedule     of this connection
     * @param figures      where to count; outlives this object
     */
    FaultyStreamClient(QTcpSocket *pSocket, const FaultSchedule &schedule, sStreamFigures &figures,
                       QObject *parent = nullptr);

    void offerPicture(const QByteArray &jpeg, const QByteArray &part) override;
    bool isDrained() const override;
    /** Plays a fault with the next picture. */
    void add(const sFault &fault);

Q_SIGNALS:
    /** The device is not to be there for so long. */
    void refusalRequested(int nMs);

private Q_SLOTS:
    void slotNextPieces();
    void slotFloodPictureDue();
    void slotBreakOffWhenSent();

private:
    bool isReady() const;
    bool playNextBefore(const QByteArray &jpeg);
    void playInPicture(const QByteArray &jpeg);
    bool fallSilent(const sFault &fault);
    bool breakOff(const QByteArray &lastBytes);
    bool startFlood(const sFault &fault, const QByteArray &jpeg);
    void sendInPieces(const QByteArray &part, int nFirst, int nOthers, int nPauseMs);

    FaultSchedule m_schedule;
    QElapsedTimer m_clock;    // since the client connected
    sPicturePlan m_plan;      // what is left of it for the next picture
    bool m_isPlanned = false; // the next picture has been counted
    bool m_isOver = false;    // nothing is sent any more
    QDeadlineTimer m_silence{0};
    QByteArray m_rest;        // of a part that is sent in pieces; empty: none
    int m_nRestAt = 0;        // how much of it was sent
    int m_nNextPiece = 0;     // bytes
    int m_nOtherPieces = 0;   // bytes
    bool m_isPausing = false; // after each piece
    QTimer m_pieceTimer;
    std::unique_ptr<FramePacer> m_pFlood; // null: none
    QDeadlineTimer m_floodEnd;
    int m_nFloodBytes = 0; // of each picture
    QByteArray m_floodPart;
};

} // namespace Morvek::Tools

#endif // MORVEK_TOOLS_FAULTYSTREAMCLIENT_H
