#ifndef MORVEK_TESTS_LAYERDICE_H
#define MORVEK_TESTS_LAYERDICE_H

#include <layervideoconfig.h>

#include <QImage>
#include <QRandomGenerator>
#include <QSize>
#include <QString>
#include <QStringList>

namespace Morvek::Tests {

/** Random layers and source pictures; the same ones for the same seed. */
class LayerDice
{
public:
    /**
     * @param alphaMaps    files to choose from, for the layers that get an alpha map
     * @param largestSize  of a layer, in pixels
     */
    LayerDice(quint32 nSeed, const QStringList &alphaMaps,
              const QSize &largestSize = QSize(60, 45));

    Morvek::EchoVideo::sLayerVideoConfig nextLayer();
    /** A picture of random pixels, in any format that sources have; rarely a null one. */
    QImage nextPicture(const Morvek::EchoVideo::sLayerVideoConfig &cfg);

private:
    bool isOneIn(int nCases) { return m_random.bounded(nCases) == 0; }
    int between(int nLow, int nHigh) { return m_random.bounded(nLow, nHigh + 1); }
    double length(int nLow, int nHigh, bool isWhole);
    QColor color();
    QRectF boundingRect();
    void chooseItem(Morvek::EchoVideo::sLayerItem &item);
    void chooseSource(Morvek::EchoVideo::sLayerSource &source);
    void chooseBorder(Morvek::EchoVideo::sLayerBorder &border);
    void chooseMask(Morvek::EchoVideo::sLayerMask &mask);

    QRandomGenerator m_random;
    const QStringList m_alphaMaps;
    const QSize m_largestSize;
};

/** A layer's record as one line, for messages. */
QString asText(const Morvek::EchoVideo::sLayerVideoConfig &cfg);

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_LAYERDICE_H
