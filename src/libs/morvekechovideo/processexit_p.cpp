#include "processexit_p.h"

#include <QDateTime>
#include <QHostAddress>
#include <QHostInfo>
#include <QImageReader>
#include <QNetworkProxy>
#include <QTcpSocket>

namespace Morvek::EchoVideo::Internal {

void createRegistriesBeforeService()
{
    const QDateTime localTime = QDateTime::currentDateTime(); // time zones
    const QTcpSocket socket;                                  // socket engines
    const auto proxy = QNetworkProxy::applicationProxy();     // proxy settings
    QHostInfo::abortHostLookup(-1);                           // host name look-ups
    const auto formats = QImageReader::supportedImageFormats(); // picture decoders
    Q_UNUSED(localTime)
    Q_UNUSED(proxy)
    Q_UNUSED(formats)
}

} // namespace Morvek::EchoVideo::Internal
