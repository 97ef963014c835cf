// Loses the only pointers to pictures. Several, because the last one may be left in a register or on
// the stack, where it counts as known.

#include <QImage>

namespace {

__attribute__((noinline)) int forgetPicture(int nWidth)
{
    const auto *const pPicture = new QImage(nWidth, 4, QImage::Format_RGB32);
    return pPicture->isNull() ? 1 : 0;
}

} // namespace

int main(int argc, char **)
{
    int nNull = 0;
    for (int i = 0; i < 20; ++i)
        nNull += forgetPicture(4 * argc + i);
    return nNull;
}
