#include "canvaspool_p.h"

#include <algorithm>
#include <new>

namespace Morvek::EchoVideo::Internal {

QImage CanvasPool::take(const QSize &size)
{
    const auto it = std::find_if(m_previews.begin(), m_previews.end(), [&](const QImage &preview) {
        return preview.size() == size && preview.format() == QImage::Format_ARGB32
            && preview.isDetached();
    });
    if (it == m_previews.end())
        return QImage();
    const QImage canvas = *it;
    m_previews.erase(it);
    return canvas;
}

void CanvasPool::add(const QImage &preview)
{
    if (preview.isNull())
        return;
    try {
        m_previews.push_back(preview);
    } catch (const std::bad_alloc &) {
        return; // then it is not used again
    }
    if (m_previews.size() > MostPreviews)
        m_previews.pop_front();
    trim(MostSpares);
}

void CanvasPool::trim(int nMostSpares)
{
    int nSpares = 0;
    for (auto it = m_previews.end(); it != m_previews.begin();) {
        --it;
        if (it->isDetached() && ++nSpares > nMostSpares)
            it = m_previews.erase(it);
    }
}

} // namespace Morvek::EchoVideo::Internal
