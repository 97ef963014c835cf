#ifndef MORVEK_TESTS_FUZZ_DEMAND_H
#define MORVEK_TESTS_FUZZ_DEMAND_H

#include <cstdio>
#include <cstdlib>

namespace Morvek::Tests {

/** Ends the process, as a fuzzer understands it, where what must hold does not. */
inline void demand(bool holds, const char *pWhat)
{
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", pWhat);
    std::abort();
}

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_FUZZ_DEMAND_H
