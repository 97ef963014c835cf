#include "framingspy.h"

#include <mjpegframing_p.h>
#include <pngtext_p.h>
#include <receivebuffer_p.h>

#include <QMutex>
#include <QMutexLocker>

using namespace Morvek::EchoVideo::Internal;

// The linker's names: what --wrap calls in the place of a function, and the function itself.
#define CUT_SYMBOL(prefix) \
    prefix##_ZN6Morvek9EchoVideo8Internal10cutPictureERNS1_13ReceiveBufferEiRKSt8functionIFvPKciEE
#define TEXT_SYMBOL(prefix) prefix##_ZN6Morvek9EchoVideo8Internal12pngTextBytesERK10QByteArray

extern "C" {
int CUT_SYMBOL(__real_)(ReceiveBuffer &baMJPEG, int iStart, const PictureHandler &handler);
int CUT_SYMBOL(__wrap_)(ReceiveBuffer &baMJPEG, int iStart, const PictureHandler &handler);
qint64 TEXT_SYMBOL(__real_)(const QByteArray &baPicture);
qint64 TEXT_SYMBOL(__wrap_)(const QByteArray &baPicture);
}

namespace Morvek::Tests {

namespace {

QMutex mtxFigures;
sFramingFigures figures; // guarded by mtxFigures
qint64 nHeld = 0;        // reader thread only: what the last search left in the buffer

// The first search after a read starts at the buffer's end, the second one at a header.
void noteRead(qint64 nBuffer)
{
    QMutexLocker locker(&mtxFigures);
    const qint64 nRead = nBuffer - nHeld;
    figures.m_nReceived += nRead;
    figures.m_nLargestRead = qMax(figures.m_nLargestRead, nRead);
    figures.m_nLargestBuffer = qMax(figures.m_nLargestBuffer, nBuffer);
    figures.m_nMostHeld = qMax(figures.m_nMostHeld, nHeld);
}

} // namespace

sFramingFigures framingFigures()
{
    QMutexLocker locker(&mtxFigures);
    return figures;
}

} // namespace Morvek::Tests

int CUT_SYMBOL(__wrap_)(ReceiveBuffer &baMJPEG, int iStart, const PictureHandler &handler)
{
    using namespace Morvek::Tests;
    if (iStart == baMJPEG.size())
        noteRead(baMJPEG.size());
    const int nResult = CUT_SYMBOL(__real_)(baMJPEG, iStart, [&](const char *pData, int nLength) {
        {
            QMutexLocker locker(&mtxFigures);
            ++figures.m_nPictures;
        }
        handler(pData, nLength);
    });
    nHeld = baMJPEG.size();
    return nResult;
}

// The first thing that is done with each picture that the decoder gets.
qint64 TEXT_SYMBOL(__wrap_)(const QByteArray &baPicture)
{
    using namespace Morvek::Tests;
    QMutexLocker locker(&mtxFigures);
    ++figures.m_nDecoded;
    locker.unlock();
    return TEXT_SYMBOL(__real_)(baPicture);
}
