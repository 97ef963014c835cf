#ifndef MORVEK_BIZMODEL_LAYER_H
#define MORVEK_BIZMODEL_LAYER_H

#include "morvekbizmodel_export.h"
#include "protomodel.h"

namespace Morvek::BizModel {

/** One layer of a screen; immutable, so it may be read on any thread. */
class MORVEK_BIZMODEL_EXPORT Layer
{
public:
    explicit Layer(const ProtoModel::s_ScreenLayerId &id);
    virtual ~Layer();

    ProtoModel::s_ScreenLayerId screenLayerId() const;

private:
    Q_DISABLE_COPY(Layer)

    const ProtoModel::s_ScreenLayerId m_screenLayerId;
};

} // namespace Morvek::BizModel

#endif // MORVEK_BIZMODEL_LAYER_H
