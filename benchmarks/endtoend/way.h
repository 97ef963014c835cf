#ifndef MORVEK_BENCHMARKS_WAY_H
#define MORVEK_BENCHMARKS_WAY_H

#include <QImage>
#include <QRect>
#include <QSize>

#include <functional>

namespace Morvek::Benchmarks {

/** Of the composite picture, and of every layer. */
constexpr int InputCount = 16;
constexpr int InputColumns = 4;
constexpr QSize TileSize(480, 270);
constexpr QSize LayerSize(480, 270);
constexpr int LayersFps = 25;

/** The work that every way does. */
struct sWork
{
    quint16 m_nPort = 0; ///< of the device, on this machine
    int m_nLayers = 16;
    bool m_isWhole = false; ///< shows the tiles as they are: no crop, no opacity

    /** The part of a tile that a layer shows; holds the tile's stamp. */
    QRect shownPart() const
    {
        return m_isWhole ? QRect(QPoint(0, 0), TileSize) : QRect(16, 8, 448, 252);
    }
    double opacity() const { return m_isWhole ? 1.0 : 0.8; }
};

/** Counts previews; called with each of them. The input is the number of the tile. */
using Delivered = std::function<void(int nLayer, const QImage &preview)>;

/** A way to do the work; ends when isOver answers true, which it is asked a few times a second. */
using Way = void (*)(const sWork &work, const Delivered &delivered,
                     const std::function<bool()> &isOver);

void renderWithLibrary(const sWork &work, const Delivered &delivered,
                       const std::function<bool()> &isOver);
void renderPlainly(const sWork &work, const Delivered &delivered,
                   const std::function<bool()> &isOver);
#ifdef MORVEK_HAS_GSTREAMER
void renderWithGStreamer(const sWork &work, const Delivered &delivered,
                         const std::function<bool()> &isOver);
#endif
#ifdef MORVEK_HAS_OPENCV
void renderWithOpenCv(const sWork &work, const Delivered &delivered,
                      const std::function<bool()> &isOver);
#endif

} // namespace Morvek::Benchmarks

#endif // MORVEK_BENCHMARKS_WAY_H
