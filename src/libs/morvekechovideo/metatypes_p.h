#ifndef MORVEK_ECHOVIDEO_METATYPES_P_H
#define MORVEK_ECHOVIDEO_METATYPES_P_H

namespace Morvek::EchoVideo::Internal {

/**
 * Registers every type that this library sends or receives queued, so that a host need not: the
 * layer key under its alias and its full names, and the arguments of the device list's signals.
 * @thread any; repeated calls are cheap
 */
void registerMetaTypes();

} // namespace Morvek::EchoVideo::Internal

#endif // MORVEK_ECHOVIDEO_METATYPES_P_H
