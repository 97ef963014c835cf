#ifndef MORVEK_TESTS_TSAN_NEXTFUNCTION_H
#define MORVEK_TESTS_TSAN_NEXTFUNCTION_H

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

namespace Morvek::Tests {

/**
 * The function of Qt's that one of ours with the same symbol stands in front of. Ends the process
 * when there is none, because a name that Qt does not have would annotate nothing.
 */
template <typename Function>
Function *nextFunction(const char *pSymbol)
{
    void *const pFunction = dlsym(RTLD_NEXT, pSymbol);
    if (!pFunction) {
        std::fprintf(stderr, "Qt has no %s\n", pSymbol);
        std::abort();
    }
    return reinterpret_cast<Function *>(pFunction);
}

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_TSAN_NEXTFUNCTION_H
