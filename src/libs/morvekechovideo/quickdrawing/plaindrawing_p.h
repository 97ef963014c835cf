#ifndef MORVEK_ECHOVIDEO_PLAINDRAWING_P_H
#define MORVEK_ECHOVIDEO_PLAINDRAWING_P_H

#include <atomic>

namespace Morvek::EchoVideo::Internal {

/**
 * Whether every preview is drawn the plain way, step by step with a painter.
 *
 * For tests and benchmarks, which compare the two ways; false for everybody else. @thread any
 */
inline std::atomic_bool g_isPlainDrawing{false};

/** Chooses how previews are drawn from now on. @thread any */
inline void setPlainDrawing(bool isPlain)
{
    g_isPlainDrawing = isPlain;
}

} // namespace Morvek::EchoVideo::Internal

#endif // MORVEK_ECHOVIDEO_PLAINDRAWING_P_H
