// In front of the C library's allocator, for every call of the process, to count.

#include "allocations.h"

#include <atomic>
#include <cstddef>

extern "C" {
void *__libc_malloc(std::size_t nBytes);
void *__libc_calloc(std::size_t nCount, std::size_t nBytes);
void *__libc_realloc(void *pMemory, std::size_t nBytes);
void *__libc_memalign(std::size_t nAlignment, std::size_t nBytes);
}

namespace {

constexpr std::size_t LargeBytes = 64 * 1024;

std::atomic<std::int64_t> nAll{0};
std::atomic<std::int64_t> nLarge{0};

void count(std::size_t nBytes)
{
    nAll.fetch_add(1, std::memory_order_relaxed);
    if (nBytes >= LargeBytes)
        nLarge.fetch_add(1, std::memory_order_relaxed);
}

} // namespace

namespace Morvek::Benchmarks {

sAllocations allocations()
{
    return {nAll, nLarge};
}

} // namespace Morvek::Benchmarks

extern "C" {

void *malloc(std::size_t nBytes)
{
    count(nBytes);
    return __libc_malloc(nBytes);
}

void *calloc(std::size_t nCount, std::size_t nBytes)
{
    count(nCount * nBytes);
    return __libc_calloc(nCount, nBytes);
}

void *realloc(void *pMemory, std::size_t nBytes)
{
    count(nBytes);
    return __libc_realloc(pMemory, nBytes);
}

int posix_memalign(void **ppMemory, std::size_t nAlignment, std::size_t nBytes)
{
    count(nBytes);
    *ppMemory = __libc_memalign(nAlignment, nBytes);
    return *ppMemory ? 0 : 12;
}

void *aligned_alloc(std::size_t nAlignment, std::size_t nBytes)
{
    count(nBytes);
    return __libc_memalign(nAlignment, nBytes);
}

} // extern "C"
