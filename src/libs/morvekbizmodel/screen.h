#ifndef MORVEK_BIZMODEL_SCREEN_H
#define MORVEK_BIZMODEL_SCREEN_H

#include "morvekbizmodel_export.h"

#include <QtGlobal>

#include <memory>

namespace Morvek::BizModel {

class Device;

/** One screen built from a device's outputs; immutable, so it may be read on any thread. */
class MORVEK_BIZMODEL_EXPORT Screen
{
public:
    Screen(std::weak_ptr<Device> owner, quint8 screenId, int screenType);
    virtual ~Screen();

    /** The device that owns the screen; no longer locks once that device is gone. */
    std::weak_ptr<Device> owerDevice() const;
    quint8 screenId() const;
    int screenType() const;

private:
    Q_DISABLE_COPY(Screen)

    const std::weak_ptr<Device> m_pOwner;
    const quint8 m_nScreenId;
    const int m_nScreenType;
};

} // namespace Morvek::BizModel

#endif // MORVEK_BIZMODEL_SCREEN_H
