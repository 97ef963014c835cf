#ifndef MORVEK_ECHOCANVAS_REFERENCEPREVIEWS_H
#define MORVEK_ECHOCANVAS_REFERENCEPREVIEWS_H

#include <layervideomanager.h>

#include <QImage>
#include <QList>
#include <QVector>

#include <optional>

namespace Morvek::Tools {

/**
 * Renders previews from pictures of its own choice, to compare live previews with.
 *
 * A manager that is never started renders whatever it is asked to on the calling thread.
 */
class ReferencePreviews
{
public:
    ReferencePreviews();

    /** The layer's preview, if this were its source's picture. */
    QImage render(const EchoVideo::sLayerVideoConfig &layer, const QImage &source);
    /** What the layer looks like while its source has no picture: one for each reason. */
    QList<QImage> placeholders(const EchoVideo::sLayerVideoConfig &layer);
    /**
     * The input whose picture gives the preview that is most alike.
     *
     * @return nothing if no picture stands out
     */
    std::optional<int> mostAlike(const EchoVideo::sLayerVideoConfig &layer, const QImage &preview,
                                 const QVector<QImage> &inputs);

private:
    Q_DISABLE_COPY(ReferencePreviews)

    QImage m_source; // what the manager's callback answers with
    const EchoVideo::LayerVideoManager m_manager;
};

/** Mean difference of two pictures over all pixels and colours, 0 to 255, transparency included. */
double meanDifference(const QImage &left, const QImage &right);

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_REFERENCEPREVIEWS_H
