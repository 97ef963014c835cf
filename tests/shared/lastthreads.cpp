// Compiled into every test program under AddressSanitizer: lets the threads that have ended, but are
// not joined, leave the process before it is checked for leaks, which a thread on its way out would
// disturb.

#include <chrono>
#include <filesystem>
#include <iterator>
#include <system_error>
#include <thread>

namespace {

constexpr auto Patience = std::chrono::seconds(5);

bool isAlone()
{
    std::error_code error;
    const std::filesystem::directory_iterator threads("/proc/self/task", error);
    return error || std::distance(threads, std::filesystem::directory_iterator()) <= 1;
}

class LastThreads
{
public:
    ~LastThreads()
    {
        const auto end = std::chrono::steady_clock::now() + Patience;
        while (!isAlone() && std::chrono::steady_clock::now() < end)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
};

// Made before any service, so it goes after it.
const LastThreads lastThreads;

} // namespace
