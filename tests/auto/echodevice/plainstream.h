#ifndef MORVEK_TESTS_PLAINSTREAM_H
#define MORVEK_TESTS_PLAINSTREAM_H

#include <QByteArray>
#include <QList>
#include <QTcpSocket>

#include <optional>

namespace Morvek::Tests {

/** One picture as it came: its header lines, without line ends, and its bytes. */
struct sStreamPart
{
    QList<QByteArray> m_headerLines;
    QByteArray m_picture;
};

/** A client that takes the stream apart strictly: anything out of form is a failure. */
class PlainStream
{
public:
    bool connectTo(const QString &strAddress, quint16 nPort);
    /** The next picture; nothing when the stream ended or is out of form, see error(). */
    std::optional<sStreamPart> next();
    /** What was out of form; empty while all is well. */
    QString error() const { return m_strError; }
    QTcpSocket &socket() { return m_socket; }

private:
    bool waitForBytes(int nCount);
    bool takeLine(QByteArray &line);
    std::nullopt_t fail(const QString &strError);

    QTcpSocket m_socket;
    QByteArray m_bytes; // received and not yet taken apart
    QString m_strError;
};

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_PLAINSTREAM_H
