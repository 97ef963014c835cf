#ifndef MORVEK_TESTS_CUTTINGRECEIVER_H
#define MORVEK_TESTS_CUTTINGRECEIVER_H

#include <mjpegframing_p.h>
#include <receivebuffer_p.h>

#include <QBuffer>
#include <QByteArray>
#include <QList>

namespace Morvek::Tests {

/** A receive buffer that is treated as a reader treats it: two cuts after each read. */
class CuttingReceiver
{
public:
    Morvek::EchoVideo::Internal::ReceiveBuffer m_buffer;
    QList<QByteArray> m_pictures; ///< what was cut out, oldest first

    void read(const QByteArray &bytes)
    {
        QBuffer source;
        source.setData(bytes);
        source.open(QIODevice::ReadOnly | QIODevice::Unbuffered);
        m_buffer.appendAllOf(source);
        const int iHeader = cut(m_buffer.size());
        if (iHeader != -1)
            cut(iHeader);
    }

private:
    int cut(int iStart)
    {
        return cutPicture(m_buffer, iStart, [this](const char *pData, int nLength) {
            m_pictures.append(QByteArray(pData, nLength));
        });
    }
};

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_CUTTINGRECEIVER_H
