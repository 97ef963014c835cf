#ifndef MORVEK_TESTS_FUZZ_LAYERINPUT_H
#define MORVEK_TESTS_FUZZ_LAYERINPUT_H

#include <bytesource.h>

#include <layervideoconfig.h>

#include <QImage>
#include <QStringList>

namespace Morvek::Tests {

/** No input makes a picture of more pixels, unless of so many that no machine has them. */
constexpr qint64 MaxPixels = 1 << 20;

/**
 * A layer and its source's picture, made of a fuzzer's bytes: small ones, which the plain reference
 * can draw, and others of any values at all.
 */
class LayerInput
{
public:
    LayerInput(const std::uint8_t *pData, std::size_t nSize, const QStringList &alphaMaps);

    EchoVideo::sLayerVideoConfig layer();
    /** Of any format; call it after layer(). */
    QImage picture();
    /** The plain reference can draw it: nothing has an odd value. Known after picture(). */
    bool isPlain() const { return m_isPlain; }
    /** Larger pictures could be made, but take seconds, and gigabytes. Known after layer(). */
    bool isTooCostly() const { return m_isTooCostly; }

private:
    double length(int nLow, int nHigh, bool isWhole);
    QRectF rect();
    QColor color();
    void chooseItem(EchoVideo::sLayerItem &item);
    void chooseSource(EchoVideo::sLayerSource &source);
    void chooseBorder(EchoVideo::sLayerBorder &border);
    void chooseMask(EchoVideo::sLayerMask &mask);
    bool isAnything();
    void noteSize(double width, double height);

    ByteSource m_bytes;
    const QStringList &m_alphaMaps;
    bool m_isPlain = true;
    bool m_isTooCostly = false;
};

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_FUZZ_LAYERINPUT_H
