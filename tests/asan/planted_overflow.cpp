// Writes one pixel past the last row of a picture.

#include <vector>

namespace {

__attribute__((noinline)) void fillRow(unsigned *pRow, int nPixels)
{
    for (int i = 0; i <= nPixels; ++i)
        pRow[i] = 0xff000000u;
}

} // namespace

int main(int argc, char **)
{
    std::vector<unsigned> picture(64u * unsigned(argc));
    fillRow(picture.data(), int(picture.size()));
    return 0;
}
