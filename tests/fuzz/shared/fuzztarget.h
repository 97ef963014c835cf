#ifndef MORVEK_TESTS_FUZZ_FUZZTARGET_H
#define MORVEK_TESTS_FUZZ_FUZZTARGET_H

#include <cstddef>
#include <cstdint>

// What a fuzzer calls, by names that it has fixed.
extern "C" {

/** Called once, before anything else. */
int LLVMFuzzerInitialize(int *pArgc, char ***pArgv);
/** Tries one input; ends the process where it finds something. @return 0 */
int LLVMFuzzerTestOneInput(const std::uint8_t *pData, std::size_t nSize);
}

#endif // MORVEK_TESTS_FUZZ_FUZZTARGET_H
