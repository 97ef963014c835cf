#include "tilestamp.h"

#include <QByteArray>
#include <QColor>
#include <QPainter>
#include <QtMath>

#include <array>
#include <cmath>

namespace Morvek::Tools {

namespace {

constexpr int DataColumns = 32;
constexpr int CalibrationColumns = 2;
constexpr int FirstDataColumn = CalibrationColumns;
constexpr qreal BlockWidth = 1.0 / 40;
constexpr qreal BlockHeight = 9.0 / 200;
constexpr qreal StampLeft = 2 * BlockWidth;
constexpr qreal StampTop = 14.0 / 200;
constexpr qreal BandMargin = 4.0 / 200; // the band's height above and below the blocks
constexpr qreal SmallestBlock = 2.0;    // pixels; less cannot be told from its neighbours
constexpr qreal SmallestContrast = 24;  // of 255; less may be what JPEG makes of a plain surface
constexpr quint64 TimeModulo = quint64(1) << 24;

using tRow = std::array<bool, StampColumns>;
using tBlocks = std::array<tRow, StampRows>;
using tLevels = std::array<qreal, StampColumns>;
using tBytes = std::array<char, 8>;

// ---- content and blocks

quint16 checkSum(const tBytes &bytes)
{
    return qChecksum(bytes.data(), 6);
}

tBytes packed(const sTileStamp &stamp)
{
    tBytes bytes{char(stamp.m_nInput),       char(stamp.m_nFrame >> 8),
                 char(stamp.m_nFrame),       char(quint64(stamp.m_nTimeMs) >> 16),
                 char(stamp.m_nTimeMs >> 8), char(stamp.m_nTimeMs)};
    const quint16 sum = checkSum(bytes);
    bytes[6] = char(sum >> 8);
    bytes[7] = char(sum);
    return bytes;
}

quint32 byteAt(const tBytes &bytes, std::size_t index)
{
    return quint8(bytes[index]);
}

/** The time that the stamp can mean and that is nearest to the reader's clock. */
qint64 completedTime(quint64 nStampMs, qint64 nNowMs)
{
    const quint64 now = quint64(nNowMs);
    const quint64 ahead = (nStampMs - now) % TimeModulo;
    return qint64(now + ahead - (ahead < TimeModulo / 2 ? 0 : TimeModulo));
}

std::optional<sTileStamp> unpacked(const tBytes &bytes, qint64 nNowMs)
{
    if ((byteAt(bytes, 6) << 8 | byteAt(bytes, 7)) != checkSum(bytes)) {
        return std::nullopt;
    }
    sTileStamp stamp;
    stamp.m_nInput = quint8(bytes[0]);
    stamp.m_nFrame = byteAt(bytes, 1) << 8 | byteAt(bytes, 2);
    const quint32 time = byteAt(bytes, 3) << 16 | byteAt(bytes, 4) << 8 | byteAt(bytes, 5);
    stamp.m_nTimeMs = completedTime(time, nNowMs);
    return stamp;
}

/** Row and column of a data bit. */
bool &dataBlock(tBlocks &blocks, int bit)
{
    const int column = FirstDataColumn + bit % DataColumns;
    return blocks[std::size_t(bit / DataColumns)][std::size_t(column)];
}

/** Whether a calibration block is white; seen from the nearer end of its row. */
bool isWhiteCalibration(int row, int fromEnd)
{
    return row == fromEnd;
}

tBlocks blocksFor(const tBytes &bytes)
{
    tBlocks blocks{};
    for (int row = 0; row < StampRows; ++row) {
        for (int fromEnd = 0; fromEnd < CalibrationColumns; ++fromEnd) {
            const bool isWhite = isWhiteCalibration(row, fromEnd);
            blocks[std::size_t(row)][std::size_t(fromEnd)] = isWhite;
            blocks[std::size_t(row)][std::size_t(StampColumns - 1 - fromEnd)] = isWhite;
        }
    }
    for (int bit = 0; bit < StampRows * DataColumns; ++bit) {
        dataBlock(blocks, bit) = bytes[std::size_t(bit / 8)] >> (7 - bit % 8) & 1;
    }
    return blocks;
}

tBytes bytesFrom(tBlocks &blocks)
{
    tBytes bytes{};
    for (int bit = 0; bit < StampRows * DataColumns; ++bit) {
        char &byte = bytes[std::size_t(bit / 8)];
        byte = char(quint8(byte) << 1 | quint8(dataBlock(blocks, bit)));
    }
    return bytes;
}

// ---- blocks and pixels

/** The pixels of a block, edges rounded so that neighbours neither overlap nor leave a gap. */
QRect drawnBlock(const QRectF &tile, int row, int column)
{
    const QRectF block = stampBlockRect(tile, row, column);
    const QPoint topLeft(qRound(block.left()), qRound(block.top()));
    return {topLeft, QPoint(qRound(block.right()) - 1, qRound(block.bottom()) - 1)};
}

bool isPaintable(const QImage &picture)
{
    return !picture.isNull() && picture.depth() >= 8 && picture.format() != QImage::Format_Indexed8;
}

/** Whether the blocks are large enough and all of them in sight. */
bool isInSight(const QImage &picture, const QRectF &tile)
{
    if (picture.isNull() || !std::isfinite(tile.left()) || !std::isfinite(tile.top())
        || !std::isfinite(tile.width()) || !std::isfinite(tile.height())) {
        return false;
    }
    const bool isLargeEnough =
        tile.width() * BlockWidth >= SmallestBlock && tile.height() * BlockHeight >= SmallestBlock;
    return isLargeEnough && QRectF(picture.rect()).contains(stampRect(tile));
}

/** Mean brightness of a block's inner half in both directions; its rim is mixed with neighbours. */
qreal meanLevel(const QImage &picture, const QRectF &block)
{
    const QRectF inner = block.adjusted(block.width() / 4, block.height() / 4, -block.width() / 4,
                                        -block.height() / 4);
    // The pixels whose centres lie in it: at least one each way, as no block is smaller than 2 x 2.
    const int left = qCeil(inner.left() - 0.5);
    const int right = qMax(left, qFloor(inner.right() - 0.5));
    const int top = qCeil(inner.top() - 0.5);
    const int bottom = qMax(top, qFloor(inner.bottom() - 0.5));
    qint64 sum = 0;
    for (int y = top; y <= bottom; ++y) {
        const auto *line = reinterpret_cast<const QRgb *>(picture.constScanLine(y));
        for (int x = left; x <= right; ++x) {
            sum += qGray(line[x]);
        }
    }
    return qreal(sum) / ((right - left + 1) * (bottom - top + 1));
}

/** What an end of a row tells about white and black. */
struct sCalibration
{
    qreal m_contrast; ///< white minus black; negative in an inverted picture
    qreal m_middle;   ///< level between them
};

sCalibration calibration(const tLevels &levels, int row, int outerColumn, int innerColumn)
{
    const qreal outer = levels[std::size_t(outerColumn)];
    const qreal inner = levels[std::size_t(innerColumn)];
    const qreal contrast = isWhiteCalibration(row, 0) ? outer - inner : inner - outer;
    return {contrast, (outer + inner) / 2};
}

/** Black and white of a row; nothing when its calibration blocks are not what they should be. */
std::optional<tRow> decidedRow(const tLevels &levels, int row, bool isInverted)
{
    const sCalibration left = calibration(levels, row, 0, 1);
    const sCalibration right = calibration(levels, row, StampColumns - 1, StampColumns - 2);
    const qreal sign = isInverted ? -1 : 1;
    if (sign * left.m_contrast < SmallestContrast || sign * right.m_contrast < SmallestContrast) {
        return std::nullopt;
    }
    tRow decided{};
    for (int column = 0; column < StampColumns; ++column) {
        const qreal part = qreal(column) / (StampColumns - 1);
        const qreal middle = left.m_middle + part * (right.m_middle - left.m_middle);
        decided[std::size_t(column)] = (levels[std::size_t(column)] > middle) != isInverted;
    }
    return decided;
}

std::array<tLevels, StampRows> blockLevels(const QImage &picture, const QRectF &tile)
{
    const QRect sight = stampRect(tile).toAlignedRect() & picture.rect();
    const QImage cut = picture.copy(sight).convertToFormat(QImage::Format_ARGB32);
    std::array<tLevels, StampRows> levels{};
    if (cut.isNull()) {
        return levels; // out of memory; no contrast, so not legible
    }
    for (int row = 0; row < StampRows; ++row) {
        for (int column = 0; column < StampColumns; ++column) {
            const QRectF block = stampBlockRect(tile, row, column).translated(-sight.topLeft());
            levels[std::size_t(row)][std::size_t(column)] = meanLevel(cut, block);
        }
    }
    return levels;
}

} // namespace

QRectF stampBlockRect(const QRectF &tile, int nRow, int nColumn)
{
    return {tile.left() + tile.width() * (StampLeft + nColumn * BlockWidth),
            tile.top() + tile.height() * (StampTop + nRow * BlockHeight), tile.width() * BlockWidth,
            tile.height() * BlockHeight};
}

QRectF stampRect(const QRectF &tile)
{
    return stampBlockRect(tile, 0, 0) | stampBlockRect(tile, StampRows - 1, StampColumns - 1);
}

void drawTileStamp(QImage &picture, const QRect &tile, const sTileStamp &stamp)
{
    if (!isPaintable(picture)) {
        return;
    }
    const tBlocks blocks = blocksFor(packed(stamp));
    const qreal marginX = tile.width() * BlockWidth;
    const qreal marginY = tile.height() * BandMargin;
    const QRectF band = stampRect(tile).adjusted(-marginX, -marginY, marginX, marginY);
    QPainter painter(&picture);
    painter.fillRect(band.toRect(), Qt::black);
    for (int row = 0; row < StampRows; ++row) {
        for (int column = 0; column < StampColumns; ++column) {
            if (blocks[std::size_t(row)][std::size_t(column)]) {
                painter.fillRect(drawnBlock(tile, row, column), Qt::white);
            }
        }
    }
}

std::optional<sTileStamp> readTileStamp(const QImage &picture, const QRectF &tile, qint64 nNowMs)
{
    if (!isInSight(picture, tile)) {
        return std::nullopt;
    }
    const std::array<tLevels, StampRows> levels = blockLevels(picture, tile);
    const bool isInverted = calibration(levels[0], 0, 0, 1).m_contrast < 0;
    const std::optional<tRow> upper = decidedRow(levels[0], 0, isInverted);
    const std::optional<tRow> lower = decidedRow(levels[1], 1, isInverted);
    if (!upper || !lower) {
        return std::nullopt;
    }
    tBlocks blocks{*upper, *lower};
    return unpacked(bytesFrom(blocks), nNowMs);
}

} // namespace Morvek::Tools
