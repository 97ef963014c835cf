#include "borderramp_p.h"

#include <QEasingCurve>
#include <QVector>

namespace Morvek::EchoVideo::Internal {

namespace {

constexpr QColor SoftTileColor(50, 50, 50); // only the tile's alpha shows

QVector<qreal> ramp(int nLength, int nThickness, qreal opacity)
{
    QVector<qreal> values(nLength);
    for (int i = 0; i < nLength; ++i)
        values[i] = getOpcity(i, nThickness, opacity);
    return values;
}

// alphaOf(column, row) gives each pixel's alpha, 0 to 255, from the ramps at its column and row.
template <typename AlphaOf>
QImage borderTile(const QSize &size, const QSize &borderSize, const QColor &color, qreal opacity,
                  AlphaOf alphaOf)
{
    QImage tile(size, QImage::Format_ARGB32);
    if (tile.isNull())
        return tile;
    tile.fill(color);
    const QVector<qreal> columns = ramp(tile.width(), borderSize.width(), opacity);
    const QVector<qreal> rows = ramp(tile.height(), borderSize.height(), opacity);
    for (int y = 0; y < tile.height(); ++y) {
        QRgb *const pLine = reinterpret_cast<QRgb *>(tile.scanLine(y));
        for (int x = 0; x < tile.width(); ++x) {
            const auto alpha = static_cast<quint32>(alphaOf(columns[x], rows[y]));
            pLine[x] = (pLine[x] & RGB_MASK) | alpha << 24;
        }
    }
    return tile;
}

} // namespace

qreal getOpcity(int value, int total, qreal opacity)
{
    const qreal progress = qreal(value) / qreal(total);
    return QEasingCurve(QEasingCurve::InOutCubic).valueForProgress(progress) * opacity;
}

QImage softBorderTile(const QSize &size, const QSize &borderSize)
{
    return borderTile(size, borderSize, SoftTileColor, 1.0,
                      [](qreal column, qreal row) { return int(255 * column * row); });
}

QImage haloBorderTile(const QSize &size, const QSize &borderSize, const QColor &borderColor)
{
    return borderTile(size, borderSize, borderColor, borderColor.alphaF(),
                      [](qreal column, qreal row) { return int(255 * (1 - column * row)); });
}

} // namespace Morvek::EchoVideo::Internal
