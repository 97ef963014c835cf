#include "metatypes_p.h"

#include "layervideoconfig.h"

#include <devicelist.h>

#include <QMetaType>

#include <memory>

namespace Morvek::EchoVideo::Internal {

namespace {

// Under its full name, and as the slots spell it: connections by name compare the two.
template <typename Type>
void registerModelType(const char *pShortName)
{
    qRegisterMetaType<Type>();
    qRegisterMetaType<Type>(pShortName);
}

} // namespace

void registerMetaTypes()
{
    qRegisterMetaType<sLayerUniqueIdentifies>("sLayerUniqueIdentifies");
    qRegisterMetaType<sLayerUniqueIdentifies>("EchoVideo::sLayerUniqueIdentifies");
    qRegisterMetaType<sLayerUniqueIdentifies>("Morvek::EchoVideo::sLayerUniqueIdentifies");
    qRegisterMetaType<sLayerUniqueIdentifies>("Morvek::ProtoModel::s_ScreenLayerId");
    registerModelType<std::weak_ptr<BizModel::Device>>("std::weak_ptr<BizModel::Device>");
    registerModelType<std::weak_ptr<BizModel::Screen>>("std::weak_ptr<BizModel::Screen>");
    registerModelType<std::shared_ptr<BizModel::Screen>>("std::shared_ptr<BizModel::Screen>");
    registerModelType<std::shared_ptr<BizModel::Layer>>("std::shared_ptr<BizModel::Layer>");
}

} // namespace Morvek::EchoVideo::Internal
