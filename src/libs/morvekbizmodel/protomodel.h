#ifndef MORVEK_BIZMODEL_PROTOMODEL_H
#define MORVEK_BIZMODEL_PROTOMODEL_H

#include <QMetaType>
#include <QtGlobal>

/** Plain identity records of the device model: values that are copied freely, on any thread. */
namespace Morvek::ProtoModel {

/** Identifies a screen of a device. */
struct s_ScreenId
{
    quint8 screenId = 0;
    qint32 screenType = 0;
};

/** Identifies a layer within a screen and a scene. */
struct s_LayerId
{
    quint8 layerId = 0;
    qint32 layerType = 0;
    qint32 sceneType = 0;
};

/** Identifies one layer on one screen: the five fields of both records, in that order. */
struct s_ScreenLayerId : s_ScreenId, s_LayerId
{};

inline bool operator==(const s_ScreenId &left, const s_ScreenId &right)
{
    return left.screenId == right.screenId && left.screenType == right.screenType;
}

inline bool operator!=(const s_ScreenId &left, const s_ScreenId &right)
{
    return !(left == right);
}

inline bool operator==(const s_LayerId &left, const s_LayerId &right)
{
    return left.layerId == right.layerId && left.layerType == right.layerType
        && left.sceneType == right.sceneType;
}

inline bool operator!=(const s_LayerId &left, const s_LayerId &right)
{
    return !(left == right);
}

inline bool operator==(const s_ScreenLayerId &left, const s_ScreenLayerId &right)
{
    return static_cast<const s_ScreenId &>(left) == static_cast<const s_ScreenId &>(right)
        && static_cast<const s_LayerId &>(left) == static_cast<const s_LayerId &>(right);
}

inline bool operator!=(const s_ScreenLayerId &left, const s_ScreenLayerId &right)
{
    return !(left == right);
}

} // namespace Morvek::ProtoModel

Q_DECLARE_METATYPE(Morvek::ProtoModel::s_ScreenLayerId)

#endif // MORVEK_BIZMODEL_PROTOMODEL_H
