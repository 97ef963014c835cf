#ifndef MORVEK_ECHOVIDEO_PROCESSEXIT_P_H
#define MORVEK_ECHOVIDEO_PROCESSEXIT_P_H

namespace Morvek::EchoVideo::Internal {

/**
 * Makes sure that the registries which the reader's threads use outlive the service.
 *
 * Qt keeps them in function-local objects, created at first use and destroyed in the opposite order
 * at process exit. The service stops its reader there; a registry that was created after the
 * service would be gone while the reader still connects or decodes.
 *
 * To be called while the service is being constructed. @thread main
 */
void createRegistriesBeforeService();

} // namespace Morvek::EchoVideo::Internal

#endif // MORVEK_ECHOVIDEO_PROCESSEXIT_P_H
