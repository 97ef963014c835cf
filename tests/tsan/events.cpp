// Compiled into every program under ThreadSanitizer, in front of Qt's functions of the same names:
// what a thread did before it emitted a signal, or posted a call or an event, happened before a
// receiver in another thread takes it up; and all of that before a caller who waited for it goes on.

#include "nextfunction.h"
#include "unseen.h"

#include <QCoreApplication>
#include <QEvent>
#include <QObject>

#include <private/qmetaobject_p.h>
#include <private/qobject_p.h>
#include <private/qthread_p.h>
#include <sanitizer/tsan_interface.h>

using Morvek::Tests::nextFunction;
using Morvek::Tests::Unseen;

namespace {

/* Stands for the queue of events of an object's thread; outlives the object. */
void *queueOf(QObject *pObject)
{
    return QObjectPrivate::get(pObject)->threadData.loadRelaxed();
}

bool isPosted(const QThread *pReceiversThread, int type)
{
    if (type == Qt::AutoConnection)
        return pReceiversThread != QThread::currentThread();
    return type == Qt::QueuedConnection || type == Qt::BlockingQueuedConnection;
}

/* Releases to every queue that the signal is posted to; returns whether nobody is called at once. */
bool releaseToReceivers(QObject *pSender, int nSignal)
{
    const QObjectPrivate::ConnectionDataPointer pConnections(
        QObjectPrivate::get(pSender)->connections.loadAcquire());
    if (!pConnections || nSignal >= pConnections->signalVectorCount())
        return false;
    bool isPostedOnly = true;
    const auto *pConnection =
        pConnections->signalVector.loadAcquire()->at(nSignal).first.loadAcquire();
    for (; pConnection; pConnection = pConnection->nextConnectionList.loadAcquire()) {
        QThreadData *const pThreadData = pConnection->receiverThreadData.loadAcquire();
        if (!pThreadData)
            continue; // disconnected
        if (isPosted(pThreadData->thread.loadAcquire(), pConnection->connectionType))
            __tsan_release(pThreadData);
        else
            isPostedOnly = false;
    }
    return isPostedOnly;
}

/* A function object that is called in the receiver's thread. */
class AnnotatedSlot : public QtPrivate::QSlotObjectBase
{
public:
    AnnotatedSlot(QtPrivate::QSlotObjectBase *pSlot, void *pQueue)
        : QSlotObjectBase(&carryOut)
        , m_pSlot(pSlot)
        , m_pQueue(pQueue)
    {}

private:
    static void carryOut(int nWhat, QSlotObjectBase *pThis, QObject *pReceiver, void **pArguments,
                         bool * /*isEqual*/)
    {
        auto *const pSlot = static_cast<AnnotatedSlot *>(pThis);
        if (nWhat == Destroy) {
            pSlot->m_pSlot->destroyIfLastRef();
            delete pSlot;
        } else if (nWhat == Call) {
            __tsan_acquire(pSlot->m_pQueue);
            pSlot->m_pSlot->call(pReceiver, pArguments);
            __tsan_release(pSlot->m_pQueue);
        }
    }

    QtPrivate::QSlotObjectBase *const m_pSlot;
    void *const m_pQueue;
};

template <typename Call>
bool annotatedCall(QObject *pReceiver, Qt::ConnectionType type, Call call)
{
    if (!isPosted(pReceiver->thread(), type))
        return call();
    void *const pQueue = queueOf(pReceiver);
    __tsan_release(pQueue);
    bool isCalled = false;
    {
        const Unseen unseen;
        isCalled = call();
    }
    if (type == Qt::BlockingQueuedConnection)
        __tsan_acquire(pQueue);
    return isCalled;
}

} // namespace

bool QObject::event(QEvent *event)
{
    static const auto next = nextFunction<bool(QObject *, QEvent *)>("_ZN7QObject5eventEP6QEvent");
    void *const pQueue = queueOf(this);
    __tsan_acquire(pQueue);
    const bool isTaken = next(this, event); // this object may be gone now
    __tsan_release(pQueue);
    return isTaken;
}

void QMetaObject::activate(QObject *sender, const QMetaObject *metaObject, int local_signal_index,
                           void **argv)
{
    static const auto next = nextFunction<void(QObject *, const QMetaObject *, int, void **)>(
        "_ZN11QMetaObject8activateEP7QObjectPKS_iPPv");
    const int nSignal = QMetaObjectPrivate::signalOffset(metaObject) + local_signal_index;
    if (releaseToReceivers(sender, nSignal)) {
        const Unseen unseen;
        next(sender, metaObject, local_signal_index, argv);
    } else {
        next(sender, metaObject, local_signal_index, argv);
    }
}

bool QMetaObject::invokeMethod(QObject *object, const char *member, Qt::ConnectionType type,
                               QGenericReturnArgument ret, QGenericArgument val0,
                               QGenericArgument val1, QGenericArgument val2, QGenericArgument val3,
                               QGenericArgument val4, QGenericArgument val5, QGenericArgument val6,
                               QGenericArgument val7, QGenericArgument val8, QGenericArgument val9)
{
    using A = QGenericArgument;
    static const auto next =
        nextFunction<bool(QObject *, const char *, Qt::ConnectionType, QGenericReturnArgument, A, A,
                          A, A, A, A, A, A, A, A)>(
            "_ZN11QMetaObject12invokeMethodEP7QObjectPKcN2Qt14ConnectionTypeE22"
            "QGenericReturnArgument16QGenericArgumentS7_S7_S7_S7_S7_S7_S7_S7_S7_");
    return annotatedCall(object, type, [&] {
        return next(object, member, type, ret, val0, val1, val2, val3, val4, val5, val6, val7, val8,
                    val9);
    });
}

bool QMetaObject::invokeMethodImpl(QObject *object, QtPrivate::QSlotObjectBase *slot,
                                   Qt::ConnectionType type, void *ret)
{
    static const auto next =
        nextFunction<bool(QObject *, QtPrivate::QSlotObjectBase *, Qt::ConnectionType, void *)>(
            "_ZN11QMetaObject16invokeMethodImplEP7QObjectPN9QtPrivate15QSlotObjectBaseEN2Qt14"
            "ConnectionTypeEPv");
    // Kept here until the end of a call that is waited for, which Qt frees it before.
    auto *const pSlot = new AnnotatedSlot(slot, queueOf(object));
    pSlot->ref();
    const bool isCalled =
        annotatedCall(object, type, [&] { return next(object, pSlot, type, ret); });
    pSlot->destroyIfLastRef();
    return isCalled;
}

void QCoreApplication::postEvent(QObject *receiver, QEvent *event, int priority)
{
    static const auto next = nextFunction<void(QObject *, QEvent *, int)>(
        "_ZN16QCoreApplication9postEventEP7QObjectP6QEventi");
    __tsan_release(queueOf(receiver));
    const Unseen unseen;
    next(receiver, event, priority);
}
