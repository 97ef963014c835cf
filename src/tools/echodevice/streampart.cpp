#include "streampart.h"

namespace Morvek::Tools {

QByteArray sStreamPart::bytes() const
{
    return m_lines.join("\r\n") + "\r\n" + m_picture + "\r\n";
}

sStreamPart streamPart(const QByteArray &picture)
{
    return {{"--morvek-echo-picture", "Content-Type: image/jpeg",
             "Content-Length: " + QByteArray::number(picture.size()), ""},
            picture};
}

} // namespace Morvek::Tools
