#include "processexit_p.h"

#include <QBuffer>
#include <QHostInfo>
#include <QImageReader>
#include <QLoggingCategory>
#include <QMetaType>
#include <QNetworkSession>
#include <QSharedPointer>
#include <QTcpSocket>
#include <QThread>
#include <QTimer>

#include <chrono>
#include <memory>

namespace Morvek::EchoVideo::Internal {

namespace {

// What a reader's threads use while they connect and decode, used once without a device.
void useRegistries()
{
    const QTcpSocket socket; // proxies and socket engines
    QTimer timer;
    timer.start(std::chrono::minutes(1)); // timer numbers
    QBuffer noPicture;
    noPicture.open(QIODevice::ReadOnly);
    QImageReader(&noPicture).canRead(); // picture decoders, and the lock around their choice
}

// Connecting asks for one, deprecated or not, and thereby registers how to convert it; which would be
// taken back, at process exit, before the service stops its reader.
void registerNetworkSession()
{
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    qMetaTypeId<QSharedPointer<QNetworkSession>>();
    QT_WARNING_POP
}

} // namespace

void createRegistriesBeforeService()
{
    QLoggingCategory::defaultCategory();                            // message categories
    qFormatLogMessage(QtDebugMsg, QMessageLogContext(), QString()); // pattern of messages
    QMetaType::hasRegisteredConverterFunction(-1, -1);              // conversions of properties
    QHostInfo::abortHostLookup(-1);                                 // host name look-ups
    registerNetworkSession();
    // On a thread of its own, because timers need one with an event dispatcher, and this one may
    // not have got its own yet.
    const std::unique_ptr<QThread> pThread(QThread::create(useRegistries));
    pThread->start();
    pThread->wait();
}

} // namespace Morvek::EchoVideo::Internal
