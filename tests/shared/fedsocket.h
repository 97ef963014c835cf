#ifndef MORVEK_TESTS_FEDSOCKET_H
#define MORVEK_TESTS_FEDSOCKET_H

#include <QByteArray>
#include <QTcpSocket>

#include <algorithm>
#include <cstring>
#include <utility>

namespace Morvek::Tests {

/** A socket without a connection, from which whoever reads gets what it was fed. */
class FedSocket : public QTcpSocket
{
public:
    FedSocket() { setOpenMode(QIODevice::ReadOnly | QIODevice::Unbuffered); }

    void feed(QByteArray bytes)
    {
        m_bytes = std::move(bytes);
        m_nRead = 0;
    }
    qint64 bytesAvailable() const override { return m_bytes.size() - m_nRead; }

protected:
    qint64 readData(char *pData, qint64 nMax) override
    {
        const int nBytes = int(std::min<qint64>(nMax, bytesAvailable()));
        std::memcpy(pData, m_bytes.constData() + m_nRead, size_t(nBytes));
        m_nRead += nBytes;
        return nBytes;
    }

private:
    QByteArray m_bytes;
    int m_nRead = 0; // of these
};

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_FEDSOCKET_H
