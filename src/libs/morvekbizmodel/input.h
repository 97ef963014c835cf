#ifndef MORVEK_BIZMODEL_INPUT_H
#define MORVEK_BIZMODEL_INPUT_H

#include "interface.h"

namespace Morvek::BizModel {

/** One input connector of a device. */
class MORVEK_BIZMODEL_EXPORT Input : public Interface
{
public:
    /** @param echoVideoId  the input's number inside the echo picture */
    explicit Input(quint8 echoVideoId = 0);
    ~Input() override;
};

} // namespace Morvek::BizModel

#endif // MORVEK_BIZMODEL_INPUT_H
