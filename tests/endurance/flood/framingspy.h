#ifndef MORVEK_TESTS_FRAMINGSPY_H
#define MORVEK_TESTS_FRAMINGSPY_H

#include <QtGlobal>

namespace Morvek::Tests {

/** What the MJPEG reader of this process has received; the linker puts this before its framing. */
struct sFramingFigures
{
    qint64 m_nReceived = 0;      ///< bytes
    qint64 m_nLargestBuffer = 0; ///< bytes, after a read
    qint64 m_nLargestRead = 0;   ///< bytes
    qint64 m_nMostHeld = 0;      ///< bytes, the read that had just been added not counted
    int m_nPictures = 0;         ///< cut out of the stream, handed over or not
    int m_nDecoded = 0;          ///< handed over and then decoded
};

/** @thread any */
sFramingFigures framingFigures();

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_FRAMINGSPY_H
