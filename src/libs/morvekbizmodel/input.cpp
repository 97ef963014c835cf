#include "input.h"

namespace Morvek::BizModel {

Input::Input(quint8 echoVideoId)
{
    setEchoVideoId(echoVideoId);
}

Input::~Input() = default;

} // namespace Morvek::BizModel
