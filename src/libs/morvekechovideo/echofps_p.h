#ifndef MORVEK_ECHOVIDEO_ECHOFPS_P_H
#define MORVEK_ECHOVIDEO_ECHOFPS_P_H

#include <deviceconfig.h>

namespace Morvek::EchoVideo::Internal {

/**
 * Access to the one field of a device's configuration that this library also writes: the render
 * thread gives a device without a frame rate one, while readers read it and the record has no lock.
 * @thread any
 */
class EchoFps
{
public:
    static quint8 load(const Morvek::BizModel::s_EchoVideoConfig &config)
    {
        return __atomic_load_n(&config.FPS, __ATOMIC_RELAXED);
    }

    static void store(Morvek::BizModel::s_EchoVideoConfig &config, quint8 nFps)
    {
        __atomic_store_n(&config.FPS, nFps, __ATOMIC_RELAXED);
    }
};

} // namespace Morvek::EchoVideo::Internal

#endif // MORVEK_ECHOVIDEO_ECHOFPS_P_H
