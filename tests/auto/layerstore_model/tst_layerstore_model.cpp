// Every operation of the store, at random, against a plain model of it; the whole state is compared
// after each.
//
// MORVEK_TEST_SEED repeats a run, MORVEK_TEST_SEQUENCES sets its length.

#include "storemodel.h"

#include "sanitized.h"
#include "testpictures.h"

#include <device.h>
#include <layer.h>
#include <screen.h>

#include <QtTest>

#include <array>
#include <functional>
#include <memory>
#include <random>

using namespace Morvek::EchoVideo;
using namespace Morvek::Tests;
using Morvek::BizModel::Device;
using Morvek::BizModel::Layer;
using Morvek::BizModel::Screen;

namespace {

QDateTime currentTime; // of this program

} // namespace

// Both in front of Qt's own, for the test and for the library's objects that it is made of.
QDateTime QDateTime::currentDateTime()
{
    return currentTime;
}

qint64 QDateTime::currentMSecsSinceEpoch()
{
    return currentTime.toMSecsSinceEpoch();
}

namespace {

constexpr int DefaultSequences = rounds(4000);
constexpr int SequenceLength = 40;

/** A manager and its model, to which the same is done. */
class Pair
{
public:
    explicit Pair(unsigned nSeed)
        : m_random(nSeed)
    {
        currentTime = QDateTime(QDate(2020, 2, 29), QTime(23, 59, 58));
        QObject::connect(&m_manager, &LayerVideoManager::layerVideoConfigChanged, &m_manager,
                         [this] { ++m_nChanged; });
        QObject::connect(&m_manager, &LayerVideoManager::layerVideoRenderFinished, &m_manager,
                         [this](const sLayerUniqueIdentifies &key) { m_finished.append(key); });
    }

    /** Does one thing to both; the difference that it made, empty for none. */
    QString step();
    /** Names of what was done. */
    QStringList done() const { return m_done; }

private:
    QString set();
    QString find();
    QString take();
    QString deliver();
    QString frame();
    QString remove();
    QString removeByModel();
    QString removeGoneByModel();
    QString clear();
    QString clearScreen();
    QString clearGoneScreen();
    QString screenRemoved();
    QString changeSignal();
    QString passTime();

    int drawn(int nUpTo) { return std::uniform_int_distribution<int>(0, nUpTo)(m_random); }
    bool isDrawn() { return drawn(1) == 1; }
    template <typename Value, std::size_t Size>
    Value oneOf(const std::array<Value, Size> &values)
    {
        return values[std::size_t(drawn(int(Size) - 1))];
    }
    sLayerUniqueIdentifies drawnKey();
    sLayerVideoConfig drawnRecord();
    QImage drawnPicture();
    QString signalsAre(int nChanged, const QList<sLayerUniqueIdentifies> &finished);

    std::mt19937 m_random;
    LayerVideoManager m_manager{{}};
    StoreModel m_model;
    const std::shared_ptr<Device> m_pDevice = std::make_shared<Device>();
    int m_nChanged = 0;
    QList<sLayerUniqueIdentifies> m_finished;
    QStringList m_done;
};

QString equal(bool isEqual, const char *pWhat)
{
    return isEqual ? QString() : QString::fromLatin1(pWhat);
}

// Few enough that most operations meet a layer that is there; each differs in one field from others.
sLayerUniqueIdentifies Pair::drawnKey()
{
    sLayerUniqueIdentifies key;
    key.screenId = quint8(drawn(1));
    key.screenType = drawn(1);
    key.layerId = quint8(drawn(1));
    key.layerType = drawn(3) == 0 ? 1 : 0;
    key.sceneType = drawn(3) == 0 ? 1 : 0;
    return key;
}

QImage Pair::drawnPicture()
{
    return drawn(9) == 0 ? QImage() : solidPicture(QSize(1, 1), Qt::blue);
}

sLayerVideoConfig Pair::drawnRecord()
{
    sLayerVideoConfig record;
    record.m_LayerIdentifies = drawnKey();
    record.m_isRendering = isDrawn();
    record.m_isFirstRendered = isDrawn();
    record.m_isHasVideoSignal = isDrawn();
    record.m_LayerItem.m_opacity = drawn(100);
    record.m_LayerVideoCanvas = drawnPicture();
    const std::array<qint64, 7> ages = {0, 1, 99, 100, 1000, -1000, 40LL * 24 * 60 * 60 * 1000};
    record.m_lastUpdateDateTime = currentTime.addMSecs(-oneOf(ages));
    return record;
}

QString Pair::signalsAre(int nChanged, const QList<sLayerUniqueIdentifies> &finished)
{
    const bool isAsExpected = m_nChanged == nChanged && m_finished == finished;
    m_nChanged = 0;
    m_finished.clear();
    return equal(isAsExpected, "signals");
}

QString Pair::set()
{
    // Half of the time as a host changes a layer: the stored record, with something else in it.
    sLayerVideoConfig record = drawnRecord();
    const sLayerVideoConfig *const pKnown = m_model.find(record.m_LayerIdentifies);
    if (pKnown && isDrawn()) {
        record = *pKnown;
        record.m_LayerItem.m_opacity = drawn(100);
    }
    sLayerVideoConfig argument = record;
    m_manager.setLayerVideoConfig(argument);
    m_model.set(record);
    const QString strDifference = difference(argument, record);
    return strDifference.isEmpty() ? signalsAre(1, {}) : strDifference;
}

QString Pair::find()
{
    const sLayerUniqueIdentifies key = drawnKey();
    sLayerVideoConfig found = drawnRecord();
    const sLayerVideoConfig before = found;
    const sLayerVideoConfig *const pExpected = m_model.find(key);
    const bool isFound = m_manager.findLayerVideoConfig(key, found);
    const QString strDifference = difference(found, pExpected ? *pExpected : before);
    return strDifference.isEmpty() ? equal(isFound == (pExpected != nullptr), "found")
                                   : strDifference;
}

QString Pair::take()
{
    const int nFps = oneOf(std::array<int, 9>{0, 1, 2, 3, 10, 25, 60, 1001, -1});
    sLayerVideoConfig taken = drawnRecord();
    const sLayerVideoConfig before = taken;
    const auto expected = m_model.take(nFps, m_manager.m_isHaveInputVideoSignal, currentTime);
    const bool isTaken = m_manager.getUnusedLayerVideoConfig(taken, nFps);
    const QString strDifference = difference(taken, expected.value_or(before));
    return strDifference.isEmpty() ? equal(isTaken == expected.has_value(), "taken")
                                   : strDifference;
}

QString Pair::deliver()
{
    const sLayerUniqueIdentifies key = drawnKey();
    const QImage picture = drawnPicture();
    m_manager.refreshLayerVideo(key, picture);
    m_model.deliver(key, picture, currentTime);
    return signalsAre(0, {key});
}

QString Pair::frame()
{
    const sLayerUniqueIdentifies key = drawnKey();
    const QImage before = drawnPicture();
    QImage found = before;
    const QImage *const pExpected = m_model.preview(key);
    const bool isFound = m_manager.getLayerVideoFrame(key, found);
    return equal(isFound == (pExpected != nullptr)
                     && identity(found) == identity(pExpected ? *pExpected : before),
                 "preview fetched");
}

QString Pair::remove()
{
    sLayerUniqueIdentifies key = drawnKey();
    m_model.remove(key);
    m_manager.removeLayerVideoConfig(key);
    return {};
}

QString Pair::removeByModel()
{
    const sLayerUniqueIdentifies key = drawnKey();
    const auto pScreen = std::make_shared<Screen>(m_pDevice, key.screenId, key.screenType);
    m_model.remove(key);
    m_manager.slotDeviceScreenBaseLayerRemoved(m_pDevice, pScreen, std::make_shared<Layer>(key));
    return {};
}

// Where one of the three is gone already, nothing is removed.
QString Pair::removeGoneByModel()
{
    const auto pScreen = std::make_shared<Screen>(m_pDevice, quint8(0), 0);
    const auto pLayer = std::make_shared<Layer>(drawnKey());
    switch (drawn(2)) {
    case 0:
        m_manager.slotDeviceScreenBaseLayerRemoved({}, pScreen, pLayer);
        break;
    case 1:
        m_manager.slotDeviceScreenBaseLayerRemoved(m_pDevice, {}, pLayer);
        break;
    default:
        m_manager.slotDeviceScreenBaseLayerRemoved(m_pDevice, pScreen, {});
    }
    return {};
}

QString Pair::clear()
{
    if (drawn(4) != 0) // else the store would be empty most of the time
        return {};
    m_model.clear();
    m_manager.clearLayerVideoConfig();
    return {};
}

QString Pair::clearScreen()
{
    const auto pScreen = std::make_shared<Screen>(m_pDevice, quint8(drawn(1)), drawn(1));
    m_model.clearScreen(pScreen->screenId(), pScreen->screenType());
    m_manager.clearLayerVideoConfig(pScreen);
    return {};
}

QString Pair::clearGoneScreen()
{
    m_manager.clearLayerVideoConfig(std::weak_ptr<Screen>());
    m_manager.slotScreenRemoved(m_pDevice, nullptr);
    return {};
}

// The screen counts, not the device that is said to have had it.
QString Pair::screenRemoved()
{
    const auto pScreen = std::make_shared<Screen>(m_pDevice, quint8(drawn(1)), drawn(1));
    m_model.clearScreen(pScreen->screenId(), pScreen->screenType());
    m_manager.slotScreenRemoved(isDrawn() ? m_pDevice : nullptr, pScreen);
    return {};
}

QString Pair::changeSignal()
{
    m_manager.m_isHaveInputVideoSignal = isDrawn();
    return {};
}

QString Pair::passTime()
{
    const std::array<qint64, 9> times = {1, 15, 16, 39, 40, 99, 100, 1000, -700};
    currentTime = currentTime.addMSecs(oneOf(times));
    return {};
}

QString Pair::step()
{
    struct sOperation
    {
        const char *m_pName;
        QString (Pair::*m_operation)();
    };
    // Those that fill the store, or tell what is in it, come more often than those that empty it.
    static const std::array<sOperation, 21> operations = {{
        {"set", &Pair::set},
        {"set", &Pair::set},
        {"set", &Pair::set},
        {"set", &Pair::set},
        {"find", &Pair::find},
        {"take", &Pair::take},
        {"take", &Pair::take},
        {"take", &Pair::take},
        {"deliver", &Pair::deliver},
        {"deliver", &Pair::deliver},
        {"deliver", &Pair::deliver},
        {"frame", &Pair::frame},
        {"remove", &Pair::remove},
        {"remove by model", &Pair::removeByModel},
        {"remove what is gone", &Pair::removeGoneByModel},
        {"clear", &Pair::clear},
        {"clear screen", &Pair::clearScreen},
        {"clear a screen that is gone", &Pair::clearGoneScreen},
        {"screen removed", &Pair::screenRemoved},
        {"change signal", &Pair::changeSignal},
        {"pass time", &Pair::passTime},
    }};
    const sOperation &operation = oneOf(operations);
    m_done.append(QLatin1String(operation.m_pName));
    QString strDifference = (this->*operation.m_operation)();
    if (strDifference.isEmpty())
        strDifference = signalsAre(0, {});
    return strDifference.isEmpty() ? m_model.differenceFrom(m_manager) : strDifference;
}

unsigned environmentNumber(const char *pName, unsigned nOtherwise)
{
    bool isGiven = false;
    const unsigned nNumber = qEnvironmentVariable(pName).toUInt(&isGiven);
    return isGiven ? nNumber : nOtherwise;
}

} // namespace

class TestLayerStoreModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void storeDoesWhatTheModelDoes();
};

void TestLayerStoreModel::storeDoesWhatTheModelDoes()
{
    // Each sequence has a seed of its own, so that a failed one can be run alone.
    const unsigned nSeed = environmentNumber("MORVEK_TEST_SEED", std::random_device()());
    const unsigned nSequences = environmentNumber("MORVEK_TEST_SEQUENCES", DefaultSequences);
    qInfo() << "MORVEK_TEST_SEED is" << nSeed;
    for (unsigned i = 0; i < nSequences; ++i) {
        Pair pair(nSeed + i);
        for (int nStep = 0; nStep < SequenceLength; ++nStep) {
            const QString strDifference = pair.step();
            QVERIFY2(strDifference.isEmpty(),
                     qPrintable(QStringLiteral("MORVEK_TEST_SEED=%1 MORVEK_TEST_SEQUENCES=1: %2 "
                                               "differs after %3")
                                    .arg(nSeed + i)
                                    .arg(strDifference, pair.done().join(QStringLiteral(", ")))));
        }
    }
}

QTEST_GUILESS_MAIN(TestLayerStoreModel)
#include "tst_layerstore_model.moc"
