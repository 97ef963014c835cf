#ifndef MORVEK_BENCHMARKS_ALLOCATIONS_H
#define MORVEK_BENCHMARKS_ALLOCATIONS_H

#include <cstdint>

namespace Morvek::Benchmarks {

/** How often this process asked for memory so far, whichever library did. */
struct sAllocations
{
    std::int64_t m_nAll = 0;
    std::int64_t m_nLarge = 0; ///< of a picture's size: 64 KiB and more
};

sAllocations allocations();

} // namespace Morvek::Benchmarks

#endif // MORVEK_BENCHMARKS_ALLOCATIONS_H
