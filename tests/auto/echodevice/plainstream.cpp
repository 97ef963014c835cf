#include "plainstream.h"

#include <QHostAddress>

namespace Morvek::Tests {

namespace {

constexpr int WaitMs = 20000;
constexpr int LongestLine = 200;

} // namespace

bool PlainStream::connectTo(const QString &strAddress, quint16 nPort)
{
    m_socket.connectToHost(QHostAddress(strAddress), nPort);
    return m_socket.waitForConnected(WaitMs);
}

std::optional<sStreamPart> PlainStream::next()
{
    sStreamPart part;
    QByteArray line;
    while (takeLine(line) && !line.isEmpty()) {
        part.m_headerLines.append(line);
    }
    if (!line.isEmpty() || part.m_headerLines.isEmpty()) {
        return fail(QStringLiteral("no header"));
    }
    const QByteArray lengthLine = part.m_headerLines.constLast();
    bool isNumber = false;
    const int length = lengthLine.mid(lengthLine.indexOf(' ') + 1).toInt(&isNumber);
    if (!lengthLine.startsWith("Content-Length: ") || !isNumber || length <= 0) {
        return fail(QStringLiteral("not a length: ") + QString::fromLatin1(lengthLine));
    }
    if (!waitForBytes(length + 2)) {
        return fail(QStringLiteral("picture cut off"));
    }
    part.m_picture = m_bytes.left(length);
    if (m_bytes.mid(length, 2) != "\r\n") {
        return fail(QStringLiteral("no line end behind the picture"));
    }
    m_bytes.remove(0, length + 2);
    return part;
}

bool PlainStream::waitForBytes(int nCount)
{
    while (m_bytes.size() < nCount) {
        if (m_socket.bytesAvailable() == 0 && !m_socket.waitForReadyRead(WaitMs)) {
            return false;
        }
        m_bytes += m_socket.readAll();
    }
    return true;
}

bool PlainStream::takeLine(QByteArray &line)
{
    int end = -1;
    while ((end = m_bytes.indexOf("\r\n")) < 0) {
        if (m_bytes.size() > LongestLine || !waitForBytes(m_bytes.size() + 1)) {
            return false;
        }
    }
    line = m_bytes.left(end);
    m_bytes.remove(0, end + 2);
    return true;
}

std::nullopt_t PlainStream::fail(const QString &strError)
{
    m_strError = strError;
    return std::nullopt;
}

} // namespace Morvek::Tests
