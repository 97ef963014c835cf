// What a host may connect and invoke that has never registered a type itself: nothing in this
// program calls qRegisterMetaType().

#include "logcapture.h"

#include <layervideomanager.h>

#include <devicelist.h>

#include <QMetaMethod>
#include <QMetaType>
#include <QThread>
#include <QVariant>
#include <QtTest>

#include <memory>

using namespace Morvek;
using namespace Morvek::EchoVideo;
using Morvek::BizModel::DeviceList;
using Morvek::Tests::LogCapture;

namespace {

sLayerUniqueIdentifies someKey()
{
    sLayerUniqueIdentifies key;
    key.screenId = 200;
    key.screenType = -2;
    key.layerId = 255;
    key.layerType = 70000;
    key.sceneType = 5;
    return key;
}

} // namespace

/** A host's object; one slot for each way to spell the key. */
class Receiver : public QObject
{
    Q_OBJECT

public:
    QList<sLayerUniqueIdentifies> m_keys;
    QThread *m_pThread = nullptr;
    int m_nScreens = 0;
    int m_nLayers = 0;

public Q_SLOTS:
    void byAlias(sLayerUniqueIdentifies key) { note(key); }
    void byHalfQualifiedAlias(EchoVideo::sLayerUniqueIdentifies key) { note(key); }
    void byQualifiedAlias(Morvek::EchoVideo::sLayerUniqueIdentifies key) { note(key); }
    void byFullName(Morvek::ProtoModel::s_ScreenLayerId key) { note(key); }
    void byReference(const sLayerUniqueIdentifies &key) { note(key); }
    void screenByFullName(std::weak_ptr<Morvek::BizModel::Device> /*wDevice*/,
                          std::shared_ptr<Morvek::BizModel::Screen> pScreen)
    {
        m_nScreens += pScreen ? 1 : 0;
    }
    void screenByShortName(std::weak_ptr<BizModel::Device> /*wDevice*/,
                           std::shared_ptr<BizModel::Screen> pScreen)
    {
        m_nScreens += pScreen ? 1 : 0;
    }
    void layerByFullName(std::weak_ptr<Morvek::BizModel::Device> /*wDevice*/,
                         std::weak_ptr<Morvek::BizModel::Screen> /*wScreen*/,
                         std::shared_ptr<Morvek::BizModel::Layer> pLayer)
    {
        m_nLayers += pLayer ? 1 : 0;
    }
    void layerByShortName(std::weak_ptr<BizModel::Device> /*wDevice*/,
                          std::weak_ptr<BizModel::Screen> /*wScreen*/,
                          std::shared_ptr<BizModel::Layer> pLayer)
    {
        m_nLayers += pLayer ? 1 : 0;
    }

private:
    void note(const sLayerUniqueIdentifies &key)
    {
        m_pThread = QThread::currentThread();
        m_keys.append(key);
    }
};

class tst_LayerMetaTypes : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // First: the later functions let Qt register one of the names on its own.
    void constructionRegistersTheKeyUnderEveryName_data();
    void constructionRegistersTheKeyUnderEveryName();
    void constructionRegistersTheModelsArguments_data();
    void constructionRegistersTheModelsArguments();
    void metaObjectListsSignalsAndSlotsInOrder();
    void keyTravelsThroughAVariant();
    void queuedStringConnectionDeliversTheKey_data();
    void queuedStringConnectionDeliversTheKey();
    void queuedPointerConnectionDeliversTheKeyToAnotherThread();
    void queuedScreenRemovalReachesEverySpelling_data();
    void queuedScreenRemovalReachesEverySpelling();
    void queuedLayerRemovalReachesEverySpelling_data();
    void queuedLayerRemovalReachesEverySpelling();
    void completionStepIsInvokableByName();
};

void tst_LayerMetaTypes::constructionRegistersTheKeyUnderEveryName_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("alias") << QByteArray("sLayerUniqueIdentifies");
    QTest::newRow("half-qualified alias") << QByteArray("EchoVideo::sLayerUniqueIdentifies");
    QTest::newRow("qualified alias") << QByteArray("Morvek::EchoVideo::sLayerUniqueIdentifies");
    QTest::newRow("full name") << QByteArray("Morvek::ProtoModel::s_ScreenLayerId");
}

void tst_LayerMetaTypes::constructionRegistersTheKeyUnderEveryName()
{
    QFETCH(QByteArray, name);
    const LayerVideoManager manager({});
    const int nType = QMetaType::type(name);
    QVERIFY(nType != QMetaType::UnknownType);
    QCOMPARE(nType, QMetaType::type("sLayerUniqueIdentifies"));
    QCOMPARE(QMetaType::sizeOf(nType), int(sizeof(sLayerUniqueIdentifies)));
}

void tst_LayerMetaTypes::constructionRegistersTheModelsArguments_data()
{
    QTest::addColumn<QByteArray>("fullName");
    QTest::addColumn<QByteArray>("shortName");
    QTest::newRow("device") << QByteArray("std::weak_ptr<Morvek::BizModel::Device>")
                            << QByteArray("std::weak_ptr<BizModel::Device>");
    QTest::newRow("weak screen") << QByteArray("std::weak_ptr<Morvek::BizModel::Screen>")
                                 << QByteArray("std::weak_ptr<BizModel::Screen>");
    QTest::newRow("screen") << QByteArray("std::shared_ptr<Morvek::BizModel::Screen>")
                            << QByteArray("std::shared_ptr<BizModel::Screen>");
    QTest::newRow("layer") << QByteArray("std::shared_ptr<Morvek::BizModel::Layer>")
                           << QByteArray("std::shared_ptr<BizModel::Layer>");
}

void tst_LayerMetaTypes::constructionRegistersTheModelsArguments()
{
    QFETCH(QByteArray, fullName);
    QFETCH(QByteArray, shortName);
    const LayerVideoManager manager({});
    QVERIFY(QMetaType::type(fullName) != QMetaType::UnknownType);
    QCOMPARE(QMetaType::type(shortName), QMetaType::type(fullName));
}

void tst_LayerMetaTypes::metaObjectListsSignalsAndSlotsInOrder()
{
    const QMetaObject &metaObject = LayerVideoManager::staticMetaObject;
    QCOMPARE(metaObject.className(), "Morvek::EchoVideo::LayerVideoManager");
    QStringList methods;
    for (int i = metaObject.methodOffset(); i < metaObject.methodCount(); ++i) {
        const QMetaMethod method = metaObject.method(i);
        const bool isSignal = method.methodType() == QMetaMethod::Signal;
        QVERIFY(isSignal || method.access() == QMetaMethod::Private);
        methods.append((isSignal ? QStringLiteral("signal ") : QStringLiteral("slot "))
                       + QString::fromLatin1(method.methodSignature()));
    }
    const QStringList expected = {
        QStringLiteral("signal layerVideoConfigChanged()"),
        QStringLiteral("signal layerVideoRenderFinished(sLayerUniqueIdentifies)"),
        QStringLiteral("slot slotDeviceScreenBaseLayerRemoved(std::weak_ptr<BizModel::Device>,"
                       "std::weak_ptr<BizModel::Screen>,std::shared_ptr<BizModel::Layer>)"),
        QStringLiteral("slot refreshLayerVideo(sLayerUniqueIdentifies,QImage)"),
        QStringLiteral("slot slotScreenRemoved(std::weak_ptr<BizModel::Device>,"
                       "std::shared_ptr<BizModel::Screen>)"),
        QStringLiteral("slot slotActivedDeviceChanged()"),
        QStringLiteral("slot slot_threadFinished()"),
    };
    QCOMPARE(methods, expected);
}

void tst_LayerMetaTypes::keyTravelsThroughAVariant()
{
    const QVariant variant = QVariant::fromValue(someKey());
    QCOMPARE(variant.value<sLayerUniqueIdentifies>(), someKey());
}

void tst_LayerMetaTypes::queuedStringConnectionDeliversTheKey_data()
{
    QTest::addColumn<QByteArray>("signal");
    QTest::addColumn<QByteArray>("slot");
    const QByteArray alias = SIGNAL(layerVideoRenderFinished(sLayerUniqueIdentifies));
    const QByteArray fullName =
        SIGNAL(layerVideoRenderFinished(Morvek::ProtoModel::s_ScreenLayerId));
    const QByteArray toAlias = SLOT(byAlias(sLayerUniqueIdentifies));
    const QByteArray toFullName = SLOT(byFullName(Morvek::ProtoModel::s_ScreenLayerId));
    const QByteArray toHalf = SLOT(byHalfQualifiedAlias(EchoVideo::sLayerUniqueIdentifies));
    const QByteArray toQualified =
        SLOT(byQualifiedAlias(Morvek::EchoVideo::sLayerUniqueIdentifies));

    QTest::newRow("alias to alias") << alias << toAlias;
    QTest::newRow("alias to half-qualified alias") << alias << toHalf;
    QTest::newRow("alias to qualified alias") << alias << toQualified;
    QTest::newRow("alias to full name") << alias << toFullName;
    QTest::newRow("alias to constant reference")
        << alias << QByteArray(SLOT(byReference(const sLayerUniqueIdentifies &)));
    QTest::newRow("full name to alias") << fullName << toAlias;
    QTest::newRow("full name to full name") << fullName << toFullName;
}

void tst_LayerMetaTypes::queuedStringConnectionDeliversTheKey()
{
    QFETCH(QByteArray, signal);
    QFETCH(QByteArray, slot);
    const LogCapture log;
    LayerVideoManager manager({});
    Receiver receiver;
    QVERIFY(QObject::connect(&manager, signal.constData(), &receiver, slot.constData(),
                             Qt::QueuedConnection));
    Q_EMIT manager.layerVideoRenderFinished(someKey());
    QVERIFY(receiver.m_keys.isEmpty());
    QCoreApplication::processEvents();
    QCOMPARE(receiver.m_keys, QList<sLayerUniqueIdentifies>{someKey()});
    QVERIFY2(log.lines().isEmpty(), "Qt warned about the connection");
}

void tst_LayerMetaTypes::queuedPointerConnectionDeliversTheKeyToAnotherThread()
{
    QThread thread;
    LayerVideoManager manager({});
    Receiver receiver;
    receiver.moveToThread(&thread);
    connect(&manager, &LayerVideoManager::layerVideoRenderFinished, &receiver, &Receiver::byAlias);
    connect(&manager, &LayerVideoManager::layerVideoRenderFinished, &receiver,
            [] { QThread::currentThread()->quit(); });
    thread.start();
    Q_EMIT manager.layerVideoRenderFinished(someKey());
    QVERIFY(thread.wait(20000));
    QCOMPARE(receiver.m_keys, QList<sLayerUniqueIdentifies>{someKey()});
    QCOMPARE(receiver.m_pThread, &thread);
}

void tst_LayerMetaTypes::queuedScreenRemovalReachesEverySpelling_data()
{
    QTest::addColumn<QByteArray>("slot");
    QTest::newRow("full names") << QByteArray(SLOT(screenByFullName(
        std::weak_ptr<Morvek::BizModel::Device>, std::shared_ptr<Morvek::BizModel::Screen>)));
    QTest::newRow("short names") << QByteArray(SLOT(
        screenByShortName(std::weak_ptr<BizModel::Device>, std::shared_ptr<BizModel::Screen>)));
}

void tst_LayerMetaTypes::queuedScreenRemovalReachesEverySpelling()
{
    QFETCH(QByteArray, slot);
    const LogCapture log;
    const LayerVideoManager manager({});
    Receiver receiver;
    QVERIFY(QObject::connect(DeviceList::instance(),
                             SIGNAL(signalScreenRemoved(std::weak_ptr<Morvek::BizModel::Device>,
                                                        std::shared_ptr<Morvek::BizModel::Screen>)),
                             &receiver, slot.constData(), Qt::QueuedConnection));
    DeviceList::instance()->removeScreen(
        {}, std::make_shared<BizModel::Screen>(std::weak_ptr<BizModel::Device>(), 1, 2));
    QCOMPARE(receiver.m_nScreens, 0);
    QCoreApplication::processEvents();
    QCOMPARE(receiver.m_nScreens, 1);
    QVERIFY2(log.lines().isEmpty(), "Qt warned about the connection");
}

void tst_LayerMetaTypes::queuedLayerRemovalReachesEverySpelling_data()
{
    QTest::addColumn<QByteArray>("slot");
    QTest::newRow("full names") << QByteArray(SLOT(layerByFullName(
        std::weak_ptr<Morvek::BizModel::Device>, std::weak_ptr<Morvek::BizModel::Screen>,
        std::shared_ptr<Morvek::BizModel::Layer>)));
    QTest::newRow("short names") << QByteArray(
        SLOT(layerByShortName(std::weak_ptr<BizModel::Device>, std::weak_ptr<BizModel::Screen>,
                              std::shared_ptr<BizModel::Layer>)));
}

void tst_LayerMetaTypes::queuedLayerRemovalReachesEverySpelling()
{
    QFETCH(QByteArray, slot);
    const LogCapture log;
    const LayerVideoManager manager({});
    Receiver receiver;
    QVERIFY(QObject::connect(DeviceList::instance(),
                             SIGNAL(signalLayerRemoved(std::weak_ptr<Morvek::BizModel::Device>,
                                                       std::weak_ptr<Morvek::BizModel::Screen>,
                                                       std::shared_ptr<Morvek::BizModel::Layer>)),
                             &receiver, slot.constData(), Qt::QueuedConnection));
    DeviceList::instance()->removeLayer({}, {}, std::make_shared<BizModel::Layer>(someKey()));
    QCOMPARE(receiver.m_nLayers, 0);
    QCoreApplication::processEvents();
    QCOMPARE(receiver.m_nLayers, 1);
    QVERIFY2(log.lines().isEmpty(), "Qt warned about the connection");
}

void tst_LayerMetaTypes::completionStepIsInvokableByName()
{
    LayerVideoManager manager({});
    QImage preview(3, 2, QImage::Format_ARGB32);
    preview.fill(Qt::green);
    QVERIFY(QMetaObject::invokeMethod(&manager, "refreshLayerVideo", Qt::QueuedConnection,
                                      Q_ARG(sLayerUniqueIdentifies, someKey()),
                                      Q_ARG(QImage, preview)));
    QImage stored;
    QVERIFY(!manager.getLayerVideoFrame(someKey(), stored));
    QCoreApplication::processEvents();
    QVERIFY(manager.getLayerVideoFrame(someKey(), stored));
    QCOMPARE(stored, preview);
}

QTEST_GUILESS_MAIN(tst_LayerMetaTypes)
#include "tst_layermetatypes.moc"
