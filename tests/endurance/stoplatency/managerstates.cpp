#include "stopstate.h"

#include <testdevice.h>

#include <layervideomanager.h>

#include <QElapsedTimer>
#include <QThread>
#include <QtTest>

#include <atomic>

namespace Morvek::Tests {

namespace {

using BizModel::s_EchoVideoConfig;
using EchoVideo::LayerVideoManager;
using EchoVideo::sLayerSource;
using EchoVideo::sLayerVideoConfig;

constexpr int LayerCount = 8;
constexpr int RenderTime = 150; // ms that the preview under way may take

/** A manager with layers of 480 x 270 pixels, made anew for every stop. */
class ManagerState : public StopState
{
public:
    explicit ManagerState(bool isOnline = true, int nCallbackMs = 0)
        : m_nCallbackMs(nCallbackMs)
        , m_active(makeDevice(s_EchoVideoConfig::Invalid), isOnline)
    {}

    bool enter() override
    {
        m_nCalls = 0;
        m_manager = std::make_unique<LayerVideoManager>(
            [this](auto &&, auto &&, const QSize &size, QImage &picture) {
                ++m_nCalls;
                if (m_nCallbackMs > 0)
                    QThread::msleep(unsigned(m_nCallbackMs));
                picture = QImage(size, QImage::Format_RGB32);
                picture.fill(Qt::green);
                return true;
            });
        for (quint8 nLayer = 1; nLayer <= LayerCount; ++nLayer) {
            sLayerVideoConfig layerCfg;
            layerCfg.m_LayerIdentifies.layerId = nLayer;
            layerCfg.m_LayerItem.m_boundingRect = QRectF(0, 0, 480, 270);
            layerCfg.m_LayerSource.m_eLayerSourceType = sLayerSource::Input;
            m_manager->setLayerVideoConfig(layerCfg);
        }
        return m_manager->startManager(true)
            && QTest::qWaitFor([this] { return m_nCalls > 0; }, 20000);
    }
    int duration() const override { return qMax(FramePeriod, m_nCallbackMs); }
    void stop() override { m_manager.reset(); }
    double bound() const override { return qMax(FramePeriod, m_nCallbackMs + 10) + RenderTime; }

protected:
    LayerVideoManager &manager() { return *m_manager; }
    /** Returns once no layer has been rendered for longer than any is apart. */
    bool awaitSleep() const
    {
        QElapsedTimer timer;
        timer.start();
        int nCalls = m_nCalls;
        return QTest::qWaitFor(
            [&] {
                if (nCalls != m_nCalls)
                    timer.restart();
                nCalls = m_nCalls;
                return timer.elapsed() > 3 * FramePeriod;
            },
            20000);
    }

private:
    const int m_nCallbackMs;
    const ActiveDevice m_active;
    std::atomic_int m_nCalls{0};
    std::unique_ptr<LayerVideoManager> m_manager;
};

class DisabledState : public ManagerState
{
public:
    bool enter() override
    {
        if (!ManagerState::enter())
            return false;
        manager().setRenderEnable(false);
        return awaitSleep();
    }
};

class OfflineState : public ManagerState
{
public:
    OfflineState()
        : ManagerState(false)
    {}
    bool enter() override { return ManagerState::enter() && awaitSleep(); }
};

class CallbackState : public ManagerState
{
public:
    CallbackState()
        : ManagerState(true, SlowReceiver)
    {}
};

template <typename State>
sStopStateMaker maker(const char *pName)
{
    return {QString::fromLatin1(pName), [] { return std::make_unique<State>(); }};
}

} // namespace

std::vector<sStopStateMaker> managerStates()
{
    return {
        maker<ManagerState>("rendering"),
        maker<DisabledState>("render-disabled"),
        maker<OfflineState>("offline-sleep"),
        maker<CallbackState>("host-callback"),
    };
}

} // namespace Morvek::Tests
