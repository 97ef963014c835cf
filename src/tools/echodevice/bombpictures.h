#ifndef MORVEK_TOOLS_BOMBPICTURES_H
#define MORVEK_TOOLS_BOMBPICTURES_H

#include <QByteArray>
#include <QSize>

namespace Morvek::Tools {

/**
 * A small picture whose header claims another size.
 *
 * @param baFormat  jpeg, png, bmp, gif or ppm
 * @param size      claimed, each side 1 to 65535
 * @thread any
 */
QByteArray dimensionBomb(const QByteArray &baFormat, const QSize &size);

/**
 * A small progressive JPEG of many scans that claims another size.
 *
 * @param nScans  as many, or those of the small picture if these are more
 * @thread any
 */
QByteArray scanBomb(int nScans, const QSize &size);

/**
 * A small PNG with many long texts, packed to a thousandth.
 *
 * @param nTexts  from 1; a decoder of PNG takes up to 1000, of 8 MB each
 * @thread any
 */
QByteArray textBomb(int nTexts);

} // namespace Morvek::Tools

#endif // MORVEK_TOOLS_BOMBPICTURES_H
