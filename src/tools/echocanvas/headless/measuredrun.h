#ifndef MORVEK_ECHOCANVAS_MEASUREDRUN_H
#define MORVEK_ECHOCANVAS_MEASUREDRUN_H

#include "devicesession.h"
#include "layerfigures.h"
#include "referencepreviews.h"
#include "runreport.h"
#include "scene.h"

#include <QElapsedTimer>
#include <QHash>
#include <QImage>
#include <QObject>

#include <vector>

namespace Morvek::Tools {

/**
 * Plays a scene on its device and measures what arrives.
 *
 * @thread main; the previews arrive while its event loop runs
 */
class MeasuredRun : public QObject
{
    Q_OBJECT

public:
    explicit MeasuredRun(const sScene &scene, QObject *parent = nullptr);

    /** Starts the session and the clock. @return false if the library refused to start */
    bool start();
    /** Ends the measurement, judges every layer, and stops the session; blocks for that. */
    void finish();

    /** What was found out; complete after finish(). */
    const sRunReport &report() const { return m_report; }
    sRunReport &report() { return m_report; }
    /** The last preview of every layer, screen by screen, in the scene's order. */
    QList<QList<QImage>> previews() const;

private:
    void takePreview(const EchoVideo::sLayerUniqueIdentifies &layer);
    void judgeLayers(const QVector<QImage> &inputs, qint64 nNowMs);

    const sScene m_scene;
    ReferencePreviews m_references;
    std::vector<LayerFigures> m_layers; // screen by screen
    QHash<int, int> m_layerIndexes;     // into m_layers, by screen and layer id
    SeenFrames m_frames;
    DeviceSession m_session;
    QElapsedTimer m_clock;
    double m_cpuSecondsAtStart = 0;
    sRunReport m_report;
};

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_MEASUREDRUN_H
