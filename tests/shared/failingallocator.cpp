#include "failingallocator.h"

#include <sys/prctl.h>

#include <atomic>
#include <cerrno>
#include <cstring>

// What stands behind the functions of this file: the C library's own, or a sanitizer's in its front.
#if defined(__SANITIZE_ADDRESS__)
#    define MORVEK_NEXT(function) __interceptor_##function
#else
#    define MORVEK_NEXT(function) __libc_##function
#endif

extern "C" {
void *MORVEK_NEXT(malloc)(std::size_t);
void *MORVEK_NEXT(calloc)(std::size_t, std::size_t);
void *MORVEK_NEXT(realloc)(void *, std::size_t);
void *MORVEK_NEXT(memalign)(std::size_t, std::size_t);
}

namespace {

using Morvek::Tests::FailingAllocator;

std::atomic_int nCountdown{0}; // the allocation that makes it 0 fails; 0: none does
std::atomic_bool isFailed{false};
std::atomic<FailingAllocator::eScope> eArmedScope{FailingAllocator::eScope::ThisThread};
thread_local bool isArmedHere = false;

bool isInScope()
{
    const FailingAllocator::eScope eScope = eArmedScope;
    if (eScope == FailingAllocator::eScope::ThisThread)
        return isArmedHere;
    const char *const pPrefix =
        eScope == FailingAllocator::eScope::ReaderThread ? "echo-reader" : "echo-";
    char name[16] = "";
    prctl(PR_GET_NAME, name);
    return std::strncmp(name, pPrefix, std::strlen(pPrefix)) == 0;
}

bool isToFail(std::size_t nBytes)
{
    if (nBytes < FailingAllocator::LargeAllocation || nCountdown <= 0 || !isInScope())
        return false;
    if (nCountdown.fetch_sub(1) != 1)
        return false;
    isFailed = true;
    errno = ENOMEM;
    return true;
}

} // namespace

namespace Morvek::Tests {

void FailingAllocator::failAt(int n, eScope scope)
{
    disarm();
    isFailed = false;
    eArmedScope = scope;
    isArmedHere = scope == eScope::ThisThread;
    nCountdown = n;
}

bool FailingAllocator::disarm()
{
    nCountdown = 0;
    isArmedHere = false;
    return isFailed;
}

bool FailingAllocator::hasFailed()
{
    return isFailed;
}

} // namespace Morvek::Tests

extern "C" {

__attribute__((visibility("default"))) void *malloc(std::size_t nBytes) noexcept
{
    return isToFail(nBytes) ? nullptr : MORVEK_NEXT(malloc)(nBytes);
}

__attribute__((visibility("default"))) void *calloc(std::size_t nCount, std::size_t nBytes) noexcept
{
    return isToFail(nCount * nBytes) ? nullptr : MORVEK_NEXT(calloc)(nCount, nBytes);
}

__attribute__((visibility("default"))) void *realloc(void *pOld, std::size_t nBytes) noexcept
{
    return isToFail(nBytes) ? nullptr : MORVEK_NEXT(realloc)(pOld, nBytes);
}

__attribute__((visibility("default"))) void *memalign(std::size_t nAlignment,
                                                      std::size_t nBytes) noexcept
{
    return isToFail(nBytes) ? nullptr : MORVEK_NEXT(memalign)(nAlignment, nBytes);
}

__attribute__((visibility("default"))) void *aligned_alloc(std::size_t nAlignment,
                                                           std::size_t nBytes) noexcept
{
    return memalign(nAlignment, nBytes);
}

__attribute__((visibility("default"))) int posix_memalign(void **ppMemory, std::size_t nAlignment,
                                                          std::size_t nBytes) noexcept
{
    void *const pMemory = memalign(nAlignment, nBytes);
    if (!pMemory)
        return ENOMEM;
    *ppMemory = pMemory;
    return 0;
}
}
