#include "scene.h"

namespace Morvek::Tools {

namespace {

using EchoVideo::sLayerBorder;
using EchoVideo::sLayerItem;
using EchoVideo::sLayerMask;
using EchoVideo::sLayerSource;

bool isSame(const sLayerItem &left, const sLayerItem &right)
{
    return left.m_boundingRect == right.m_boundingRect && left.m_layerColor == right.m_layerColor
        && left.m_mirroringType == right.m_mirroringType
        && left.m_bMonoColorEnabled == right.m_bMonoColorEnabled
        && left.m_bReverseColorEnabled == right.m_bReverseColorEnabled
        && left.m_isFrozen == right.m_isFrozen && left.m_opacity == right.m_opacity;
}

bool isSame(const sLayerSource &left, const sLayerSource &right)
{
    return left.m_eLayerSourceType == right.m_eLayerSourceType
        && left.m_nLayerSourceKeyNo == right.m_nLayerSourceKeyNo
        && left.m_sizeLayerSource == right.m_sizeLayerSource
        && left.m_bLayerSourceIntercept == right.m_bLayerSourceIntercept
        && left.m_rectLayerSourceIntercept == right.m_rectLayerSourceIntercept;
}

bool isSame(const sLayerBorder &left, const sLayerBorder &right)
{
    return left.m_borderType == right.m_borderType && left.m_borderColor == right.m_borderColor
        && left.m_borderSize == right.m_borderSize;
}

bool isSame(const sLayerMask &left, const sLayerMask &right)
{
    return left.m_bMaskEnable == right.m_bMaskEnable && left.m_maskSize == right.m_maskSize;
}

} // namespace

QString sSceneDevice::title() const
{
    if (!m_strName.isEmpty())
        return m_strName;
    const bool isIPv6 = m_strAddress.contains(QLatin1Char(':'));
    const QString strPattern = isIPv6 ? QStringLiteral("[%1]:%2") : QStringLiteral("%1:%2");
    // Both at once: the zone of an IPv6 address may look like a place for the next one.
    return strPattern.arg(m_strAddress, QString::number(m_nPort));
}

bool operator==(const sSceneDevice &left, const sSceneDevice &right)
{
    return left.m_strName == right.m_strName && left.m_strAddress == right.m_strAddress
        && left.m_nPort == right.m_nPort && left.m_nFps == right.m_nFps
        && left.m_nTiles == right.m_nTiles && left.m_eSourceType == right.m_eSourceType
        && left.m_strFile == right.m_strFile;
}

bool operator==(const sSceneLayer &left, const sSceneLayer &right)
{
    const auto &first = left.m_config;
    const auto &other = right.m_config;
    return left.m_strName == right.m_strName && left.m_position == right.m_position
        && first.m_LayerIdentifies == other.m_LayerIdentifies
        && isSame(first.m_LayerItem, other.m_LayerItem)
        && isSame(first.m_LayerSource, other.m_LayerSource)
        && isSame(first.m_LayerBorder, other.m_LayerBorder)
        && isSame(first.m_LayerMask, other.m_LayerMask)
        && first.m_LayerAlphaMap.m_strAlphaMapFile == other.m_LayerAlphaMap.m_strAlphaMapFile;
}

int sScene::inputCount() const
{
    int nInputs = 0;
    const QList<sSceneDevice> all = devices();
    for (const sSceneDevice &device : all)
        nInputs = qMax(nInputs, device.m_nTiles);
    return nInputs;
}

} // namespace Morvek::Tools
