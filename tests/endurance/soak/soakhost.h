#ifndef MORVEK_TESTS_SOAKHOST_H
#define MORVEK_TESTS_SOAKHOST_H

#include "soakdevices.h"

#include <device.h>
#include <input.h>
#include <layervideomanager.h>
#include <screen.h>

#include <QElapsedTimer>
#include <QObject>

#include <memory>
#include <random>
#include <vector>

namespace Morvek::Tests {

/** The greatest number of an input, and so of tiles. */
constexpr int SoakTiles = 16;
constexpr int SoakScreens = 4;
constexpr int SoakLayersOfAScreen = 8;

/**
 * A host that never rests: two devices, 4 screens of 8 layers, and something else every moment.
 *
 * Everything happens on the main thread. start() and rest() may follow each other any number of
 * times; at rest nothing of the library runs, and it holds what it held at the last rest.
 */
class SoakHost : public QObject
{
    Q_OBJECT

public:
    SoakHost(SoakDevices &devices, quint32 nSeed);
    ~SoakHost() override;

    /** Goes live with the first stream and all layers as they were at first. */
    void start();
    /** Ends reading and rendering, and forgets all layers. */
    void rest();
    /** Does one thing that a host or a device may do, drawn from the seed, to its end. */
    void actOnce();

    /** Previews delivered so far. */
    qint64 previewCount() const { return m_nPreviews; }
    /** Ages of new pictures when their previews came, in ms, since the last call. */
    QList<double> takeAges();
    /** What was done how often. */
    QStringList deeds() const;

private:
    using Act = void (SoakHost::*)();
    struct sAct
    {
        const char *m_pName;
        Act m_act;
        int m_nDone;
    };

    std::shared_ptr<BizModel::Device> makeSoakDevice(quint16 nPort) const;
    EchoVideo::sLayerVideoConfig plainLayer(int nScreen, int nLayer) const;
    void setLayers();
    void wakeRenderer();
    void goLive(int nMs);
    int draw(int nLeast, int nMost);
    BizModel::Device &served();

    void switchDevice();
    void loseDevice();
    void changeSource();
    void restartDevice();
    void pauseReading();
    void changeLayers();
    void removeLayers();
    void removeScreen();
    void restartManager();
    void pauseRendering();
    void restartReading();

    void takePreview(const EchoVideo::sLayerUniqueIdentifies &key);

    SoakDevices &m_devices;
    std::mt19937 m_dice;
    const std::vector<std::shared_ptr<BizModel::Input>> m_inputs;
    std::vector<std::shared_ptr<BizModel::Device>> m_models;
    std::vector<std::shared_ptr<BizModel::Screen>> m_screens;
    int m_nServed = 0;
    EchoVideo::LayerVideoManager m_manager;
    qint64 m_nPreviews = 0;
    QList<double> m_ages;
    int m_nDated = 0; // pictures that had a date, since the program began
    quint32 m_nLastFrame = 0;
    std::vector<sAct> m_acts;
};

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_SOAKHOST_H
