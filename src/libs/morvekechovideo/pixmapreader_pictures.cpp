#include "pixmapreader.h"

#include "echoframe_p.h"
#include "outofmemory_p.h"
#include "tilecut_p.h"

#include <QMutexLocker>
#include <QReadLocker>
#include <QWriteLocker>

namespace Morvek::EchoVideo {

using Morvek::BizModel::Device;
using Morvek::BizModel::DeviceList;
using Morvek::BizModel::Input;
using Morvek::BizModel::s_DeviceConfig;
using Morvek::BizModel::s_EchoVideoConfig;

namespace {

// Consumers scale it to the size that they need.
QImage placeholder(const QColor &color)
{
    return Internal::filledPicture(QSize(2, 2), color);
}

} // namespace

void PixmapReader::inputVideoReadFinished()
{
    const std::shared_ptr<Device> pDevice = servedDevice().lock();
    if (!pDevice)
        return;

    // 8-bit, by design: the products wrap.
    const s_DeviceConfig &cfg = pDevice->deviceConfig();
    const quint8 nInputStartIndex = cfg.InputSlotStartIndex * cfg.MaxConnectorCountOfSingleCard;
    const quint8 nInputCount = cfg.InputSlotCount * cfg.MaxConnectorCountOfSingleCard;
    {
        QWriteLocker locker(&m_mtxMapInputVideo);
        if (m_pCutDevice.lock() != pDevice)
            m_mapTileOrigins.clear();
        m_pCutDevice = pDevice;
        for (quint8 index = 0; index < nInputCount; ++index)
            cutInput(unsigned(nInputStartIndex) + index,
                     DeviceList::instance()->echoVideoRect(pDevice->modelId(), index));
    }
    Q_EMIT inputVideoImageCopyFinished();
}

// Under m_mtxMapInputVideo, for writing. Between two pictures of a device the same frame comes again
// and again: what was cut from it stays.
void PixmapReader::cutInput(unsigned int nInput, const QRect &inputRect)
{
    const Internal::sTileOrigin origin{m_image.cacheKey(), inputRect};
    const auto it = m_mapInputVideo.find(nInput);
    const bool isKnown = it != m_mapInputVideo.end();
    const auto itOrigin = m_mapTileOrigins.constFind(nInput);
    if (isKnown && itOrigin != m_mapTileOrigins.constEnd() && *itOrigin == origin)
        return;
    // A deep copy: a reader may write its next picture into the same pixels, while whoever fetched
    // this one keeps it as long as he likes.
    QImage firstPicture;
    if (!Internal::cutTile(m_image, inputRect, isKnown ? *it : firstPicture)) {
        Internal::warnOutOfMemory(); // the input keeps its last picture
        return;
    }
    if (!isKnown)
        m_mapInputVideo.insert(nInput, firstPicture);
    m_mapTileOrigins.insert(nInput, origin);
}

bool PixmapReader::getInputVideoFrame(std::weak_ptr<Input> wInput, QImage &videoFrame,
                                      bool isShowImage)
{
    const std::shared_ptr<Device> pDevice = servedDevice().lock();
    const std::shared_ptr<Input> pInput = wInput.lock();
    if (!pDevice || !pInput) {
        videoFrame = placeholder(Internal::InvalidVideo);
        return false;
    }
    const bool isOnline = pDevice->onlineFlag();
    if (!isOnline && isShowImage) {
        QMutexLocker locker(&m_mtxDefaultImage);
        videoFrame = m_defaultImage;
        return true;
    }
    if (!isOnline || !pInput->isActive() || pInput->isOverLoad()
        || pDevice->deviceConfig().EchoVideoCfg.ECVideoSourceType == s_EchoVideoConfig::Invalid) {
        videoFrame = placeholder(Internal::NoSignalVideo);
        return true;
    }
    {
        QReadLocker locker(&m_mtxMapInputVideo);
        const auto it = m_mapInputVideo.constFind(quint8(pInput->echoVideoId()));
        if (it != m_mapInputVideo.constEnd()) {
            videoFrame = *it;
            return true;
        }
    }
    videoFrame = placeholder(Internal::InvalidVideo);
    return false;
}

void PixmapReader::loadDefaultImage(const QString &fileName)
{
    const QImage image(fileName);
    QMutexLocker locker(&m_mtxDefaultImage);
    m_defaultImage = image;
}

const QImage &PixmapReader::defaultImage(const QString & /*name*/)
{
    return m_defaultImage;
}

} // namespace Morvek::EchoVideo
