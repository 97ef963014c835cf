#ifndef MORVEK_TOOLS_STREAMPART_H
#define MORVEK_TOOLS_STREAMPART_H

#include <QByteArray>
#include <QList>

namespace Morvek::Tools {

/**
 * One part of the stream: header lines, an empty line, a picture, each ended by CR LF.
 *
 * The header is a boundary line, "Content-Type: image/jpeg", and last "Content-Length: " with the
 * picture's length in bytes.
 */
struct sStreamPart
{
    QList<QByteArray> m_lines; ///< of the header, then the empty one, without their ends
    QByteArray m_picture;

    QByteArray bytes() const;
};

/** A picture's part as it should be. */
sStreamPart streamPart(const QByteArray &picture);

} // namespace Morvek::Tools

#endif // MORVEK_TOOLS_STREAMPART_H
