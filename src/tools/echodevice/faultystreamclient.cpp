#include "faultystreamclient.h"

#include "faultyparts.h"

#include <QTcpSocket>

#include <utility>

namespace Morvek::Tools {

namespace {

constexpr int SplitPause = 30;       // ms, enough for a client to read what came before
constexpr int LongestSilence = 3000; // ms, of those that a scenario leaves open
constexpr int FloodDuration = 1000;  // ms
constexpr int FloodFps = 500;
constexpr int FloodBytes = 8'000'000;
constexpr int MostPending = 100;  // faults that wait for a connection to be ready for them
constexpr int PiecesAtOnce = 256; // so that others get their turn
constexpr int ShortestPause = 1;  // ms, for the network to take a piece

} // namespace

FaultyStreamClient::FaultyStreamClient(QTcpSocket *pSocket, const FaultSchedule &schedule,
                                       sStreamFigures &figures, QObject *parent)
    : StreamClient(pSocket, figures, parent)
    , m_schedule(schedule)
{
    m_clock.start();
    m_pieceTimer.setSingleShot(true);
    m_pieceTimer.setTimerType(Qt::PreciseTimer);
    connect(&m_pieceTimer, &QTimer::timeout, this, &FaultyStreamClient::slotNextPieces);
}

void FaultyStreamClient::offerPicture(const QByteArray &jpeg, const QByteArray &part)
{
    if (m_pFlood)
        m_floodPart = paddedPart(jpeg, m_nFloodBytes);
    if (!isReady()) {
        ++figures().m_nSkipped;
        return;
    }
    if (!std::exchange(m_isPlanned, true)) {
        const sPicturePlan plan = m_schedule.next(m_clock.elapsed());
        for (const sFault &fault : plan.m_before)
            addTo(m_plan, fault);
        if (plan.m_inPicture)
            addTo(m_plan, *plan.m_inPicture);
    }
    while (!m_plan.m_before.isEmpty()) {
        if (!playNextBefore(jpeg))
            return;
    }
    m_isPlanned = false;
    if (m_plan.m_inPicture)
        playInPicture(jpeg);
    else
        offer(part);
}

bool FaultyStreamClient::isDrained() const
{
    return m_isOver || (m_rest.isEmpty() && StreamClient::isDrained());
}

void FaultyStreamClient::add(const sFault &fault)
{
    if (!m_isOver && m_plan.m_before.size() < MostPending)
        addTo(m_plan, fault);
}

bool FaultyStreamClient::isReady() const
{
    return !m_isOver && !m_pFlood && m_rest.isEmpty() && m_silence.hasExpired() && !isSlow();
}

// Returns false where the picture has to wait, if it comes at all.
bool FaultyStreamClient::playNextBefore(const QByteArray &jpeg)
{
    const sFault fault = m_plan.m_before.takeFirst();
    ++figures().m_nFaults;
    switch (fault.m_eFault) {
    case eFault::RandomBytes:
        return send(randomBytes(fault, m_schedule.random()), false);
    case eFault::Silence:
        return fallSilent(fault);
    case eFault::Close:
        m_isOver = true;
        socket().disconnectFromHost();
        return false;
    case eFault::Reset:
        return breakOff({});
    case eFault::Flap:
        return breakOff(randomBytes(fault, m_schedule.random()));
    case eFault::Refuse:
        m_isOver = true;
        Q_EMIT refusalRequested(
            fault.m_nMs.value_or(m_schedule.random().bounded(1, LongestSilence + 1)));
        return false;
    case eFault::Flood:
        return startFlood(fault, jpeg);
    default:
        m_isOver = true;
        return false;
    }
}

void FaultyStreamClient::playInPicture(const QByteArray &jpeg)
{
    const sFault fault = *std::exchange(m_plan.m_inPicture, std::nullopt);
    ++figures().m_nFaults;
    const QByteArray part = faultyPart(fault, jpeg, m_schedule.random());
    if (fault.m_eFault == eFault::Split) {
        const int nFirst = fault.m_nByte.value_or(m_schedule.random().bounded(part.size()));
        sendInPieces(part, qMin(nFirst, part.size()), part.size(),
                     fault.m_nMs.value_or(SplitPause));
    } else if (fault.m_eFault == eFault::OneByteWrites) {
        const int nPiece = fault.m_nBytes.value_or(1);
        sendInPieces(part, nPiece, nPiece, 0);
    } else {
        offer(part);
    }
}

bool FaultyStreamClient::fallSilent(const sFault &fault)
{
    m_silence.setRemainingTime(
        fault.m_nMs.value_or(m_schedule.random().bounded(1, LongestSilence + 1)));
    return false;
}

bool FaultyStreamClient::breakOff(const QByteArray &lastBytes)
{
    m_isOver = true;
    send(lastBytes, false);
    socket().flush();
    connect(&socket(), &QTcpSocket::bytesWritten, this, &FaultyStreamClient::slotBreakOffWhenSent,
            Qt::QueuedConnection);
    slotBreakOffWhenSent();
    return false;
}

// What the network has not taken yet would be lost with the connection.
void FaultyStreamClient::slotBreakOffWhenSent()
{
    if (socket().bytesToWrite() == 0)
        reset();
}

bool FaultyStreamClient::startFlood(const sFault &fault, const QByteArray &jpeg)
{
    m_nFloodBytes = fault.m_nBytes.value_or(FloodBytes);
    m_floodPart = paddedPart(jpeg, m_nFloodBytes);
    m_floodEnd.setRemainingTime(fault.m_nMs.value_or(FloodDuration));
    m_pFlood = std::make_unique<FramePacer>(fault.m_nFps.value_or(FloodFps));
    connect(m_pFlood.get(), &FramePacer::pictureDue, this,
            &FaultyStreamClient::slotFloodPictureDue);
    m_pFlood->start();
    return false;
}

void FaultyStreamClient::slotFloodPictureDue()
{
    if (!m_floodEnd.hasExpired()) {
        offer(m_floodPart);
        return;
    }
    m_floodPart.clear();
    m_pFlood->stop();
    m_pFlood.release()->deleteLater(); // it is calling
}

void FaultyStreamClient::sendInPieces(const QByteArray &part, int nFirst, int nOthers, int nPauseMs)
{
    m_rest = part;
    m_nRestAt = 0;
    m_nNextPiece = nFirst;
    m_nOtherPieces = nOthers;
    m_isPausing = nPauseMs > 0;
    m_pieceTimer.setInterval(qMax(nPauseMs, ShortestPause));
    slotNextPieces();
}

void FaultyStreamClient::slotNextPieces()
{
    // A piece that waits with another would be sent together with it.
    for (int i = 0; i < PiecesAtOnce && socket().bytesToWrite() == 0; ++i) {
        const QByteArray piece = m_rest.mid(m_nRestAt, std::exchange(m_nNextPiece, m_nOtherPieces));
        m_nRestAt += piece.size();
        const bool isLast = m_nRestAt == m_rest.size();
        if (!send(piece, isLast) || isLast) {
            m_rest.clear();
            return;
        }
        socket().flush();
        if (m_isPausing)
            break;
    }
    m_pieceTimer.start();
}

} // namespace Morvek::Tools
