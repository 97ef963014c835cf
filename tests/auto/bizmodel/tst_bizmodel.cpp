// The plain records and the objects of the stand-in device model, each by itself.

#include <device.h>
#include <deviceconfig.h>
#include <input.h>
#include <layer.h>
#include <layerenum.h>
#include <protomodel.h>
#include <screen.h>

#include <QMetaType>
#include <QVariant>
#include <QtTest>

#include <memory>
#include <type_traits>

using namespace Morvek::BizModel;
using Morvek::ProtoModel::s_LayerId;
using Morvek::ProtoModel::s_ScreenId;
using Morvek::ProtoModel::s_ScreenLayerId;

namespace LayerEnum = Morvek::BizModel::Enum::Layer;

// Field types: a host's records of the same names must fit.
static_assert(std::is_same_v<decltype(s_ScreenId::screenId), quint8>);
static_assert(std::is_same_v<decltype(s_ScreenId::screenType), qint32>);
static_assert(std::is_same_v<decltype(s_LayerId::layerId), quint8>);
static_assert(std::is_same_v<decltype(s_LayerId::layerType), qint32>);
static_assert(std::is_same_v<decltype(s_LayerId::sceneType), qint32>);
static_assert(std::is_base_of_v<s_ScreenId, s_ScreenLayerId>);
static_assert(std::is_base_of_v<s_LayerId, s_ScreenLayerId>);
static_assert(std::is_aggregate_v<s_ScreenId> && std::is_aggregate_v<s_LayerId>);
static_assert(std::is_aggregate_v<s_ScreenLayerId>);
static_assert(std::is_trivially_copyable_v<s_ScreenLayerId>);

static_assert(std::is_same_v<decltype(s_EchoVideoConfig::RemotePort), quint16>);
static_assert(std::is_same_v<decltype(s_EchoVideoConfig::ConnectorIndex), quint8>);
static_assert(std::is_same_v<decltype(s_EchoVideoConfig::SlotIndex), quint8>);
static_assert(std::is_same_v<decltype(s_EchoVideoConfig::VideoSourcePath), QString>);
static_assert(std::is_same_v<decltype(s_EchoVideoConfig::FPS), quint8>);
static_assert(std::is_same_v<EchoVideoConfig, s_EchoVideoConfig>);
static_assert(std::is_same_v<decltype(s_DeviceConfig::EchoVideoCfg), s_EchoVideoConfig>);
static_assert(std::is_same_v<decltype(s_DeviceConfig::InputSlotStartIndex), quint8>);
static_assert(std::is_same_v<decltype(s_DeviceConfig::InputSlotCount), quint8>);
static_assert(std::is_same_v<decltype(s_DeviceConfig::MaxConnectorCountOfSingleCard), quint8>);

// Unscoped enumerations of 32 bits: both spellings compile, and they turn into numbers.
template <typename Enumeration>
constexpr bool isUnscoped32Bit = std::is_convertible_v<Enumeration, int>
    &&std::is_same_v<std::underlying_type_t<Enumeration>, qint32>;
static_assert(isUnscoped32Bit<LayerEnum::BorderType>);
static_assert(isUnscoped32Bit<s_EchoVideoConfig::eVideoSourceType>);
static_assert(LayerEnum::Soft == LayerEnum::BorderType::Soft);
static_assert(s_EchoVideoConfig::LocalTCP == s_EchoVideoConfig::eVideoSourceType::LocalTCP);

static_assert(std::is_base_of_v<Interface, Input>);
static_assert(!std::is_convertible_v<quint8, Input>);
static_assert(!std::is_convertible_v<quint16, Device>);
static_assert(!std::is_convertible_v<s_ScreenLayerId, Layer>);
static_assert(std::is_same_v<decltype(std::declval<const Device &>().IPAddress()), QString>);
static_assert(std::is_same_v<decltype(std::declval<const Device &>().onlineFlag()), bool>);
static_assert(std::is_same_v<decltype(std::declval<const Device &>().modelId()), quint16>);
static_assert(std::is_same_v<decltype(std::declval<Device &>().deviceConfig()), s_DeviceConfig &>);

Q_DECLARE_METATYPE(LayerEnum::BorderType)
Q_DECLARE_METATYPE(s_EchoVideoConfig::eVideoSourceType)

class TestBizModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void videoSourceTypesHaveTheirValues_data();
    void videoSourceTypesHaveTheirValues();
    void borderTypesHaveTheirValues_data();
    void borderTypesHaveTheirValues();
    void echoVideoConfigHasItsDefaults();
    void deviceConfigStartsWithoutInputs();

    void identityRecordsDefaultToZero();
    void aggregateInitialisationFollowsTheFieldOrder();
    void identityRecordsAreAssignedFieldByField();
    void keysDifferInEachField_data();
    void keysDifferInEachField();
    void partsOfTheKeyCompareByThemselves();
    void theKeyTravelsInAVariant();

    void anInterfaceIsActiveAndNotOverloadedAtFirst();
    void anInterfaceKeepsWhatIsSet();
    void anInputTakesItsNumberAtConstruction();
    void aDeviceIsOfflineAndWithoutAddressAtFirst();
    void aDeviceKeepsWhatIsSet();
    void theDeviceConfigurationIsChangedInPlace();
    void aScreenKnowsItsOwnerAndItsNumbers();
    void aScreenOutlivesItsOwner();
    void aLayerAnswersItsKey();
};

void TestBizModel::videoSourceTypesHaveTheirValues_data()
{
    QTest::addColumn<s_EchoVideoConfig::eVideoSourceType>("eType");
    QTest::addColumn<int>("nValue");
    QTest::newRow("Invalid") << s_EchoVideoConfig::Invalid << 0;
    QTest::newRow("LocalDVI") << s_EchoVideoConfig::LocalDVI << 1;
    QTest::newRow("LocalFile") << s_EchoVideoConfig::LocalFile << 2;
    QTest::newRow("LocalTCP") << s_EchoVideoConfig::LocalTCP << 3;
    QTest::newRow("RemoteTCP") << s_EchoVideoConfig::RemoteTCP << 4;
}

void TestBizModel::videoSourceTypesHaveTheirValues()
{
    QFETCH(s_EchoVideoConfig::eVideoSourceType, eType);
    QTEST(int(eType), "nValue");
}

void TestBizModel::borderTypesHaveTheirValues_data()
{
    QTest::addColumn<LayerEnum::BorderType>("eType");
    QTest::addColumn<int>("nValue");
    QTest::newRow("Hard_in") << LayerEnum::Hard_in << 0;
    QTest::newRow("Hard_out") << LayerEnum::Hard_out << 1;
    QTest::newRow("Hard_in_out") << LayerEnum::Hard_in_out << 2;
    QTest::newRow("Soft") << LayerEnum::Soft << 3;
    QTest::newRow("Halo") << LayerEnum::Halo << 4;
    QTest::newRow("Halo_in") << LayerEnum::Halo_in << 5;
    QTest::newRow("Halo_out") << LayerEnum::Halo_out << 6;
    QTest::newRow("Invalid") << LayerEnum::Invalid << 7;
}

void TestBizModel::borderTypesHaveTheirValues()
{
    QFETCH(LayerEnum::BorderType, eType);
    QTEST(int(eType), "nValue");
}

void TestBizModel::echoVideoConfigHasItsDefaults()
{
    const s_EchoVideoConfig cfg;
    QCOMPARE(cfg.RemotePort, quint16(0));
    QCOMPARE(int(cfg.ECVideoSourceType), 0);
    QCOMPARE(int(cfg.PCVideoSourceType), 0);
    QCOMPARE(cfg.ConnectorIndex, quint8(255));
    QCOMPARE(cfg.SlotIndex, quint8(255));
    QVERIFY(cfg.VideoSourcePath.isEmpty());
    QCOMPARE(cfg.FPS, quint8(15));
}

void TestBizModel::deviceConfigStartsWithoutInputs()
{
    const s_DeviceConfig cfg;
    QCOMPARE(cfg.InputSlotStartIndex, quint8(0));
    QCOMPARE(cfg.InputSlotCount, quint8(0));
    QCOMPARE(cfg.MaxConnectorCountOfSingleCard, quint8(0));
    QCOMPARE(cfg.EchoVideoCfg.FPS, quint8(15));
}

void TestBizModel::identityRecordsDefaultToZero()
{
    const s_ScreenLayerId id;
    QCOMPARE(id.screenId, quint8(0));
    QCOMPARE(id.screenType, 0);
    QCOMPARE(id.layerId, quint8(0));
    QCOMPARE(id.layerType, 0);
    QCOMPARE(id.sceneType, 0);
    const s_ScreenId screen;
    QCOMPARE(screen.screenId, quint8(0));
    QCOMPARE(screen.screenType, 0);
    const s_LayerId layer;
    QCOMPARE(layer.layerId, quint8(0));
    QCOMPARE(layer.layerType, 0);
    QCOMPARE(layer.sceneType, 0);
}

void TestBizModel::aggregateInitialisationFollowsTheFieldOrder()
{
    const s_ScreenLayerId id{{1, -2}, {3, -4, 5}};
    QCOMPARE(id.screenId, quint8(1));
    QCOMPARE(id.screenType, -2);
    QCOMPARE(id.layerId, quint8(3));
    QCOMPARE(id.layerType, -4);
    QCOMPARE(id.sceneType, 5);

    const s_ScreenLayerId partly{{9}, {}};
    QCOMPARE(partly.screenId, quint8(9));
    QCOMPARE(partly.screenType, 0);
    QCOMPARE(partly.sceneType, 0);
}

void TestBizModel::identityRecordsAreAssignedFieldByField()
{
    s_ScreenLayerId id;
    id.screenId = 1;
    id.screenType = 2;
    id.layerId = 3;
    id.layerType = 4;
    id.sceneType = 5;
    QVERIFY(id == (s_ScreenLayerId{{1, 2}, {3, 4, 5}}));
}

void TestBizModel::keysDifferInEachField_data()
{
    QTest::addColumn<s_ScreenLayerId>("other");
    QTest::newRow("screen id") << s_ScreenLayerId{{9, 2}, {3, 4, 5}};
    QTest::newRow("screen type") << s_ScreenLayerId{{1, 9}, {3, 4, 5}};
    QTest::newRow("layer id") << s_ScreenLayerId{{1, 2}, {9, 4, 5}};
    QTest::newRow("layer type") << s_ScreenLayerId{{1, 2}, {3, 9, 5}};
    QTest::newRow("scene type") << s_ScreenLayerId{{1, 2}, {3, 4, 9}};
}

void TestBizModel::keysDifferInEachField()
{
    QFETCH(s_ScreenLayerId, other);
    const s_ScreenLayerId id{{1, 2}, {3, 4, 5}};
    const s_ScreenLayerId same{{1, 2}, {3, 4, 5}};
    QVERIFY(id == same);
    QVERIFY(!(id != same));
    QVERIFY(id != other);
    QVERIFY(!(id == other));
}

void TestBizModel::partsOfTheKeyCompareByThemselves()
{
    QVERIFY((s_ScreenId{1, 2} == s_ScreenId{1, 2}));
    QVERIFY((s_ScreenId{1, 2} != s_ScreenId{2, 2}));
    QVERIFY((s_ScreenId{1, 2} != s_ScreenId{1, 1}));
    QVERIFY((s_LayerId{1, 2, 3} == s_LayerId{1, 2, 3}));
    QVERIFY((s_LayerId{1, 2, 3} != s_LayerId{0, 2, 3}));
    QVERIFY((s_LayerId{1, 2, 3} != s_LayerId{1, 0, 3}));
    QVERIFY((s_LayerId{1, 2, 3} != s_LayerId{1, 2, 0}));
}

void TestBizModel::theKeyTravelsInAVariant()
{
    const s_ScreenLayerId id{{1, 2}, {3, 4, 5}};
    const QVariant packed = QVariant::fromValue(id);
    QVERIFY(packed.value<s_ScreenLayerId>() == id);
}

void TestBizModel::anInterfaceIsActiveAndNotOverloadedAtFirst()
{
    const Interface connector;
    QVERIFY(connector.isActive());
    QVERIFY(!connector.isOverLoad());
    QCOMPARE(connector.echoVideoId(), quint8(0));
}

void TestBizModel::anInterfaceKeepsWhatIsSet()
{
    Interface connector;
    connector.setActive(false);
    connector.setOverLoad(true);
    connector.setEchoVideoId(255);
    QVERIFY(!connector.isActive());
    QVERIFY(connector.isOverLoad());
    QCOMPARE(connector.echoVideoId(), quint8(255));
    connector.setActive(true);
    connector.setOverLoad(false);
    connector.setEchoVideoId(0);
    QVERIFY(connector.isActive());
    QVERIFY(!connector.isOverLoad());
    QCOMPARE(connector.echoVideoId(), quint8(0));
}

void TestBizModel::anInputTakesItsNumberAtConstruction()
{
    const Input first;
    QCOMPARE(first.echoVideoId(), quint8(0));
    const Input other(17);
    QCOMPARE(other.echoVideoId(), quint8(17));
    QVERIFY(other.isActive());
    QVERIFY(!other.isOverLoad());
}

void TestBizModel::aDeviceIsOfflineAndWithoutAddressAtFirst()
{
    const Device unnamed;
    QCOMPARE(unnamed.modelId(), quint16(0));
    QVERIFY(!unnamed.onlineFlag());
    QVERIFY(unnamed.IPAddress().isEmpty());
    const Device device(0x1234);
    QCOMPARE(device.modelId(), quint16(0x1234));
    QVERIFY(!device.onlineFlag());
}

void TestBizModel::aDeviceKeepsWhatIsSet()
{
    Device device;
    device.setIPAddress(QStringLiteral("192.0.2.7"));
    device.setOnlineFlag(true);
    QCOMPARE(device.IPAddress(), QStringLiteral("192.0.2.7"));
    QVERIFY(device.onlineFlag());
    device.setIPAddress(QStringLiteral("::1"));
    device.setOnlineFlag(false);
    QCOMPARE(device.IPAddress(), QStringLiteral("::1"));
    QVERIFY(!device.onlineFlag());
}

void TestBizModel::theDeviceConfigurationIsChangedInPlace()
{
    Device device;
    s_DeviceConfig &cfg = device.deviceConfig();
    cfg.EchoVideoCfg.FPS = 7;
    cfg.InputSlotCount = 3;
    QCOMPARE(&device.deviceConfig(), &cfg);
    QCOMPARE(device.deviceConfig().EchoVideoCfg.FPS, quint8(7));
    QCOMPARE(device.deviceConfig().InputSlotCount, quint8(3));
}

void TestBizModel::aScreenKnowsItsOwnerAndItsNumbers()
{
    const auto pDevice = std::make_shared<Device>();
    const Screen screen(pDevice, 200, -3);
    QCOMPARE(screen.owerDevice().lock(), pDevice);
    QCOMPARE(screen.screenId(), quint8(200));
    QCOMPARE(int(screen.screenType()), -3);
}

void TestBizModel::aScreenOutlivesItsOwner()
{
    auto pDevice = std::make_shared<Device>();
    const Screen screen(pDevice, 1, 2);
    pDevice.reset();
    QVERIFY(screen.owerDevice().expired());
    QCOMPARE(screen.screenId(), quint8(1));
}

void TestBizModel::aLayerAnswersItsKey()
{
    const s_ScreenLayerId id{{1, 2}, {3, 4, 5}};
    QVERIFY(Layer(id).screenLayerId() == id);
}

QTEST_GUILESS_MAIN(TestBizModel)
#include "tst_bizmodel.moc"
