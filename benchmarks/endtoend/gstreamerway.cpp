// A pipeline: one decoder, then for each layer crop, scaling and alpha, at the layers' rate.

#include "way.h"

#include <gst/gst.h>

#include <QString>

#include <stdexcept>
#include <string>
#include <vector>

namespace Morvek::Benchmarks {

namespace {

struct sSink
{
    int m_nLayer;
    const Delivered *m_pDelivered;
};

void takePreview(GstElement *, GstBuffer *pBuffer, GstPad *, gpointer pSink)
{
    const auto &sink = *static_cast<const sSink *>(pSink);
    GstMapInfo map;
    if (!gst_buffer_map(pBuffer, &map, GST_MAP_READ))
        return;
    (*sink.m_pDelivered)(sink.m_nLayer, QImage(map.data, LayerSize.width(), LayerSize.height(),
                                               LayerSize.width() * 4, QImage::Format_ARGB32));
    gst_buffer_unmap(pBuffer, &map);
}

QString description(const sWork &work)
{
    const QRect part = work.shownPart();
    QString strPipeline =
        QStringLiteral("tcpclientsrc host=127.0.0.1 port=%1 do-timestamp=true ! multipartdemux ! "
                       "image/jpeg,framerate=12/1 ! jpegdec ! videorate ! "
                       "video/x-raw,framerate=%2/1 ! tee name=t ")
            .arg(work.m_nPort)
            .arg(LayersFps);
    for (int i = 0; i < work.m_nLayers; ++i) {
        const int nLeft = i % InputColumns * TileSize.width() + part.x();
        const int nTop = i % InputCount / InputColumns * TileSize.height() + part.y();
        strPipeline +=
            QStringLiteral("t. ! videocrop left=%1 right=%2 top=%3 bottom=%4 ! "
                           "videoscale method=nearest-neighbour ! "
                           "video/x-raw,width=%5,height=%6 ! videoconvert ! "
                           "video/x-raw,format=BGRA ! alpha alpha=%7 ! "
                           "fakesink name=s%8 sync=false async=false signal-handoffs=true ")
                .arg(nLeft)
                .arg(1920 - nLeft - part.width())
                .arg(nTop)
                .arg(1080 - nTop - part.height())
                .arg(LayerSize.width())
                .arg(LayerSize.height())
                .arg(work.opacity())
                .arg(i);
    }
    return strPipeline;
}

} // namespace

void renderWithGStreamer(const sWork &work, const Delivered &delivered,
                         const std::function<bool()> &isOver)
{
    gst_init(nullptr, nullptr);
    GError *pError = nullptr;
    GstElement *const pPipeline = gst_parse_launch(description(work).toUtf8().constData(), &pError);
    if (!pPipeline || pError)
        throw std::runtime_error(pError ? pError->message : "no pipeline");
    std::vector<sSink> sinks;
    for (int i = 0; i < work.m_nLayers; ++i)
        sinks.push_back({i, &delivered});
    for (sSink &sink : sinks) {
        GstElement *const pSink =
            gst_bin_get_by_name(GST_BIN(pPipeline), ("s" + std::to_string(sink.m_nLayer)).c_str());
        g_signal_connect(pSink, "handoff", G_CALLBACK(takePreview), &sink);
        gst_object_unref(pSink);
    }
    gst_element_set_state(pPipeline, GST_STATE_PLAYING);
    GstBus *const pBus = gst_element_get_bus(pPipeline);
    while (!isOver()) {
        GstMessage *const pMessage =
            gst_bus_timed_pop_filtered(pBus, 100 * GST_MSECOND, GST_MESSAGE_ERROR);
        if (!pMessage)
            continue;
        gst_message_parse_error(pMessage, &pError, nullptr);
        throw std::runtime_error(pError->message);
    }
    gst_object_unref(pBus);
    gst_element_set_state(pPipeline, GST_STATE_NULL);
    gst_object_unref(pPipeline);
}

} // namespace Morvek::Benchmarks
