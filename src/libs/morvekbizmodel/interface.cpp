#include "interface.h"

namespace Morvek::BizModel {

Interface::Interface() = default;

Interface::~Interface() = default;

bool Interface::isActive() const
{
    return m_isActive;
}

bool Interface::isOverLoad() const
{
    return m_isOverLoad;
}

quint8 Interface::echoVideoId() const
{
    return m_nEchoVideoId;
}

void Interface::setActive(bool isActive)
{
    m_isActive = isActive;
}

void Interface::setOverLoad(bool isOverLoad)
{
    m_isOverLoad = isOverLoad;
}

void Interface::setEchoVideoId(quint8 echoVideoId)
{
    m_nEchoVideoId = echoVideoId;
}

} // namespace Morvek::BizModel
