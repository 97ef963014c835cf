// Reads a picture that is gone.

#include <memory>
#include <vector>

namespace {

__attribute__((noinline)) int lastPixel(const int *pRow, int nPixels)
{
    return pRow[nPixels - 1];
}

} // namespace

int main(int argc, char **)
{
    auto pPicture = std::make_unique<std::vector<int>>(64u * unsigned(argc));
    const int *const pRow = pPicture->data();
    pPicture.reset();
    return lastPixel(pRow, 64 * argc);
}
