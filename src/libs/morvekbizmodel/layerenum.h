#ifndef MORVEK_BIZMODEL_LAYERENUM_H
#define MORVEK_BIZMODEL_LAYERENUM_H

#include <QtGlobal>

namespace Morvek::BizModel::Enum::Layer {

/** Style of a layer's border; what a preview draws for each is the preview's business. */
enum BorderType : qint32 {
    Hard_in = 0,
    Hard_out = 1,
    Hard_in_out = 2,
    Soft = 3,
    Halo = 4,
    Halo_in = 5,
    Halo_out = 6,
    Invalid = 7
};

} // namespace Morvek::BizModel::Enum::Layer

#endif // MORVEK_BIZMODEL_LAYERENUM_H
