// Multiplies two numbers whose product is no int.

#include <limits>

namespace {

__attribute__((noinline)) int product(int nWidth, int nHeight)
{
    return nWidth * nHeight;
}

} // namespace

int main(int argc, char **)
{
    return product(std::numeric_limits<int>::max(), argc + 1) == 0 ? 1 : 0;
}
