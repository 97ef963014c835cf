#ifndef MORVEK_ECHOCANVAS_SESSIONDEVICES_H
#define MORVEK_ECHOCANVAS_SESSIONDEVICES_H

#include "scene.h"

#include <device.h>

#include <memory>

namespace Morvek::Tools {

/** One device of a session: what the scene says of it, and its part of the device model. */
struct sSessionDevice
{
    sSceneDevice m_settings;
    std::shared_ptr<BizModel::Device> m_pDevice;
    bool m_isOnline = false; ///< as the host means it; the model may say otherwise while it stops
};

/**
 * Makes a device of the model, offline, tells the device list about it and about the places of its
 * inputs.
 */
sSessionDevice makeSessionDevice(const sSceneDevice &settings);

/** Previews a second and layer, at any time. @param nFps  0 to 255 */
void applyFps(sSessionDevice &device, int nFps);

/** How many inputs the device has. @thread any; nothing changes it once the device is known */
int inputCountOf(BizModel::Device &device);

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_SESSIONDEVICES_H
