#include "layer.h"

namespace Morvek::BizModel {

Layer::Layer(const ProtoModel::s_ScreenLayerId &id)
    : m_screenLayerId(id)
{}

Layer::~Layer() = default;

ProtoModel::s_ScreenLayerId Layer::screenLayerId() const
{
    return m_screenLayerId;
}

} // namespace Morvek::BizModel
