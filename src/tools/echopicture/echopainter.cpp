#include "echopainter.h"

#include "echolayout.h"
#include "tilestamp.h"

#include <QPainter>
#include <QPolygonF>

namespace Morvek::Tools {

namespace {

constexpr int DialSteps = 24;    // pictures for one turn of the hand
constexpr int DialSector = 60;   // degrees that the hand covers
constexpr int PointerSteps = 60; // pictures for one way of the pointer
constexpr int PhaseStep = 7;     // pictures that a tile is ahead of the one before it

std::vector<sTilePlan> plansFor(int nTiles)
{
    std::vector<sTilePlan> plans;
    if (supportedTileCounts().contains(nTiles)) {
        for (int index = 0; index < nTiles; ++index) {
            plans.emplace_back(tileRect(nTiles, index));
        }
    }
    return plans;
}

QByteArray frameText(quint32 nPicture)
{
    return QByteArray::number(nPicture % 1000000).rightJustified(6, '0');
}

/** The time of day as hh:mm:ss.mmm, UTC. */
QByteArray timeText(qint64 nTimeMs)
{
    constexpr qint64 Day = 86400000;
    const int time = int((nTimeMs % Day + Day) % Day);
    const auto digits = [](int number, int count) {
        return QByteArray::number(number).rightJustified(count, '0');
    };
    return digits(time / 3600000, 2) + ':' + digits(time / 60000 % 60, 2) + ':'
         + digits(time / 1000 % 60, 2) + '.' + digits(time % 1000, 3);
}

void paintDialHand(QPainter &painter, const QRect &dial, const QColor &color, quint32 nStep)
{
    const int inset = dial.height() / 8;
    const int start = 90 - int(nStep % DialSteps) * 360 / DialSteps;
    painter.setBrush(color);
    painter.drawPie(dial.adjusted(inset, inset, -inset, -inset), start * 16, DialSector * 16);
}

void paintPointer(QPainter &painter, const QRect &track, quint32 nStep)
{
    const int step = int(nStep % (2 * PointerSteps));
    const int way = step < PointerSteps ? step : 2 * PointerSteps - step; // there and back
    const qreal half = track.height();
    const qreal x = track.left() + half + (track.width() - 2 * half) * way / PointerSteps;
    const QPointF tip(x, track.top());
    painter.setBrush(Qt::white);
    painter.drawPolygon(QPolygonF(
        {tip, tip + QPointF(half, track.height()), tip + QPointF(-half, track.height())}));
}

} // namespace

EchoPainter::EchoPainter(int nTiles)
    : m_plans(plansFor(nTiles))
    , m_frameGlyphs(m_plans.empty() ? 1 : m_plans.front().m_nFrameDot, Qt::white, panelColor())
    , m_timeGlyphs(m_plans.empty() ? 1 : m_plans.front().m_nTimeDot, Qt::white, panelColor())
    , m_background(EchoPictureSize, QImage::Format_RGB32)
{
    m_background.fill(Qt::black);
    QPainter painter(&m_background);
    painter.setRenderHint(QPainter::Antialiasing);
    for (std::size_t index = 0; index < m_plans.size(); ++index) {
        paintTileBackground(painter, m_plans[index], int(index));
    }
    painter.end();
    m_picture = m_background.copy();
}

void EchoPainter::setDark(const QSet<int> &inputs)
{
    QPainter painter(&m_picture);
    for (std::size_t index = 0; index < m_plans.size(); ++index) {
        const bool isDark = inputs.contains(int(index));
        if (isDark) {
            painter.fillRect(m_plans[index].m_tile, Qt::black);
        } else if (m_dark.contains(int(index))) {
            restoreBackground(painter, m_plans[index].m_tile);
        }
    }
    m_dark = inputs;
}

bool EchoPainter::isDrawn(int nInput) const
{
    return !m_dark.contains(nInput) && (m_isFirst || !m_still.contains(nInput));
}

const QImage &EchoPainter::paint(quint32 nPicture, qint64 nTimeMs)
{
    QPainter painter(&m_picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    for (std::size_t index = 0; index < m_plans.size(); ++index) {
        if (isDrawn(int(index))) {
            paintMovingParts(painter, int(index), nPicture);
        }
    }
    painter.end();
    writeTexts(nPicture, nTimeMs);
    m_isFirst = false;
    return m_picture;
}

void EchoPainter::paintMovingParts(QPainter &painter, int nInput, quint32 nPicture) const
{
    const sTilePlan &plan = m_plans[std::size_t(nInput)];
    const quint32 step = nPicture + quint32(nInput) * PhaseStep;
    restoreBackground(painter, plan.m_dial);
    restoreBackground(painter, plan.m_pointerTrack);
    paintDialHand(painter, plan.m_dial, accentColor(nInput), step);
    paintPointer(painter, plan.m_pointerTrack, step);
}

void EchoPainter::restoreBackground(QPainter &painter, const QRect &area) const
{
    painter.drawImage(area.topLeft(), m_background, area);
}

void EchoPainter::writeTexts(quint32 nPicture, qint64 nTimeMs)
{
    const QByteArray frame = frameText(nPicture);
    const QByteArray time = timeText(nTimeMs);
    for (std::size_t index = 0; index < m_plans.size(); ++index) {
        if (!isDrawn(int(index))) {
            continue;
        }
        const sTilePlan &plan = m_plans[index];
        m_frameGlyphs.write(m_picture, plan.m_frame.topLeft(), frame);
        m_timeGlyphs.write(m_picture, plan.m_time.topLeft(), time);
        drawTileStamp(m_picture, plan.m_tile, {quint8(index), nPicture, nTimeMs});
    }
}

} // namespace Morvek::Tools
