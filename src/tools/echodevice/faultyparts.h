#ifndef MORVEK_TOOLS_FAULTYPARTS_H
#define MORVEK_TOOLS_FAULTYPARTS_H

#include "scenario.h"

#include <QByteArray>
#include <QRandomGenerator>

namespace Morvek::Tools {

/**
 * The bytes that a fault sends in the place of a picture's part. Faults that are in how the bytes
 * are sent give the part as it should be.
 *
 * @param fault    one that is in a picture
 * @param picture  compressed, as it would be sent
 * @param random   decides what the fault leaves open
 * @thread any
 */
QByteArray faultyPart(const sFault &fault, const QByteArray &picture, QRandomGenerator &random);

/**
 * Bytes without a meaning, for faults that send such.
 *
 * @param nMost  as many are sent where the fault does not say how many: from 1 to this
 */
QByteArray randomBytes(const sFault &fault, QRandomGenerator &random, int nMost = 4096);

/** A picture's part as it should be, the picture made longer, up to nBytes, behind its end. */
QByteArray paddedPart(const QByteArray &picture, int nBytes);

} // namespace Morvek::Tools

#endif // MORVEK_TOOLS_FAULTYPARTS_H
