#ifndef MORVEK_TESTS_FAILINGALLOCATOR_H
#define MORVEK_TESTS_FAILINGALLOCATOR_H

#include <cstddef>

namespace Morvek::Tests {

/**
 * Memory that runs out on request: a program that is made with failingallocator.cpp has its
 * allocations, and those of every library that it uses, go through here. Only large ones fail, since
 * those are what pictures and streams are made of.
 */
class FailingAllocator
{
public:
    static constexpr std::size_t LargeAllocation = 16 * 1024; ///< bytes

    /** Whose allocations count. */
    enum class eScope {
        ThisThread,     ///< the one that asks
        LibraryThreads, ///< those of the library, which it names "echo-..."
        ReaderThread    ///< those of a reader's own thread alone
    };

    /** From now on the n-th large allocation fails, counted from 1, and no other. */
    static void failAt(int n, eScope scope);
    /** Lets all allocations succeed again; tells whether one has failed. */
    static bool disarm();
    /** Whether one has failed since failAt(). */
    static bool hasFailed();
};

/**
 * Does something again and again, with one failing allocation each time: first the first large one,
 * then the second, until there are no more.
 *
 * @param work   what to do, on this thread
 * @param check  called after each failure, with memory again
 * @return how many large allocations the work makes, each of which has failed once
 */
template <typename Work, typename Check>
int failEachAllocation(Work work, Check check)
{
    for (int n = 1;; ++n) {
        FailingAllocator::failAt(n, FailingAllocator::eScope::ThisThread);
        work();
        if (!FailingAllocator::disarm())
            return n - 1;
        check();
    }
}

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_FAILINGALLOCATOR_H
