#ifndef MORVEK_BIZMODEL_INTERFACE_H
#define MORVEK_BIZMODEL_INTERFACE_H

#include "morvekbizmodel_export.h"

#include <QtGlobal>

#include <atomic>

namespace Morvek::BizModel {

/**
 * One connector of a device.
 *
 * Every operation may be called on any thread; each reads or writes one atomic value.
 */
class MORVEK_BIZMODEL_EXPORT Interface
{
public:
    Interface();
    virtual ~Interface();

    /** Whether the connector is in use. */
    bool isActive() const;
    /** Whether the connector's signal exceeds what can be shown. */
    bool isOverLoad() const;
    /** The connector's number inside the echo picture. */
    quint8 echoVideoId() const;

    void setActive(bool isActive);
    void setOverLoad(bool isOverLoad);
    void setEchoVideoId(quint8 echoVideoId);

private:
    Q_DISABLE_COPY(Interface)

    std::atomic_bool m_isActive{true};
    std::atomic_bool m_isOverLoad{false};
    std::atomic<quint8> m_nEchoVideoId{0};
};

} // namespace Morvek::BizModel

#endif // MORVEK_BIZMODEL_INTERFACE_H
