#ifndef MORVEK_TESTS_SANITIZED_H
#define MORVEK_TESTS_SANITIZED_H

/** What tests must allow for under a sanitizer. */
namespace Morvek::Tests {

#ifdef __SANITIZE_THREAD__
constexpr bool IsThreadSanitized = true;
#else
constexpr bool IsThreadSanitized = false;
#endif

/** Whether any sanitizer works in this program: it takes memory and processor time of its own. */
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool IsSanitized = true;
#else
constexpr bool IsSanitized = false;
#endif

/** How much slower everything may be, and how much more memory each byte may take. */
constexpr int SanitizerTimeFactor = IsThreadSanitized ? 4 : 1;
constexpr int SanitizerMemoryFactor = IsThreadSanitized ? 8 : 1;

/**
 * How often a test repeats what it wants to see often: a quarter of it, but once at least, where
 * ThreadSanitizer makes it slow and sees a race that was not lost.
 */
constexpr int rounds(int nUsually)
{
    if (!IsThreadSanitized)
        return nUsually;
    return nUsually < 4 ? 1 : nUsually / 4;
}

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_SANITIZED_H
