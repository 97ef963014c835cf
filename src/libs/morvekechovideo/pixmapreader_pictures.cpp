#include "pixmapreader.h"

#include "echoframe_p.h"
#include "outofmemory_p.h"

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

// Whether there is something to copy; a null rectangle stands for the whole frame.
bool hasPicture(const QImage &frame, const QRect &inputRect)
{
    return !frame.isNull() && (inputRect.isNull() || !inputRect.isEmpty());
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
        for (quint8 index = 0; index < nInputCount; ++index) {
            const QRect inputRect =
                DeviceList::instance()->echoVideoRect(pDevice->modelId(), index);
            // A deep copy: a reader may write its next picture into the same pixels, while whoever
            // fetched this one keeps it as long as he likes.
            const QImage picture = m_image.copy(inputRect);
            if (picture.isNull() && hasPicture(m_image, inputRect))
                Internal::warnOutOfMemory(); // the input keeps its last picture
            else
                m_mapInputVideo[unsigned(nInputStartIndex) + index] = picture;
        }
    }
    Q_EMIT inputVideoImageCopyFinished();
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
