#include "screen.h"

#include <utility>

namespace Morvek::BizModel {

Screen::Screen(std::weak_ptr<Device> owner, quint8 screenId, int screenType)
    : m_pOwner(std::move(owner))
    , m_nScreenId(screenId)
    , m_nScreenType(screenType)
{}

Screen::~Screen() = default;

std::weak_ptr<Device> Screen::owerDevice() const
{
    return m_pOwner;
}

quint8 Screen::screenId() const
{
    return m_nScreenId;
}

int Screen::screenType() const
{
    return m_nScreenType;
}

} // namespace Morvek::BizModel
