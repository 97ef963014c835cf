#ifndef MORVEK_ECHOCANVAS_PROCESSLOAD_H
#define MORVEK_ECHOCANVAS_PROCESSLOAD_H

#include <QtGlobal>

namespace Morvek::Tools {

/** Processor time that all threads of this process have used so far, in seconds. */
double processCpuSeconds();

/** Memory of this process that is resident, in bytes; 0 where the system does not tell. */
qint64 residentBytes();

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_PROCESSLOAD_H
