#include "metatypes_p.h"

#include "layervideoconfig.h"

#include <devicelist.h>

#include <QMetaType>

#include <memory>

namespace Morvek::EchoVideo::Internal {

void registerMetaTypes()
{
    qRegisterMetaType<sLayerUniqueIdentifies>("sLayerUniqueIdentifies");
    qRegisterMetaType<sLayerUniqueIdentifies>("EchoVideo::sLayerUniqueIdentifies");
    qRegisterMetaType<sLayerUniqueIdentifies>("Morvek::EchoVideo::sLayerUniqueIdentifies");
    qRegisterMetaType<sLayerUniqueIdentifies>("Morvek::ProtoModel::s_ScreenLayerId");
    qRegisterMetaType<std::weak_ptr<BizModel::Device>>();
    qRegisterMetaType<std::weak_ptr<BizModel::Screen>>();
    qRegisterMetaType<std::shared_ptr<BizModel::Screen>>();
    qRegisterMetaType<std::shared_ptr<BizModel::Layer>>();
}

} // namespace Morvek::EchoVideo::Internal
