// In the place of a fuzzer: tries every file of a folder once, with any compiler.

#include "fuzztarget.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

namespace {

std::vector<std::filesystem::path> filesOf(const char *pFolder)
{
    std::vector<std::filesystem::path> files;
    std::error_code error;
    for (const auto &entry : std::filesystem::directory_iterator(pFolder, error)) {
        if (entry.is_regular_file())
            files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::vector<char> contentOf(const std::filesystem::path &path)
{
    std::ifstream file(path, std::ios::binary);
    return std::vector<char>(std::istreambuf_iterator<char>(file), {});
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return 2;
    }
    const auto files = filesOf(argv[1]);
    LLVMFuzzerInitialize(&argc, &argv);
    for (const auto &path : files) {
        // Named first: a file that ends the process is the last one named.
        std::printf("%s\n", path.filename().c_str());
        std::fflush(stdout);
        const std::vector<char> content = contentOf(path);
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(content.data()),
                               content.size());
    }
    if (files.empty())
        std::fprintf(stderr, "no file in %s\n", argv[1]);
    return files.empty() ? 1 : 0;
}
